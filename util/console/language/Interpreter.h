// Internal. What a line does: the script language. Of the console's thread, or of one that calls
// CmdMgr while that does not run.
#ifndef UTIL_CONSOLE_LANGUAGE_INTERPRETER_H
#define UTIL_CONSOLE_LANGUAGE_INTERPRETER_H

#include "util/console/language/Statement.h"
#include "util/console/language/StatementContext.h"

struct CmdBlock;

class Interpreter final : public StatementContext
{
public:
    Interpreter(LineSource& lineSource, StopSignal& stopSignal)
        : StatementContext(lineSource, stopSignal)
    {}

    int RunLine(CmdParser& parser, const char* line, char* result) override;

    // A line that is already split, as a plain one.
    int RunPlain(CmdParser& line, char* result);

    // The block that the line opens: reads its other lines, runs it and releases it.
    int RunBlock(const char* firstLine, char* result);

    // A block that was read, by its word or as one of another word. It is left as it is.
    int RunBlock(const CmdBlock& block, char* result);
    int RunBlock(const CmdBlock& block, BlockWord word, char* result);
};

#endif  // UTIL_CONSOLE_LANGUAGE_INTERPRETER_H
