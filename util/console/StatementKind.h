// Internal. What a plain line of the script language is.
#ifndef UTIL_CONSOLE_STATEMENTKIND_H
#define UTIL_CONSOLE_STATEMENTKIND_H

class CmdParser;

enum class StatementKind
{
    kNothing,  // no command word, or a comment
    kQuit,
    kHelp,
    kFile,
    kPrint,
    kBreak,
    kInt,
    kString,
    kFloat,
    kPointer,
    kFree,
    kSleep,
    kArithmetic,
    kCommand  // for the registry
};

StatementKind ClassifyStatement(const CmdParser& line);

// Whether the command word opens a block.
bool OpensBlock(const CmdParser& line);

#endif  // UTIL_CONSOLE_STATEMENTKIND_H
