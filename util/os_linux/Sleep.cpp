#include "util/os_linux/Sleep.h"

#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <limits>

extern "C" void NanoSleep(unsigned int aSeconds, unsigned int aNanoseconds)
{
    // Where a time_t has 31 bits, 68 years are the longest sleep.
    constexpr unsigned long long kLongest = std::numeric_limits<time_t>::max();
    const timespec length = {static_cast<time_t>(std::min<unsigned long long>(aSeconds, kLongest)),
                             static_cast<long>(aNanoseconds)};
    nanosleep(&length, nullptr);
}

extern "C" void Sleep(unsigned int aSeconds)
{
    sleep(aSeconds);
}

// In seconds and nanoseconds rather than through usleep, whose argument would overflow after 71
// minutes.
extern "C" void MSleep(unsigned int aMilliseconds)
{
    NanoSleep(aMilliseconds / 1000, aMilliseconds % 1000 * 1000000);
}

extern "C" void USleep(unsigned int aMicroseconds)
{
    usleep(aMicroseconds);
}
