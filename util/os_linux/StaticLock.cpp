#include "util/os_linux/StaticLock.h"

#include <cstdlib>

// The thread sanitizer loses sight of the locks of a thread that was cancelled while it waited in a
// call; such a thread still takes locks as it ends. The sanitizer is told of the order here.
#if defined(__SANITIZE_THREAD__)
#include <sanitizer/tsan_interface.h>
#define TELL_SANITIZER(call) call
#else
#define TELL_SANITIZER(call) static_cast<void>(0)
#endif

// A failure here means the mutex's memory is overwritten or a thread relocked its own lock: going
// on would corrupt what the lock guards.
void StaticLock::Lock()
{
    if (pthread_mutex_lock(&mMutex) != 0) {
        std::abort();
    }
    TELL_SANITIZER(__tsan_acquire(this));
}

void StaticLock::Unlock()
{
    TELL_SANITIZER(__tsan_release(this));
    if (pthread_mutex_unlock(&mMutex) != 0) {
        std::abort();
    }
}

StaticLockHold::StaticLockHold(StaticLock& lock) : mLock(lock)
{
    mLock.Lock();
}

StaticLockHold::~StaticLockHold()
{
    mLock.Unlock();
}
