#include "tools/console/Interrupt.h"

#include <fcntl.h>
#include <unistd.h>
#include <csignal>

#include <cerrno>

namespace {
int gPipe[2] = {-1, -1};

void OnInterrupt(int /*signal*/)
{
    const int reason = errno;
    static_cast<void>(!write(gPipe[1], "", 1));
    errno = reason;
}
}  // namespace

void Interrupt::Catch()
{
    if (gPipe[0] < 0 && pipe2(gPipe, O_CLOEXEC | O_NONBLOCK) == 0) {
        struct sigaction action = {};
        action.sa_handler = OnInterrupt;
        sigaction(SIGINT, &action, nullptr);
    }
}

int Interrupt::Descriptor()
{
    return gPipe[0];
}

bool Interrupt::Take()
{
    char bytes[64];
    return read(gPipe[0], bytes, sizeof(bytes)) > 0;
}
