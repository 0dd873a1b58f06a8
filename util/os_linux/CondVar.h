// Public. A named condition variable whose time-outs run on the monotonic clock. The waits are
// made with the given Mutex held by the caller; spurious wake-ups are possible, as POSIX allows.
#ifndef UTIL_OS_LINUX_CONDVAR_H
#define UTIL_OS_LINUX_CONDVAR_H

#include <pthread.h>

#include "util/Export.h"
#include "util/os_linux/Mutex.h"

class HTML5_VIDEO_API CondVar
{
public:
    // The name is copied and cut to 31 characters; null gives "Undefined". A step of the set-up
    // that fails is reported on standard output.
    explicit CondVar(const char* name);
    CondVar(const CondVar&) = delete;
    CondVar& operator=(const CondVar&) = delete;
    ~CondVar();

    // Wakes one waiter, or all; the POSIX result.
    int Signal();
    int Broadcast();

    // Waits without a limit; the POSIX result.
    int Wait(Mutex& mutex) TAVI_REQUIRES(mutex);

    // Waits at most the given milliseconds (a negative time counts as 0): 0 when woken, ETIMEDOUT
    // when the time ran out, another error number otherwise. Changes of the wall clock do not
    // matter.
    int WaitTimeout(Mutex& mutex, int milliseconds) TAVI_REQUIRES(mutex);

    // Waits until the wall clock shows the given seconds since the Epoch; results as WaitTimeout.
    // The deadline is turned into a monotonic one at the call, so a later change of the wall clock
    // does not move it. Traces its figures on standard output.
    int WaitTimeoutUntil(Mutex& mutex, long until) TAVI_REQUIRES(mutex);

private:
    pthread_cond_t mCondition;
    pthread_condattr_t mAttributes;
    char mName[32];
};

#endif  // UTIL_OS_LINUX_CONDVAR_H
