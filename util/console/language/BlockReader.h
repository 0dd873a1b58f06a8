// Internal. Reads one outermost block, from the line behind its first one to its END, with the
// blocks inside. CmdLanguage's limits hold for it as a whole, so it is made anew for each.
#ifndef UTIL_CONSOLE_LANGUAGE_BLOCKREADER_H
#define UTIL_CONSOLE_LANGUAGE_BLOCKREADER_H

#include <cstddef>
#include <memory>

class CmdParser;
class LineSource;
struct CmdBlock;

class BlockReader
{
public:
    explicit BlockReader(LineSource& source) : mSource(source) {}

    // Takes the line over and hangs what it reads under the block, as much as the limits allow.
    // Null, or the reason why the block must not be run.
    const char* Read(CmdBlock* block, CmdParser* line, CmdBlock* parent);

private:
    bool ReadBody(CmdBlock* block, CmdParser* line, CmdBlock* parent);
    bool SkipBody();
    std::unique_ptr<CmdParser> ReadLine();
    bool IsFull() const;

    LineSource& mSource;
    int mLines = 0;
    std::size_t mText = 0;
};

#endif  // UTIL_CONSOLE_LANGUAGE_BLOCKREADER_H
