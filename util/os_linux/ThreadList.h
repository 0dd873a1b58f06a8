// Public. The registry of the Thread objects that exist. It does not own them: each adds itself
// when it is constructed and removes itself when it is destroyed. Safe from any thread.
#ifndef UTIL_OS_LINUX_THREADLIST_H
#define UTIL_OS_LINUX_THREADLIST_H

#include <atomic>
#include <memory>

#include "util/Export.h"
#include "util/container/Vector.h"
#include "util/os_linux/StaticLock.h"

class Thread;
class ThreadListCmdClient;

class HTML5_VIDEO_API ThreadList
{
public:
    // The one instance, made on first use and never destroyed.
    static ThreadList* GetInstance();

    // Registers the console command "thread_show" for this registry.
    ThreadList();
    ThreadList(const ThreadList&) = delete;
    ThreadList& operator=(const ThreadList&) = delete;
    ~ThreadList();

    // For Thread alone.
    void AddThread(Thread* thread);
    void RemoveThread(Thread* thread);

    // The first registered object with that POSIX handle, or null. The object lives as long as its
    // owner keeps it.
    Thread* GetThread(unsigned long handle);

    // Writes the listing to the log, as raw info lines: what was registered at the call.
    void ShowThread();

    // Calls action(thread) while the registry is held, so that the object cannot go meanwhile; the
    // action must not log. False, without a call, when the object is no longer registered or has
    // another handle.
    bool WithThread(Thread* thread, unsigned long handle, void (*action)(Thread*));

private:
    HTML5_VIDEO_LOCAL static std::atomic<ThreadList*> sThreadList;

    const std::unique_ptr<ThreadListCmdClient> mCmdClient;

    StaticLock mLock;  // nothing is logged while it is held
    tavi::Vector<Thread*> mThreads TAVI_GUARDED_BY(mLock);
};

#endif  // UTIL_OS_LINUX_THREADLIST_H
