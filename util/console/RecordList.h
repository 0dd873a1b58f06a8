// Internal. What the two registries are: records in the order of their registration, under a lock.
// A record that is taken out while somebody may still be reading it is destroyed when the last hold
// on the registry is given up, or at once when there is none.
//
// RecordList is written once for records of any type; Registry<Record> gives them their type.
#ifndef UTIL_CONSOLE_RECORDLIST_H
#define UTIL_CONSOLE_RECORDLIST_H

#include <atomic>
#include <cstddef>
#include <vector>

#include "util/os_linux/StaticLock.h"

class RecordList
{
public:
    using Destroy = void (*)(void* record);

    RecordList(const RecordList&) = delete;
    RecordList& operator=(const RecordList&) = delete;

    int Count();

    // Removes the record at the index: 0, or -1 when there is none.
    int RemoveAt(int index);

    void Hold();
    void Release();

    // Waits until nobody holds what somebody holds now.
    void WaitUntilReleased();

    // Changes whenever a record was added or removed, or a held one's text replaced: while it is
    // equal, what was found is still there. Never 0.
    unsigned Generation() const { return mGeneration.load(std::memory_order_acquire); }

    StaticLock lock;  // of everything below, and of the records' values

    bool IsHeld() const TAVI_REQUIRES(lock) { return mHolds > 0; }
    void Changed() { mGeneration.fetch_add(1, std::memory_order_acq_rel); }

protected:
    explicit RecordList(Destroy destroy) : mDestroy(destroy) {}
    ~RecordList();

    void* At(int index);

    // Take the record over; on the way out of the list it is retired.
    void Append(void* record) TAVI_REQUIRES(lock);
    void Remove(const void* record) TAVI_REQUIRES(lock);
    void Retire(void* record) TAVI_REQUIRES(lock);

    std::vector<void*> mRecords TAVI_GUARDED_BY(lock);

private:
    bool Has(int index) const TAVI_REQUIRES(lock);
    void DestroyAll(std::vector<void*>& records) const;

    const Destroy mDestroy;
    std::vector<void*> mRetired TAVI_GUARDED_BY(lock);
    unsigned mHolds TAVI_GUARDED_BY(lock) = 0;
    unsigned mIdleCount TAVI_GUARDED_BY(lock) = 0;  // changes when the last hold is given up
    std::atomic<unsigned> mGeneration{1};
};

template <typename Record>
class Registry : public RecordList
{
public:
    Registry() : RecordList([](void* record) { delete static_cast<Record*>(record); }) {}

    // The record at the index, or null.
    Record* At(int index) { return static_cast<Record*>(RecordList::At(index)); }

    void Append(Record* record) TAVI_REQUIRES(lock) { RecordList::Append(record); }
    void Remove(const Record* record) TAVI_REQUIRES(lock) { RecordList::Remove(record); }
    void Retire(Record* record) TAVI_REQUIRES(lock) { RecordList::Retire(record); }

    // The first record that fits(const Record&) says yes to, or null.
    template <typename Fits>
    Record* First(Fits fits) const TAVI_REQUIRES(lock)
    {
        for (void* record : mRecords) {
            if (fits(*static_cast<const Record*>(record))) {
                return static_cast<Record*>(record);
            }
        }
        return nullptr;
    }
};

#endif  // UTIL_CONSOLE_RECORDLIST_H
