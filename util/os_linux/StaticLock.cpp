#include "util/os_linux/StaticLock.h"

#include <cstdlib>

// A failure here means the mutex's memory is overwritten or a thread relocked its own lock: going
// on would corrupt what the lock guards.
void StaticLock::Lock()
{
    if (pthread_mutex_lock(&mMutex) != 0) {
        std::abort();
    }
}

void StaticLock::Unlock()
{
    if (pthread_mutex_unlock(&mMutex) != 0) {
        std::abort();
    }
}
