// Public. One console variable. The record owns its name and text; fields that its type does not
// use are 0 or null.
//
// Name, type and the reserved flag never change once the record is in the table. The values may be
// changed by other threads while it is there: read them through the table's operations, or through
// LoadInt.
#ifndef UTIL_CONSOLE_SYMINFO_H
#define UTIL_CONSOLE_SYMINFO_H

#include "util/Export.h"

struct HTML5_VIDEO_API SymInfo
{
    enum Type
    {
        kInt = 1,
        kChar = 2,  // held as an integer
        kString = 3,
        kFloat = 4,
        kPointer = 5
    };

    SymInfo() = default;
    SymInfo(const SymInfo&) = delete;
    SymInfo& operator=(const SymInfo&) = delete;
    ~SymInfo() { Free(); }

    // Releases name and text; both are null afterwards.
    void Free();

    // Whole reads and writes of the integer beside other threads' ones.
    int LoadInt() const { return __atomic_load_n(&mIntValue, __ATOMIC_RELAXED); }
    void StoreInt(int value) { __atomic_store_n(&mIntValue, value, __ATOMIC_RELAXED); }

    char* mName = nullptr;          // at most 256 characters
    int mIntValue = 0;              // types 1 and 2, and types outside the list
    float mFloatValue = 0;          // type 4
    char* mStringValue = nullptr;   // type 3
    void* mPointerValue = nullptr;  // type 5, not owned
    int mReserved = 0;              // nonzero: defined by the console itself, see SymListMgr
    int mType = 0;                  // a Type, or another number, whose value is an integer
};

#endif  // UTIL_CONSOLE_SYMINFO_H
