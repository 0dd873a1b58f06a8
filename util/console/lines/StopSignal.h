// Internal. Tells a thread that waits for a descriptor, sleeps or loops to stop: because somebody
// raised the signal, from any thread, or because the client that the thread works for has been gone
// for its time. Waited on by one thread, which also watches the client.
#ifndef UTIL_CONSOLE_LINES_STOPSIGNAL_H
#define UTIL_CONSOLE_LINES_STOPSIGNAL_H

#include <atomic>

#include "util/os_linux/FileDescriptor.h"

class StopSignal
{
public:
    enum Outcome
    {
        kReady,
        kTimeout,
        kStopped
    };

    StopSignal() : mState(0), mEvent(OpenEvent()) {}

    // Raising wakes the waiter, and every later wait returns at once until the signal is cleared.
    void Raise();
    void Clear();

    // Watches the connected socket of a client (-1: none) from now on: when it has been gone for
    // the seconds (negative: never), the signal counts as raised until the next call. Whoever
    // closes the socket ends the watch before. Only Look and Sleep notice that it has gone.
    void Watch(int client, int seconds);

    // Looks after the client, at most ten times a second however often it is called.
    void Look();

    // Whether the client was gone for its time.
    bool HasLapsed() const { return (mState.load(std::memory_order_relaxed) & kLapsed) != 0; }

    // Whether the thread is to stop, for either reason.
    // Relaxed, since nothing is handed over with it: a loop only has to see it soon.
    bool IsRaised() const { return mState.load(std::memory_order_relaxed) != 0; }

    // Sleeps, and ends early once the thread is to stop.
    void Sleep(int milliseconds);

    // Waits for one of the poll events on the descriptor, at most the milliseconds (negative: no
    // limit). Without a descriptor (-1) it only sleeps. An error of the descriptor counts as
    // ready: the operation that follows reports it.
    Outcome Wait(int descriptor, short events, int milliseconds) const;

private:
    static constexpr unsigned kRaised = 1;
    static constexpr unsigned kLapsed = 2;

    std::atomic<unsigned> mState;
    const ScopedDescriptor mEvent;

    // Of the waiting thread.
    int mClient = -1;  // not watched, or for ever
    int mSeconds = 0;
    bool mGone = false;
    long long mNextLook = 0;  // in MonotonicMilliseconds; once it has gone, the end of its time
};

#endif  // UTIL_CONSOLE_LINES_STOPSIGNAL_H
