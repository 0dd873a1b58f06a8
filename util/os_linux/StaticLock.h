// Public. The library's own lock for its registries and shared state: a plain POSIX mutex that
// needs no run-time initialisation, is never destroyed and blocks in the kernel. (Mutex polls and
// reports.)
#ifndef UTIL_OS_LINUX_STATICLOCK_H
#define UTIL_OS_LINUX_STATICLOCK_H

#include <pthread.h>

#include "util/os_linux/CancelGuard.h"
#include "util/os_linux/ThreadAnnotations.h"

class TAVI_CAPABILITY("lock") StaticLock
{
public:
    constexpr StaticLock() = default;
    StaticLock(const StaticLock&) = delete;
    StaticLock& operator=(const StaticLock&) = delete;

    // Waits as long as it takes. Not recursive; only the thread that holds the lock releases it.
    void Lock() TAVI_ACQUIRE();
    void Unlock() TAVI_RELEASE();

private:
    pthread_mutex_t mMutex = PTHREAD_MUTEX_INITIALIZER;
};

// Holds a StaticLock for a scope, with cancellation disabled meanwhile.
class TAVI_SCOPED_CAPABILITY StaticLockHold
{
public:
    explicit StaticLockHold(StaticLock& lock) TAVI_ACQUIRE(lock);
    StaticLockHold(const StaticLockHold&) = delete;
    StaticLockHold& operator=(const StaticLockHold&) = delete;
    ~StaticLockHold() TAVI_RELEASE();

private:
    CancelGuard mGuard;
    StaticLock& mLock;
};

#endif  // UTIL_OS_LINUX_STATICLOCK_H
