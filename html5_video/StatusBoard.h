// Internal. The player's state, written on the serving thread and read on the browser's: every
// read is one whole update, and a reader never waits.
//
// Each update goes into two slots, one after the other, under the writers' lock. A reader takes
// the first one and looks whether it was being written meanwhile; if so, the second one still holds
// the update before, whole, and only an update that has gone on to it sends the reader back. A
// writer that is interrupted holds up no reader.
#ifndef HTML5_VIDEO_STATUSBOARD_H
#define HTML5_VIDEO_STATUSBOARD_H

#include <atomic>
#include <cstdint>
#include <type_traits>

#include "html5_video/PlayerStatus.h"
#include "util/os_linux/StaticLock.h"

class StatusBoard
{
public:
    // A word of a slot. The slot's steps order the accesses.
    template <typename T>
    class Word
    {
    public:
        operator T() const { return mValue.load(std::memory_order_relaxed); }
        void Set(T value) { mValue.store(value, std::memory_order_relaxed); }

    private:
        std::atomic<T> mValue{0};
    };

    // 64 bits in two words, which every processor reads without a lock.
    class DoubleWord
    {
    public:
        operator unsigned long long() const
        {
            return static_cast<unsigned long long>(mHigh) << 32 | mLow;
        }
        void Set(unsigned long long value)
        {
            mHigh.Set(static_cast<std::uint32_t>(value >> 32));
            mLow.Set(static_cast<std::uint32_t>(value));
        }

    private:
        Word<std::uint32_t> mHigh;
        Word<std::uint32_t> mLow;
    };

    // 64 bits as a status has them: one word where words have as many.
    using LongWord = std::conditional_t<sizeof(void*) == sizeof(unsigned long long),
                                        Word<unsigned long long>, DoubleWord>;

    // The fields of a PlayerStatus, in a cache line of their own wherever the board lies: a reader
    // beside a writer fetches one.
    struct alignas(64) Slot
    {
        std::atomic<unsigned> steps{0};  // two an update; odd while one is being stored
        Word<int> playTime;
        Word<int> endTime;
        Word<int> statusValue3;
        Word<int> speed;
        Word<int> mediaStatus;
        Word<int> videoWidth;
        Word<int> videoHeight;
        Word<int> inSeek;
        LongWord totalBytes;
        LongWord currentOffset;
    };

    // The state of the process's one player: constant-initialised, so that it can be read before
    // the client is made.
    static StatusBoard sPlayer;

    // All fields 0.
    constexpr StatusBoard() = default;
    StatusBoard(const StatusBoard&) = delete;
    StatusBoard& operator=(const StatusBoard&) = delete;

    // One look: calls take(slot), which copies what it wants of the slot, and returns whether that
    // was of one whole update. False also before the first one: where a look succeeds, there is a
    // client that made an update. Inlined, since calls cost half of a read.
    template <typename Take>
    [[gnu::always_inline]] bool Look(Take take) const
    {
        return Try(mSlots[0], take) && mSlots[0].steps.load(std::memory_order_relaxed) != 0;
    }

    // Calls take(slot), which copies what it wants of the slot: again while updates come in
    // between, and what it took last is of one whole update.
    template <typename Take>
    void Read(Take take) const
    {
        for (unsigned slot = 0; !Try(mSlots[slot], take); slot ^= 1) {}
    }

    PlayerStatus Read() const;

    // Applies change(PlayerStatus&) to the latest state, as one step.
    template <typename Change>
    void Update(Change change)
    {
        const StaticLockHold hold(mWriting);
        PlayerStatus status = Read();
        change(status);
        Store(mSlots[0], status);
        Store(mSlots[1], status);
    }

private:
    // False when a writer was at the slot meanwhile.
    template <typename Take>
    [[gnu::always_inline]] static bool Try(const Slot& slot, Take& take)
    {
        const unsigned before = slot.steps.load(std::memory_order_acquire);
        take(slot);
        // Whoever saw a word that is stored later sees below that its storing had begun.
        std::atomic_thread_fence(std::memory_order_acquire);
        const bool whole = before % 2 == 0 && slot.steps.load(std::memory_order_relaxed) == before;
        if (!whole) {
            // The other slot is read as this writer found it or later, and so never goes back.
            std::atomic_thread_fence(std::memory_order_acquire);
        }
        return whole;
    }

    static void Store(Slot& slot, const PlayerStatus& status);

    StaticLock mWriting;
    Slot mSlots[2];
};

#endif  // HTML5_VIDEO_STATUSBOARD_H
