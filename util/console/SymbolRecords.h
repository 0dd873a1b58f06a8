// Internal. The symbol table's records, for the library's own readers: a look at one under the
// lock, which is cheaper than a hold for one value, or a record to follow under a hold.
#ifndef UTIL_CONSOLE_SYMBOLRECORDS_H
#define UTIL_CONSOLE_SYMBOLRECORDS_H

#include "util/console/RecordList.h"
#include "util/console/SymInfo.h"

class SymbolRecords final : public Registry<SymInfo>
{
public:
    // Those of the process's table.
    static SymbolRecords& Get();

    // Null for a null name.
    SymInfo* Find(const char* name) const TAVI_REQUIRES(lock);

    SymInfo* Match(const char* name)
    {
        const StaticLockHold hold(lock);
        return Find(name);
    }
};

// The symbol of a name, with the table locked as long as this lives; the table must not be called
// meanwhile.
class TAVI_SCOPED_CAPABILITY LockedSymbol
{
public:
    LockedSymbol(SymbolRecords& records, const char* name) TAVI_ACQUIRE(records.lock);
    ~LockedSymbol() TAVI_RELEASE();

    // Whether there is one.
    explicit operator bool() const { return mInfo != nullptr; }

    // REQUIRES: there is one.
    const SymInfo* operator->() const { return mInfo; }
    const SymInfo& operator*() const { return *mInfo; }
    bool IsReserved() const { return mInfo->mReserved != 0; }

private:
    const StaticLockHold mHold;
    const SymInfo* const mInfo;
};

#endif  // UTIL_CONSOLE_SYMBOLRECORDS_H
