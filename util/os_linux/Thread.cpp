#include "util/os_linux/Thread.h"

#include <pthread.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "util/os_linux/CancelGuard.h"
#include "util/os_linux/FixedText.h"
#include "util/os_linux/ModuleLog.h"
#include "util/os_linux/ProcessSearch.h"
#include "util/os_linux/Sleep.h"
#include "util/os_linux/ThreadList.h"

static Logger* const _logger = Logger::GetLogger(1);

namespace {
constexpr unsigned kWrappedPoll = 10;  // milliseconds

Mutex* NewThreadMutex(const char* threadName)
{
    char name[80];
    std::snprintf(name, sizeof(name), "%s ThreadMutex", threadName);
    return new Mutex(name);
}
}  // namespace

// Waits for the end of the thread, for whoever holds kJoining, and ends that state again. A cancel
// on the way gives it back: somebody else may join the thread then.
class Thread::Joiner
{
public:
    explicit Joiner(Thread& thread) : mThread(thread) {}
    Joiner(const Joiner&) = delete;
    Joiner& operator=(const Joiner&) = delete;

    ~Joiner()
    {
        const CancelGuard guard;
        const MutexHold change(*mThread.mMutex);  // a Kill sets its status first
        const StaticLockHold hold(mThread.mLock);
        mThread.mTie = mOver ? kNoThread : kJoinable;
        if (mOver) {
            mThread.mHandle = 0;
            mThread.mEnded = false;
            mThread.mStatus = kNotStarted;
        }
    }

    // pthread_join's result.
    int Wait()
    {
        if (IsCurrentThread(&mThread)) {
            return EDEADLK;
        }
        return mThread.mWrapped ? WaitForWrapped() : WaitForOwn();
    }

private:
    // The join itself does not wait any more, so the handle lives as long as the thread has not
    // said that it ends; until then Kill may use it.
    int WaitForOwn()
    {
        while (sem_wait(&mThread.mEnd) != 0) {}
        const CancelGuard guard;
        mOver = true;
        return pthread_join(mThread.mHandle, &mThread.mResult);
    }

    // Nothing tells that a wrapped thread ends, so each attempt to join it holds the lock, and the
    // handle lives whenever another thread has it.
    int WaitForWrapped()
    {
        for (;; MSleep(kWrappedPoll)) {
            const StaticLockHold hold(mThread.mLock);
            const int result = pthread_tryjoin_np(mThread.mHandle, &mThread.mResult);
            if (result == 0) {
                mThread.mHandle = 0;
                mOver = true;
            }
            if (result != EBUSY) {
                return result;
            }
        }
    }

    Thread& mThread;
    bool mOver = false;
};

// Stands in the thread's own storage and learns of its end however it comes: a cancel does not pass
// through the frames around an entry in C that has no unwind tables.
struct Thread::Ending
{
    ~Ending()
    {
        if (thread != nullptr) {
            Leave(thread, false);
        }
    }

    Thread* thread = nullptr;
};

Thread::Thread(const char* name, Entry entry, bool detached, int priority)
    : mEntry(entry),
      mHandle(0),
      mTid(0),
      mPriority(priority),
      mName(),
      mMutex(NewThreadMutex(name != nullptr ? name : "Undefined")),
      mArgument(nullptr),
      mResult(nullptr),
      mStatus(kNotStarted),
      mDetached(detached),
      mWrapped(false),
      mUsers(0),
      mEnd(),
      mTie(kNoThread),
      mEnded(false)
{
    sem_init(&mEnd, 0, 0);
    CopyName(mName, name);
    ThreadList::GetInstance()->AddThread(this);
}

Thread::Thread(const char* name, unsigned long handle) : Thread(name, nullptr, false, 0)
{
    const StaticLockHold hold(mLock);
    mTid = pthread_equal(handle, GetSelf()) != 0 ? GetTid() : 0;
    mStatus = kRunning;
    mWrapped = true;
    mTie = handle != 0 ? kJoinable : kNoThread;
    mHandle = handle;
}

