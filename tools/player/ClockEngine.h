// An engine without media: its video is a clock that runs, stops, jumps and ends. It needs nothing
// but the time, so that a browser can be developed against it anywhere.
//
// "clock:SECONDS" is a video of that length. A file or http(s):// address plays as a video of the
// length in the settings; a file must exist, and its size is reported.
#ifndef TOOLS_PLAYER_CLOCKENGINE_H
#define TOOLS_PLAYER_CLOCKENGINE_H

#include <cstdint>
#include <functional>

#include "tools/player/Engine.h"

struct MediaAddress;

class ClockEngine : public Engine
{
public:
    // All times in milliseconds.
    struct Settings
    {
        std::int64_t duration = 60000;
        int width = 640;
        int height = 360;
        int loadTime = 100;  // how long loading and seeking take
        int seekTime = 50;
    };

    // Milliseconds of a clock that never goes back.
    using Clock = std::function<std::int64_t()>;

    ClockEngine(const Settings& settings, Clock clock);

    void Load(const std::string& address) override;
    void CancelLoad() override;
    void Play() override;
    void Pause() override;
    void Seek(int milliseconds) override;
    void SetSpeed(int speed) override;
    void SetVolume(int volume) override;
    void SetMuted(bool muted) override;
    void SetSize(int width, int height) override;
    PlaybackState Update() override;

private:
    void Reset(MediaStatus status);
    MediaStatus Open(const MediaAddress& address);
    void Advance();
    void FinishWaiting();
    void Move();
    void MoveTo(std::int64_t milliseconds);

    const Settings mSettings;
    const Clock mClock;

    PlaybackState mState;  // position and offset are filled in by Update
    bool mPlayWanted;      // play and not pause was the last word
    bool mMuted;
    int mVolume;

    // The position is counted in hundredths of a millisecond: a millisecond at a speed of 1
    // hundredth moves by one, so that no change of speed loses a fraction.
    std::int64_t mPosition;
    std::int64_t mMovedAt;       // the time at which mPosition was right
    std::int64_t mWaitingUntil;  // the end of the loading or the seek in progress
};

#endif  // TOOLS_PLAYER_CLOCKENGINE_H
