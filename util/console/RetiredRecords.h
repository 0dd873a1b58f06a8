// Internal. Records taken out of a registry while somebody may still be reading them: they are
// destroyed when the last hold on the registry is given up, or at once when there is none.
//
// Not locked: the registry calls it under its own lock.
#ifndef UTIL_CONSOLE_RETIREDRECORDS_H
#define UTIL_CONSOLE_RETIREDRECORDS_H

#include <memory>
#include <utility>
#include <vector>

template <typename Record>
class RetiredRecords
{
public:
    bool IsHeld() const { return mHolds > 0; }

    // Changes each time the last hold is given up.
    unsigned IdleCount() const { return mIdleCount; }

    void AddHold() { ++mHolds; }

    void DropHold()
    {
        if (--mHolds == 0) {
            ++mIdleCount;
            mRecords.clear();
        }
    }

    void Retire(std::unique_ptr<Record> record)
    {
        if (IsHeld()) {
            mRecords.push_back(std::move(record));
        }
    }

private:
    unsigned mHolds = 0;
    unsigned mIdleCount = 0;
    std::vector<std::unique_ptr<Record>> mRecords;
};

#endif  // UTIL_CONSOLE_RETIREDRECORDS_H
