#include "util/console/BlockReader.h"

#include <cstring>

#include "util/console/BlockStep.h"
#include "util/console/CmdBlock.h"
#include "util/console/CmdMgr.h"
#include "util/console/CmdParser.h"
#include "util/console/StatementKind.h"

const char* BlockReader::Read(CmdBlock* block, CmdParser* line, CmdBlock* parent)
{
    if (!ReadBody(block, line, parent)) {
        return "Block without END";
    }
    return IsFull() ? "Block too long" : nullptr;
}

// The next line that is no comment, or null when there is none.
std::unique_ptr<CmdParser> BlockReader::ReadLine()
{
    char line[CmdMgr::kLineSize];
    do {
        if (mManager.GetLine(line) < 0) {
            return nullptr;
        }
    } while (IsCommentLine(line));
    ++mLines;
    mText += std::strlen(line);
    return std::make_unique<CmdParser>(line);
}

bool BlockReader::IsFull() const
{
    return mLines > CmdMgr::kMaxBlockLines || mText > CmdMgr::kMaxBlockText;
}

// False when the lines end before the block's END.
bool BlockReader::ReadBody(CmdBlock* block, CmdParser* line, CmdBlock* parent)
{
    block->mCommand = line;
    block->mParent = parent;
    const bool deepest = BlockDepth(*block) >= CmdMgr::kMaxBlockDepth;
    CmdBlock** next = &block->mFirstChild;
    while (std::unique_ptr<CmdParser> parser = ReadLine()) {
        if (EndsBlock(*parser)) {
            return true;
        }
        const bool opens = OpensBlock(*parser);
        CmdBlock* entry = nullptr;
        if (!IsFull()) {
            entry = *next = new CmdBlock;
            entry->mCommand = parser.release();
            entry->mParent = block;
            next = &entry->mNext;
        }
        const bool kept = entry != nullptr && !deepest;
        if (opens && !(kept ? ReadBody(entry, entry->mCommand, block) : SkipBody())) {
            return false;
        }
    }
    return false;
}

// Reads a block that is not kept up to its END; false when the lines end before.
bool BlockReader::SkipBody()
{
    int open = 1;
    while (open > 0) {
        const std::unique_ptr<CmdParser> parser = ReadLine();
        if (parser == nullptr) {
            return false;
        }
        if (EndsBlock(*parser)) {
            --open;
        } else if (OpensBlock(*parser)) {
            ++open;
        }
    }
    return true;
}
