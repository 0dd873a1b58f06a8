#include "util/console/RecordList.h"

#include <algorithm>

#include "util/os_linux/Sleep.h"

RecordList::~RecordList()
{
    DestroyAll(mRecords);
    DestroyAll(mRetired);
}

void RecordList::DestroyAll(std::vector<void*>& records) const
{
    for (void* record : records) {
        mDestroy(record);
    }
    records.clear();
}

bool RecordList::Has(int index) const
{
    return index >= 0 && static_cast<std::size_t>(index) < mRecords.size();
}

int RecordList::Count()
{
    const StaticLockHold hold(lock);
    return static_cast<int>(mRecords.size());
}

void* RecordList::At(int index)
{
    const StaticLockHold hold(lock);
    return Has(index) ? mRecords[static_cast<std::size_t>(index)] : nullptr;
}

int RecordList::RemoveAt(int index)
{
    const StaticLockHold hold(lock);
    if (!Has(index)) {
        return -1;
    }
    Remove(mRecords[static_cast<std::size_t>(index)]);
    return 0;
}

void RecordList::Append(void* record)
{
    mRecords.push_back(record);
    Changed();
}

void RecordList::Remove(const void* record)
{
    const auto found = std::find(mRecords.begin(), mRecords.end(), record);
    void* const removed = *found;
    mRecords.erase(found);
    Retire(removed);
    Changed();
}

void RecordList::Retire(void* record)
{
    if (IsHeld()) {
        mRetired.push_back(record);
    } else {
        mDestroy(record);
    }
}

void RecordList::Hold()
{
    const StaticLockHold hold(lock);
    ++mHolds;
}

void RecordList::Release()
{
    const StaticLockHold hold(lock);
    if (--mHolds == 0) {
        ++mIdleCount;
        DestroyAll(mRetired);
    }
}

// Whoever held the list at the beginning has let go once it was idle; others may have come since.
void RecordList::WaitUntilReleased()
{
    bool first = true;
    for (unsigned seen = 0;; MSleep(1)) {
        const StaticLockHold hold(lock);
        if (!IsHeld() || (!first && seen != mIdleCount)) {
            return;
        }
        seen = mIdleCount;
        first = false;
    }
}
