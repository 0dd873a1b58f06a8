// Public. A named thread, listed in the ThreadList as long as its object exists.
//
// Operations may be called from any thread unless said otherwise. Every status change and every
// refused operation is logged. Deleting the object neither stops nor joins the thread: join or
// detach it first; a detached thread may outlive its object, even one deleted right after Start or
// by the thread's own entry.
#ifndef UTIL_OS_LINUX_THREAD_H
#define UTIL_OS_LINUX_THREAD_H

#include <atomic>

#include "util/Export.h"
#include "util/os_linux/Mutex.h"
#include "util/os_linux/StaticLock.h"

class HTML5_VIDEO_API Thread
{
public:
    enum Status
    {
        kNotStarted = 0,  // or joined
        kRunning = 1,
        kDetached = 2,  // and running
        kKilled = 3,
        kExited = 4
    };

    using Entry = void* (*)(void*);

    // A thread to be started. The name is copied and cut to 63 characters, null gives "Undefined".
    // A null entry gives a thread that ends at once. When detached, the thread detaches itself as
    // it starts. A priority above 0 asks for round-robin real-time scheduling at that priority.
    Thread(const char* name, Entry entry, bool detached, int priority);

    // Wraps a thread that runs already, by its POSIX handle.
    Thread(const char* name, unsigned long handle);

    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    ~Thread();

    // Runs entry(argument) on a new thread; the argument's owner keeps it alive. 0, or -1 when the
    // thread could not be created or an earlier one still runs. An exited thread that nobody joined
    // is joined first. The status stays 0 until the new thread runs.
    int Start(void* argument);

    // Waits for the thread to end; the status is 0 afterwards and the object may be started again.
    // Returns pthread_join's result, or -1 when the status is 0 or the thread is detached.
    int Join();

    // Cancels the thread at its next cancellation point and sets status 3. Returns
    // pthread_cancel's result, or -1, and changes nothing, when there is no thread to cancel.
    int Kill();

    // Sends a signal to a running thread: pthread_kill's result, or -1 when it is not running.
    int SendSignal(int signal);

    // Status 1 to 2, so that the thread needs no join: pthread_detach's result, or -1 in any other
    // status.
    int Detach();

    // Stores a status from 0 to 4 and logs the change: 0, or -1 for any other value.
    int SetStatus(int status);

    // Stores the priority and, when the thread runs, applies it. Always 0.
    int SetPriority(int priority);

    // Applies the stored priority: pthread_setschedparam's result (an unprivileged process gets
    // EPERM), or -1 when the thread is not running.
    int SetPriorityImpl();

    // Ends the calling thread, which must be this object's; from another thread it only logs.
    void Exit();

    bool IsRunning() const;
    bool IsStarted() const;

    unsigned long GetThreadHandle() const { return mHandle; }
    int GetThreadPID() const { return mTid; }
    int GetPriority() const { return mPriority; }
    const char* GetThreadName() const { return mName; }
    int GetStatus() const { return mStatus; }

    // The calling thread's POSIX handle, and its kernel thread id.
    static unsigned long GetSelf();
    static int GetTid();

    // The calling thread's registered object, or null when it has none.
    static Thread* GetCurrentThread();
    static bool IsCurrentThread(const Thread* thread);

    // The body of every started thread; the argument is the Thread. Always null.
    static void* ThreadMainHandler(void* thread);

    // 1 when a process exists whose command line begins with the text (at most 256 bytes are
    // compared, a longer text is not found), else 0.
    static int IsProcessRunning(const char* command);

private:
    // Threads made by pthread_create stay joinable until joined or detached, exited ones too.
    bool TakeJoinable() { return mJoinable.exchange(false); }

    // What the started thread runs once it no longer needs the object.
    struct Body
    {
        Entry entry;
        void* argument;
    };

    HTML5_VIDEO_LOCAL Body EnterRunning();
    HTML5_VIDEO_LOCAL static void LeaveRunning(Thread* thread);

    const Entry mEntry;
    std::atomic<unsigned long> mHandle;
    std::atomic<int> mTid;
    std::atomic<int> mPriority;
    char mName[64];
    Mutex* const mMutex;  // guards status changes made by the operations
    void* mArgument;
    void* mResult;
    std::atomic<int> mStatus;
    const bool mDetached;
    std::atomic<bool> mJoinable;
    std::atomic<bool> mEntering;  // from Start until the new thread has read the object
    StaticLock mStartLock;        // one Start at a time; the new thread waits for its end
};

#endif  // UTIL_OS_LINUX_THREAD_H
