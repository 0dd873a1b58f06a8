#include "tools/player/ClockEngine.h"

#include <algorithm>
#include <utility>

#include "tools/player/MediaAddress.h"
#include "tools/player/PlayerLog.h"

namespace {
constexpr int kScale = 100;
}

ClockEngine::ClockEngine(const Settings& settings, Clock clock)
    : mSettings(settings),
      mClock(std::move(clock)),
      mPlayWanted(false),
      mMuted(false),
      mVolume(100),
      mPosition(0),
      mMovedAt(0),
      mWaitingUntil(0)
{}

void ClockEngine::Reset(MediaStatus status)
{
    mState = PlaybackState();
    mState.status = status;
    mPlayWanted = false;
    mPosition = 0;
}

MediaStatus ClockEngine::Open(const MediaAddress& address)
{
    switch (address.kind) {
        case MediaAddress::kFile:
            mState.duration = mSettings.duration;
            return InspectFile(address.path, mState.totalBytes);
        case MediaAddress::kNetwork:
            mState.duration = mSettings.duration;
            return HTML5_VIDEO_STATUS_LOADING;
        case MediaAddress::kClock:
            mState.duration = address.duration;
            return HTML5_VIDEO_STATUS_LOADING;
        case MediaAddress::kUnknown:
            break;
    }
    return HTML5_VIDEO_STATUS_ERROR_UNSUPPORTED;
}

void ClockEngine::Load(const std::string& address)
{
    Reset(HTML5_VIDEO_STATUS_LOADING);
    const MediaStatus opened = Open(MediaAddress::Parse(address));
    if (IsError(opened)) {
        PLAYER_ERROR("Can not load %s: %s", address.c_str(), html5_video_media_status_name(opened));
        Reset(opened);
        return;
    }
    mWaitingUntil = mClock() + mSettings.loadTime;
}

void ClockEngine::CancelLoad()
{
    Reset(HTML5_VIDEO_STATUS_IDLE);
}

void ClockEngine::Play()
{
    Advance();
    if (mState.status == HTML5_VIDEO_STATUS_ENDED) {
        MoveTo(mState.speed < 0 ? mState.duration : 0);
    }
    if (IsLoaded(mState.status)) {
        mState.status = HTML5_VIDEO_STATUS_PLAYING;
    }
    mPlayWanted = IsLoaded(mState.status) || mState.status == HTML5_VIDEO_STATUS_LOADING;
}

void ClockEngine::Pause()
{
    Advance();
    mPlayWanted = false;
    if (mState.status == HTML5_VIDEO_STATUS_PLAYING) {
        mState.status = HTML5_VIDEO_STATUS_PAUSED;
    }
}

void ClockEngine::Seek(int milliseconds)
{
    Advance();
    if (mState.status == HTML5_VIDEO_STATUS_LOADING) {
        MoveTo(milliseconds);
        return;
    }
    if (!IsLoaded(mState.status)) {
        return;
    }
    MoveTo(milliseconds);
    mState.inSeek = true;
    mWaitingUntil = mClock() + mSettings.seekTime;
    mState.status = mPlayWanted ? HTML5_VIDEO_STATUS_PLAYING : HTML5_VIDEO_STATUS_PAUSED;
}

void ClockEngine::SetSpeed(int speed)
{
    Advance();
    mState.speed = speed;
}

void ClockEngine::SetVolume(int volume)
{
    mVolume = volume;
}

void ClockEngine::SetMuted(bool muted)
{
    mMuted = muted;
}

void ClockEngine::SetSize(int, int)
{
    // No picture, no window: the size has been logged with the command.
}

PlaybackState ClockEngine::Update()
{
    Advance();
    PlaybackState state = mState;
    state.position = mPosition / kScale;
    state.volume = mMuted ? 0 : mVolume;
    if (IsLoaded(state.status) && state.duration > 0) {
        state.currentOffset = static_cast<std::uint64_t>(static_cast<double>(state.totalBytes) *
                                                         static_cast<double>(state.position) /
                                                         static_cast<double>(state.duration));
    }
    return state;
}

// Brings the state up to this moment.
void ClockEngine::Advance()
{
    FinishWaiting();
    Move();
}

void ClockEngine::FinishWaiting()
{
    const bool loading = mState.status == HTML5_VIDEO_STATUS_LOADING;
    if ((!loading && !mState.inSeek) || mClock() < mWaitingUntil) {
        return;
    }
    mState.inSeek = false;
    if (loading) {
        mState.status = mPlayWanted ? HTML5_VIDEO_STATUS_PLAYING : HTML5_VIDEO_STATUS_PAUSED;
        mState.width = mSettings.width;
        mState.height = mSettings.height;
    }
    mMovedAt = mWaitingUntil;
}

void ClockEngine::Move()
{
    const std::int64_t now = mClock();
    const std::int64_t elapsed = now - std::exchange(mMovedAt, now);
    if (mState.status != HTML5_VIDEO_STATUS_PLAYING || mState.inSeek) {
        return;
    }
    const std::int64_t end = mState.duration * kScale;
    const std::int64_t reached = mPosition + elapsed * mState.speed;
    mPosition = std::clamp<std::int64_t>(reached, 0, end);
    const bool ended = mState.speed > 0 ? reached >= end : mState.speed < 0 && reached <= 0;
    if (ended) {
        mState.status = HTML5_VIDEO_STATUS_ENDED;
        mPlayWanted = false;
    }
}

void ClockEngine::MoveTo(std::int64_t milliseconds)
{
    mPosition = std::clamp<std::int64_t>(milliseconds, 0, mState.duration) * kScale;
    mMovedAt = mClock();
}
