// Public. What the console's statements return, and the bounds of lines, results and blocks. CmdMgr
// has all of it as names of its own.
#ifndef UTIL_CONSOLE_CMDLANGUAGE_H
#define UTIL_CONSOLE_CMDLANGUAGE_H

#include <cstddef>

#include "util/Export.h"

struct HTML5_VIDEO_API CmdLanguage
{
    enum Code
    {
        kDone = 0,
        kBreak = 1,       // leave the innermost FOR or WHILE
        kFailed = -1,     // the result text may say why
        kNoCommand = -2,  // an empty line or a comment
        kQuit = -5
    };

    // The caller's buffers: a line is read into the one, a result text written into the other.
    static constexpr std::size_t kLineSize = 1024;
    static constexpr std::size_t kResultSize = 4096;

    // Blocks nest this deep; a deeper one fails when it is run. A block has at most so many lines
    // and characters, with those of the blocks inside; a longer one is read to its end and not run.
    // FILE nests this deep.
    static constexpr int kMaxBlockDepth = 64;
    static constexpr int kMaxBlockLines = 16384;
    static constexpr std::size_t kMaxBlockText = std::size_t{1024} * 1024;
    static constexpr int kMaxScripts = 16;
};

#endif  // UTIL_CONSOLE_CMDLANGUAGE_H
