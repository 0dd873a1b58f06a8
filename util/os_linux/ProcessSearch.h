// Internal. The walk over the running processes that Thread and FSUtil share; they differ in what
// they log on the way.
#ifndef UTIL_OS_LINUX_PROCESSSEARCH_H
#define UTIL_OS_LINUX_PROCESSSEARCH_H

#include <cstddef>

#include "util/container/Vector.h"
#include "util/os_linux/CancelGuard.h"
#include "util/os_linux/FileCompareUnit.h"

// Steps through the items of /proc, those that are no processes included.
class ProcessSearch
{
public:
    ProcessSearch();
    ProcessSearch(const ProcessSearch&) = delete;
    ProcessSearch& operator=(const ProcessSearch&) = delete;

    ~ProcessSearch();

    // Steps to the next item; false after the last one.
    bool Next() { return ++mIndex < mEntries.Size(); }

    const char* Name() { return mEntries.At(mIndex)->mName; }

    // Reads the first 256 bytes of the item's command line; false when it is no process or has
    // ended.
    bool ReadCommandLine();

    // The command line read, up to its first NUL.
    const char* CommandLine() const { return mText; }

    bool BeginsWith(const char* command) const;

private:
    const CancelGuard mGuard;  // a cancel in the middle would leave a file open
    tavi::Vector<FileCompareUnit*> mEntries;
    int mIndex = -1;
    std::size_t mLength = 0;
    char mText[257] = {};
};

#endif  // UTIL_OS_LINUX_PROCESSSEARCH_H
