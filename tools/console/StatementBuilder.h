// Gathers lines to statements: a plain line is one, and so is a block from its first line to its
// END. The console answers a statement, not a line, so this is what is sent at a time.
#ifndef TOOLS_CONSOLE_STATEMENTBUILDER_H
#define TOOLS_CONSOLE_STATEMENTBUILDER_H

#include <string>
#include <vector>

class StatementBuilder
{
public:
    // Takes a line without its line end. Comments and blank lines are dropped.
    void Add(const std::string& line);

    // Whether lines are gathered that miss an END.
    bool IsOpen() const { return mOpenBlocks > 0; }

    // Whether the gathered lines are a statement; Take hands it out and begins anew.
    bool IsComplete() const { return !mLines.empty() && mOpenBlocks == 0; }
    std::vector<std::string> Take();

    // Forgets the lines gathered.
    void Clear();

private:
    std::vector<std::string> mLines;
    int mOpenBlocks = 0;
};

// Whether one of the statement's lines is "quit", so that the console may close the connection.
bool MayQuit(const std::vector<std::string>& statement);

#endif  // TOOLS_CONSOLE_STATEMENTBUILDER_H
