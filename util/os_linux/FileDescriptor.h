// Internal. Descriptors as the whole library makes them: close-on-exec, and never 0, 1 or 2, so
// that a process started without standard streams does not write its output to a peer.
#ifndef UTIL_OS_LINUX_FILEDESCRIPTOR_H
#define UTIL_OS_LINUX_FILEDESCRIPTOR_H

#include <poll.h>
#include <sys/socket.h>
#include <sys/types.h>

#include <cerrno>
#include <cstddef>

// Calls again as long as a signal interrupts; the result of the last call.
template <typename Call>
auto RestartInterrupted(Call call)
{
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

// Each returns a descriptor of 3 or more that the caller closes, or -1 with errno set.
[[gnu::cold]] int OpenDescriptor(const char* path, int flags, mode_t mode = 0);
[[gnu::cold]] int OpenSocket(int domain, int type, int protocol);
[[gnu::cold]] int AcceptSocket(int listener, sockaddr* peer, socklen_t* length);

// An event counter at 0: readable while the counter is above 0, never blocking.
[[gnu::cold]] int OpenEvent();

// send with EINTR restarted and no SIGPIPE: the bytes written, or -1 with errno set.
ssize_t SendBytes(int socket, const void* data, std::size_t length, int flags = 0);

// write with EINTR restarted: the bytes written, or -1 with errno set.
ssize_t WriteBytes(int descriptor, const void* data, std::size_t length);

// Waits until one of the poll events is there: 1, 0 when the milliseconds ran out (negative: no
// limit), -1 with errno set. A signal does not shorten or lengthen the wait.
[[gnu::cold]] int WaitForEvents(int descriptor, short events, int milliseconds);

// The same for several descriptors, whose events are stored in the entries; negative descriptors
// are passed over. The number of entries with events, 0 or -1.
[[gnu::cold]] int WaitForAny(pollfd* entries, nfds_t count, int milliseconds);

// Milliseconds of the monotonic clock, for deadlines.
long long MonotonicMilliseconds();

// Owns a descriptor for a scope.
class ScopedDescriptor
{
public:
    explicit ScopedDescriptor(int descriptor) : mDescriptor(descriptor) {}
    ScopedDescriptor(const ScopedDescriptor&) = delete;
    ScopedDescriptor& operator=(const ScopedDescriptor&) = delete;
    ~ScopedDescriptor();

    int Get() const { return mDescriptor; }
    bool IsOpen() const { return mDescriptor >= 0; }

private:
    const int mDescriptor;
};

#endif  // UTIL_OS_LINUX_FILEDESCRIPTOR_H
