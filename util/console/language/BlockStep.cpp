#include "util/console/language/BlockStep.h"

#include <algorithm>

#include "util/console/CmdLanguage.h"
#include "util/console/CmdParser.h"
#include "util/console/NumberText.h"
#include "util/console/language/BlockTree.h"

namespace {
BlockWord WordOf(const CmdBlock& block)
{
    return block.mCommand != nullptr ? BlockWordOf(*block.mCommand) : BlockWord::kNone;
}

BlockStep::Kind KindOf(BlockWord word)
{
    switch (word) {
        case BlockWord::kFor:
            return BlockStep::Kind::kFor;
        case BlockWord::kWhile:
            return BlockStep::Kind::kWhile;
        case BlockWord::kIf:
            return BlockStep::Kind::kIf;
        case BlockWord::kIdle:
            return BlockStep::Kind::kIdle;
        default:
            return BlockStep::Kind::kUnknown;
    }
}
}  // namespace

BlockStep::BlockStep(const CmdBlock& block) : BlockStep(block, WordOf(block)) {}

BlockStep::BlockStep(const CmdBlock& block, BlockWord as) : line(block.mCommand)
{
    PrepareBlock(block, as, BlockDepth(block));
}

// An entry of a body; depth is what it has if it is a block.
BlockStep::BlockStep(const CmdBlock& entry, int depth) : line(entry.mCommand)
{
    const bool block = entry.mFirstChild != nullptr;
    if (depth > CmdLanguage::kMaxBlockDepth && (block || OpensBlock(WordOf(entry)))) {
        kind = Kind::kTooDeep;
    } else if (block) {
        PrepareBlock(entry, WordOf(entry), depth);
    } else {
        PrepareLine();
    }
}

void BlockStep::PrepareLine()
{
    kind = Kind::kPlain;
    generation = 0;  // of no table: what was resolved for the former line is not used
    commandGeneration = 0;
    lineGeneration = line->GetGeneration();
    isElse = BlockWordOf(*line) == BlockWord::kElse;
    statement = &StatementOf(*line);
    if (statement == &kArithmeticStatement) {
        kind = Kind::kArithmetic;
        arithmetic = ArithmeticOf(line->GetNthArg(0));
    } else if (statement == &kCommandStatement && line->GetReturn() != nullptr &&
               line->GetCount() == 0) {
        kind = Kind::kAssignment;
        number = IntegerOf(line->GetCommand());
    }
}

void BlockStep::PrepareBlock(const CmdBlock& block, BlockWord word, int depth)
{
    kind = KindOf(word);
    isElse = word == BlockWord::kElse;
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
    elseBegin = std::min(firstElse + 1, body.size());
    elseEnd = FindElse(elseBegin);
}

std::size_t BlockStep::FindElse(std::size_t from) const
{
    while (from < body.size() && !body[from].isElse) {
        ++from;
    }
    return from;
}

void BlockStep::Resolve(SymbolRecords& symbols)
{
    generation = symbols.Generation();
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
