// Internal. A look at a symbol's record while the table is locked, which is cheaper than a hold of
// the table for one value.
#ifndef UTIL_CONSOLE_SYMBOLREADER_H
#define UTIL_CONSOLE_SYMBOLREADER_H

#include "util/console/SymListMgr.h"

class SymbolReader
{
public:
    // Calls use(const SymInfo&) with the symbol; whether there is one. The function must not call
    // the table.
    template <typename Use>
    static bool Read(SymListMgr& symbols, const char* name, Use use)
    {
        const StaticLockHold hold(symbols.mLock);
        const SymInfo* const info = symbols.Find(name);
        if (info != nullptr) {
            use(*info);
        }
        return info != nullptr;
    }
};

#endif  // UTIL_CONSOLE_SYMBOLREADER_H
