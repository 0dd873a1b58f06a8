#include "tools/console/ConsoleConnection.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "tools/console/Interrupt.h"

namespace {
constexpr std::size_t kHeader = 8;
constexpr std::uint32_t kLongestPrompt = 4096;

std::uint32_t DecodeLength(const std::string& frame)
{
    std::uint32_t length = 0;
    for (std::size_t index = kHeader; index > 4; --index) {
        length = length << 8 | static_cast<unsigned char>(frame[index - 1]);
    }
    return length;
}

std::string EncodeFrame(const std::string& line)
{
    std::string frame = "TAVI";
    for (int shift = 0; shift < 32; shift += 8) {
        frame.push_back(static_cast<char>(line.size() >> shift));
    }
    return frame + line;
}

// The time-out of connect too (socket(7)). Sending has none once it is 0 again.
void LimitSending(int client, int milliseconds)
{
    timeval limit = {};
    limit.tv_sec = milliseconds / 1000;
    limit.tv_usec = milliseconds % 1000 * 1000L;
    setsockopt(client, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
}

// Where nobody listens, TCP may join a socket to itself.
bool Connect(int client, const addrinfo& to)
{
    sockaddr_storage own = {};
    socklen_t size = sizeof(own);
    if (connect(client, to.ai_addr, to.ai_addrlen) != 0) {
        return false;
    }
    if (getsockname(client, reinterpret_cast<sockaddr*>(&own), &size) == 0 &&
        std::memcmp(&own, to.ai_addr, to.ai_addrlen) == 0) {
        errno = ECONNREFUSED;
        return false;
    }
    return true;
}

int ConnectTo(const addrinfo* addresses, int milliseconds)
{
    for (const addrinfo* at = addresses; at != nullptr; at = at->ai_next) {
        const int client = socket(at->ai_family, at->ai_socktype | SOCK_CLOEXEC, at->ai_protocol);
        LimitSending(client, milliseconds);
        if (client >= 0 && Connect(client, *at)) {
            LimitSending(client, 0);
            const int on = 1;
            setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
            return client;
        }
        const int reason = errno == EINPROGRESS ? ETIMEDOUT : errno;
        if (client >= 0) {
            close(client);
        }
        errno = reason;
    }
    return -1;
}
}  // namespace

ConsoleConnection::~ConsoleConnection()
{
    if (mSocket >= 0) {
        close(mSocket);
    }
}

std::string ConsoleConnection::Connect(const std::string& host, const std::string& port,
                                       int milliseconds)
{
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* addresses = nullptr;
    const int result = getaddrinfo(host.c_str(), port.c_str(), &hints, &addresses);
    if (result != 0) {
        return gai_strerror(result);
    }
    mSocket = ConnectTo(addresses, milliseconds);
    const int reason = errno;
    freeaddrinfo(addresses);
    return mSocket >= 0 ? "" : std::strerror(reason);
}

bool ConsoleConnection::Send(const std::string& line)
{
    const std::string frame = EncodeFrame(line);
    std::size_t sent = 0;
    while (sent < frame.size()) {
        const ssize_t part = send(mSocket, frame.data() + sent, frame.size() - sent, MSG_NOSIGNAL);
        if (part < 0 && errno != EINTR) {
            return false;
        }
        sent += part > 0 ? static_cast<std::size_t>(part) : 0;
    }
    return true;
}

ConsoleConnection::Answer ConsoleConnection::WaitForPrompt(int milliseconds)
{
    Answer answer = Answer::kClosed;
    while (!TakeFrame(&answer)) {
        pollfd entries[] = {{Interrupt::Descriptor(), POLLIN, 0}, {mSocket, POLLIN, 0}};
        const int ready = poll(entries, 2, milliseconds);
        if (ready == 0) {
            return Answer::kTimeout;
        }
        if (Interrupt::Take()) {
            return Answer::kInterrupted;
        }
        char bytes[256];
        const ssize_t got =
            entries[1].revents != 0 ? recv(mSocket, bytes, sizeof(bytes), MSG_DONTWAIT) : -1;
        if (got == 0 || (got < 0 && ready > 0 && errno != EAGAIN && errno != EINTR)) {
            return Answer::kClosed;
        }
        mReceived.append(bytes, got > 0 ? static_cast<std::size_t>(got) : 0);
    }
    return answer;
}

bool ConsoleConnection::TakeFrame(Answer* answer)
{
    constexpr char kMagic[] = "tavi";
    constexpr std::size_t kMagicLength = sizeof(kMagic) - 1;
    const std::size_t known = mReceived.size() < kMagicLength ? mReceived.size() : kMagicLength;
    if (mReceived.compare(0, known, kMagic, known) != 0) {
        *answer = Answer::kStrange;
        return true;
    }
    if (mReceived.size() < kHeader) {
        return false;
    }
    const std::uint32_t length = DecodeLength(mReceived);
    if (length > kLongestPrompt) {
        *answer = Answer::kStrange;
        return true;
    }
    if (mReceived.size() < kHeader + length) {
        return false;
    }
    mReceived.erase(0, kHeader + length);
    *answer = Answer::kPrompt;
    return true;
}
