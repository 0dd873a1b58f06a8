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

    PlayerStatus Read() const;

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

    struct Slot
    {
        std::atomic<bool> taken;  // published, or being filled
        std::atomic<std::uint32_t> words[kWords];
    };

    // mPublished is a count of updates times kSlots plus the slot of the latest one.
    static unsigned SlotOf(std::uint32_t published) { return published % kSlots; }

    bool Load(std::uint32_t published, PlayerStatus& status) const;
    void Store(unsigned slot, const PlayerStatus& status);
    unsigned Claim();
    bool Publish(std::uint32_t& base, unsigned slot);

    std::atomic<std::uint32_t> mPublished;
    Slot mSlots[kSlots];
};

#endif  // HTML5_VIDEO_STATUSBOARD_H
