// Internal. Runs one block statement. Integer arithmetic, conditions and plain assignments work on
// the symbols' records without lookups or texts; every other line, and everything those cannot do,
// goes the way of a plain line. Both ways give the same results.
//
// The shortcuts run under a hold of the symbol table, which is given up before any other line runs,
// since that may remove symbols or last long, and renewed whenever the table changed.
#ifndef UTIL_CONSOLE_LANGUAGE_BLOCKRUNNER_H
#define UTIL_CONSOLE_LANGUAGE_BLOCKRUNNER_H

#include <cstddef>
#include <optional>

#include "util/console/RegistryHold.h"
#include "util/console/SymbolRecords.h"
#include "util/console/language/BlockStep.h"

class CommandRecords;
class StatementContext;
class StopSignal;

class BlockRunner
{
public:
    explicit BlockRunner(StatementContext& context);

    // The block's code; the result text is left as the block's word prescribes.
    int Run(BlockStep& step, char* result);

private:
    int RunBody(BlockStep* step, const BlockStep* end, char* result);
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

    // Whether a loop may take another turn, or its thread is to stop.
    bool MayGoOn() { return --mTurnsToLook > 0 || LookAround(); }
    bool LookAround();

    // Makes the step's places usable.
    void Refresh(BlockStep& step)
    {
        if (!mHold.has_value() || step.generation != mSymbols.Generation()) {
            Renew(step);
        }
    }
    void Renew(BlockStep& step);

    StatementContext& mContext;
    StopSignal& mStop;
    SymbolRecords& mSymbols;
    CommandRecords& mCommands;
    std::optional<RegistryHold<SymbolRecords>> mHold;
    int mTurnsToLook = 0;       // a plain statement makes it 0, since it may last
    bool mLineChanged = false;  // a handler parsed its own line anew, perhaps to an ELSE
};

#endif  // UTIL_CONSOLE_LANGUAGE_BLOCKRUNNER_H
