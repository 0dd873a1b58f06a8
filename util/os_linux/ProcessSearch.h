// Internal. The search for a running process that Thread and FSUtil share; they differ in what
// they log on the way.
#ifndef UTIL_OS_LINUX_PROCESSSEARCH_H
#define UTIL_OS_LINUX_PROCESSSEARCH_H

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "util/os_linux/FSUtil.h"

// The first 256 bytes of a process's command line, NUL-terminated.
struct CommandLine
{
    char mText[257];
    std::size_t mLength;
};

// Reads "/proc/ID/cmdline"; false when it cannot be opened (the process may have ended).
inline bool ReadCommandLine(const char* id, CommandLine& line)
{
    char path[300];
    std::snprintf(path, sizeof(path), "/proc/%s/cmdline", id);
    FILE* const file = std::fopen(path, "re");
    if (file == nullptr) {
        return false;
    }
    line.mLength = std::fread(line.mText, 1, sizeof(line.mText) - 1, file);
    line.mText[line.mLength] = '\0';
    std::fclose(file);
    return true;
}

inline bool IsProcessId(const char* name)
{
    return *name != '\0' && name[std::strspn(name, "0123456789")] == '\0';
}

// Calls onEntry(name) for each item of /proc and onLine(text) for each command line read, until a
// command line begins with the command.
template <typename OnEntry, typename OnLine>
bool FindProcess(const char* command, OnEntry onEntry, OnLine onLine)
{
    const std::size_t length = std::strlen(command);
    tavi::Vector<FileCompareUnit*> entries;
    FSUtil::ScanDir("/proc", entries, nullptr);
    bool found = false;
    for (int index = 0; index < entries.Size(); ++index) {
        FileCompareUnit* const entry = entries.At(index);
        CommandLine line;
        if (!found) {
            onEntry(entry->mName);
            if (IsProcessId(entry->mName) && ReadCommandLine(entry->mName, line)) {
                onLine(line.mText);
                found = length <= line.mLength && std::memcmp(line.mText, command, length) == 0;
            }
        }
        std::free(entry->mName);
        std::free(entry);
    }
    return found;
}

#endif  // UTIL_OS_LINUX_PROCESSSEARCH_H
