#include "util/os_linux/FileDescriptor.h"

#include <fcntl.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <ctime>

#include "util/os_linux/CancelGuard.h"

namespace {
constexpr int kFirstOwn = 3;

// Moves a descriptor out of the range of the standard streams.
int KeepAboveStandard(int descriptor)
{
    if (descriptor < 0 || descriptor >= kFirstOwn) {
        return descriptor;
    }
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, kFirstOwn);
    const int reason = errno;
    close(descriptor);
    errno = reason;
    return moved;
}
}  // namespace

int OpenDescriptor(const char* path, int flags, mode_t mode)
{
    return KeepAboveStandard(
        RestartInterrupted([=] { return open(path, flags | O_CLOEXEC, mode); }));
}

int OpenSocket(int domain, int type, int protocol)
{
    return KeepAboveStandard(socket(domain, type | SOCK_CLOEXEC, protocol));
}

int AcceptSocket(int listener, sockaddr* peer, socklen_t* length)
{
    return KeepAboveStandard(
        RestartInterrupted([=] { return accept4(listener, peer, length, SOCK_CLOEXEC); }));
}

int OpenEvent()
{
    return KeepAboveStandard(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
}

ssize_t SendBytes(int socket, const void* data, std::size_t length, int flags)
{
    return RestartInterrupted([=] { return send(socket, data, length, flags | MSG_NOSIGNAL); });
}

ssize_t WriteBytes(int descriptor, const void* data, std::size_t length)
{
    return RestartInterrupted([=] { return write(descriptor, data, length); });
}

int WaitForEvents(int descriptor, short events, int milliseconds)
{
    pollfd entry = {descriptor, events, 0};
    return WaitForAny(&entry, 1, milliseconds);
}

int WaitForAny(pollfd* entries, nfds_t count, int milliseconds)
{
    const long long deadline = milliseconds < 0 ? 0 : MonotonicMilliseconds() + milliseconds;
    int left = milliseconds;
    for (;;) {
        const int result = poll(entries, count, left);
        if (result >= 0 || errno != EINTR) {
            return result;
        }
        if (milliseconds >= 0) {
            left = static_cast<int>(std::max(0LL, deadline - MonotonicMilliseconds()));
        }
    }
}

long long MonotonicMilliseconds()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<long long>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

ScopedDescriptor::~ScopedDescriptor()
{
    if (mDescriptor >= 0) {
        const CancelGuard guard;
        close(mDescriptor);
    }
}
