#include "tests/util/console/ConsoleClient.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <sstream>

#include "tests/support/support.h"
#include "util/console/CmdMgr.h"

namespace test {
namespace {
constexpr char kPromptFrame[] = "tavi\5\0\0\0\nCMD>";

int Connect(int port)
{
    const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(client, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
        close(client);
        return -1;
    }
    const int on = 1;
    setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    return client;
}
}  // namespace

std::string Frame(const std::string& text)
{
    return Frame(text, static_cast<std::uint32_t>(text.size()));
}

std::string Frame(const std::string& text, std::uint32_t length)
{
    std::string bytes = "TAVI";
    for (int shift = 0; shift < 32; shift += 8) {
        bytes.push_back(static_cast<char>(length >> shift));
    }
    return bytes + text;
}

ConsoleClient::ConsoleClient(int port) : mSocket(-1)
{
    WaitUntil([&] { return (mSocket = Connect(port)) >= 0; });
}

void ConsoleClient::Close()
{
    if (mSocket >= 0) {
        close(mSocket);
        mSocket = -1;
    }
}

void ConsoleClient::Reset()
{
    const linger atOnce = {1, 0};
    setsockopt(mSocket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
    Close();
}

void ConsoleClient::SetNonBlocking()
{
    fcntl(mSocket, F_SETFL, O_NONBLOCK);
}

bool ConsoleClient::Send(const std::string& bytes)
{
    return send(mSocket, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(bytes.size());
}

bool ConsoleClient::ReadPrompt(int milliseconds)
{
    const std::string expected(kPromptFrame, sizeof(kPromptFrame) - 1);
    return ReadBytes(expected.size(), milliseconds) == expected;
}

bool ConsoleClient::Start()
{
    return Run("START");
}

bool ConsoleClient::Run(const std::string& line)
{
    return Send(Frame(line)) && ReadPrompt();
}

bool ConsoleClient::ReadToEnd()
{
    char buffer[256];
    while (HasInput(test::kPatience)) {
        if (recv(mSocket, buffer, sizeof(buffer), 0) <= 0) {
            return true;
        }
    }
    return false;
}

bool ConsoleClient::HasInput(int milliseconds)
{
    pollfd entry = {mSocket, POLLIN, 0};
    return poll(&entry, 1, milliseconds) == 1;
}

std::string ConsoleClient::ReadBytes(std::size_t size, int milliseconds)
{
    std::string bytes(size, '\0');
    std::size_t got = 0;
    while (got < size && HasInput(milliseconds)) {
        const ssize_t part = recv(mSocket, &bytes[got], size - got, 0);
        if (part <= 0) {
            break;
        }
        got += static_cast<std::size_t>(part);
    }
    bytes.resize(got);
    return bytes;
}

RunningConsole::RunningConsole(const std::string& configuration)
    : mPort(FreePort()), mCapturing(true)
{
    testing::internal::CaptureStdout();
    WriteFile("./cmd.conf",
              "port=" + std::to_string(mPort) + "\naddress=127.0.0.1\n" + configuration);
    EXPECT_EQ(CmdMgr::GetInstance(0)->Start(), 0);
}

RunningConsole::~RunningConsole()
{
    Output();
    CmdMgr::GetInstance(0)->Stop();
    // Until the port is free again, nothing else may go on in this process.
    EXPECT_TRUE(WaitUntil([this] {
        const int client = Connect(mPort);
        close(client);
        return client < 0;
    }));
}

std::string RunningConsole::Output()
{
    if (!mCapturing) {
        return "";
    }
    mCapturing = false;
    return testing::internal::GetCapturedStdout();
}

bool RunningConsole::ServesNextClient() const
{
    ConsoleClient client(mPort);
    return client.Start() && client.Run("PRINT served") && client.Send(Frame("quit")) &&
           client.ReadToEnd();
}

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}
}  // namespace test
