// Internal. The player's state, written on the serving thread and read on the browser's: every
// read is one whole update, and nobody waits for a lock.
//
// Each update fills a slot that nobody reads and then publishes it with one store. A reader copies
// the published slot and looks whether it still is the published one; only an update that came in
// between makes it copy again, so a reader never waits for a writer that was interrupted.
#ifndef HTML5_VIDEO_STATUSBOARD_H
#define HTML5_VIDEO_STATUSBOARD_H

#include <atomic>
#include <cstdint>

#include "html5_video/PlayerStatus.h"

class StatusBoard
{
public:
    // All fields 0.
    StatusBoard();
    StatusBoard(const StatusBoard&) = delete;
    StatusBoard& operator=(const StatusBoard&) = delete;

    PlayerStatus Read() const
    {
        PlayerStatus status;
        while (!Load(mPublished.load(std::memory_order_acquire), status)) {}
        return status;
    }

    // Applies change(PlayerStatus&) to the latest state, as one step: when another thread's update
    // comes in between, change is applied again to that one's outcome.
    template <typename Change>
    void Update(Change change)
    {
        const unsigned slot = Claim();
        std::uint32_t base = mPublished.load(std::memory_order_acquire);
        for (;;) {
            PlayerStatus status;
            if (!Load(base, status)) {
                base = mPublished.load(std::memory_order_acquire);
                continue;
            }
            change(status);
            Store(slot, status);
            if (Publish(base, slot)) {
                return;
            }
        }
    }

private:
    // More slots than there are threads that update at the same time, plus the published one.
    static constexpr unsigned kSlots = 16;
    static constexpr unsigned kWords = 12;

    // A cache line of its own, wherever the board lies.
    struct alignas(64) Slot
    {
        std::atomic<bool> taken;  // published, or being filled
        std::atomic<std::uint32_t> words[kWords];
    };

    // mPublished is a count of updates times kSlots plus the slot of the latest one.
    static unsigned SlotOf(std::uint32_t published) { return published % kSlots; }

    static unsigned long long Join(std::uint32_t high, std::uint32_t low)
    {
        return static_cast<unsigned long long>(high) << 32 | low;
    }

    // Copies the published slot; false when it was superseded meanwhile, and so perhaps refilled.
    bool Load(std::uint32_t published, PlayerStatus& status) const
    {
        const std::atomic<std::uint32_t>* const words = mSlots[SlotOf(published)].words;
        const auto word = [words](unsigned index) {
            return words[index].load(std::memory_order_relaxed);
        };
        status.playTime = static_cast<int>(word(0));
        status.endTime = static_cast<int>(word(1));
        status.statusValue3 = static_cast<int>(word(2));
        status.speed = static_cast<int>(word(3));
        status.mediaStatus = static_cast<int>(word(4));
        status.videoWidth = static_cast<int>(word(5));
        status.videoHeight = static_cast<int>(word(6));
        status.inSeek = word(7) != 0;
        status.totalBytes = Join(word(8), word(9));
        status.currentOffset = Join(word(10), word(11));
        // A word of a later filling is seen only after what superseded this one: see Store.
        std::atomic_thread_fence(std::memory_order_acquire);
        return mPublished.load(std::memory_order_relaxed) == published;
    }

    void Store(unsigned slot, const PlayerStatus& status);
    unsigned Claim();
    bool Publish(std::uint32_t& base, unsigned slot);

    std::atomic<std::uint32_t> mPublished;
    Slot mSlots[kSlots];
};

#endif  // HTML5_VIDEO_STATUSBOARD_H
