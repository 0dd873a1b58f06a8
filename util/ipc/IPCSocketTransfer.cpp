// The waits and transfers of a connection; its life stands in IPCSocket.cpp.
#include <poll.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include "util/ipc/IPCSocket.h"
#include "util/os_linux/FileDescriptor.h"

namespace {
// How far a wait may overshoot its deadline for the sake of one system call less.
constexpr int kOvershootMilliseconds = 10;

timeval ToTimeval(int milliseconds)
{
    return {milliseconds / 1000, milliseconds % 1000 * 1000L};
}

// Milliseconds left, at most INT_MAX; negative for no limit.
int MillisecondsLeft(long long deadline)
{
    if (deadline == IPCSocket::kForever) {
        return -1;
    }
    const long long left = deadline == IPCSocket::kNoWait ? 0 : deadline - MonotonicMilliseconds();
    return static_cast<int>(std::clamp<long long>(left, 0, INT_MAX));
}
}  // namespace

// On a connection the wait is a receive into the read-ahead buffer, which the following Peek and
// Read use: one system call instead of two.
int IPCSocket::Select(int seconds)
{
    if (!HasDescriptor(__func__)) {
        return -1;
    }
    if (seconds < 0) {
        errno = EINVAL;
        return -1;
    }
    const int milliseconds = static_cast<int>(std::min(seconds * 1000LL, 1LL * INT_MAX));
    if (mStatus != kConnected) {
        return WaitForEvents(mDescriptor, POLLIN, milliseconds);
    }
    if (Buffered() > 0) {
        return 1;
    }
    if (milliseconds > 0) {
        SetReceiveTimeout(milliseconds);
    }
    const int result = Fill(milliseconds > 0 ? DeadlineAfter(milliseconds) : kNoWait);
    if (result >= 0) {
        return 1;
    }
    if (errno == EAGAIN) {
        return 0;
    }
    return errno == EBADF || errno == ENOTSOCK ? -1 : 1;  // the next read meets the failure
}

int IPCSocket::Write(void* data, int length)
{
    if (!HasDescriptor(__func__)) {
        return -1;
    }
    return static_cast<int>(
        SendBytes(mDescriptor, data, static_cast<std::size_t>(std::max(length, 0))));
}

int IPCSocket::Read(void* data, int length)
{
    if (!HasDescriptor(__func__)) {
        return -1;
    }
    unsigned char* const bytes = static_cast<unsigned char*>(data);
    int count = 0;
    int received = 1;
    while (count < length && received > 0) {
        received = Receive(bytes + count, length - count, kForever);
        count += std::max(received, 0);
    }
    if (count < length) {
        const int reason = errno;
        std::memset(bytes + count, 0, static_cast<std::size_t>(length - count));
        errno = reason;
    }
    return count == 0 && received < 0 ? -1 : count;
}

int IPCSocket::Peek(void* data, int length)
{
    if (!HasDescriptor(__func__)) {
        return 0;
    }
    if (length <= 0) {
        return 0;
    }
    if (Buffered() == 0) {
        const int filled = Fill(kForever);
        if (filled <= 0) {
            return filled;
        }
    }
    const int buffered = std::min(Buffered(), length);
    std::memcpy(data, mAhead + mAheadBegin, static_cast<std::size_t>(buffered));
    if (buffered == length) {
        return length;
    }
    const ssize_t more = recv(mDescriptor, static_cast<unsigned char*>(data) + buffered,
                              static_cast<std::size_t>(length - buffered), MSG_PEEK | MSG_DONTWAIT);
    return buffered + static_cast<int>(std::max<ssize_t>(more, 0));
}

int IPCSocket::Receive(void* data, int length, long long deadline)
{
    if (Buffered() == 0) {
        if (length >= kChunk) {
            return ReceiveInto(data, kChunk, deadline);
        }
        const int filled = Fill(deadline);
        if (filled <= 0) {
            return filled;
        }
    }
    return TakeBuffered(data, length);
}

int IPCSocket::TakeBuffered(void* data, int length)
{
    const int taken = std::min(Buffered(), length);
    std::memcpy(data, mAhead + mAheadBegin, static_cast<std::size_t>(taken));
    mAheadBegin += taken;
    return taken;
}

// Receives into the empty read-ahead buffer; results as Receive.
int IPCSocket::Fill(long long deadline)
{
    const int received = ReceiveInto(mAhead, kChunk, deadline);
    mAheadBegin = 0;
    mAheadEnd = std::max(received, 0);
    return received;
}

int IPCSocket::ReceiveInto(void* data, int length, long long deadline)
{
    for (;;) {
        const int left = MillisecondsLeft(deadline);
        const bool systemWaits =
            left < 0 || (left > 0 && left + kOvershootMilliseconds >= mReceiveTimeout &&
                         mReceiveTimeout > 0 && left <= mReceiveTimeout);
        if (left > 0 && !systemWaits && WaitForEvents(mDescriptor, POLLIN, left) == 0) {
            errno = EAGAIN;
            return -1;
        }
        const ssize_t received = recv(mDescriptor, data, static_cast<std::size_t>(length),
                                      systemWaits ? 0 : MSG_DONTWAIT);
        const bool again = received < 0 && (errno == EINTR || (errno == EAGAIN && left != 0));
        if (!again) {
            return static_cast<int>(received);
        }
    }
}

int IPCSocket::SendNow(const void* data, int length)
{
    return static_cast<int>(
        SendBytes(mDescriptor, data, static_cast<std::size_t>(length), MSG_DONTWAIT));
}

short IPCSocket::WaitFor(short events, long long deadline)
{
    for (;;) {
        pollfd entry = {mDescriptor, events, 0};
        const int result = poll(&entry, 1, MillisecondsLeft(deadline));
        if (result >= 0 || errno != EINTR) {
            return result > 0 ? entry.revents : static_cast<short>(0);
        }
    }
}

void IPCSocket::SetConnectDeadline(long long deadline)
{
    mConnectDeadline = deadline;
    const int left = MillisecondsLeft(deadline);
    const timeval limit = ToTimeval(left < 0 ? 0 : std::max(left, 1));  // 0 is no limit
    setsockopt(mDescriptor, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
}

void IPCSocket::SetReceiveTimeout(int milliseconds)
{
    if (milliseconds == mReceiveTimeout) {
        return;
    }
    const timeval limit = ToTimeval(milliseconds);
    if (setsockopt(mDescriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit)) == 0) {
        mReceiveTimeout = milliseconds;
    }
}

long long IPCSocket::DeadlineAfter(int milliseconds)
{
    return MonotonicMilliseconds() + std::max(milliseconds, 0);
}
