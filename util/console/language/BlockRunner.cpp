#include "util/console/language/BlockRunner.h"

#include "util/console/CmdLanguage.h"
#include "util/console/CmdParser.h"
#include "util/console/CommandRecords.h"
#include "util/console/SymListMgr.h"
#include "util/console/language/StatementContext.h"
#include "util/console/lines/StopSignal.h"

namespace {
// Turns of nothing but shortcuts, after which it is looked whether to stop.
constexpr int kTurnsPerLook = 256;
}  // namespace

BlockRunner::BlockRunner(StatementContext& context)
    : mContext(context),
      mStop(context.stop),
      mSymbols(SymbolRecords::Get()),
      mCommands(CommandRecords::Get())
{}

int BlockRunner::Run(BlockStep& step, char* result)
{
    switch (step.kind) {
        case BlockStep::Kind::kArithmetic:
            return RunArithmetic(step, result);
        case BlockStep::Kind::kAssignment:
            return RunAssignment(step, result);
        case BlockStep::Kind::kPlain:
            return RunPlain(step, result);
        case BlockStep::Kind::kFor:
            return RunFor(step, result);
        case BlockStep::Kind::kWhile:
            return RunWhile(step, result);
        case BlockStep::Kind::kIf:
            return RunIf(step, result);
        case BlockStep::Kind::kIdle:
            return CmdLanguage::kDone;
        case BlockStep::Kind::kBadArguments:
            return mContext.Refuse(*step.line, result, "argument fail");
        case BlockStep::Kind::kTooDeep:
            return mContext.Refuse(*step.line, result, "Block too deep");
        case BlockStep::Kind::kUnknown:
            break;
    }
    return CmdLanguage::kFailed;
}

// The code of the last step run, 0 when none is; stops early at a break only.
int BlockRunner::RunBody(BlockStep* step, const BlockStep* end, char* result)
{
    int code = CmdLanguage::kDone;
    for (; step != end && code != CmdLanguage::kBreak; ++step) {
        code = Run(*step, result);
    }
    return code;
}

// One turn after the other while next() says so. A break ends the loop and is done with.
template <typename Next>
int BlockRunner::RunLoop(BlockStep& step, char* result, Next next)
{
    BlockStep* const begin = step.body.data();
    const BlockStep* const end = begin + step.body.size();
    int code = CmdLanguage::kDone;
    while (next() && MayGoOn()) {
        code = RunBody(begin, end, result);
        if (code == CmdLanguage::kBreak) {
            code = CmdLanguage::kDone;
            break;
        }
    }
    result[0] = '\0';
    return code;
}

bool BlockRunner::LookAround()
{
    mStop.Look();
    const bool raised = mStop.IsRaised();
    mTurnsToLook = raised ? 0 : kTurnsPerLook;
    return !raised;
}

int BlockRunner::RunFor(BlockStep& step, char* result)
{
    SymListMgr& symbols = *SymListMgr::GetInstance();
    LoopCounter counter(symbols.GetIntValue(step.line->GetNthArg(0)),
                        symbols.GetIntValue(step.line->GetNthArg(1)),
                        symbols.GetIntValue(step.line->GetNthArg(2)));
    return RunLoop(step, result, [&counter] { return counter.Next(); });
}

int BlockRunner::RunWhile(BlockStep& step, char* result)
{
    return RunLoop(step, result, [this, &step] { return IsTrue(step); });
}

int BlockRunner::RunIf(BlockStep& step, char* result)
{
    if (mLineChanged) {
        step.FindElses();
    }
    BlockStep* const body = step.body.data();
    const int code = IsTrue(step) ? RunBody(body, body + step.firstElse, result)
                                  : RunBody(body + step.elseBegin, body + step.elseEnd, result);
    result[0] = '\0';
    return code;
}

bool BlockRunner::IsTrue(BlockStep& condition)
{
    Refresh(condition);
    return Compare(condition.comparison, condition.left.Read(), condition.right.Read());
}

int BlockRunner::RunArithmetic(BlockStep& step, char* result)
{
    Refresh(step);
    int value = 0;
    if (step.target.NeedsText() ||
        !Calculate(step.arithmetic, step.left.Read(), step.right.Read(), &value)) {
        return RunPlain(step, result);
    }
    step.target.Store(value);
    return CmdLanguage::kDone;
}

int BlockRunner::RunAssignment(BlockStep& step, char* result)
{
    Refresh(step);
    if (step.target.NeedsText() || IsCommandWord(step)) {
        return RunPlain(step, result);
    }
    step.target.Store(step.number);
    return CmdLanguage::kDone;
}

// A word that names a registered command runs it instead of being assigned.
bool BlockRunner::IsCommandWord(BlockStep& step)
{
    const unsigned generation = mCommands.Generation();
    if (step.commandGeneration != generation) {
        step.commandGeneration = generation;
        step.isCommand = mCommands.IsKnown(step.line->GetCommand());
    }
    return step.isCommand;
}

int BlockRunner::RunPlain(BlockStep& step, char* result)
{
    mHold.reset();  // a statement may last, and what is removed meanwhile would gather
    mTurnsToLook = 0;
    const int code = RunStatement(*step.statement, mContext, *step.line, result);
    if (step.lineGeneration != step.line->GetGeneration()) {
        step.PrepareLine();
        mLineChanged = true;
    }
    return code;
}

void BlockRunner::Renew(BlockStep& step)
{
    // What other threads replaced under the hold of before is released with it.
    mHold.reset();
    mHold.emplace(&mSymbols);
    if (step.generation != mSymbols.Generation()) {
        step.Resolve(mSymbols);
    }
}
