// Internal. The symbol table's records, for the library's own readers: a look at one under the
// lock, which is cheaper than a hold for one value, or a record to follow under a hold.
#ifndef UTIL_CONSOLE_SYMBOLRECORDS_H
#define UTIL_CONSOLE_SYMBOLRECORDS_H

#include <cstring>

#include "util/console/RecordList.h"
#include "util/console/SymInfo.h"

class SymbolRecords final : public Registry<SymInfo>
{
public:
    // Those of the process's table.
    static SymbolRecords& Get();

    // Null for a null name.
    SymInfo* Find(const char* name) const TAVI_REQUIRES(lock)
    {
        return name == nullptr ? nullptr : First([name](const SymInfo& info) {
            return std::strcmp(info.mName, name) == 0;
        });
    }

    SymInfo* Match(const char* name)
    {
        const StaticLockHold hold(lock);
        return Find(name);
    }

    // Calls use(const SymInfo&) with the symbol while the table is locked; whether there is one.
    // The function must not call the table.
    template <typename Use>
    bool Read(const char* name, Use use)
    {
        const StaticLockHold hold(lock);
        const SymInfo* const info = Find(name);
        if (info != nullptr) {
            use(*info);
        }
        return info != nullptr;
    }
};

#endif  // UTIL_CONSOLE_SYMBOLRECORDS_H
