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

// Whether the command word opens a block, or ends one.
bool OpensBlock(const CmdParser& line);
bool EndsBlock(const CmdParser& line);

// Whether the line is empty, blank or begins with "#" after its blanks.
bool IsCommentLine(const char* line);

#endif  // UTIL_CONSOLE_STATEMENTKIND_H
