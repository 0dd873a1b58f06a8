#include "util/console/CmdHistory.h"

int CmdHistory::AddHistory(const char* text)
{
    if (text == nullptr) {
        return -1;
    }
    mEntries.push_back(text);
    return 0;
}

const char* CmdHistory::GetNthHistory(int index) const
{
    const bool found = index >= 0 && index < GetCount();
    return found ? mEntries[static_cast<std::size_t>(index)].c_str() : nullptr;
}

const char* CmdHistory::GetPrevHistory()
{
    if (mIndex > 0) {
        return GetNthHistory(--mIndex);
    }
    mIndex = 0;
    return nullptr;
}

const char* CmdHistory::GetNextHistory()
{
    if (mIndex < GetCount() - 1) {
        return GetNthHistory(++mIndex);
    }
    mIndex = GetCount() - 1;
    return nullptr;
}
