#include "util/ipc/StreamSocket.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include "util/ipc/GatherList.h"
#include "util/os_linux/FileDescriptor.h"

namespace {
// How much room is made ahead of what has arrived of a frame.
constexpr int kGrowth = 65536;

// How far a wait may overshoot its deadline for the sake of one system call less.
constexpr int kOvershootMilliseconds = 10;

union Address
{
    sockaddr any;
    sockaddr_in inet;
    sockaddr_un local;
};

// The address that a socket is bound to; zeros behind the family when it is not.
Address OwnAddress(int descriptor)
{
    Address own = {};
    socklen_t size = sizeof(own);
    getsockname(descriptor, &own.any, &size);
    return own;
}

bool IdentifyFile(const char* path, unsigned long long (&file)[2])
{
    struct stat status = {};
    const bool found = lstat(path, &status) == 0;
    file[0] = status.st_dev;
    file[1] = status.st_ino;
    return found;
}

// False leaves errno with the reason.
bool SetLimit(int descriptor, int option, int milliseconds)
{
    const timeval limit = {milliseconds / 1000, milliseconds % 1000 * 1000L};  // 0 is no limit
    return setsockopt(descriptor, SOL_SOCKET, option, &limit, sizeof(limit)) == 0;
}

// Milliseconds left, at most INT_MAX; negative for no limit.
int MillisecondsLeft(long long deadline)
{
    if (deadline == StreamSocket::kForever) {
        return -1;
    }
    const long long left =
        deadline == StreamSocket::kNoWait ? 0 : deadline - MonotonicMilliseconds();
    return static_cast<int>(std::clamp<long long>(left, 0, INT_MAX));
}
}  // namespace

long long StreamSocket::DeadlineAfter(int milliseconds)
{
    return MonotonicMilliseconds() + std::max(milliseconds, 0);
}

void StreamSocket::Renew(int descriptor)
{
    mReceiveTimeout = 0;
    mConnectDeadline = kForever;
    mAheadBegin = mAheadEnd = 0;
    mDescriptor = descriptor;
}

int StreamSocket::Close()
{
    const int descriptor = mDescriptor;
    mFrame.Release();
    if (descriptor >= 0) {
        // Once it is closed, the number may be another file's: a Shutdown of another thread comes
        // before, or finds none.
        const StaticLockHold hold(mCloseLock);
        mDescriptor = -1;
        close(descriptor);
    }
    return descriptor;
}

void StreamSocket::Shutdown()
{
    const StaticLockHold hold(mCloseLock);
    if (mDescriptor >= 0) {
        shutdown(mDescriptor, SHUT_RDWR);
    }
}

bool StreamSocket::Bind(const sockaddr* address, socklen_t length)
{
    if (bind(mDescriptor, address, length) < 0) {
        return false;
    }
    if (address->sa_family == AF_UNIX) {
        IdentifyFile(reinterpret_cast<const sockaddr_un*>(address)->sun_path, mFile);
    }
    return true;
}

bool StreamSocket::IsBound(int descriptor)
{
    const Address own = OwnAddress(descriptor);
    return own.any.sa_family == AF_UNIX ? own.local.sun_path[0] != '\0' : own.inet.sin_port != 0;
}

bool StreamSocket::IsReachable() const
{
    Address own = OwnAddress(mDescriptor);
    if (own.any.sa_family == AF_UNIX) {
        // While this socket lives, no other file can have its file's number.
        unsigned long long file[2];
        return IdentifyFile(own.local.sun_path, file) && file[0] == mFile[0] && file[1] == mFile[1];
    }
    // Only an address of this machine can be bound.
    own.inet.sin_port = 0;
    const ScopedDescriptor probe(OpenSocket(AF_INET, SOCK_STREAM, 0));
    return bind(probe.Get(), &own.any, sizeof(own.inet)) == 0;
}

void StreamSocket::WaitForInputOr(int event) const
{
    pollfd entries[] = {{mDescriptor, POLLIN, 0}, {event, POLLIN, 0}};
    WaitForAny(entries, 2, -1);
}