Thread::~Thread()
{
    const CancelGuard guard;
    TAVI_INFO("Deleting Thread : %s", mName);
    ThreadList::GetInstance()->RemoveThread(this);
    while (mUsers != 0) {  // a thread that begins or ends still uses its object
        MSleep(1);
    }
    sem_destroy(&mEnd);
    delete mMutex;
}

int Thread::Start(void* argument)
{
    const CancelGuard guard;
    ReapEnded();
    const StaticLockHold hold(mLock);
    if (mTie != kNoThread) {
        return -1;
    }
    mArgument = argument;
    mStatus = kNotStarted;
    mWrapped = false;
    ++mUsers;
    pthread_t handle = 0;
    if (pthread_create(&handle, nullptr, ThreadMainHandler, this) != 0) {
        --mUsers;
        return -1;
    }
    mTie = kJoinable;
    mHandle = handle;
    return 0;
}

// Joins a thread that has ended, or waits until another thread has joined it.
void Thread::ReapEnded()
{
    for (;; MSleep(1)) {
        {
            const StaticLockHold hold(mLock);
            if (!mEnded) {
                return;
            }
            if (mTie == kJoining) {
                continue;
            }
            mTie = kJoining;
        }
        Joiner(*this).Wait();
        return;
    }
}

int Thread::Join()
{
    int status = kNotStarted;
    bool joinable = false;
    {
        const StaticLockHold hold(mLock);
        status = mStatus;
        joinable = mTie == kJoinable && status != kNotStarted && status != kDetached;
        mTie = joinable ? kJoining : mTie;
    }
    if (status == kNotStarted) {
        TAVI_WARNING("Thread %s is not running but status=%d?? can not join", mName, status);
        return -1;
    }
    if (!joinable) {
        TAVI_WARNING("Thread %s is DETACHED?? can not join", mName);
        return -1;
    }
    Joiner joiner(*this);
    TAVI_INFO("Before Thread::Join : Thread = %s, status = %d", mName, status);
    const int result = joiner.Wait();
    if (result == 0) {
        TAVI_INFO("Thread Joined : %s", mName);
    }
    return result;
}

// Calls use(handle) while the handle is one of a thread that was not joined; false when it is none.
template <typename Use>
bool Thread::WithHandle(Use use)
{
    const StaticLockHold hold(mLock);
    if (mHandle == 0 || (mTie == kJoining && mEnded)) {
        return false;
    }
    use(mHandle);
    return true;
}

int Thread::Kill()
{
    const CancelGuard guard;
    const MutexHold change(*mMutex);
    int result = -1;
    if (!WithHandle([&](pthread_t handle) { result = pthread_cancel(handle); })) {
        TAVI_WARNING("Thread %s can not be killed, not running but status = %d", mName,
                     mStatus.load());
        return -1;
    }
    SetStatus(kKilled);
    return result;
}

int Thread::SendSignal(int signal)
{
    const CancelGuard guard;
    const MutexHold change(*mMutex);
    int result = -1;
    if (!IsRunning() ||
        !WithHandle([&](pthread_t handle) { result = pthread_kill(handle, signal); })) {
        TAVI_WARNING("SendSignal is not available, Thread %s is not running but status = %d", mName,
                     mStatus.load());
    }
    return result;
}

int Thread::Detach()
{
    const CancelGuard guard;
    const MutexHold change(*mMutex);
    bool canDetach = false;
    int result = -1;
    {
        const StaticLockHold hold(mLock);
        canDetach = mStatus == kRunning && !mEnded && (mTie == kJoinable || mTie == kLoose);
        if (canDetach) {
            mTie = kLoose;
            result = pthread_detach(mHandle);
        }
    }
    if (canDetach) {
        SetStatus(kDetached);
    } else {
        TAVI_WARNING("Thread %s can not be detached, not running but status = %d", mName,
                     mStatus.load());
    }
    return result;
}

int Thread::SetStatus(int status)
{
    if (status < kNotStarted || status > kExited) {
        return -1;
    }
    LogStatus(status);
    mStatus = status;
    return 0;
}

// The line of a change, which always names the operation of that name.
void Thread::LogStatus(int status) const
{
    _logger->Print(Logger::kInfo, 0, "SetStatus", __FILE__, __LINE__,
                   "Thread Name %s State %d-->%d", mName, mStatus.load(), status);
}

