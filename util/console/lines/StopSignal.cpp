#include "util/console/lines/StopSignal.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>

namespace {
constexpr int kLookInterval = 100;  // milliseconds
}

void StopSignal::Raise()
{
    mState.fetch_or(kRaised);
    const std::uint64_t one = 1;
    WriteBytes(mEvent.Get(), &one, sizeof(one));
}

void StopSignal::Clear()
{
    std::uint64_t count = 0;
    static_cast<void>(!read(mEvent.Get(), &count, sizeof(count)));
    mState.fetch_and(~kRaised);
}

void StopSignal::Watch(int client, int seconds)
{
    mClient = seconds < 0 ? -1 : client;
    mSeconds = seconds;
    mGone = false;
    mNextLook = 0;
    mState.fetch_and(~kLapsed);
}

void StopSignal::Look()
{
    const long long now = mClient < 0 ? -1 : MonotonicMilliseconds();
    if (now < mNextLook) {
        return;
    }
    pollfd entry = {mClient, POLLRDHUP, 0};
    if (mGone) {
        mState.fetch_or(kLapsed);
    } else if (poll(&entry, 1, 0) > 0) {
        mGone = true;
        mNextLook = now + 1000LL * mSeconds;
    } else {
        mNextLook = now + kLookInterval;
    }
}

void StopSignal::Sleep(int milliseconds)
{
    const long long end = MonotonicMilliseconds() + milliseconds;
    for (;;) {
        Look();
        const long long left = end - MonotonicMilliseconds();
        if (left <= 0 || IsRaised()) {
            return;
        }
        const long long slice = mClient < 0 ? left : std::min<long long>(left, kLookInterval);
        Wait(-1, 0, static_cast<int>(slice));
    }
}

StopSignal::Outcome StopSignal::Wait(int descriptor, short events, int milliseconds) const
{
    pollfd entries[] = {{mEvent.Get(), POLLIN, 0}, {descriptor, events, 0}};
    const int result = WaitForAny(entries, 2, milliseconds);
    if (IsRaised()) {
        return kStopped;
    }
    return result == 0 ? kTimeout : kReady;
}
