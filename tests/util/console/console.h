// What the console's tests share: lines run on the test's own thread, a client that writes and
// reads frames byte by byte, and a console to talk to.
#ifndef TESTS_UTIL_CONSOLE_CONSOLE_H
#define TESTS_UTIL_CONSOLE_CONSOLE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>

#include "tests/support/RawPeer.h"
#include "util/console/CmdListMgr.h"
#include "util/console/CmdMgr.h"
#include "util/console/CmdParser.h"
#include "util/console/SymListMgr.h"

namespace test {
inline CmdMgr& Console()
{
    return *CmdMgr::GetInstance(0);
}

inline SymListMgr& Symbols()
{
    return *SymListMgr::GetInstance();
}

inline CmdListMgr& Commands()
{
    return *CmdListMgr::GetInstance();
}

// Registers a command that any line of that word calls.
inline void RegisterCommand(const char* name, CmdHandlerFunction handler)
{
    const CmdParser word(name);
    EXPECT_EQ(Commands().RegisterCommand(handler, &word, nullptr, nullptr), 0);
}

struct Executed
{
    int code;
    std::string result;  // the statement's text
    std::string output;  // what went to standard output
};

// Runs a line with a buffer that was used before.
inline Executed Execute(const std::string& text)
{
    CmdParser line(text.c_str());
    char result[CmdMgr::kResultSize] = "";
    std::memset(result, '#', sizeof(result) - 1);
    testing::internal::CaptureStdout();
    const int code = Console().CmdExecute(&line, result);
    return {code, result, testing::internal::GetCapturedStdout()};
}

// The bytes of a frame from the client, and with a length of the caller's choice.
inline std::string ConsoleFrame(const std::string& text, std::uint32_t length)
{
    return "TAVI" + Number(static_cast<std::int32_t>(length)) + text;
}

inline std::string ConsoleFrame(const std::string& text)
{
    return ConsoleFrame(text, static_cast<std::uint32_t>(text.size()));
}

class ConsoleClient : public RawPeer
{
public:
    explicit ConsoleClient(int port) : RawPeer(RawPeer::Connect(port)) {}

    // Whether exactly one prompt frame comes.
    bool ReadPrompt() const { return Receive(13) == std::string("tavi\5\0\0\0\nCMD>", 13); }

    // Sends "START", or a line, and reads the prompt that answers it.
    bool Start() const { return Run("START"); }
    bool Run(const std::string& line) const { return Send(ConsoleFrame(line)) && ReadPrompt(); }

    // Sends each line of the text in a frame of its own.
    void SendLines(const std::string& text) const
    {
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) {
            Send(ConsoleFrame(line));
        }
    }

    bool Quit() const { return Send(ConsoleFrame("quit")) && WaitClosed(); }
};

// Starts the process's console on a free port of the loopback address; stops it at the end. The
// configuration lines are added to the port's. Standard output is captured from construction on.
class RunningConsole
{
public:
    explicit RunningConsole(const std::string& configuration = "") : mPort(FreePort())
    {
        testing::internal::CaptureStdout();
        WriteFile("./cmd.conf",
                  "port=" + std::to_string(mPort) + "\naddress=127.0.0.1\n" + configuration);
        EXPECT_EQ(Console().Start(), 0);
    }
    RunningConsole(const RunningConsole&) = delete;
    RunningConsole& operator=(const RunningConsole&) = delete;
    ~RunningConsole()
    {
        Output();
        Console().Stop();
        // Until the port is free again, nothing else may go on in this process.
        EXPECT_TRUE(WaitUntil([this] { return !RawPeer::TryToConnect(mPort).IsOpen(); }));
    }

    int Port() const { return mPort; }

    // A client that has started.
    ConsoleClient Client() const
    {
        ConsoleClient client(mPort);
        EXPECT_TRUE(client.Start());
        return client;
    }

    // What was written to standard output; stops the capture.
    std::string Output()
    {
        const bool capturing = mCapturing;
        mCapturing = false;
        return capturing ? testing::internal::GetCapturedStdout() : "";
    }

    // Whether a new client is served: it starts, runs a line and quits.
    bool ServesNextClient() const
    {
        const ConsoleClient client(mPort);
        return client.Start() && client.Run("PRINT served") && client.Quit();
    }

private:
    const int mPort;
    bool mCapturing = true;
};
}  // namespace test

#endif  // TESTS_UTIL_CONSOLE_CONSOLE_H
