// Public. A named thread, listed in the ThreadList as long as its object exists.
//
// Operations may be called from any thread unless said otherwise, also beside each other. Every
// status change and every refused operation is logged. Deleting the object neither stops nor joins
// the thread: join or detach it first, and delete no object that another thread uses; a detached
// thread may outlive its object, even one deleted right after Start or by the thread's own entry.
#ifndef UTIL_OS_LINUX_THREAD_H
#define UTIL_OS_LINUX_THREAD_H

#include <semaphore.h>

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

    // What a thread runs: it is given Start's argument, its result is not used.
    using Entry = void* (*)(void*);

    // A thread to be started. The name is copied and cut to 63 characters, null gives "Undefined".
    // A null entry gives a thread that ends at once. When detached, the thread detaches itself as
    // it starts. A priority above 0 asks for round-robin real-time scheduling at that priority.
    Thread(const char* name, Entry entry, bool detached, int priority);

    // Wraps a thread that runs already, by its POSIX handle. The handle is used until Join, so the
    // thread must not be joined by others, and must not end after it was detached, before that.
    Thread(const char* name, unsigned long handle);

    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    ~Thread();

    // Runs entry(argument) on a new thread; the argument's owner keeps it alive. 0, or -1 when the
    // thread could not be created or an earlier one still runs. A thread that has ended, by itself
    // or by Kill, and that nobody joined is joined first; a Join in progress is awaited. The status
    // stays 0 until the new thread runs.
    int Start(void* argument);

    // Waits for the thread to end; the status is 0 afterwards and the object may be started again.
    // Returns pthread_join's result, or -1 when the status is 0, the thread is detached or another
    // thread is in Join. A cancellation point: cancelled, it leaves the thread to be joined.
    int Join();

    // Cancels the thread at its next cancellation point and sets status 3. Returns
    // pthread_cancel's result, or -1, and changes nothing, when there is no thread to cancel. A
    // Join that waits for the thread returns when it has ended.
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

    // Whether the status is that of a thread that runs, 1 or 2, and whether it is any but 0.
    bool IsRunning() const;
    bool IsStarted() const;

    // The POSIX handle, and the kernel's thread id where it is known; else 0. The priority that was
    // asked for. The name as stored, as long as the object lives. A Status.
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

    // The body of every started thread; the argument is the Thread. Always null. Also the body of
    // a thread of the caller's own, for an object that was not started: the object stands for that
    // thread while it runs, and joining it is left to the caller.
    static void* ThreadMainHandler(void* thread);

    // 1 when a process exists whose command line begins with the text (at most 256 bytes are
    // compared, a longer text is not found), else 0.
    static int IsProcessRunning(const char* command);

private:
    // What binds the object to a POSIX thread. Whoever changes kJoinable to kJoining joins it.
    enum Tie
    {
        kNoThread,  // none; the handle is 0
        kJoinable,
        kJoining,  // one thread is in Join or Start and waits for the end
        kLoose     // detached, or a thread of the host's own: nobody joins it here
    };

    // What the started thread runs once it no longer needs the object.
    struct Body
    {
        Entry entry;
        void* argument;
    };

    class HTML5_VIDEO_LOCAL Joiner;
    struct HTML5_VIDEO_LOCAL Ending;

    template <typename Use>
    HTML5_VIDEO_LOCAL bool WithHandle(Use use);
    HTML5_VIDEO_LOCAL void LogStatus(int status) const;
    HTML5_VIDEO_LOCAL void ReapEnded();
    HTML5_VIDEO_LOCAL Body EnterRunning();
    HTML5_VIDEO_LOCAL static void Leave(Thread* thread, bool exited);

    const Entry mEntry;
    std::atomic<unsigned long> mHandle;  // set and cleared with mLock held
    std::atomic<int> mTid;
    std::atomic<int> mPriority;
    char mName[64];
    Mutex* const mMutex;  // one status change of the operations at a time; taken before mLock
    void* mArgument;
    void* mResult;
    std::atomic<int> mStatus;
    const bool mDetached;
    bool mWrapped;            // a thread that this class did not start, so that its end is not seen
    std::atomic<int> mUsers;  // the thread's own uses of the object, which then must not go
    sem_t mEnd;               // posted once when a joinable thread of this class has ended

    StaticLock mLock;  // the new thread waits for the end of Start; nothing is logged under it
    Tie mTie TAVI_GUARDED_BY(mLock);
    bool mEnded TAVI_GUARDED_BY(mLock);  // of a joinable thread: it has said that it ends
};

#endif  // UTIL_OS_LINUX_THREAD_H
