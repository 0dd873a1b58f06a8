// Blocks: read into a tree, run, released, written out.
#include <cstdio>

#include "util/console/BlockReader.h"
#include "util/console/BlockRunner.h"
#include "util/console/CmdBlock.h"
#include "util/console/CmdMgr.h"
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

void PrintEntry(const CmdBlock* entry)
{
    std::printf("############################\n");
    PrintWord("parent", entry->mParent);
    PrintWord("cmd", entry);
    PrintWord("next", entry->mNext);
    std::printf("############################\n\n\n");
}
}  // namespace

CmdBlock* CmdMgr::NewCmdBlock()
{
    return new CmdBlock;
}

// There is no result text here: the reason goes where the other reports of the console go.
int CmdMgr::ParseCmdBlock(CmdBlock* block, CmdParser* line, CmdBlock* parent)
{
    const char* const reason = BlockReader(*this).Read(block, line, parent);
    if (reason == nullptr) {
        return kDone;
    }
    std::puts(reason);
    std::fflush(stdout);
    return kFailed;
}

int CmdMgr::DoCmdBlock(CmdBlock* block, char* result)
{
    return BlockRunner(*this, *block).Run(result);
}

int CmdMgr::DoFOR(CmdBlock* block, char* result)
{
    return BlockRunner(*this, *block, BlockStep::Kind::kFor).Run(result);
}

int CmdMgr::DoDO(CmdBlock* block, char* result)
{
    return BlockRunner(*this, *block, BlockStep::Kind::kIdle).Run(result);
}

int CmdMgr::DoWHILE(CmdBlock* block, char* result)
{
    return BlockRunner(*this, *block, BlockStep::Kind::kWhile).Run(result);
}

int CmdMgr::DoIF(CmdBlock* block, char* result)
{
    return BlockRunner(*this, *block, BlockStep::Kind::kIf).Run(result);
}

int CmdMgr::DoMACRO(CmdBlock* block, char* result)
{
    return BlockRunner(*this, *block, BlockStep::Kind::kIdle).Run(result);
}

void CmdMgr::FreeCmdBlock(CmdBlock* block)
{
    if (block == nullptr) {
        return;
    }
    CmdBlock* entry = block->mFirstChild;
    while (entry != nullptr) {
        CmdBlock* const next = entry->mNext;
        FreeCmdBlock(entry);
        entry = next;
    }
    delete block->mCommand;
    delete block;
}

void CmdMgr::PrintCmdBlock(const CmdBlock* block)
{
    PrintEntry(block);
    for (const CmdBlock* entry = block->mFirstChild; entry != nullptr; entry = entry->mNext) {
        PrintCmdBlock(entry);
    }
}
