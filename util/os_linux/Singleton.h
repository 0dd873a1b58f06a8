// Internal. First use of a process-wide instance, safe from several threads at once. The instance
// is never destroyed, so threads that still run while the process ends find it alive.
#ifndef UTIL_OS_LINUX_SINGLETON_H
#define UTIL_OS_LINUX_SINGLETON_H

#include <atomic>

#include "util/os_linux/StaticLock.h"

// Returns the instance, making it with make() under the lock when there is none yet.
template <typename T, typename Make>
T* GetOrMake(std::atomic<T*>& instance, StaticLock& lock, Make make)
{
    T* found = instance.load(std::memory_order_acquire);
    if (found == nullptr) {
        const StaticLockHold hold(lock);
        found = instance.load(std::memory_order_relaxed);
        if (found == nullptr) {
            found = make();
            instance.store(found, std::memory_order_release);
        }
    }
    return found;
}

#endif  // UTIL_OS_LINUX_SINGLETON_H
