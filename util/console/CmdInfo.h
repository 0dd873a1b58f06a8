// Public. One registered command. The record owns name, types and help text; the owner pointer is
// the registrant's. A record in the registry never changes.
#ifndef UTIL_CONSOLE_CMDINFO_H
#define UTIL_CONSOLE_CMDINFO_H

#include "util/Export.h"

class CmdParser;
struct CmdInfo;

// Runs a command line on the console's thread. The parser holds the whole line, already split, and
// the record is the one that matched; both stay valid until the handler returns. The result is an
// empty buffer of 4096 bytes for a terminated text; the line's return name, if any, is assigned
// that text. The value returned is not used.
using CmdHandlerFunction = int (*)(CmdParser* line, CmdInfo* info, char* result);

struct HTML5_VIDEO_API CmdInfo
{
    CmdInfo() = default;
    CmdInfo(const CmdInfo&) = delete;
    CmdInfo& operator=(const CmdInfo&) = delete;
    ~CmdInfo() { Free(); }

    // Releases name, types and help text; all are null afterwards.
    void Free();

    char* mName = nullptr;                  // at most 256 characters
    int mArgCount = 0;                      // words after the command word in the template
    char* mArgTypes = nullptr;              // a SymInfo::Type, or 0, for each; null for none
    char* mHelp = nullptr;                  // at most 1024 characters, or null
    CmdHandlerFunction mHandler = nullptr;  // runs on the console's thread
    void* mOwner = nullptr;                 // for the handler, not owned
};

#endif  // UTIL_CONSOLE_CMDINFO_H
