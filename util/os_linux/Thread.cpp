#include "util/os_linux/Thread.h"

#include <pthread.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>

#include "util/os_linux/CancelGuard.h"
#include "util/os_linux/FixedText.h"
#include "util/os_linux/ModuleLog.h"
#include "util/os_linux/ProcessSearch.h"
#include "util/os_linux/Sleep.h"
#include "util/os_linux/ThreadList.h"

static Logger* const _logger = Logger::GetLogger(1);

namespace {
Mutex* NewThreadMutex(const char* threadName)
{
    char name[80];
    std::snprintf(name, sizeof(name), "%s ThreadMutex", threadName);
    return new Mutex(name);
}

const char* NameOrUndefined(const char* name)
{
    return name != nullptr ? name : "Undefined";
}
}  // namespace

Thread::Thread(const char* name, Entry entry, bool detached, int priority)
    : mEntry(entry),
      mHandle(0),
      mTid(0),
      mPriority(priority),
      mName(),
      mMutex(NewThreadMutex(NameOrUndefined(name))),
      mArgument(nullptr),
      mResult(nullptr),
      mStatus(kNotStarted),
      mDetached(detached),
      mJoinable(false),
      mEntering(false)
{
    CopyName(mName, name);
    ThreadList::GetInstance()->AddThread(this);
}

Thread::Thread(const char* name, unsigned long handle)
    : mEntry(nullptr),
      mHandle(handle),
      mTid(pthread_equal(handle, pthread_self()) != 0 ? GetTid() : 0),
      mPriority(0),
      mName(),
      mMutex(NewThreadMutex(NameOrUndefined(name))),
      mArgument(nullptr),
      mResult(nullptr),
      mStatus(kRunning),
      mDetached(false),
      mJoinable(true),
      mEntering(false)
{
    CopyName(mName, name);
    ThreadList::GetInstance()->AddThread(this);
}

Thread::~Thread()
{
    const CancelGuard guard;
    TAVI_INFO("Deleting Thread : %s", mName);
    while (mEntering) {  // a thread just started still reads its object
        MSleep(1);
    }
    ThreadList::GetInstance()->RemoveThread(this);
    delete mMutex;
}

int Thread::Start(void* argument)
{
    const StaticLockHold hold(mStartLock);
    if (mStatus == kExited && TakeJoinable()) {
        pthread_join(mHandle, nullptr);
    }
    if (mJoinable || IsRunning()) {
        return -1;
    }
    mArgument = argument;
    mStatus = kNotStarted;
    mJoinable = true;
    mEntering = true;
    pthread_t handle = 0;
    if (pthread_create(&handle, nullptr, ThreadMainHandler, this) != 0) {
        mJoinable = false;
        mEntering = false;
        return -1;
    }
    mHandle = handle;
    return 0;
}

int Thread::Join()
{
    const int status = mStatus;
    if (status != kRunning && status != kKilled && status != kExited && status != kDetached) {
        TAVI_WARNING("Thread %s is not running but status=%d?? can not join", mName, status);
        return -1;
    }
    if (status == kDetached || !TakeJoinable()) {
        TAVI_WARNING("Thread %s is DETACHED?? can not join", mName);
        return -1;
    }
    TAVI_INFO("Before Thread::Join : Thread = %s, status = %d", mName, status);
    const int result = pthread_join(mHandle, &mResult);
    if (result != 0) {
        mJoinable = true;
        return result;
    }
    TAVI_INFO("Thread Joined : %s", mName);
    mHandle = 0;
    mStatus = kNotStarted;
    return result;
}

int Thread::Kill()
{
    const CancelGuard guard;
    const MutexHold hold(*mMutex);
    if (mHandle == 0 || (!mJoinable && mStatus != kDetached)) {
        TAVI_WARNING("Thread %s can not be killed, not running but status = %d", mName,
                     mStatus.load());
        return -1;
    }
    const int result = pthread_cancel(mHandle);
    SetStatus(kKilled);
    return result;
}

int Thread::SendSignal(int signal)
{
    const CancelGuard guard;
    const MutexHold hold(*mMutex);
    if (!IsRunning()) {
        TAVI_WARNING("SendSignal is not available, Thread %s is not running but status = %d", mName,
                     mStatus.load());
        return -1;
    }
    return pthread_kill(mHandle, signal);
}

int Thread::Detach()
{
    const CancelGuard guard;
    const MutexHold hold(*mMutex);
    if (mStatus != kRunning || !TakeJoinable()) {
        TAVI_WARNING("Thread %s can not be detached, not running but status = %d", mName,
                     mStatus.load());
        return -1;
    }
    const int result = pthread_detach(mHandle);
    SetStatus(kDetached);
    return result;
}

int Thread::SetStatus(int status)
{
    if (status < kNotStarted || status > kExited) {
        return -1;
    }
    TAVI_INFO("Thread Name %s State %d-->%d", mName, mStatus.load(), status);
    mStatus = status;
    return 0;
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
    if (!IsRunning()) {
        TAVI_WARNING("Thread %s can not set priority, not running but status = %d", mName,
                     mStatus.load());
        return -1;
    }
    sched_param parameters = {};
    parameters.sched_priority = mPriority;
    return pthread_setschedparam(mHandle, SCHED_RR, &parameters);
}

void Thread::Exit()
{
    const bool own = IsCurrentThread(this);
    TAVI_INFO("pthread_equal = %d", own ? 1 : 0);
    if (!own) {
        TAVI_WARNING("Can not Exit pthread - not current thread.. %s", mName);
        return;
    }
    LeaveRunning(this);
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
        const StaticLockHold started(mStartLock);  // Start has stored the handle
    }
    {
        const MutexHold hold(*mMutex);
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
    mEntering = false;  // from here on the object may go
    return body;
}

void Thread::LeaveRunning(Thread* thread)
{
    const CancelGuard guard;
    const MutexHold hold(*thread->mMutex);
    if (thread->mStatus == kDetached) {
        thread->mHandle = 0;  // soon another thread's; a Join waits on it otherwise
    }
    thread->SetStatus(kExited);
}

void* Thread::ThreadMainHandler(void* argument)
{
    Thread* const thread = static_cast<Thread*>(argument);
    const Body body = thread->EnterRunning();
    if (body.entry != nullptr) {
        body.entry(body.argument);
    }
    // A detached thread may have outlived its object.
    ThreadList::GetInstance()->WithThread(thread, GetSelf(), LeaveRunning);
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
