#include "util/console/BlockStep.h"

#include <cstring>

#include "util/console/CmdBlock.h"
#include "util/console/CmdMgr.h"
#include "util/console/CmdParser.h"
#include "util/console/NumberText.h"

namespace {
bool IsCommand(const CmdParser* line, const char* word)
{
    return line != nullptr && line->GetCommand() != nullptr &&
           std::strcmp(line->GetCommand(), word) == 0;
}

BlockStep::Kind KindOfBlock(const CmdBlock& block)
{
    if (IsCommand(block.mCommand, "FOR")) {
        return BlockStep::Kind::kFor;
    }
    if (IsCommand(block.mCommand, "WHILE")) {
        return BlockStep::Kind::kWhile;
    }
    if (IsCommand(block.mCommand, "IF")) {
        return BlockStep::Kind::kIf;
    }
    const bool idle = IsCommand(block.mCommand, "DO") || IsCommand(block.mCommand, "MACRO");
    return idle ? BlockStep::Kind::kIdle : BlockStep::Kind::kUnknown;
}
}  // namespace

int BlockDepth(const CmdBlock& block)
{
    int depth = 1;
    for (const CmdBlock* parent = block.mParent; parent != nullptr; parent = parent->mParent) {
        ++depth;
    }
    return depth;
}

BlockStep::BlockStep(const CmdBlock& block) : BlockStep(block, KindOfBlock(block)) {}

BlockStep::BlockStep(const CmdBlock& block, Kind wanted) : kind(wanted), line(block.mCommand)
{
    PrepareBlock(block, BlockDepth(block));
}

// An entry of a body; depth is what it has if it is a block.
BlockStep::BlockStep(const CmdBlock& entry, int depth) : kind(Kind::kPlain), line(entry.mCommand)
{
    if (depth > CmdMgr::kMaxBlockDepth && (entry.mFirstChild != nullptr || OpensBlock(*line))) {
        kind = Kind::kTooDeep;
    } else if (entry.mFirstChild != nullptr) {
        kind = KindOfBlock(entry);
        PrepareBlock(entry, depth);
    } else {
        PrepareLine();
    }
}

void BlockStep::PrepareLine()
{
    kind = Kind::kPlain;
    generation = 0;
    commandGeneration = 0;
    lineGeneration = line->GetGeneration();
    statement = ClassifyStatement(*line);
    const bool returns = line->GetReturn() != nullptr;
    if (statement == StatementKind::kArithmetic) {
        kind = Kind::kArithmetic;
        arithmetic = ArithmeticOf(line->GetNthArg(0));
    } else if (statement == StatementKind::kBreak && !returns) {
        kind = Kind::kBreak;
    } else if (statement == StatementKind::kCommand && returns && line->GetCount() == 0) {
        kind = Kind::kAssignment;
        number = IntegerOf(line->GetCommand());
    }
}

void BlockStep::PrepareBlock(const CmdBlock& block, int depth)
{
    if (kind == Kind::kIdle || kind == Kind::kUnknown) {
        return;
    }
    if (line->GetCount() != 3) {
        kind = Kind::kBadArguments;
        return;
    }
    comparison = ComparisonOf(line->GetNthArg(1));
    for (const CmdBlock* entry = block.mFirstChild; entry != nullptr; entry = entry->mNext) {
        body.push_back(BlockStep(*entry, depth + 1));
    }
    FindElses();
}

void BlockStep::FindElses()
{
    firstElse = FindElse(0);
    secondElse = FindElse(firstElse + 1);
}

std::size_t BlockStep::FindElse(std::size_t from) const
{
    while (from < body.size() && !IsCommand(body[from].line, "ELSE")) {
        ++from;
    }
    return from < body.size() ? from : body.size();
}

void BlockStep::Resolve(SymListMgr& symbols)
{
    generation = symbols.GetGeneration();
    switch (kind) {
        case Kind::kArithmetic:
            left.Resolve(symbols, line->GetCommand());
            right.Resolve(symbols, line->GetNthArg(1));
            target.Resolve(symbols, line->GetReturn());
            break;
        case Kind::kAssignment:
            target.Resolve(symbols, line->GetReturn());
            break;
        default:
            left.Resolve(symbols, line->GetNthArg(0));
            right.Resolve(symbols, line->GetNthArg(2));
            break;
    }
}
