// Internal. A block's entry in the form it is run in: what it is, its words resolved. Made once
// per run of an outermost block; the entry it was made from must outlive it.
#ifndef UTIL_CONSOLE_BLOCKSTEP_H
#define UTIL_CONSOLE_BLOCKSTEP_H

#include <cstddef>
#include <vector>

#include "util/console/IntegerOperation.h"
#include "util/console/IntegerPlace.h"
#include "util/console/StatementKind.h"

class CmdParser;
struct CmdBlock;

// How deep the block is nested, 1 for an outermost one.
int BlockDepth(const CmdBlock& block);

struct BlockStep
{
    enum class Kind
    {
        kFor,
        kWhile,
        kIf,
        kIdle,          // DO and MACRO: kept, never run
        kBadArguments,  // a block with the wrong number of arguments
        kTooDeep,
        kUnknown,  // a block of any other word
        kBreak,
        kArithmetic,  // a op b, name = a op b
        kAssignment,  // name = word
        kPlain        // any other line
    };

    // The outermost block: its kind is that of its word, unless the caller wants another.
    explicit BlockStep(const CmdBlock& block);
    BlockStep(const CmdBlock& block, Kind wanted);

    // What a plain line is. Called again when a handler, which is given the line it runs for, has
    // parsed it anew.
    void PrepareLine();

    // Where the body's lines ELSE stand.
    void FindElses();

    // Looks the words up again; the symbol table's generation at that time is stored.
    void Resolve(SymListMgr& symbols);

    Kind kind;
    StatementKind statement = StatementKind::kNothing;  // of a plain line
    CmdParser* line;
    unsigned lineGeneration = 0;  // of a plain line, when it was prepared

    // What arithmetic, assignments and conditions work on; valid at that generation.
    unsigned generation = 0;
    IntegerSource left;
    IntegerSource right;
    IntegerTarget target;
    Arithmetic arithmetic = Arithmetic::kNone;
    Comparison comparison = Comparison::kNone;

    // The assigned word as a number, and whether a registered command has it as its name, at that
    // generation of the registry.
    int number = 0;
    unsigned commandGeneration = 0;
    bool isCommand = false;

    // The body of a block, and where the first ELSE stands in it and the second, or its size.
    std::vector<BlockStep> body;
    std::size_t firstElse = 0;
    std::size_t secondElse = 0;

private:
    BlockStep(const CmdBlock& entry, int depth);

    void PrepareBlock(const CmdBlock& block, int depth);
    std::size_t FindElse(std::size_t from) const;
};

#endif  // UTIL_CONSOLE_BLOCKSTEP_H
