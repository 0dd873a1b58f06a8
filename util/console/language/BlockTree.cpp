#include "util/console/language/BlockTree.h"

#include <cstdio>

#include "util/console/CmdParser.h"

namespace {
void PrintWord(const char* name, const CmdBlock* entry)
{
    if (entry != nullptr) {
        const char* const word =
            entry->mCommand != nullptr ? entry->mCommand->GetCommand() : nullptr;
        std::printf("%s=%s\n", name, word != nullptr ? word : "");
    }
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

void FreeBlock(CmdBlock* block)
{
    if (block == nullptr) {
        return;
    }
    CmdBlock* entry = block->mFirstChild;
    while (entry != nullptr) {
        CmdBlock* const next = entry->mNext;
        FreeBlock(entry);
        entry = next;
    }
    delete block->mCommand;
    delete block;
}

void PrintBlock(const CmdBlock& block)
{
    std::printf("############################\n");
    PrintWord("parent", block.mParent);
    PrintWord("cmd", &block);
    PrintWord("next", block.mNext);
    std::printf("############################\n\n\n");
    for (const CmdBlock* entry = block.mFirstChild; entry != nullptr; entry = entry->mNext) {
        PrintBlock(*entry);
    }
}
