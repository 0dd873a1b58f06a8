// Internal. Blocks as trees of entries.
#ifndef UTIL_CONSOLE_LANGUAGE_BLOCKTREE_H
#define UTIL_CONSOLE_LANGUAGE_BLOCKTREE_H

#include "util/console/CmdBlock.h"

// How deep the block is nested, 1 for an outermost one.
int BlockDepth(const CmdBlock& block);

// Releases the block, everything under it and the parsers in it; null is none.
void FreeBlock(CmdBlock* block);

// Writes the block and everything under it to standard output.
void PrintBlock(const CmdBlock& block);

#endif  // UTIL_CONSOLE_LANGUAGE_BLOCKTREE_H
