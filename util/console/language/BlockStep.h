// Internal. A block's entry in the form it is run in: what it is, its words resolved. Made once
// per run of an outermost block; the entry it was made from must outlive it.
#ifndef UTIL_CONSOLE_LANGUAGE_BLOCKSTEP_H
#define UTIL_CONSOLE_LANGUAGE_BLOCKSTEP_H

#include <cstddef>
#include <vector>

#include "util/console/language/IntegerOperation.h"
#include "util/console/language/IntegerPlace.h"
#include "util/console/language/Statement.h"

class CmdParser;
struct CmdBlock;

struct BlockStep
{
    enum class Kind
    {
        kFor,
        kWhile,
        kIf,
        kIdle,          // kept, never run
        kUnknown,       // a block whose word opens none
        kBadArguments,  // a block with the wrong number of arguments
        kTooDeep,
        kArithmetic,  // a op b, name = a op b
        kAssignment,  // name = word
        kPlain        // any other line
    };

    // An outermost block, as one of its own word, or of another that opens a block.
    explicit BlockStep(const CmdBlock& block);
    BlockStep(const CmdBlock& block, BlockWord as);

    // What a plain line is. Called again when a handler, which is given the line it runs for, has
    // parsed it anew.
    void PrepareLine();

    // Finds the lines ELSE of the body.
    void FindElses();

    // Looks the words up again; the symbol table's generation at that time is stored.
    void Resolve(SymbolRecords& symbols);

    Kind kind;
    bool isElse = false;
    CmdParser* line;
    const Statement* statement = nullptr;  // of a plain line
    unsigned lineGeneration = 0;           // of a plain line, when it was prepared

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

    // The body of a block, and in it what is run otherwise: from behind the first ELSE, if there is
    // one, to the second or the end.
    std::vector<BlockStep> body;
    std::size_t firstElse = 0;
    std::size_t elseBegin = 0;
    std::size_t elseEnd = 0;

private:
    BlockStep(const CmdBlock& entry, int depth);

    void PrepareBlock(const CmdBlock& block, BlockWord word, int depth);
    std::size_t FindElse(std::size_t from) const;
};

#endif  // UTIL_CONSOLE_LANGUAGE_BLOCKSTEP_H
