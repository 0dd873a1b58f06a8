#include "util/os_linux/ProcessSearch.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "util/os_linux/FSUtil.h"

ProcessSearch::ProcessSearch()
{
    FSUtil::ScanDir("/proc", mEntries, nullptr);
}

ProcessSearch::~ProcessSearch()
{
    for (int index = 0; index < mEntries.Size(); ++index) {
        std::free(mEntries.At(index)->mName);
        std::free(mEntries.At(index));
    }
}

bool ProcessSearch::ReadCommandLine()
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

bool ProcessSearch::BeginsWith(const char* command) const
{
    const std::size_t length = std::strlen(command);
    return length <= mLength && std::memcmp(mText, command, length) == 0;
}
