// Internal. What a statement reaches beyond its own line and the two registries.
#ifndef UTIL_CONSOLE_LANGUAGE_STATEMENTCONTEXT_H
#define UTIL_CONSOLE_LANGUAGE_STATEMENTCONTEXT_H

class CmdParser;
class LineSource;
class StopSignal;

class StatementContext
{
public:
    StatementContext(const StatementContext&) = delete;
    StatementContext& operator=(const StatementContext&) = delete;

    // Runs a line as it was read, with a parser to split it: a comment, the first line of a block,
    // whose others are read from the line source, or a plain line. Its code.
    virtual int RunLine(CmdParser& parser, const char* line, char* result) = 0;

    LineSource& lines;
    const StopSignal& stop;

protected:
    StatementContext(LineSource& lineSource, const StopSignal& stopSignal)
        : lines(lineSource), stop(stopSignal)
    {}
    ~StatementContext() = default;
};

#endif  // UTIL_CONSOLE_LANGUAGE_STATEMENTCONTEXT_H
