#include "html5_video/StatusBoard.h"

StatusBoard StatusBoard::sPlayer;

PlayerStatus StatusBoard::Read() const
{
    PlayerStatus status;
    Read([&status](const Slot& slot) {
        status = {slot.playTime,    slot.endTime,      slot.statusValue3, slot.speed,
                  slot.mediaStatus, slot.videoWidth,   slot.videoHeight,  slot.inSeek != 0,
                  slot.totalBytes,  slot.currentOffset};
    });
    return status;
}

void StatusBoard::Store(Slot& slot, const PlayerStatus& status)
{
    const unsigned steps = slot.steps.load(std::memory_order_relaxed);
    slot.steps.store(steps + 1, std::memory_order_release);
    // Whoever sees a word stored below also sees that the storing has begun.
    std::atomic_thread_fence(std::memory_order_release);
    slot.playTime.Set(status.playTime);
    slot.endTime.Set(status.endTime);
    slot.statusValue3.Set(status.statusValue3);
    slot.speed.Set(status.speed);
    slot.mediaStatus.Set(status.mediaStatus);
    slot.videoWidth.Set(status.videoWidth);
    slot.videoHeight.Set(status.videoHeight);
    slot.inSeek.Set(status.inSeek);
    slot.totalBytes.Set(status.totalBytes);
    slot.currentOffset.Set(status.currentOffset);
    slot.steps.store(steps + 2, std::memory_order_release);
}
