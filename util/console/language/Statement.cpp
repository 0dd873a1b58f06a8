#include "util/console/language/Statement.h"

#include <strings.h>

#include <cstring>

#include "util/console/CmdLanguage.h"
#include "util/console/CmdListMgr.h"
#include "util/console/CmdParser.h"
#include "util/console/CommandRecords.h"
#include "util/console/RegistryHold.h"
#include "util/console/SymListMgr.h"
#include "util/console/language/BasicStatements.h"
#include "util/console/language/IntegerOperation.h"
#include "util/console/language/StatementContext.h"

namespace {
int DoNothing(StatementContext& /*context*/, CmdParser& /*line*/, char* /*result*/)
{
    return CmdLanguage::kNoCommand;
}

// A handler may keep what it found in the two registries until it returns.
int Dispatch(StatementContext& /*context*/, CmdParser& line, char* result)
{
    const RegistryHold<SymListMgr> hold(SymListMgr::GetInstance());
    CmdListMgr::GetInstance()->Dispatch(&line, result);
    result[CmdLanguage::kResultSize - 1] = '\0';
    return CmdLanguage::kDone;
}

constexpr Statement kStatements[] = {
    {"quit", true, BlockWord::kNone, statement::Quit},
    {"help", true, BlockWord::kNone, statement::Help},
    {"FILE", false, BlockWord::kNone, statement::File},
    {"PRINT", false, BlockWord::kNone, statement::Print},
    {"BREAK", false, BlockWord::kNone, statement::Break},
    {"INT", false, BlockWord::kNone, statement::Int},
    {"CHAR", false, BlockWord::kNone, statement::Int},
    {"STRING", false, BlockWord::kNone, statement::String},
    {"FLOAT", false, BlockWord::kNone, statement::Float},
    {"POINTER", false, BlockWord::kNone, statement::Pointer},
    {"FREE", false, BlockWord::kNone, statement::Free},
    {"SLEEP", false, BlockWord::kNone, statement::Sleep},
    {"FOR", false, BlockWord::kFor, nullptr},
    {"WHILE", false, BlockWord::kWhile, nullptr},
    {"IF", false, BlockWord::kIf, nullptr},
    {"ELSE", false, BlockWord::kElse, nullptr},
    {"DO", false, BlockWord::kIdle, nullptr},
    {"MACRO", false, BlockWord::kIdle, nullptr},
    {"END", false, BlockWord::kEnd, nullptr},
};

// The row of the word, or null.
const Statement* Find(const char* word)
{
    for (const Statement& statement : kStatements) {
        // Case apart, most words differ in their first letter already.
        if (((word[0] ^ statement.word[0]) & ~('a' ^ 'A')) == 0 &&
            (statement.anyCase ? strcasecmp(word, statement.word)
                               : std::strcmp(word, statement.word)) == 0) {
            return &statement;
        }
    }
    return nullptr;
}
}  // namespace

const Statement kNoStatement = {"", false, BlockWord::kNone, DoNothing};
const Statement kArithmeticStatement = {"", false, BlockWord::kNone, statement::Compute};
const Statement kCommandStatement = {"", false, BlockWord::kNone, Dispatch};

const Statement& StatementOf(const CmdParser& line)
{
    const char* const command = line.GetCommand();
    if (command == nullptr || command[0] == '#') {
        return kNoStatement;
    }
    const Statement* const found = Find(command);
    if (found != nullptr && found->run != nullptr) {
        return *found;
    }
    const bool arithmetic =
        line.GetCount() == 2 && ArithmeticOf(line.GetNthArg(0)) != Arithmetic::kNone;
    return arithmetic ? kArithmeticStatement : kCommandStatement;
}

BlockWord BlockWordOf(const CmdParser& line)
{
    const Statement* const found = line.GetCommand() != nullptr ? Find(line.GetCommand()) : nullptr;
    return found != nullptr ? found->block : BlockWord::kNone;
}

bool IsCommentLine(const char* line)
{
    line += std::strspn(line, " \t");
    return *line == '\0' || *line == '\n' || *line == '#';
}

namespace {
// Whether a line is assigned as a word when no command has it as its name.
bool IsWord(const CmdParser& line)
{
    return line.GetReturn() != nullptr && line.GetCount() == 0;
}

// A block without a body runs as a plain line that does nothing.
bool NamesNothing(const Statement& statement, const CmdParser& line)
{
    return &statement == &kCommandStatement && !IsWord(line) && !OpensBlock(BlockWordOf(line)) &&
           !CommandRecords::Get().IsKnown(line.GetCommand());
}
}  // namespace

int RunStatement(const Statement& statement, StatementContext& context, CmdParser& line,
                 char* result)
{
    result[0] = '\0';
    const bool unknown = context.verbose && NamesNothing(statement, line);
    const char* reason = unknown ? "no such command" : nullptr;
    const int code = statement.run(context, line, result);
    if (code == CmdLanguage::kFailed) {
        reason = result;
    }
    if (code != CmdLanguage::kNoCommand && line.GetReturn() != nullptr) {
        const char* const text = result[0] == '\0' && IsWord(line) ? line.GetCommand() : result;
        if (SymListMgr::GetInstance()->SetValue(line.GetReturn(), text) != 0 && reason == nullptr) {
            reason = "not assigned";
        }
    }
    if (reason != nullptr) {
        context.Report(line, code, reason);
    }
    return code;
}
