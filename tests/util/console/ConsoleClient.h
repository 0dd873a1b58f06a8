// A console client for tests: frames written and read byte by byte, and a console to talk to.
#ifndef TESTS_UTIL_CONSOLE_CONSOLECLIENT_H
#define TESTS_UTIL_CONSOLE_CONSOLECLIENT_H

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/RawPeer.h"

namespace test {
// The bytes of a frame from the client, with a length of the caller's choice.
std::string ConsoleFrame(const std::string& text);
std::string ConsoleFrame(const std::string& text, std::uint32_t length);

class ConsoleClient : public RawPeer
{
public:
    explicit ConsoleClient(int port);

    // Whether exactly one prompt frame comes.
    bool ReadPrompt() const;

    // Sends "START", or a line, and reads the prompt that answers it.
    bool Start() const { return Run("START"); }
    bool Run(const std::string& line) const;
};

// Starts the process's console on a free port of the loopback address; stops it at the end. The
// configuration lines are added to the port's. Standard output is captured from construction on.
class RunningConsole
{
public:
    explicit RunningConsole(const std::string& configuration = "");
    RunningConsole(const RunningConsole&) = delete;
    RunningConsole& operator=(const RunningConsole&) = delete;
    ~RunningConsole();

    int Port() const { return mPort; }

    // What was written to standard output; stops the capture.
    std::string Output();

    // Whether a new client is served: it starts, runs a line and quits.
    bool ServesNextClient() const;

private:
    const int mPort;
    bool mCapturing;
};

// The lines of a text.
std::vector<std::string> Lines(const std::string& text);
}  // namespace test

#endif  // TESTS_UTIL_CONSOLE_CONSOLECLIENT_H
