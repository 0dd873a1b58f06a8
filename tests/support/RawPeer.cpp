#include "tests/support/RawPeer.h"

#include <arpa/inet.h>
#include <endian.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tests/support/support.h"

namespace test {
namespace {
int ListenAt(const Address& address)
{
    const int on = 1;
    const int descriptor = socket(address.any.sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    if (address.any.sa_family == AF_UNIX) {
        unlink(address.local.sun_path);
    }
    if (bind(descriptor, &address.any, sizeof(address.local)) != 0 || listen(descriptor, 5) != 0) {
        perror("RawListener");
    }
    return descriptor;
}
}  // namespace

Address::Address(int port, const char* host)
{
    tcp.sin_family = AF_INET;
    tcp.sin_port = htons(static_cast<std::uint16_t>(port));
    inet_pton(AF_INET, host, &tcp.sin_addr);
}

Address::Address(const char* path)
{
    local.sun_family = AF_UNIX;
    std::strncpy(local.sun_path, path, sizeof(local.sun_path) - 1);
}

std::string Hex(std::string digits)
{
    digits.erase(std::remove_if(digits.begin(), digits.end(),
                                [](unsigned char digit) { return std::isxdigit(digit) == 0; }),
                 digits.end());
    std::string bytes;
    for (std::size_t at = 0; at < digits.size(); at += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16));
    }
    return bytes;
}

std::string Number(std::int32_t value)
{
    const std::uint32_t word = htole32(static_cast<std::uint32_t>(value));
    return std::string(reinterpret_cast<const char*>(&word), sizeof(word));
}

std::string Text(const std::string& text)
{
    return text + std::string(4 - text.size() % 4, '\0');
}

std::string Integers(const std::vector<int>& values)
{
    std::string record = Hex("00 00 00 48") + Text(std::string(values.size(), 'i'));
    for (const int value : values) {
        record += Text("a") + Number(value);
    }
    return record;
}

std::string EmptyRecord()
{
    return Integers({});
}

std::string Frame(const std::string& method, const std::string& record)
{
    return Reply(Hex("00 00 00 47") + Text(method) + record);
}

std::string Reply(const std::string& record)
{
    return Number(static_cast<std::int32_t>(record.size())) + record;
}

std::string EmptyReply()
{
    return Reply(EmptyRecord());
}

RawPeer RawPeer::TryToConnect(const Address& to)
{
    const int on = 1;
    RawPeer peer(socket(to.any.sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    setsockopt(peer.mDescriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    Address own(0);
    socklen_t size = sizeof(own.local);
    // Where nobody listens, TCP may join a socket to itself.
    if (connect(peer.mDescriptor, &to.any, sizeof(to.local)) != 0 ||
        (to.any.sa_family == AF_INET && getsockname(peer.mDescriptor, &own.any, &size) == 0 &&
         std::memcmp(&own, &to, sizeof(to.local)) == 0)) {
        peer.Close();
    }
    return peer;
}

RawPeer RawPeer::Connect(const Address& to)
{
    RawPeer peer(-1);
    WaitUntil([&] { return (peer = TryToConnect(to)).IsOpen(); });
    return peer;
}

bool RawPeer::Send(const std::string& bytes) const
{
    return send(mDescriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(bytes.size());
}

std::string RawPeer::Receive(std::size_t length, int milliseconds) const
{
    std::string bytes;
    while (bytes.size() < length && HasInput(milliseconds)) {
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
    word.copy(reinterpret_cast<char*>(&length), sizeof(length));
    return word + Receive(le32toh(length));
}

bool RawPeer::WaitClosed() const
{
    bool ended = false;
    while (!ended && HasInput(kPatience)) {
        char byte = 0;
        ended = recv(mDescriptor, &byte, 1, 0) <= 0;
    }
    return ended;
}

void RawPeer::Close()
{
    if (mDescriptor >= 0) {
        close(mDescriptor);
        mDescriptor = -1;
    }
}

void RawPeer::Reset()
{
    const linger atOnce = {1, 0};
    setsockopt(mDescriptor, SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
    Close();
}

bool RawPeer::HasInput(int milliseconds) const
{
    pollfd entry = {mDescriptor, POLLIN, 0};
    int ready = 0;
    do {
        ready = poll(&entry, 1, milliseconds);
    } while (ready < 0 && errno == EINTR);  // the fuzzer's alarm
    return ready == 1;
}

RawListener::RawListener(const Address& at) : mSocket(ListenAt(at)) {}

RawPeer RawListener::Accept() const
{
    return RawPeer(mSocket.HasInput(kPatience)
                       ? accept4(mSocket.mDescriptor, nullptr, nullptr, SOCK_CLOEXEC)
                       : -1);
}
}  // namespace test
