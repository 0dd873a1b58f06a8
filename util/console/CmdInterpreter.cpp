// The interpreter's way from a line to a statement: comments, blocks, built-in words, commands of
// the registry, return names.
#include "util/console/BlockReader.h"
#include "util/console/CmdBlock.h"
#include "util/console/CmdListMgr.h"
#include "util/console/CmdMgr.h"
#include "util/console/CmdParser.h"
#include "util/console/IntegerOperation.h"
#include "util/console/RegistryHold.h"
#include "util/console/ResultText.h"
#include "util/console/StatementKind.h"
#include "util/console/SymListMgr.h"

bool CmdMgr::IsComment(const char* line)
{
    return IsCommentLine(line);
}

bool CmdMgr::IsControlCmd(const CmdParser* line)
{
    return OpensBlock(*line);
}

bool CmdMgr::IsSign(const char* word)
{
    return word != nullptr && ArithmeticOf(word) != Arithmetic::kNone;
}

bool CmdMgr::IsBasicFunc(const CmdParser* line)
{
    const StatementKind kind = ClassifyStatement(*line);
    return kind != StatementKind::kNothing && kind != StatementKind::kCommand;
}

int CmdMgr::DoBasicFunc(CmdParser* line, char* result)
{
    return RunBasic(ClassifyStatement(*line), line, result);
}

// Runs a line as it was read: a comment, a block's first line or a plain line.
int CmdMgr::RunLine(CmdParser* parser, const char* line, char* result)
{
    if (IsComment(line)) {
        return kNoCommand;
    }
    parser->Parse(line);
    return IsControlCmd(parser) ? CmdBlockLoop(line, result) : CmdExecute(parser, result);
}

int CmdMgr::CmdExecute(CmdParser* line, char* result)
{
    return RunStatement(ClassifyStatement(*line), line, result);
}

int CmdMgr::RunStatement(StatementKind kind, CmdParser* line, char* result)
{
    result[0] = '\0';
    if (kind == StatementKind::kNothing) {
        return kNoCommand;
    }
    int code = kDone;
    if (kind == StatementKind::kCommand) {
        Dispatch(line, result);
    } else {
        code = RunBasic(kind, line, result);
    }
    if (line->GetReturn() != nullptr) {
        const bool word = result[0] == '\0' && line->GetCount() == 0;
        SymListMgr::GetInstance()->SetValue(line->GetReturn(), word ? line->GetCommand() : result);
    }
    return code;
}

// A handler may keep what it found in the two registries until it returns.
void CmdMgr::Dispatch(CmdParser* line, char* result)
{
    const RegistryHold<SymListMgr> hold(SymListMgr::GetInstance());
    CmdListMgr::GetInstance()->Dispatch(line, result);
    result[kResultSize - 1] = '\0';
}

int CmdMgr::CmdBlockLoop(const char* firstLine, char* result)
{
    result[0] = '\0';
    CmdBlock* const block = NewCmdBlock();
    const char* const reason = BlockReader(*this).Read(block, new CmdParser(firstLine), nullptr);
    const int code = reason != nullptr ? Fail(result, reason) : DoCmdBlock(block, result);
    FreeCmdBlock(block);
    return code;
}
