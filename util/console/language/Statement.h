// Internal. The words of the language, each once, with what it does; and what a line therefore is.
#ifndef UTIL_CONSOLE_LANGUAGE_STATEMENT_H
#define UTIL_CONSOLE_LANGUAGE_STATEMENT_H

class CmdParser;
class StatementContext;

// Runs a plain line: its code. The result text is empty before.
using StatementFunction = int (*)(StatementContext& context, CmdParser& line, char* result);

// What a line is to the block that it stands in or opens.
enum class BlockWord : char
{
    kNone,
    kFor,
    kWhile,
    kIf,
    kIdle,  // DO and MACRO: kept, never run
    kElse,
    kEnd
};

struct Statement
{
    char word[8];     // "" for what is told by other signs
    bool anyCase;     // whether the word counts in any case
    BlockWord block;  // a word of blocks is no plain statement, and has no function
    StatementFunction run;
};

// What has no word of its own: comments and lines without a command word, a op b, and everything
// else, which is for the command registry.
extern const Statement kNoStatement;
extern const Statement kArithmeticStatement;
extern const Statement kCommandStatement;

// What the line is as a plain line.
const Statement& StatementOf(const CmdParser& line);

// What the line is to blocks, and whether it opens one.
BlockWord BlockWordOf(const CmdParser& line);
inline bool OpensBlock(BlockWord word)
{
    return word != BlockWord::kNone && word < BlockWord::kElse;
}

// Whether the line is empty, blank or begins with "#" after its blanks.
bool IsCommentLine(const char* line);

// Runs the statement that the line is, and assigns what comes of it to the line's return name: the
// result text, or the command word when that is empty and the line has no arguments.
int RunStatement(const Statement& statement, StatementContext& context, CmdParser& line,
                 char* result);

#endif  // UTIL_CONSOLE_LANGUAGE_STATEMENT_H
