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

    // When verbose, tells on standard output, in one line, of a statement that failed or named
    // nothing: its line, code and reason.
    void Report(const CmdParser& line, int code, const char* reason) const;

    // The result of a statement that can not be run, which is told of.
    int Refuse(const CmdParser& line, char* result, const char* reason) const;

    LineSource& lines;
    StopSignal& stop;
    bool verbose = false;

protected:
    StatementContext(LineSource& lineSource, StopSignal& stopSignal)
        : lines(lineSource), stop(stopSignal)
    {}
    ~StatementContext() = default;
};

#endif  // UTIL_CONSOLE_LANGUAGE_STATEMENTCONTEXT_H
