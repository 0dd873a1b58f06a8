#include "util/console/lines/StopSignal.h"

#include <poll.h>
#include <unistd.h>

#include <cstdint>

void StopSignal::Raise()
{
    mRaised = true;
    const std::uint64_t one = 1;
    WriteBytes(mEvent.Get(), &one, sizeof(one));
}

void StopSignal::Clear()
{
    std::uint64_t count = 0;
    static_cast<void>(!read(mEvent.Get(), &count, sizeof(count)));
    mRaised = false;
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
