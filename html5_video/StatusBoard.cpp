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

constexpr std::uint32_t Bits(int value)
{
    return static_cast<std::uint32_t>(value);
}
}  // namespace

StatusBoard::StatusBoard() : mPublished(0), mSlots()
{
    mSlots[0].taken = true;
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
