#include "tests/support/RawPeer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tests/support/support.h"

namespace test {
namespace {
sockaddr_in AddressOf(int port, const std::string& address)
{
    sockaddr_in result = {};
    result.sin_family = AF_INET;
    result.sin_port = htons(static_cast<std::uint16_t>(port));
    inet_pton(AF_INET, address.c_str(), &result.sin_addr);
    return result;
}

sockaddr_un AddressOf(const std::string& path)
{
    sockaddr_un result = {AF_UNIX, {}};
    path.copy(result.sun_path, sizeof(result.sun_path));
    return result;
}

bool IsReadable(int descriptor, int milliseconds)
{
    pollfd entry = {descriptor, POLLIN, 0};
    int ready = 0;
    do {
        ready = poll(&entry, 1, milliseconds);
    } while (ready < 0 && errno == EINTR);  // the fuzzer's alarm
    return ready == 1;
}

RawPeer Retry(const std::function<RawPeer()>& tryToConnect)
{
    RawPeer peer(-1);
    WaitUntil([&] {
        peer = tryToConnect();
        return peer.IsOpen();
    });
    return peer;
}
}  // namespace

std::string Hex(const std::string& digits)
{
    std::string bytes;
    std::string pair;
    for (const char digit : digits) {
        if (std::isxdigit(static_cast<unsigned char>(digit)) != 0) {
            pair += digit;
        }
        if (pair.size() == 2) {
            bytes += static_cast<char>(std::stoi(pair, nullptr, 16));
            pair.clear();
        }
    }
    return bytes;
}

std::string Number(std::int32_t value)
{
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(static_cast<std::uint32_t>(value) >> shift & 0xFF);
    }
    return bytes;
}

std::string Text(const std::string& text)
{
    return text + std::string(4 - text.size() % 4, '\0');
}

std::string Frame(const std::string& method, const std::string& record)
{
    const std::string payload = Hex("00 00 00 47") + Text(method) + record;
    return Number(static_cast<std::int32_t>(payload.size())) + payload;
}

std::string EmptyRecord()
{
    return Hex("00 00 00 48 00 00 00 00");
}

std::string EmptyReply()
{
    return Number(8) + EmptyRecord();
}

RawPeer RawPeer::TryToConnect(int descriptor, const sockaddr* address, socklen_t length)
{
    RawPeer peer(descriptor);
    sockaddr_storage own = {};
    socklen_t size = sizeof(own);
    // Where nobody listens, TCP may join a socket to itself.
    if (connect(descriptor, address, length) != 0 ||
        (address->sa_family == AF_INET &&
         getsockname(descriptor, reinterpret_cast<sockaddr*>(&own), &size) == 0 &&
         std::memcmp(&own, address, length) == 0)) {
        peer.Close();
    }
    return peer;
}

RawPeer RawPeer::TryToConnect(int port, const std::string& address)
{
    const sockaddr_in to = AddressOf(port, address);
    const int on = 1;
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    return TryToConnect(descriptor, reinterpret_cast<const sockaddr*>(&to), sizeof(to));
}

RawPeer RawPeer::Connect(int port, const std::string& address)
{
    return Retry([&] { return TryToConnect(port, address); });
}

RawPeer RawPeer::Connect(const std::string& path)
{
    const sockaddr_un to = AddressOf(path);
    return Retry([&to] {
        return TryToConnect(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0),
                            reinterpret_cast<const sockaddr*>(&to), sizeof(to));
    });
}

bool RawPeer::Send(const std::string& bytes) const
{
    return send(mDescriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(bytes.size());
}

std::string RawPeer::Receive(std::size_t length, int milliseconds) const
{
    std::string bytes;
    while (bytes.size() < length && IsReadable(mDescriptor, milliseconds)) {
        char buffer[65536];
        const ssize_t got =
            recv(mDescriptor, buffer, std::min(sizeof(buffer), length - bytes.size()), 0);
        if (got <= 0) {
            break;
        }
        bytes.append(buffer, static_cast<std::size_t>(got));
    }
    return bytes;
}

std::string RawPeer::ReceiveFrame() const
{
    const std::string word = Receive(4);
    std::uint32_t length = 0;
    for (std::size_t index = 0; index < word.size(); ++index) {
        length |= static_cast<std::uint32_t>(static_cast<unsigned char>(word[index])) << 8 * index;
    }
    return word + Receive(length);
}

bool RawPeer::WaitClosed() const
{
    char byte = 0;
    while (IsReadable(mDescriptor, kPatience)) {
        if (recv(mDescriptor, &byte, 1, 0) <= 0) {
            return true;
        }
    }
    return false;
}

void RawPeer::Close()
{
    if (mDescriptor >= 0) {
        close(mDescriptor);
        mDescriptor = -1;
    }
}

void RawPeer::EndSending() const
{
    shutdown(mDescriptor, SHUT_WR);
}

void RawPeer::Reset()
{
    const linger atOnce = {1, 0};
    setsockopt(mDescriptor, SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
    Close();
}

bool RawPeer::HasInput(int milliseconds) const
{
    return IsReadable(mDescriptor, milliseconds);
}

RawListener::RawListener(int port, const std::string& address)
    : mDescriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    const int on = 1;
    setsockopt(mDescriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    const sockaddr_in at = AddressOf(port, address);
    ListenAt(reinterpret_cast<const sockaddr*>(&at), sizeof(at));
}

RawListener::RawListener(const std::string& path)
    : mDescriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    unlink(path.c_str());
    const sockaddr_un at = AddressOf(path);
    ListenAt(reinterpret_cast<const sockaddr*>(&at), sizeof(at));
}

void RawListener::ListenAt(const sockaddr* address, socklen_t length) const
{
    if (bind(mDescriptor, address, length) != 0 || listen(mDescriptor, 5) != 0) {
        perror("RawListener");
    }
}

RawListener::~RawListener()
{
    close(mDescriptor);
}

RawPeer RawListener::Accept() const
{
    return RawPeer(IsReadable(mDescriptor, kPatience)
                       ? accept4(mDescriptor, nullptr, nullptr, SOCK_CLOEXEC)
                       : -1);
}

bool RawListener::SomebodyConnected() const
{
    return IsReadable(mDescriptor, 0);
}

void RawListener::Shutdown() const
{
    shutdown(mDescriptor, SHUT_RDWR);
}
}  // namespace test
