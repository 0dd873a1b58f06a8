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
            return MediaStatus::kLoading;
        case MediaAddress::kClock:
            mState.duration = address.duration;
            return MediaStatus::kLoading;
        case MediaAddress::kUnknown:
            break;
    }
    return MediaStatus::kErrorUnsupported;
}

void ClockEngine::Load(const std::string& address)
{
    Reset(MediaStatus::kLoading);
    const MediaStatus opened = Open(MediaAddress::Parse(address));
    if (IsError(opened)) {
        PLAYER_ERROR("Can not load %s: %s", address.c_str(), Name(opened));
        Reset(opened);
        return;
    }
    mWaitingUntil = mClock() + mSettings.loadTime;
}

void ClockEngine::CancelLoad()
{
    Reset(MediaStatus::kIdle);
}

void ClockEngine::Play()
{
    Advance();
    if (mState.status == MediaStatus::kEnded) {
        MoveTo(mState.speed < 0 ? mState.duration : 0);
    }
    if (IsLoaded(mState.status)) {
        mState.status = MediaStatus::kPlaying;
    }
    mPlayWanted = IsLoaded(mState.status) || mState.status == MediaStatus::kLoading;
}

void ClockEngine::Pause()
{
    Advance();
    mPlayWanted = false;
    if (mState.status == MediaStatus::kPlaying) {
        mState.status = MediaStatus::kPaused;
    }
}

void ClockEngine::Seek(int milliseconds)
{
    Advance();
    if (mState.status == MediaStatus::kLoading) {
        MoveTo(milliseconds);
        return;
    }
    if (!IsLoaded(mState.status)) {
        return;
    }
    MoveTo(milliseconds);
    mState.inSeek = true;
    mWaitingUntil = mClock() + mSettings.seekTime;
    mState.status = mPlayWanted ? MediaStatus::kPlaying : MediaStatus::kPaused;
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
    const bool loading = mState.status == MediaStatus::kLoading;
    if ((!loading && !mState.inSeek) || mClock() < mWaitingUntil) {
        return;
    }
    mState.inSeek = false;
    if (loading) {
        mState.status = mPlayWanted ? MediaStatus::kPlaying : MediaStatus::kPaused;
        mState.width = mSettings.width;
        mState.height = mSettings.height;
    }
    mMovedAt = mWaitingUntil;
}

void ClockEngine::Move()
{
    const std::int64_t now = mClock();
    const std::int64_t elapsed = now - std::exchange(mMovedAt, now);
    if (mState.status != MediaStatus::kPlaying || mState.inSeek) {
        return;
    }
    const std::int64_t end = mState.duration * kScale;
    const std::int64_t reached = mPosition + elapsed * mState.speed;
    mPosition = std::clamp<std::int64_t>(reached, 0, end);
    const bool ended = mState.speed > 0 ? reached >= end : mState.speed < 0 && reached <= 0;
    if (ended) {
        mState.status = MediaStatus::kEnded;
        mPlayWanted = false;
    }
}

void ClockEngine::MoveTo(std::int64_t milliseconds)
{
    mPosition = std::clamp<std::int64_t>(milliseconds, 0, mState.duration) * kScale;
    mMovedAt = mClock();
}