// A connect that a signal interrupts, or whose slice is over, goes on in the background; once that
// has ended, another one says how. On a UNIX-domain socket it begins anew.
bool StreamSocket::Connect(const sockaddr* address, socklen_t length)
{
    while (connect(mDescriptor, address, length) < 0) {
        if (errno != EINTR && errno != EINPROGRESS && errno != EALREADY && errno != EAGAIN) {
            return false;
        }
        if (WaitFor(POLLOUT, mConnectDeadline) == 0 || MillisecondsLeft(mConnectDeadline) == 0 ||
            mInterrupted) {
            errno = ETIMEDOUT;
            return false;
        }
        SetConnectDeadline(mConnectDeadline);
    }
    return true;
}

// Nobody listened on the port, and the system chose that very port for this side, whereupon TCP
// joins the two. The fixed ports lie in the range that it chooses from.
bool StreamSocket::IsConnectedToItself() const
{
    const Address own = OwnAddress(mDescriptor);
    sockaddr_in peer = {};
    socklen_t size = sizeof(peer);
    return own.any.sa_family == AF_INET &&
           getpeername(mDescriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
           own.inet.sin_port == peer.sin_port && own.inet.sin_addr.s_addr == peer.sin_addr.s_addr;
}

// The send limit bounds connect, too: it returns after a slice to look whether it was interrupted.
void StreamSocket::SetConnectDeadline(long long deadline)
{
    mConnectDeadline = deadline;
    const int left = MillisecondsLeft(deadline);
    SetLimit(mDescriptor, SO_SNDTIMEO, left < 0 ? 0 : std::clamp(left, 1, kInterruptSlice));
}

void StreamSocket::SetReceiveTimeout(int milliseconds)
{
    if (milliseconds != mReceiveTimeout && SetLimit(mDescriptor, SO_RCVTIMEO, milliseconds)) {
        mReceiveTimeout = milliseconds;
    }
}

bool StreamSocket::IsAlive() const
{
    pollfd entry = {mDescriptor, POLLRDHUP, 0};
    return WaitForAny(&entry, 1, 0) == 0;
}

int StreamSocket::Select(int milliseconds)
{
    if (milliseconds > 0) {
        SetReceiveTimeout(milliseconds);
    }
    const Outcome outcome = Fetch(milliseconds > 0 ? DeadlineAfter(milliseconds) : kNoWait);
    if (outcome == Outcome::kLate) {
        return 0;
    }
    // The next read meets any other failure.
    const bool unusable = outcome == Outcome::kFailed && (errno == EBADF || errno == ENOTSOCK);
    return unusable ? -1 : 1;
}

int StreamSocket::Peek(void* data, int length) const
{
    const int ahead = std::min(Buffered(), length);
    std::memcpy(data, mAhead + mAheadBegin, static_cast<std::size_t>(ahead));
    if (ahead == length) {
        return length;
    }
    const ssize_t more = recv(mDescriptor, static_cast<unsigned char*>(data) + ahead,
                              static_cast<std::size_t>(length - ahead), MSG_PEEK | MSG_DONTWAIT);
    return ahead + static_cast<int>(std::max<ssize_t>(more, 0));
}

Outcome StreamSocket::ReceiveFrame(int length, long long deadline, int& count)
{
    Outcome outcome = Outcome::kDone;
    while (count < length && outcome == Outcome::kDone) {
        if (!mFrame.Reserve(static_cast<std::size_t>(std::min(length, count + kGrowth)))) {
            errno = ENOMEM;
            return Outcome::kFailed;
        }
        const int room = std::min(length, static_cast<int>(mFrame.Capacity()));
        outcome = ReceiveAll(mFrame.Data(), room, deadline, count);
    }
    return outcome;
}

// From what is there ahead; what is less than a chunk by way of there.
Outcome StreamSocket::ReceiveAll(void* data, int length, long long deadline, int& count)
{
    unsigned char* const bytes = static_cast<unsigned char*>(data);
    Outcome outcome = Outcome::kDone;
    while (count < length && outcome == Outcome::kDone) {
        if (Buffered() > 0) {
            const int taken = std::min(Buffered(), length - count);
            std::memcpy(bytes + count, mAhead + mAheadBegin, static_cast<std::size_t>(taken));
            mAheadBegin += taken;
            count += taken;
        } else if (length - count < kChunk) {
            outcome = Fill(deadline);
        } else {
            outcome = ReceiveInto(bytes + count, length - count, MSG_WAITALL, deadline, count);
        }
    }
    return outcome;
}

int StreamSocket::Read(void* data, int length, long long deadline)
{
    int count = 0;
    Outcome outcome = Outcome::kDone;
    while (count < length && outcome == Outcome::kDone) {
        outcome = ReceiveAll(data, std::min(length, count + kChunk), deadline, count);
    }
    if (count < length) {
        std::memset(static_cast<unsigned char*>(data) + count, 0,
                    static_cast<std::size_t>(length - count));
    }
    const bool failed = outcome == Outcome::kFailed || outcome == Outcome::kLate;
    return failed && count == 0 ? -1 : count;
}

Outcome StreamSocket::Drop(int& left, long long deadline)
{
    unsigned char dropped[kChunk];
    Outcome outcome = Outcome::kDone;
    while (left > 0 && outcome == Outcome::kDone) {
        int count = 0;
        outcome = ReceiveAll(dropped, std::min(left, kChunk), deadline, count);
        left -= count;
    }
    return outcome;
}

// Receives into the read-ahead buffer, which is empty.
Outcome StreamSocket::Fill(long long deadline)
{
    mAheadBegin = mAheadEnd = 0;
    return ReceiveInto(mAhead, kChunk, 0, deadline, mAheadEnd);
}

// With flags for a recv that does the wait itself.
Outcome StreamSocket::ReceiveInto(void* data, int length, int flags, long long deadline, int& count)
{
    for (;;) {
        const int left = MillisecondsLeft(deadline);
        // recv itself waits for as long as the receive time-out. Where the deadline is not nearer
        // than that, it does the whole wait, and no poll goes before it.
        const bool systemWaits =
            left < 0 || (mReceiveTimeout > 0 && left >= mReceiveTimeout - kOvershootMilliseconds);
        if (left > 0 && !systemWaits && WaitForEvents(mDescriptor, POLLIN, left) == 0) {
            return Outcome::kLate;
        }
        const ssize_t received = recv(mDescriptor, data, static_cast<std::size_t>(length),
                                      systemWaits ? flags : MSG_DONTWAIT);
        if (received >= 0) {
            count += static_cast<int>(received);
            // With less than all that was waited for, recv met the end of its time-out.
            if (flags != 0 && received < length && mInterrupted) {
                errno = ECANCELED;
                return Outcome::kFailed;
            }
            return received > 0 ? Outcome::kDone : Outcome::kClosed;
        }
        if (errno == EAGAIN && left == 0) {
            return Outcome::kLate;
        }
        // EAGAIN with time left: the time-out ended recv, not the deadline. Every such turn is a
        // chance to be interrupted.
        if (errno != EINTR && errno != EAGAIN) {
            return Outcome::kFailed;
        }
        if (mInterrupted) {
            errno = ECANCELED;
            return Outcome::kFailed;
        }
    }
}

// One piece by send: the system takes 0.2 microseconds more for a list.
int StreamSocket::SendNow(GatherList& list)
{
    constexpr int kFlags = MSG_DONTWAIT | MSG_NOSIGNAL;
    iovec* const pieces = list.Pieces();
    if (list.Count() == 1) {
        return static_cast<int>(send(mDescriptor, pieces->iov_base, pieces->iov_len, kFlags));
    }
    msghdr message = {};
    message.msg_iov = pieces;
    message.msg_iovlen = list.Count();
    return static_cast<int>(sendmsg(mDescriptor, &message, kFlags));
}

short StreamSocket::WaitFor(short events, long long deadline)
{
    for (;;) {
        const int left = MillisecondsLeft(deadline);
        const int slice = left < 0 ? kInterruptSlice : std::min(left, kInterruptSlice);
        pollfd entry = {mDescriptor, events, 0};
        const int result = poll(&entry, 1, slice);
        if (result > 0) {
            return entry.revents;
        }
        const bool goesOn = result < 0 ? errno == EINTR : slice != left;
        if (!goesOn || mInterrupted) {
            return 0;
        }
    }
}
