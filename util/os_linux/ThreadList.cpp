#include "util/os_linux/ThreadList.h"

#include <pthread.h>

#include "util/os_linux/ModuleLog.h"
#include "util/os_linux/Singleton.h"
#include "util/os_linux/Thread.h"
#include "util/os_linux/ThreadListCmdClient.h"

static Logger* const _logger = Logger::GetLogger(1);

std::atomic<ThreadList*> ThreadList::sThreadList{nullptr};

ThreadList* ThreadList::GetInstance()
{
    static StaticLock sLock;
    return GetOrMake(sThreadList, sLock, [] { return new ThreadList; });
}

ThreadList::ThreadList() : mCmdClient(std::make_unique<ThreadListCmdClient>(this))
{
    mCmdClient->Register("thread_show", "thread_show : show all threads");
}

ThreadList::~ThreadList()
{
    CmdListMgr::GetInstance()->UnregisterCommand("thread_show", mCmdClient.get());
}

void ThreadList::AddThread(Thread* thread)
{
    const StaticLockHold hold(mLock);
    mThreads.Pushback(thread);
}

void ThreadList::RemoveThread(Thread* thread)
{
    const StaticLockHold hold(mLock);
    mThreads.Remove(thread);
}

Thread* ThreadList::GetThread(unsigned long handle)
{
    const StaticLockHold hold(mLock);
    for (tavi::VectorIterator<Thread*> it = mThreads.Begin(); !it.IsNull(); it.Next()) {
        if (pthread_equal((*it)->GetThreadHandle(), handle) != 0) {
            return *it;
        }
    }
    return nullptr;
}

void ThreadList::WithThread(Thread* thread, unsigned long handle, void (*action)(Thread*))
{
    const StaticLockHold hold(mLock);
    for (int index = 0; index < mThreads.Size(); ++index) {
        if (mThreads.At(index) == thread && pthread_equal(thread->GetThreadHandle(), handle) != 0) {
            action(thread);
            return;
        }
    }
}

void ThreadList::ShowThread()
{
    const StaticLockHold hold(mLock);
    TAVI_RAW(" All Thread Count = %d\n", mThreads.Size());
    for (int index = 0; index < mThreads.Size(); ++index) {
        const Thread& thread = *mThreads.At(index);
        TAVI_RAW(
            "  [%d] Thread[%s] Priority = %d, Status = %d, IsRunning = %d, pid = %d, "
            "ThreadID = %x\n",
            index, thread.GetThreadName(), thread.GetPriority(), thread.GetStatus(),
            thread.IsRunning() ? 1 : 0, thread.GetThreadPID(),
            static_cast<unsigned>(thread.GetThreadHandle()));
    }
}
