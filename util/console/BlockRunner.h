// Internal. Runs one block statement. Integer arithmetic, conditions and plain assignments work on
// the symbols' records without lookups or texts; every other line, and everything those cannot do,
// goes the interpreter's ordinary way. Both ways give the same results.
//
// The shortcuts run under a hold of the symbol table, which is given up before any other line runs
// and renewed whenever the table changed.
#ifndef UTIL_CONSOLE_BLOCKRUNNER_H
#define UTIL_CONSOLE_BLOCKRUNNER_H

#include <cstddef>
#include <optional>

#include "util/console/BlockStep.h"
#include "util/console/RegistryHold.h"
#include "util/console/SymListMgr.h"

class CmdListMgr;
class CmdMgr;
class StopSignal;

class BlockRunner
{
public:
    BlockRunner(CmdMgr& manager, const CmdBlock& block);

    // Runs the block as one of that kind, whatever its word.
    BlockRunner(CmdMgr& manager, const CmdBlock& block, BlockStep::Kind kind);

    // The block's code; the result text is left as the block's word prescribes.
    int Run(char* result);

private:
    int RunStep(BlockStep& step, char* result);
    int RunBody(BlockStep& block, std::size_t from, std::size_t to, char* result);
    template <typename Next>
    int RunLoop(BlockStep& step, char* result, Next next);
    int RunFor(BlockStep& step, char* result);
    int RunWhile(BlockStep& step, char* result);
    int RunIf(BlockStep& step, char* result);
    int RunArithmetic(BlockStep& step, char* result);
    int RunAssignment(BlockStep& step, char* result);
    int RunPlain(BlockStep& step, char* result);

    bool IsTrue(BlockStep& condition);
    bool IsCommandWord(BlockStep& step);

    // Makes the step's places usable.
    void Refresh(BlockStep& step)
    {
        if (!mHold.has_value() || step.generation != mSymbols.GetGeneration()) {
            Renew(step);
        }
    }
    void Renew(BlockStep& step);

    CmdMgr& mManager;
    const StopSignal& mStop;
    SymListMgr& mSymbols;
    CmdListMgr& mCommands;
    BlockStep mBlock;
    bool mLineChanged = false;  // a handler parsed its own line anew, perhaps to an ELSE
    std::optional<RegistryHold<SymListMgr>> mHold;
};

#endif  // UTIL_CONSOLE_BLOCKRUNNER_H
