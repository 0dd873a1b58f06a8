// Public. One entry of a parsed block, see CmdMgr::ParseCmdBlock. An entry with a first child is
// run as a block, one without as a plain line. CmdMgr::FreeCmdBlock releases an outermost block
// with its whole tree and the parsers in it.
#ifndef UTIL_CONSOLE_CMDBLOCK_H
#define UTIL_CONSOLE_CMDBLOCK_H

class CmdParser;

struct CmdBlock
{
    CmdParser* mCommand = nullptr;    // the entry's own line, owned
    CmdBlock* mNext = nullptr;        // the following entry of the same body
    CmdBlock* mParent = nullptr;      // the enclosing block, null for the outermost
    CmdBlock* mFirstChild = nullptr;  // the first entry of the body
};

#endif  // UTIL_CONSOLE_CMDBLOCK_H
