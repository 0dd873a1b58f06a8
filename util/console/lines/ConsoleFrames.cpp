// The console link's frames: every read has its count, its time limit and its end.
#include <endian.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>

#include "util/console/CmdLanguage.h"
#include "util/console/lines/ConsoleLink.h"
#include "util/console/lines/StopSignal.h"
#include "util/os_linux/FileDescriptor.h"

namespace {
// Milliseconds of silence inside a frame, or of a peer that takes nothing, after which the frame
// is given up.
constexpr int kFrameTimeout = 1000;

bool WouldBlock()
{
    return errno == EAGAIN || errno == EINTR;
}
}  // namespace

// Waits the milliseconds for the frame to begin. On kFull the text is terminated and its length
// stored.
ConsoleLink::Read ConsoleLink::ReceiveFrame(char* line, int milliseconds, int* length)
{
    char magic[4];
    const Read begin = ReadBytes(magic, sizeof(magic), milliseconds);
    if (begin != Read::kFull) {
        return begin;
    }
    std::uint32_t size = 0;
    if (std::memcmp(magic, "TAVI", sizeof(magic)) != 0 ||
        ReadBytes(&size, sizeof(size), kFrameTimeout) != Read::kFull) {
        return Read::kShort;
    }
    size = le32toh(size);
    if (size >= CmdLanguage::kLineSize) {
        Discard(size);
        return Read::kShort;
    }
    if (ReadBytes(line, size, kFrameTimeout) != Read::kFull) {
        return Read::kShort;
    }
    line[size] = '\0';
    *length = static_cast<int>(size);
    return Read::kFull;
}

// One read that waits for its full count: the milliseconds (negative: no limit) for the first
// byte, kFrameTimeout of silence for the others.
ConsoleLink::Read ConsoleLink::ReadBytes(void* buffer, std::size_t size, int milliseconds)
{
    char* const bytes = static_cast<char*>(buffer);
    std::size_t got = 0;
    while (got < size) {
        const ssize_t part = recv(mClient, bytes + got, size - got, MSG_DONTWAIT);
        if (part > 0) {
            got += static_cast<std::size_t>(part);
            continue;
        }
        if (part == 0 || !WouldBlock()) {
            mGone = true;
            return Read::kShort;
        }
        if (mStop.Wait(mClient, POLLIN, got == 0 ? milliseconds : kFrameTimeout) !=
            StopSignal::kReady) {
            return got == 0 ? Read::kSilence : Read::kShort;
        }
    }
    return Read::kFull;
}

// Reads and drops the text of a frame that is too long.
void ConsoleLink::Discard(std::size_t size)
{
    char scratch[CmdLanguage::kLineSize];
    while (size > 0) {
        const std::size_t part = std::min(size, sizeof(scratch));
        if (ReadBytes(scratch, part, kFrameTimeout) != Read::kFull) {
            return;
        }
        size -= part;
    }
}

// One piece, so that it travels in one segment.
bool ConsoleLink::SendFrame(const char* text, std::size_t length)
{
    const std::uint32_t size = htole32(static_cast<std::uint32_t>(length));
    std::string frame = "tavi";
    frame.append(reinterpret_cast<const char*>(&size), sizeof(size)).append(text, length);
    return SendAll(frame.data(), frame.size());
}

// After a frame sent in part the peer cannot follow any more, so it is given up.
bool ConsoleLink::SendAll(const char* data, std::size_t size)
{
    while (size > 0) {
        const ssize_t part = SendBytes(mClient, data, size, MSG_DONTWAIT);
        if (part > 0) {
            data += part;
            size -= static_cast<std::size_t>(part);
        } else if (!WouldBlock() ||
                   mStop.Wait(mClient, POLLOUT, kFrameTimeout) != StopSignal::kReady) {
            shutdown(mClient, SHUT_RDWR);
            return false;
        }
    }
    return true;
}
