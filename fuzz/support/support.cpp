#include "fuzz/support/support.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "util/os_linux/Logger.h"

namespace fuzz {
namespace {
sockaddr_un AddressOf(const char* path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path, sizeof(address.sun_path) - 1);
    return address;
}

// Whether the call is to be made again: the fuzzer's own alarm interrupts what waits.
bool Interrupted(ssize_t result)
{
    return result < 0 && errno == EINTR;
}
}  // namespace

void Require(bool condition, const char* text)
{
    if (!condition) {
        std::fprintf(stderr, "broken: %s\n", text);
        std::abort();
    }
}

void QuietLog()
{
    char line[] = "outpath=/dev/null";
    Logger::GetLogger(1)->ParseConfig(line);
    Logger::ChangeMode(2);
}

void QuietOutput()
{
    Require(std::freopen("/dev/null", "w", stdout) != nullptr, "no /dev/null");
}

std::uint8_t Input::TakeByte()
{
    const std::string byte = TakeBytes(1);
    return byte.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(byte[0]);
}

std::uint16_t Input::TakeShort()
{
    const unsigned low = TakeByte();
    return static_cast<std::uint16_t>(low | static_cast<unsigned>(TakeByte()) << 8);
}

std::string Input::TakeBytes(std::size_t length)
{
    const std::size_t taken = std::min(length, mSize);
    std::string bytes(reinterpret_cast<const char*>(mData), taken);
    mData += taken;
    mSize -= taken;
    return bytes;
}

std::string Number(std::uint32_t value)
{
    std::string bytes;
    for (unsigned shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(value >> shift & 0xFF);
    }
    return bytes;
}

std::string Text(const std::string& text)
{
    return text + std::string(4 - text.size() % 4, '\0');
}

int Connect(const char* path)
{
    const sockaddr_un address = AddressOf(path);
    for (int tries = 0; tries < 10000; ++tries) {
        const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) ==
            0) {
            return descriptor;
        }
        close(descriptor);
        usleep(1000);
    }
    Require(false, "nobody listens");
    return -1;
}

int Listen(const char* path)
{
    unlink(path);
    const sockaddr_un address = AddressOf(path);
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    Require(bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 &&
                listen(descriptor, 5) == 0,
            "cannot listen");
    return descriptor;
}

void Send(int socket, const std::string& bytes)
{
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t result = send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (Interrupted(result)) {
            continue;
        }
        if (result <= 0) {
            return;
        }
        sent += static_cast<std::size_t>(result);
    }
}

std::string ReceiveAll(int socket)
{
    std::string bytes;
    char buffer[4096];
    for (;;) {
        pollfd entry = {socket, POLLIN, 0};
        const int ready = poll(&entry, 1, 10000);
        if (Interrupted(ready)) {
            continue;
        }
        Require(ready == 1, "the peer is silent");
        const ssize_t got = recv(socket, buffer, sizeof(buffer), MSG_DONTWAIT);
        if (got <= 0) {
            return bytes;
        }
        bytes.append(buffer, static_cast<std::size_t>(got));
    }
}
}  // namespace fuzz
