#include "util/console/language/BlockReader.h"

#include <cstring>

#include "util/console/CmdLanguage.h"
#include "util/console/CmdParser.h"
#include "util/console/language/BlockTree.h"
#include "util/console/language/Statement.h"
#include "util/console/lines/LineSource.h"

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
    char line[CmdLanguage::kLineSize];
    do {
        if (mSource.Next(line) < 0) {
            return nullptr;
        }
    } while (IsCommentLine(line));
    ++mLines;
    mText += std::strlen(line);
    return std::make_unique<CmdParser>(line);
}

bool BlockReader::IsFull() const
{
    return mLines > CmdLanguage::kMaxBlockLines || mText > CmdLanguage::kMaxBlockText;
}

// False when the lines end before the block's END. What is beyond a limit is read all the same,
// since its lines would otherwise run as statements of their own. A block that is nested too deep
// keeps its first line only, so that running it fails where it stands.
bool BlockReader::ReadBody(CmdBlock* block, CmdParser* line, CmdBlock* parent)
{
    block->mCommand = line;
    block->mParent = parent;
    const bool deepest = BlockDepth(*block) >= CmdLanguage::kMaxBlockDepth;
    CmdBlock** next = &block->mFirstChild;
    while (std::unique_ptr<CmdParser> parser = ReadLine()) {
        const BlockWord word = BlockWordOf(*parser);
        if (word == BlockWord::kEnd) {
            return true;
        }
        CmdBlock* entry = nullptr;
        if (!IsFull()) {
            entry = *next = new CmdBlock;
            entry->mCommand = parser.release();
            entry->mParent = block;
            next = &entry->mNext;
        }
        const bool kept = entry != nullptr && !deepest;
        if (OpensBlock(word) && !(kept ? ReadBody(entry, entry->mCommand, block) : SkipBody())) {
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
        const BlockWord word = BlockWordOf(*parser);
        if (word == BlockWord::kEnd) {
            --open;
        } else if (OpensBlock(word)) {
            ++open;
        }
    }
    return true;
}
