// Internal. The walk over the running processes that Thread and FSUtil share; they differ in what
// they log on the way.
#ifndef UTIL_OS_LINUX_PROCESSSEARCH_H
#define UTIL_OS_LINUX_PROCESSSEARCH_H

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "util/os_linux/CancelGuard.h"
#include "util/os_linux/FSUtil.h"

// Steps through the items of /proc, those that are no processes included.
class ProcessSearch
{
public:
    ProcessSearch() { FSUtil::ScanDir("/proc", mEntries, nullptr); }
    ProcessSearch(const ProcessSearch&) = delete;
    ProcessSearch& operator=(const ProcessSearch&) = delete;

    ~ProcessSearch()
    {
        for (int index = 0; index < mEntries.Size(); ++index) {
            std::free(mEntries.At(index)->mName);
            std::free(mEntries.At(index));
        }
    }

    // Steps to the next item; false after the last one.
    bool Next() { return ++mIndex < mEntries.Size(); }

    const char* Name() { return mEntries.At(mIndex)->mName; }

    // Reads the first 256 bytes of the item's command line; false when it is no process or has
    // ended.
    bool ReadCommandLine()
    {
        if (*Name() == '\0' || Name()[std::strspn(Name(), "0123456789")] != '\0') {
            return false;
        }
        char path[300];
        std::snprintf(path, sizeof(path), "/proc/%s/cmdline", Name());
        FILE* const file = std::fopen(path, "re");
        if (file == nullptr) {
            return false;
        }
        mLength = std::fread(mText, 1, sizeof(mText) - 1, file);
        mText[mLength] = '\0';
        std::fclose(file);
        return true;
    }

    // The command line read, up to its first NUL.
    const char* CommandLine() const { return mText; }

    bool BeginsWith(const char* command) const
    {
        const std::size_t length = std::strlen(command);
        return length <= mLength && std::memcmp(mText, command, length) == 0;
    }

private:
    const CancelGuard mGuard;  // a cancel in the middle would leave a file open
    tavi::Vector<FileCompareUnit*> mEntries;
    int mIndex = -1;
    std::size_t mLength = 0;
    char mText[257] = {};
};

#endif  // UTIL_OS_LINUX_PROCESSSEARCH_H
