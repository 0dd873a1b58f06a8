// The log sent to a peer, by UDP or over a UNIX-domain stream socket.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <string>

#include "util/os_linux/Logger.h"

namespace {
using testing::MatchesRegex;

const std::string kTime = "\\[[0-9]{8}\\.[0-9]{6}\\]";

void Configure(Logger& logger, std::string line)
{
    logger.ParseConfig(line.data());
}

class LoggerPeers : public testing::Test
{
protected:
    Logger* const mLogger = Logger::GetLogger(5);
};

class UdpPeer
{
public:
    UdpPeer() : mSocket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof(address);
        EXPECT_EQ(bind(mSocket, reinterpret_cast<sockaddr*>(&address), length), 0);
        getsockname(mSocket, reinterpret_cast<sockaddr*>(&address), &length);
        mPort = ntohs(address.sin_port);
        const timeval limit = {10, 0};
        setsockopt(mSocket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    }
    ~UdpPeer() { close(mSocket); }

    std::string Receive() const
    {
        char text[2048];
        const ssize_t got = recv(mSocket, text, sizeof(text), 0);
        return got < 0 ? "nothing received" : std::string(text, static_cast<std::size_t>(got));
    }

    int mSocket;
    int mPort = 0;
};

TEST_F(LoggerPeers, ALineTravelsAsThreeDatagrams)
{
    const UdpPeer peer;
    Configure(*mLogger, "serverip=127.0.0.1");
    Configure(*mLogger, "port=" + std::to_string(peer.mPort));
    Logger::ChangeMode(3);
    mLogger->Print(1, 0, "F", "d/f", 3, "text");
    mLogger->Print(0, 0, "F", "d/f", 4, "%s", "");
    mLogger->Print(1, 1, "F", "d/f", 3, "raw");
    EXPECT_THAT(peer.Receive(),
                MatchesRegex(" \033\\[0;35m" + kTime + "\\[LOG-WARN\\]:\033\\[0;0m "));
    EXPECT_EQ(peer.Receive(), "text");
    EXPECT_EQ(peer.Receive(), " -> F in (/f 3)\n");
    EXPECT_THAT(peer.Receive(), MatchesRegex(kTime + "\\[LOG\\]: "));
    EXPECT_EQ(peer.Receive(), "") << "an empty message is a datagram, too";
    EXPECT_EQ(peer.Receive(), " -> F in (/f 4)\n");
    EXPECT_EQ(peer.Receive(), "raw");
}

TEST_F(LoggerPeers, UdpGoesToPort7272UnlessConfigured)
{
    Configure(*mLogger, "serverip=127.0.0.1");
    Configure(*mLogger, "port=0");
    Logger::ChangeMode(3);
    int found = 0;
    for (int descriptor = 3; descriptor < 64; ++descriptor) {
        sockaddr_in address = {};
        socklen_t length = sizeof(address);
        if (getpeername(descriptor, reinterpret_cast<sockaddr*>(&address), &length) == 0 &&
            address.sin_family == AF_INET) {
            EXPECT_EQ(ntohs(address.sin_port), 7272);
            EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC);
            ++found;
        }
    }
    EXPECT_EQ(found, 1);
}

int ListenAt(const std::string& path)
{
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    EXPECT_LT(path.size(), sizeof(address.sun_path));
    path.copy(address.sun_path, path.size());
    EXPECT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_EQ(listen(listener, 1), 0);
    return listener;
}

TEST_F(LoggerPeers, AUnixSocketPeerGetsTheLinesAndMayLeave)
{
    const std::string path = "./" + std::string(105, 's');  // as long as an address can hold
    const int listener = ListenAt(path);
    Configure(*mLogger, "outpath=" + path + "cut away");
    Logger::ChangeMode(4);
    const int peer = accept(listener, nullptr, nullptr);
    ASSERT_GE(peer, 0);
    mLogger->Print(0, 0, "F", "d/f", 3, "text");
    Logger::ChangeMode(0);
    char text[256] = {};
    ASSERT_GT(recv(peer, text, sizeof(text) - 1, MSG_WAITALL), 0);
    EXPECT_THAT(text, MatchesRegex(kTime + "\\[LOG\\]: text -> F in \\(/f 3\\)\n"));
    close(peer);

    Logger::ChangeMode(4);
    close(accept(listener, nullptr, nullptr));
    for (int count = 0; count < 3; ++count) {
        mLogger->Print(2, 0, "F", "d/f", 3, "to nobody");  // would raise SIGPIPE
    }
    close(listener);
}
}  // namespace
