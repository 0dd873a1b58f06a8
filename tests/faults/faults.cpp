#include "tests/faults/faults.h"

#include <dlfcn.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {
char armedCall[32];
std::atomic<bool> isArmed{false};
std::atomic<int> seen{0};
int armedNth = 0;
int armedError = 0;

enum class Verdict
{
    kPass,
    kFail,
    kShort
};

// Counts the call when it is the armed one.
Verdict Judge(const char* call)
{
    if (!isArmed.load(std::memory_order_acquire) || std::strcmp(call, armedCall) != 0 ||
        ++seen != armedNth) {
        return Verdict::kPass;
    }
    errno = armedError;
    return armedError == 0 ? Verdict::kShort : Verdict::kFail;
}

template <typename Function>
Function Real(const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

__attribute__((constructor)) void ArmFromEnvironment()
{
    const char* const setting = std::getenv("FAULTS");
    char call[32];
    int nth = 0;
    int error = 0;
    if (setting != nullptr && std::sscanf(setting, "%31[^:]:%d:%d", call, &nth, &error) == 3) {
        faults_arm(call, nth, error);
    }
}
}  // namespace

void faults_arm(const char* call, int nth, int error)
{
    std::snprintf(armedCall, sizeof(armedCall), "%s", call);
    armedNth = nth;
    armedError = error;
    seen = 0;
    isArmed.store(true, std::memory_order_release);
}

int faults_disarm(void)
{
    isArmed = false;
    return seen;
}

// A call that goes by another name where times have 64 bits, and fails with that result; one that
// fails with -1, and one that moves bytes and may fall short.
#define FAULT_ALIAS(failure, name, symbol, parameters, arguments)          \
    extern "C" int symbol parameters                                       \
    {                                                                      \
        static const auto real = Real<int(*) parameters>(#symbol);         \
        return Judge(name) == Verdict::kFail ? (failure) : real arguments; \
    }

#define FAULT_CALL(name, parameters, arguments) FAULT_ALIAS(-1, #name, name, parameters, arguments)

#define FAULT_TRANSFER(name, parameters, arguments)                     \
    extern "C" ssize_t name parameters                                  \
    {                                                                   \
        static const auto real = Real<ssize_t(*) parameters>(#name);    \
        const Verdict verdict = Judge(#name);                           \
        length = verdict == Verdict::kShort && length > 1 ? 1 : length; \
        return verdict == Verdict::kFail ? -1 : real arguments;         \
    }

FAULT_CALL(socket, (int domain, int type, int protocol), (domain, type, protocol))
FAULT_CALL(bind, (int fd, const sockaddr* address, socklen_t length), (fd, address, length))
FAULT_CALL(listen, (int fd, int backlog), (fd, backlog))
FAULT_CALL(connect, (int fd, const sockaddr* address, socklen_t length), (fd, address, length))
FAULT_CALL(accept4, (int fd, sockaddr* address, socklen_t* length, int flags),
           (fd, address, length, flags))
FAULT_CALL(setsockopt, (int fd, int level, int option, const void* value, socklen_t length),
           (fd, level, option, value, length))
FAULT_CALL(poll, (pollfd * entries, nfds_t count, int milliseconds), (entries, count, milliseconds))
FAULT_CALL(eventfd, (unsigned count, int flags), (count, flags))
FAULT_CALL(fork, (), ())
FAULT_TRANSFER(read, (int fd, void* data, size_t length), (fd, data, length))
FAULT_TRANSFER(recv, (int fd, void* data, size_t length, int flags), (fd, data, length, flags))
FAULT_TRANSFER(write, (int fd, const void* data, size_t length), (fd, data, length))
FAULT_TRANSFER(send, (int fd, const void* data, size_t length, int flags),
               (fd, data, length, flags))

// What code with 64-bit times calls where a long has 32 bits.
FAULT_ALIAS(-1, "setsockopt", __setsockopt64,
            (int fd, int level, int option, const void* value, socklen_t length),
            (fd, level, option, value, length))
FAULT_ALIAS(-1, "open", open64, (const char* path, int flags, mode_t mode), (path, flags, mode))

// The second name is that of 64-bit times, too.
#define FAULT_SEND_MESSAGE(name)                                                             \
    extern "C" ssize_t name(int fd, const msghdr* message, int flags)                        \
    {                                                                                        \
        static const auto real = Real<ssize_t (*)(int, const msghdr*, int)>(#name);          \
        const Verdict verdict = Judge("sendmsg");                                            \
        return verdict == Verdict::kFail    ? -1                                             \
               : verdict == Verdict::kShort ? send(fd, message->msg_iov->iov_base, 1, flags) \
                                            : real(fd, message, flags);                      \
    }

FAULT_SEND_MESSAGE(sendmsg)
FAULT_SEND_MESSAGE(__sendmsg64)

FAULT_ALIAS(armedError, "pthread_create", pthread_create,
            (pthread_t * thread, const pthread_attr_t* attributes, void* (*entry)(void*),
             void* argument),
            (thread, attributes, entry, argument))

extern "C" void* __libc_malloc(size_t size);
extern "C" void* __libc_realloc(void* block, size_t size);

extern "C" void* malloc(size_t size)
{
    return Judge("malloc") == Verdict::kFail ? nullptr : __libc_malloc(size);
}

extern "C" void* realloc(void* block, size_t size)
{
    return Judge("malloc") == Verdict::kFail ? nullptr : __libc_realloc(block, size);
}
