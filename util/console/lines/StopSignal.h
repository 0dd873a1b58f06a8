// Internal. Tells a thread that waits for a descriptor, sleeps or loops to stop. Raised from any
// thread, waited on by one.
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

    StopSignal() : mRaised(false), mEvent(OpenEvent()) {}

    // Raising wakes the waiter, and every later wait returns at once until the signal is cleared.
    void Raise();
    void Clear();
    // Relaxed, since nothing is handed over with it: a loop only has to see it soon.
    bool IsRaised() const { return mRaised.load(std::memory_order_relaxed); }

    // Waits for one of the poll events on the descriptor, at most the milliseconds (negative: no
    // limit). Without a descriptor (-1) it only sleeps. An error of the descriptor counts as
    // ready: the operation that follows reports it.
    Outcome Wait(int descriptor, short events, int milliseconds) const;

private:
    std::atomic<bool> mRaised;
    const ScopedDescriptor mEvent;
};

#endif  // UTIL_CONSOLE_LINES_STOPSIGNAL_H
