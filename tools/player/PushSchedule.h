// Which state goes to the browser, and when: the newest, a change at once, the progress of a
// playback every kProgress, a state that does not change every kHeartbeat, and one that the browser
// did not take again after kRetry. Waits for nothing and has no clock: the times are the caller's.
// One thread at a time.
#ifndef TOOLS_PLAYER_PUSHSCHEDULE_H
#define TOOLS_PLAYER_PUSHSCHEDULE_H

#include <algorithm>
#include <chrono>
#include <optional>

#include "tools/player/PlaybackState.h"

class PushSchedule
{
public:
    using Time = std::chrono::steady_clock::time_point;

    static constexpr std::chrono::milliseconds kProgress{250};
    static constexpr std::chrono::milliseconds kHeartbeat{1000};
    static constexpr std::chrono::milliseconds kRetry{250};

    // The state to tell; one that was not taken is left out. Passed over while held. Whether it is
    // to go out at once.
    bool Update(const PlaybackState& state)
    {
        if (mHolds > 0) {
            return false;
        }
        mLatest = state;
        return IsUrgent();
    }

    // Drops what was not taken. The first state after the last Release goes out at once, whatever
    // it is. Holds may overlap.
    void Hold()
    {
        ++mHolds;
        mLatest.reset();
        mPushed.reset();
    }
    void Release() { --mHolds; }

    // The state that is to go out now, if there is one. Once taken it counts as told.
    std::optional<PlaybackState> Take(Time now)
    {
        if (!mLatest || (!IsUrgent() && now < NextPush())) {
            return std::nullopt;
        }
        mPushed = mLatest;
        mPushedAt = now;
        return mLatest;
    }

    // Whether the browser took what was taken last.
    void Report(bool reached) { mReached = reached; }
    bool IsReached() const { return mReached; }

    // When to look again, if no state comes before that goes out at once.
    Time Next(Time now) const
    {
        return mLatest ? std::min(NextPush(), now + kProgress) : now + kProgress;
    }

private:
    // With a state to tell. While playing, the position alone can wait for its turn.
    bool IsUrgent() const
    {
        if (!mPushed) {
            return true;
        }
        return mLatest->status == HTML5_VIDEO_STATUS_PLAYING ? !SameButProgress(*mLatest, *mPushed)
                                                             : !(*mLatest == *mPushed);
    }

    Time NextPush() const
    {
        if (!mReached) {
            return mPushedAt + kRetry;
        }
        return mPushedAt + (mLatest == mPushed ? kHeartbeat : kProgress);
    }

    std::optional<PlaybackState> mLatest;
    std::optional<PlaybackState> mPushed;  // what the browser knows, or was tried to tell
    Time mPushedAt;
    int mHolds = 0;  // not yet released
    bool mReached = false;
};

#endif  // TOOLS_PLAYER_PUSHSCHEDULE_H
