#include "util/os_linux/CondVar.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "util/os_linux/FixedText.h"

namespace {
constexpr long kNanosecondsPerSecond = 1000000000;

timespec Now(clockid_t clock)
{
    timespec now = {};
    clock_gettime(clock, &now);
    return now;
}

void ReportFailure(const char* text, int result)
{
    if (result != 0) {
        std::printf("%s%d\n", text, result);
    }
}
}  // namespace

CondVar::CondVar(const char* name) : mCondition(), mAttributes(), mName()
{
    CopyName(mName, name);
    ReportFailure("ERROR :--------------> CONDATTR INIT FAILED: ",
                  pthread_condattr_init(&mAttributes));
    ReportFailure("ERROR :-------------->SETCLOCK FAILED: ",
                  pthread_condattr_setclock(&mAttributes, CLOCK_MONOTONIC));
    ReportFailure("ERROR :-------------->COND INIT FAILED: ",
                  pthread_cond_init(&mCondition, &mAttributes));
}

CondVar::~CondVar()
{
    pthread_cond_destroy(&mCondition);
    pthread_condattr_destroy(&mAttributes);
}

int CondVar::Signal()
{
    return pthread_cond_signal(&mCondition);
}

int CondVar::Broadcast()
{
    return pthread_cond_broadcast(&mCondition);
}

int CondVar::Wait(Mutex& mutex)
{
    return pthread_cond_wait(&mCondition, &mutex.mMutex);
}

int CondVar::WaitTimeout(Mutex& mutex, int milliseconds)
{
    const int wait = std::max(milliseconds, 0);
    timespec deadline = Now(CLOCK_MONOTONIC);
    deadline.tv_sec += wait / 1000;
    deadline.tv_nsec += wait % 1000 * 1000000L;
    if (deadline.tv_nsec >= kNanosecondsPerSecond) {
        ++deadline.tv_sec;
        deadline.tv_nsec -= kNanosecondsPerSecond;
    }
    return pthread_cond_timedwait(&mCondition, &mutex.mMutex, &deadline);
}

int CondVar::WaitTimeoutUntil(Mutex& mutex, long until)
{
    const timespec now = Now(CLOCK_MONOTONIC);
    const time_t wallClock = Now(CLOCK_REALTIME).tv_sec;
    // In a width, and with limits (35,000 years), that no step leaves.
    constexpr long long kLimit = 1LL << 40;
    const long long wanted = std::clamp<long long>(until, -kLimit, kLimit);
    const long long next = wanted - wallClock + now.tv_sec;
    const timespec deadline = {static_cast<time_t>(std::max(next, 0LL)), now.tv_nsec};
    std::printf(
        "-----> WaitTimeoutUntil : currnet realtime = %d, auntil = %d, diff = %d, abs = %d, "
        "next abs = %d \n",
        static_cast<int>(wallClock), static_cast<int>(until), static_cast<int>(wanted - now.tv_sec),
        static_cast<int>(now.tv_sec), static_cast<int>(next));
    const int result = pthread_cond_timedwait(&mCondition, &mutex.mMutex, &deadline);
    std::printf("---->WaitTimeoutUntil Out current_time = %d\n",
                static_cast<int>(Now(CLOCK_MONOTONIC).tv_sec));
    return result;
}
