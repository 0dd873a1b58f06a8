// Public. A list of past lines, oldest first, with a cursor. It has no limit and keeps duplicates.
// Not locked: a history belongs to one thread at a time.
#ifndef UTIL_CONSOLE_CMDHISTORY_H
#define UTIL_CONSOLE_CMDHISTORY_H

#include <string>
#include <vector>

#include "util/Export.h"

class HTML5_VIDEO_API CmdHistory
{
public:
    CmdHistory() : mIndex(0) {}

    // Remove every entry; the cursor stays.
    void Init() { Clear(); }
    void Clear() { mEntries.clear(); }

    // Entries.
    int GetCount() const { return static_cast<int>(mEntries.size()); }

    // Appends a copy of the line; the cursor stays. 0, or -1 for null.
    int AddHistory(const char* text);

    // Entries, or null outside the list; valid until the list changes. GetPrevHistory moves the
    // cursor back and stops at 0, GetNextHistory moves it forward and stops at the last entry;
    // both give null when they stop.
    const char* GetNthHistory(int index) const;
    const char* GetPrevHistory();
    const char* GetNextHistory();

private:
    int mIndex;
    std::vector<std::string> mEntries;
};

#endif  // UTIL_CONSOLE_CMDHISTORY_H
