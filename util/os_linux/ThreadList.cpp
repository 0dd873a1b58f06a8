#include "util/os_linux/ThreadList.h"

#include <pthread.h>

#include "util/os_linux/FixedText.h"
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

bool ThreadList::WithThread(Thread* thread, unsigned long handle, void (*action)(Thread*))
{
    const StaticLockHold hold(mLock);
    for (int index = 0; index < mThreads.Size(); ++index) {
        if (mThreads.At(index) == thread && pthread_equal(thread->GetThreadHandle(), handle) != 0) {
            action(thread);
            return true;
        }
    }
    return false;
}

namespace {
// What the listing says of a thread.
struct Row
{
    char name[64];
    int priority;
    int status;
    int tid;
    unsigned long handle;
};
}  // namespace

void ThreadList::ShowThread()
{
    std::unique_ptr<Row[]> rows;
    int count = 0;
    {
        const StaticLockHold hold(mLock);
        count = mThreads.Size();
        rows.reset(new Row[static_cast<std::size_t>(count)]);
        for (int index = 0; index < count; ++index) {
            const Thread& thread = *mThreads.At(index);
            Row& row = rows[static_cast<std::size_t>(index)];
            CopyText(row.name, thread.GetThreadName());
            row.priority = thread.GetPriority();
            row.status = thread.GetStatus();
            row.tid = thread.GetThreadPID();
            row.handle = thread.GetThreadHandle();
        }
    }
    TAVI_RAW(" All Thread Count = %d\n", count);
    for (int index = 0; index < count; ++index) {
        const Row& row = rows[static_cast<std::size_t>(index)];
        const bool runs = row.status == Thread::kRunning || row.status == Thread::kDetached;
        TAVI_RAW(
            "  [%d] Thread[%s] Priority = %d, Status = %d, IsRunning = %d, pid = %d, "
            "ThreadID = %x\n",
            index, row.name, row.priority, row.status, runs ? 1 : 0, row.tid,
            static_cast<unsigned>(row.handle));
    }
}
