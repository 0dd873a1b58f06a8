#include "tools/browser/Session.h"

namespace {
constexpr std::chrono::milliseconds kRestorePause{500};
}

Session::Session(const VideoLibrary& library)
    : mLibrary(library), mPosition(0), mHasPlayer(false), mRestoring(false)
{}

void Session::Start()
{
    mLibrary.init();
}

void Session::Load(const std::string& url)
{
    mWishes.url = url;
    mWishes.play = false;
    mWishes.rate = 1;
    mPosition = 0;
    mRestoring = !mHasPlayer;
    mNextRestore = Clock::now() + kRestorePause;
    mLibrary.load(url.empty() ? nullptr : url.c_str());
}

void Session::CancelLoad()
{
    mWishes.url.clear();
    mWishes.play = false;
    mPosition = 0;
    mLibrary.cancelLoad();
}

void Session::Play()
{
    mWishes.play = true;
    mLibrary.play();
}

void Session::Pause()
{
    mWishes.play = false;
    mLibrary.pause();
}

void Session::Seek(double seconds)
{
    mPosition = seconds;
    mLibrary.seek(static_cast<float>(seconds));
}

void Session::SetRate(double rate)
{
    mWishes.rate = rate;
    mLibrary.setRate(static_cast<float>(rate));
}

void Session::SetVolume(double volume)
{
    mWishes.volume = volume;
    mLibrary.setVolume(static_cast<float>(volume));
}

void Session::SetSize(int width, int height)
{
    mWishes.width = width;
    mWishes.height = height;
    mLibrary.setSize(width, height);
}

void Session::SetMuted(bool muted)
{
    mWishes.muted = muted;
    mLibrary.setMuted(muted);
}

Status Session::GetStatus() const
{
    Status status;
    int media = 0;
    int inSeek = 0;
    mLibrary.getStatus(&status.position, &status.duration, &status.speed, &media, &inSeek,
                       &status.totalBytes, &status.currentOffset);
    mLibrary.getVideoDimension(&status.width, &status.height);
    status.media = static_cast<MediaStatus>(media);
    status.inSeek = inSeek != 0;
    return status;
}

Session::Event Session::Poll()
{
    const bool connected = mLibrary.isConnected() == 1;
    if (!connected) {
        mLibrary.reconnect();  // changes nothing while a player is awaited
        if (mHasPlayer) {
            return Lose();
        }
    }
    const Status status = GetStatus();
    if (mHasPlayer) {
        Note(status);
        return Event::kNone;
    }
    // A load resets the media status to unknown, and only a player's report changes it. One that
    // reports idle although there is something to load has not heard of it.
    const bool idle = status.media == HTML5_VIDEO_STATUS_IDLE && !mWishes.url.empty();
    if (connected && status.media != HTML5_VIDEO_STATUS_UNKNOWN && !idle) {
        mHasPlayer = true;
        mRestoring = false;
        return Event::kPlayerFound;
    }
    if (mRestoring && Clock::now() >= mNextRestore) {
        Restore();
    }
    return Event::kNone;
}

// The player has gone: the next one is to bring the media back.
Session::Event Session::Lose()
{
    mHasPlayer = false;
    mRestoring = true;
    Restore();
    return Event::kPlayerGone;
}

// Where to go on, should this player be lost.
void Session::Note(const Status& status)
{
    if (IsLoaded(status.media) && !status.inSeek) {
        mPosition = status.position / 1000.0;
    }
    if (status.media == HTML5_VIDEO_STATUS_ENDED || IsError(status.media)) {
        mWishes.play = false;
    }
}

// Tells a player everything. Without one each command fails at once, and nothing has changed but
// the media status, which is unknown again.
void Session::Restore()
{
    mNextRestore = Clock::now() + kRestorePause;
    mLibrary.load(mWishes.url.empty() ? nullptr : mWishes.url.c_str());
    mLibrary.setVolume(static_cast<float>(mWishes.volume));
    mLibrary.setMuted(mWishes.muted);
    if (mWishes.width > 0) {
        mLibrary.setSize(mWishes.width, mWishes.height);
    }
    if (mPosition > 0) {
        mLibrary.seek(static_cast<float>(mPosition));
    }
    mLibrary.setRate(static_cast<float>(mWishes.rate));
    if (mWishes.play) {
        mLibrary.play();
    }
}
