#include "util/console/StatementKind.h"

#include <cstring>

#include "util/console/CmdParser.h"
#include "util/console/IntegerOperation.h"

namespace {
struct Word
{
    const char* word;
    StatementKind kind;
};

constexpr Word kWords[] = {
    {"FILE", StatementKind::kFile},   {"PRINT", StatementKind::kPrint},
    {"BREAK", StatementKind::kBreak}, {"INT", StatementKind::kInt},
    {"CHAR", StatementKind::kInt},    {"STRING", StatementKind::kString},
    {"FLOAT", StatementKind::kFloat}, {"POINTER", StatementKind::kPointer},
    {"FREE", StatementKind::kFree},   {"SLEEP", StatementKind::kSleep},
};

constexpr const char* kBlockWords[] = {"FOR", "DO", "WHILE", "IF", "MACRO"};

bool IsCommand(const CmdParser& line, const char* word)
{
    return line.GetCommand() != nullptr && std::strcmp(line.GetCommand(), word) == 0;
}
}  // namespace

StatementKind ClassifyStatement(const CmdParser& line)
{
    const char* const command = line.GetCommand();
    if (command == nullptr || command[0] == '#') {
        return StatementKind::kNothing;
    }
    if (line.CompareCommand("quit")) {
        return StatementKind::kQuit;
    }
    if (line.CompareCommand("help")) {
        return StatementKind::kHelp;
    }
    for (const Word& word : kWords) {
        if (std::strcmp(command, word.word) == 0) {
            return word.kind;
        }
    }
    const bool arithmetic =
        line.GetCount() == 2 && ArithmeticOf(line.GetNthArg(0)) != Arithmetic::kNone;
    return arithmetic ? StatementKind::kArithmetic : StatementKind::kCommand;
}

bool OpensBlock(const CmdParser& line)
{
    for (const char* word : kBlockWords) {
        if (IsCommand(line, word)) {
            return true;
        }
    }
    return false;
}

bool EndsBlock(const CmdParser& line)
{
    return IsCommand(line, "END");
}

bool IsCommentLine(const char* line)
{
    line += std::strspn(line, " \t");
    return *line == '\0' || *line == '\n' || *line == '#';
}
