#include "util/console/BlockRunner.h"

#include "util/console/CmdListMgr.h"
#include "util/console/CmdMgr.h"
#include "util/console/CmdParser.h"
#include "util/console/ResultText.h"
#include "util/console/StopSignal.h"

BlockRunner::BlockRunner(CmdMgr& manager, const CmdBlock& block)
    : mManager(manager),
      mStop(*manager.mSignal),
      mSymbols(*SymListMgr::GetInstance()),
      mCommands(*CmdListMgr::GetInstance()),
      mBlock(block)
{}

BlockRunner::BlockRunner(CmdMgr& manager, const CmdBlock& block, BlockStep::Kind kind)
    : mManager(manager),
      mStop(*manager.mSignal),
      mSymbols(*SymListMgr::GetInstance()),
      mCommands(*CmdListMgr::GetInstance()),
      mBlock(block, kind)
{}

int BlockRunner::Run(char* result)
{
    return RunStep(mBlock, result);
}

int BlockRunner::RunStep(BlockStep& step, char* result)
{
    switch (step.kind) {
        case BlockStep::Kind::kArithmetic:
            return RunArithmetic(step, result);
        case BlockStep::Kind::kAssignment:
            return RunAssignment(step, result);
        case BlockStep::Kind::kBreak:
            return CmdMgr::kBreak;
        case BlockStep::Kind::kPlain:
            return RunPlain(step, result);
        case BlockStep::Kind::kFor:
            return RunFor(step, result);
        case BlockStep::Kind::kWhile:
            return RunWhile(step, result);
        case BlockStep::Kind::kIf:
            return RunIf(step, result);
        case BlockStep::Kind::kIdle:
            return CmdMgr::kDone;
        case BlockStep::Kind::kBadArguments:
            return Fail(result, "argument fail");
        case BlockStep::Kind::kTooDeep:
            return Fail(result, "Block too deep");
        case BlockStep::Kind::kUnknown:
            break;
    }
    return CmdMgr::kFailed;
}

// The code of the last step run, 0 when none is; stops early at a break only.
int BlockRunner::RunBody(BlockStep& block, std::size_t from, std::size_t to, char* result)
{
    int code = CmdMgr::kDone;
    for (std::size_t index = from; index < to && code != CmdMgr::kBreak; ++index) {
        code = RunStep(block.body[index], result);
    }
    return code;
}

// One turn after the other while next() says so. A break ends the loop and is done with.
template <typename Next>
int BlockRunner::RunLoop(BlockStep& step, char* result, Next next)
{
    int code = CmdMgr::kDone;
    while (next() && !mStop.IsRaised()) {
        code = RunBody(step, 0, step.body.size(), result);
        if (code == CmdMgr::kBreak) {
            code = CmdMgr::kDone;
            break;
        }
    }
    result[0] = '\0';
    return code;
}

int BlockRunner::RunFor(BlockStep& step, char* result)
{
    LoopCounter counter(mSymbols.GetIntValue(step.line->GetNthArg(0)),
                        mSymbols.GetIntValue(step.line->GetNthArg(1)),
                        mSymbols.GetIntValue(step.line->GetNthArg(2)));
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
    const int code = IsTrue(step) ? RunBody(step, 0, step.firstElse, result)
                                  : RunBody(step, step.firstElse + 1, step.secondElse, result);
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
    return CmdMgr::kDone;
}

int BlockRunner::RunAssignment(BlockStep& step, char* result)
{
    Refresh(step);
    if (step.target.NeedsText() || IsCommandWord(step)) {
        return RunPlain(step, result);
    }
    step.target.Store(step.number);
    return CmdMgr::kDone;
}

// A word that names a registered command runs it instead of being assigned.
bool BlockRunner::IsCommandWord(BlockStep& step)
{
    const unsigned generation = mCommands.GetGeneration();
    if (step.commandGeneration != generation) {
        step.commandGeneration = generation;
        step.isCommand = mCommands.IsKnown(step.line->GetCommand());
    }
    return step.isCommand;
}

int BlockRunner::RunPlain(BlockStep& step, char* result)
{
    mHold.reset();
    const int code = mManager.RunStatement(step.statement, step.line, result);
    if (step.lineGeneration != step.line->GetGeneration()) {
        step.PrepareLine();
        mLineChanged = true;
    }
    return code;
}

void BlockRunner::Renew(BlockStep& step)
{
    if (!mHold.has_value() || step.generation != mSymbols.GetGeneration()) {
        mHold.reset();
        mHold.emplace(&mSymbols);
    }
    if (step.generation != mSymbols.GetGeneration()) {
        step.Resolve(mSymbols);
    }
}