int Thread::SetPriority(int priority)
{
    mPriority = priority;
    if (IsRunning()) {
        SetPriorityImpl();
    }
    return 0;
}

int Thread::SetPriorityImpl()
{
    sched_param parameters = {};
    parameters.sched_priority = mPriority;
    int result = -1;
    if (!IsRunning() || !WithHandle([&](pthread_t handle) {
            result = pthread_setschedparam(handle, SCHED_RR, &parameters);
        })) {
        TAVI_WARNING("Thread %s can not set priority, not running but status = %d", mName,
                     mStatus.load());
    }
    return result;
}

void Thread::Exit()
{
    const bool own = IsCurrentThread(this);
    TAVI_INFO("pthread_equal = %d", own ? 1 : 0);
    if (!own) {
        TAVI_WARNING("Can not Exit pthread - not current thread.. %s", mName);
        return;
    }
    Leave(this, true);
    pthread_exit(nullptr);
}

bool Thread::IsRunning() const
{
    const int status = mStatus;
    return status == kRunning || status == kDetached;
}

bool Thread::IsStarted() const
{
    return mStatus > kNotStarted;
}

unsigned long Thread::GetSelf()
{
    return pthread_self();
}

int Thread::GetTid()
{
    return static_cast<int>(syscall(SYS_gettid));
}

Thread* Thread::GetCurrentThread()
{
    return ThreadList::GetInstance()->GetThread(GetSelf());
}

bool Thread::IsCurrentThread(const Thread* thread)
{
    return thread != nullptr && pthread_equal(thread->mHandle, pthread_self()) != 0;
}

Thread::Body Thread::EnterRunning()
{
    const CancelGuard guard;
    {
        const MutexHold change(*mMutex);
        {
            const StaticLockHold hold(mLock);  // the Start of this thread has stored the handle
            if (mTie == kNoThread) {           // a thread of the host's own
                ++mUsers;
                mTie = kLoose;
                mHandle = GetSelf();
            }
        }
        mTid = GetTid();
        TAVI_INFO("[THREAD STARTING] Start PID = %d, NAME = %s", mTid.load(), mName);
        if (mStatus != kKilled) {
            SetStatus(kRunning);
        }
    }
    if (mDetached) {
        Detach();
    }
    if (mPriority > 0) {
        SetPriorityImpl();
    }
    const Body body = {mEntry, mArgument};
    --mUsers;  // from here on the object may go
    return body;
}

// Notes the end of the calling thread. A detached thread may have outlived its object.
void Thread::Leave(Thread* thread, bool exited)
{
    const CancelGuard guard;
    const auto use = [](Thread* found) { ++found->mUsers; };
    if (!ThreadList::GetInstance()->WithThread(thread, GetSelf(), use)) {
        return;
    }
    {
        const MutexHold change(*thread->mMutex);
        if (exited) {
            thread->LogStatus(kExited);
        }
        const StaticLockHold hold(thread->mLock);
        if (thread->mTie == kLoose) {
            thread->mTie = kNoThread;
            thread->mHandle = 0;  // soon another thread's
        } else if (!thread->mEnded) {
            thread->mEnded = true;
            if (!thread->mWrapped) {
                sem_post(&thread->mEnd);
            }
        }
        if (exited) {
            thread->mStatus = kExited;
        }
    }
    --thread->mUsers;
}

void* Thread::ThreadMainHandler(void* argument)
{
    static thread_local Ending sEnding;
    Thread* const thread = static_cast<Thread*>(argument);
    sEnding.thread = thread;
    const Body body = thread->EnterRunning();
    if (body.entry != nullptr) {
        body.entry(body.argument);
    }
    sEnding.thread = nullptr;
    Leave(thread, true);
    return nullptr;
}

int Thread::IsProcessRunning(const char* command)
{
    TAVI_INFO("");
    ProcessSearch search;
    bool found = false;
    while (!found && search.Next()) {
        TAVI_INFO("Unit = %s", search.Name());
        found = search.ReadCommandLine() && search.BeginsWith(command);
    }
    TAVI_INFO("");
    return found ? 1 : 0;
}
