#include "util/console/lines/StandardInput.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>

#include "util/console/lines/StopSignal.h"

int StandardInput::ReadLine(char* line, std::size_t size, const StopSignal& stop)
{
    std::size_t length = 0;
    while (length + 1 < size && (mNext < mEnd || Fill(stop))) {
        line[length] = mBuffer[mNext++];
        if (line[length++] == '\n') {
            break;
        }
    }
    line[length] = '\0';
    return length > 0 ? static_cast<int>(length) : -1;
}

bool StandardInput::Fill(const StopSignal& stop)
{
    ssize_t got = -1;
    do {
        if (stop.Wait(STDIN_FILENO, POLLIN, -1) != StopSignal::kReady) {
            return false;
        }
        got = read(STDIN_FILENO, mBuffer, sizeof(mBuffer));
    } while (got < 0 && (errno == EINTR || errno == EAGAIN));
    mNext = 0;
    mEnd = got > 0 ? static_cast<std::size_t>(got) : 0;
    return got > 0;
}
