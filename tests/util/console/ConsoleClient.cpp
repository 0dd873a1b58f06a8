#include "tests/util/console/ConsoleClient.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/support.h"
#include "util/console/CmdMgr.h"

namespace test {
std::string ConsoleFrame(const std::string& text)
{
    return ConsoleFrame(text, static_cast<std::uint32_t>(text.size()));
}

std::string ConsoleFrame(const std::string& text, std::uint32_t length)
{
    return "TAVI" + Number(static_cast<std::int32_t>(length)) + text;
}

ConsoleClient::ConsoleClient(int port) : RawPeer(RawPeer::Connect(port)) {}

bool ConsoleClient::ReadPrompt() const
{
    const std::string prompt("tavi\5\0\0\0\nCMD>", 13);
    return Receive(prompt.size()) == prompt;
}

bool ConsoleClient::Run(const std::string& line) const
{
    return Send(ConsoleFrame(line)) && ReadPrompt();
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
    EXPECT_TRUE(WaitUntil([this] { return !RawPeer::TryToConnect(mPort).IsOpen(); }));
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
    const ConsoleClient client(mPort);
    return client.Start() && client.Run("PRINT served") && client.Send(ConsoleFrame("quit")) &&
           client.WaitClosed();
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
