// A session with a console: statements sent one at a time, each answered before the next.
#ifndef TOOLS_CONSOLE_SESSION_H
#define TOOLS_CONSOLE_SESSION_H

#include <istream>
#include <string>
#include <vector>

#include "tools/console/ConsoleConnection.h"
#include "tools/console/StatementBuilder.h"

// How the program ends; documented in its help.
enum ExitStatus
{
    kSuccess = 0,
    kBadInput = 1,  // 2, of wrong usage, is that of all programs
    kNotConnected = 3,
    kLost = 4,
    kInterrupted = 130
};

class Session
{
public:
    // Connects and opens; a status other than kSuccess was reported. A console that serves somebody
    // else is waited for at most the limit in milliseconds, with 0 as long as it takes.
    ExitStatus Open(const std::string& host, const std::string& port, int limit);

    // Sends the lines of a source, whose name is for reports. Stops at the first error, and at a
    // statement after which the console took its leave.
    ExitStatus RunLines(std::istream& source, const std::string& name);

    // After the last source: whether it ended in the middle of a block.
    ExitStatus Finish();

    // Reads and runs lines from the terminal until ^D, "quit" or the end of the connection. The
    // words are names that the console's host is known to have.
    ExitStatus RunTerminal(const std::vector<std::string>& words);

    // Takes leave, after which the console is ready for its next client.
    void Close();

private:
    ExitStatus RunStatement(const std::vector<std::string>& statement);
    ExitStatus WaitForAnswer(bool mayQuit);

    ConsoleConnection mConnection;
    StatementBuilder mBuilder;
    bool mOpen = false;
};

#endif  // TOOLS_CONSOLE_SESSION_H
