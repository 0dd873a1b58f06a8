// A console client for tests: frames written and read byte by byte, and a console to talk to.
#ifndef TESTS_UTIL_CONSOLE_CONSOLECLIENT_H
#define TESTS_UTIL_CONSOLE_CONSOLECLIENT_H

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/support.h"

namespace test {
// The bytes of a frame from the client, with a length of the caller's choice.
std::string Frame(const std::string& text);
std::string Frame(const std::string& text, std::uint32_t length);

class ConsoleClient
{
public:
    explicit ConsoleClient(int port);
    ConsoleClient(const ConsoleClient&) = delete;
    ConsoleClient& operator=(const ConsoleClient&) = delete;
    ~ConsoleClient() { Close(); }

    bool IsConnected() const { return mSocket >= 0; }
    void Close();

    // Closes with a reset.
    void Reset();
    void SetNonBlocking();

    // Raw bytes; whether all were sent.
    bool Send(const std::string& bytes);

    // Whether exactly one prompt frame comes within the milliseconds.
    bool ReadPrompt(int milliseconds = test::kPatience);

    // Sends "START", or a line, and reads the prompt that answers it.
    bool Start();
    bool Run(const std::string& line);

    // Reads until the server closes the connection; whether it did.
    bool ReadToEnd();

    // Whether any byte or the end is there within the milliseconds.
    bool HasInput(int milliseconds);

private:
    std::string ReadBytes(std::size_t size, int milliseconds);

    int mSocket;
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
