#include "tools/browser/LineReader.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>

namespace {
constexpr std::size_t kMaxLine = 65536;
}

LineReader::Result LineReader::Read(std::string& line, int milliseconds)
{
    while (!TakeLine(line)) {
        if (mAtEnd) {
            return kEnd;
        }
        if (!Fill(milliseconds)) {
            return kNothingYet;
        }
    }
    return kLine;
}

bool LineReader::TakeLine(std::string& line)
{
    const std::size_t end = mBuffer.find('\n');
    const bool rest = mAtEnd && !mBuffer.empty();
    if (end == std::string::npos && !rest && mBuffer.size() < kMaxLine) {
        return false;
    }
    line = mBuffer.substr(0, end);
    mBuffer.erase(0, end == std::string::npos ? end : end + 1);
    return true;
}

// False when nothing came in time.
bool LineReader::Fill(int milliseconds)
{
    pollfd events = {mDescriptor, POLLIN, 0};
    if (poll(&events, 1, milliseconds) <= 0) {
        return false;
    }
    char bytes[4096];
    const ssize_t count = read(mDescriptor, bytes, sizeof(bytes));
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) {
        return false;
    }
    mAtEnd = count <= 0;
    if (count > 0) {
        mBuffer.append(bytes, static_cast<std::size_t>(count));
    }
    return true;
}
