#include "html5_video/StatusBoard.h"

#include <sched.h>

namespace {
constexpr std::uint32_t Low(unsigned long long value)
{
    return static_cast<std::uint32_t>(value);
}

constexpr std::uint32_t High(unsigned long long value)
{
    return static_cast<std::uint32_t>(value >> 32);
}

constexpr unsigned long long Join(std::uint32_t high, std::uint32_t low)
{
    return static_cast<unsigned long long>(high) << 32 | low;
}

constexpr std::uint32_t Bits(int value)
{
    return static_cast<std::uint32_t>(value);
}
}  // namespace

StatusBoard::StatusBoard() : mPublished(0), mSlots()
{
    mSlots[0].taken = true;
}

PlayerStatus StatusBoard::Read() const
{
    PlayerStatus status;
    while (!Load(mPublished.load(std::memory_order_acquire), status)) {}
    return status;
}

// Copies the published slot; false when it was superseded meanwhile, and so perhaps refilled.
bool StatusBoard::Load(std::uint32_t published, PlayerStatus& status) const
{
    const std::atomic<std::uint32_t>* const words = mSlots[SlotOf(published)].words;
    std::uint32_t copy[kWords];
    for (unsigned index = 0; index < kWords; ++index) {
        copy[index] = words[index].load(std::memory_order_relaxed);
    }
    // A word of a later filling is seen only after what superseded this one: see Store.
    std::atomic_thread_fence(std::memory_order_acquire);
    if (mPublished.load(std::memory_order_relaxed) != published) {
        return false;
    }
    status.playTime = static_cast<int>(copy[0]);
    status.endTime = static_cast<int>(copy[1]);
    status.statusValue3 = static_cast<int>(copy[2]);
    status.speed = static_cast<int>(copy[3]);
    status.mediaStatus = static_cast<int>(copy[4]);
    status.videoWidth = static_cast<int>(copy[5]);
    status.videoHeight = static_cast<int>(copy[6]);
    status.inSeek = copy[7] != 0;
    status.totalBytes = Join(copy[8], copy[9]);
    status.currentOffset = Join(copy[10], copy[11]);
    return true;
}

void StatusBoard::Store(unsigned slot, const PlayerStatus& status)
{
    // Whoever sees a word stored below also sees that this slot is no longer the published one.
    std::atomic_thread_fence(std::memory_order_release);
    const std::uint32_t values[kWords] = {
        Bits(status.playTime),    Bits(status.endTime),       Bits(status.statusValue3),
        Bits(status.speed),       Bits(status.mediaStatus),   Bits(status.videoWidth),
        Bits(status.videoHeight), status.inSeek ? 1U : 0U,    High(status.totalBytes),
        Low(status.totalBytes),   High(status.currentOffset), Low(status.currentOffset)};
    for (unsigned index = 0; index < kWords; ++index) {
        mSlots[slot].words[index].store(values[index], std::memory_order_relaxed);
    }
}

// A slot of the caller's own. There are more slots than threads that update at once; should there
// ever be more threads, they wait for one of the others.
unsigned StatusBoard::Claim()
{
    for (;;) {
        for (unsigned slot = 0; slot < kSlots; ++slot) {
            if (!mSlots[slot].taken.exchange(true, std::memory_order_acq_rel)) {
                return slot;
            }
        }
        sched_yield();
    }
}

// False, with base the latest, when another update was published since base was read.
bool StatusBoard::Publish(std::uint32_t& base, unsigned slot)
{
    const std::uint32_t next = (base / kSlots + 1) * kSlots + slot;
    const unsigned superseded = SlotOf(base);
    if (!mPublished.compare_exchange_strong(base, next, std::memory_order_acq_rel,
                                            std::memory_order_acquire)) {
        return false;
    }
    mSlots[superseded].taken.store(false, std::memory_order_release);
    return true;
}
