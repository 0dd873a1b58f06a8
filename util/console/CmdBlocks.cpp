// Blocks: read into a tree, run, released, written out.
#include <cstdio>
#include <cstring>
#include <memory>

#include "util/console/BlockRunner.h"
#include "util/console/CmdBlock.h"
#include "util/console/CmdMgr.h"
#include "util/console/CmdParser.h"
#include "util/console/StatementKind.h"

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

// The next line of a block that is no comment, or null when there is none. The caller deletes it.
CmdParser* CmdMgr::ReadBlockLine()
{
    char line[kLineSize];
    do {
        if (GetLine(line) < 0) {
            return nullptr;
        }
    } while (IsComment(line));
    ++mBlockLines;
    mBlockText += std::strlen(line);
    return new CmdParser(line);
}

bool CmdMgr::IsBlockFull() const
{
    return mBlockLines > kMaxBlockLines || mBlockText > kMaxBlockText;
}

int CmdMgr::ParseCmdBlock(CmdBlock* block, CmdParser* line, CmdBlock* parent)
{
    block->mCommand = line;
    block->mParent = parent;
    const bool deepest = BlockDepth(*block) >= kMaxBlockDepth;
    CmdBlock** next = &block->mFirstChild;
    while (std::unique_ptr<CmdParser> parser{ReadBlockLine()}) {
        if (EndsBlock(*parser)) {
            return 0;
        }
        const bool opens = IsControlCmd(parser.get());
        CmdBlock* entry = nullptr;
        if (!IsBlockFull()) {
            entry = NewCmdBlock();
            entry->mCommand = parser.release();
            entry->mParent = block;
            *next = entry;
            next = &entry->mNext;
        }
        if (!opens) {
            continue;
        }
        const bool kept = entry != nullptr && !deepest;
        if ((kept ? ParseCmdBlock(entry, entry->mCommand, block) : SkipBlock()) != 0) {
            return -1;
        }
    }
    return -1;
}

// Reads a block that is not kept up to its END: 0, or -1 when the lines end before.
int CmdMgr::SkipBlock()
{
    int open = 1;
    while (open > 0) {
        const std::unique_ptr<CmdParser> parser(ReadBlockLine());
        if (parser == nullptr) {
            return -1;
        }
        if (EndsBlock(*parser)) {
            --open;
        } else if (IsControlCmd(parser.get())) {
            ++open;
        }
    }
    return 0;
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
