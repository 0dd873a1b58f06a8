// A client's connection to a console: frames out, prompts in. It knows nothing of terminals and of
// what the lines mean. Used by one thread.
#ifndef TOOLS_CONSOLE_CONSOLECONNECTION_H
#define TOOLS_CONSOLE_CONSOLECONNECTION_H

#include <cstddef>
#include <string>

class ConsoleConnection
{
public:
    // The longest line a console takes.
    static constexpr std::size_t kLongestLine = 1023;

    enum class Answer
    {
        kPrompt,
        kClosed,       // the console, or the network, ended the connection
        kStrange,      // something that no console sends
        kInterrupted,  // by ^C
        kTimeout
    };

    ConsoleConnection() : mSocket(-1) {}
    ConsoleConnection(const ConsoleConnection&) = delete;
    ConsoleConnection& operator=(const ConsoleConnection&) = delete;
    ~ConsoleConnection();

    // Connects, within the milliseconds for each address of the host (0: no limit of our own);
    // "" or the reason why not.
    std::string Connect(const std::string& host, const std::string& port, int milliseconds);

    // Sends a line of at most kLongestLine bytes; false when the connection has ended.
    bool Send(const std::string& line);

    // Waits for the next frame, at most the milliseconds (negative: no limit). A frame that came
    // in part stays for the next call.
    Answer WaitForPrompt(int milliseconds);

    // Readable when the console sends or closes.
    int Descriptor() const { return mSocket; }

private:
    // Looks at what came so far: whether it decides the answer.
    bool TakeFrame(Answer* answer);

    int mSocket;
    std::string mReceived;
};

#endif  // TOOLS_CONSOLE_CONSOLECONNECTION_H
