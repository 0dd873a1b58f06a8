#include "tools/player/GstEngine.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "tools/player/MediaAddress.h"
#include "tools/player/PlayerLog.h"

namespace {
constexpr int kNormalSpeed = 100;

bool HasDisplay()
{
    return std::getenv("DISPLAY") != nullptr || std::getenv("WAYLAND_DISPLAY") != nullptr;
}

bool InitGStreamer()
{
    GError* error = nullptr;
    if (gst_init_check(nullptr, nullptr, &error) == TRUE) {
        return true;
    }
    PLAYER_ERROR("GStreamer can not start: %s", error != nullptr ? error->message : "?");
    g_clear_error(&error);
    return false;
}

// The URI to open. The file is looked at here, so that a missing one is reported as such.
MediaStatus UriOf(const std::string& text, std::string& uri)
{
    const MediaAddress address = MediaAddress::Parse(text);
    if (address.kind == MediaAddress::kNetwork) {
        uri = text;
        return HTML5_VIDEO_STATUS_LOADING;
    }
    if (address.kind != MediaAddress::kFile) {
        return HTML5_VIDEO_STATUS_ERROR_UNSUPPORTED;
    }
    std::uint64_t size = 0;
    gchar* const converted = gst_filename_to_uri(address.path.c_str(), nullptr);
    uri = converted != nullptr ? converted : "";
    g_free(converted);
    return InspectFile(address.path, size);
}
}  // namespace

GstEngine::GstEngine(bool headless, std::function<void()> wake)
    : mHeadless(headless || !HasDisplay()),
      mWake(std::move(wake)),
      mStatus(InitGStreamer() ? HTML5_VIDEO_STATUS_IDLE : HTML5_VIDEO_STATUS_ERROR_INTERNAL),
      mLoaded(false),
      mEnded(false),
      mBuffering(false),
      mPlayWanted(false),
      mPlaying(false),
      mInSeek(false),
      mTarget(kNowhere),
      mPosition(0),
      mDuration(0),
      mSpeed(kNormalSpeed),
      mPipelineSpeed(kNormalSpeed),
      mVolume(100),
      mMuted(false)
{
    PLAYER_INFO("%s", mHeadless ? "Without window and sound" : "With a window");
}

GstEngine::~GstEngine()
{
    mPipeline.reset();
    if (gst_is_initialized()) {
        gst_deinit();
    }
}

void GstEngine::Drop(MediaStatus status)
{
    mPipeline.reset();
    mStatus = status;
    mLoaded = false;
    mEnded = false;
    mBuffering = false;
    mPlayWanted = false;
    mPlaying = false;
    mInSeek = false;
    mTarget = kNowhere;
    mPosition = 0;
    mDuration = 0;
    mSpeed = kNormalSpeed;
    mPipelineSpeed = kNormalSpeed;
    mShown = {};
}

void GstEngine::Load(const std::string& address)
{
    Drop(HTML5_VIDEO_STATUS_IDLE);
    std::string uri;
    const MediaStatus opened =
        gst_is_initialized() ? UriOf(address, uri) : HTML5_VIDEO_STATUS_ERROR_INTERNAL;
    if (IsError(opened)) {
        PLAYER_ERROR("Can not load %s: %s", address.c_str(), html5_video_media_status_name(opened));
        Drop(opened);
        return;
    }
    mPipeline = std::make_unique<MediaPipeline>(uri, mHeadless, mWake);
    mPipeline->SetVolume(mVolume, mMuted);
    if (mWindow.width > 0) {
        mPipeline->SetSize(mWindow.width, mWindow.height);
    }
}

void GstEngine::CancelLoad()
{
    Drop(HTML5_VIDEO_STATUS_IDLE);
}

void GstEngine::Play()
{
    TakeNews();
    if (mPipeline == nullptr) {
        return;
    }
    mPlayWanted = true;
    if (std::exchange(mEnded, false)) {
        mTarget = mSpeed < 0 ? mDuration : 0;
    }
    Settle();
}

void GstEngine::Pause()
{
    TakeNews();
    mPlayWanted = false;
    Settle();
}

void GstEngine::Seek(int milliseconds)
{
    TakeNews();
    if (mPipeline == nullptr) {
        return;
    }
    mTarget = std::max(milliseconds, 0);
    mInSeek = mLoaded;
    mEnded = false;
    Settle();
}

void GstEngine::SetSpeed(int speed)
{
    TakeNews();
    mSpeed = speed;
    Settle();
}

void GstEngine::SetVolume(int volume)
{
    mVolume = volume;
    if (mPipeline != nullptr) {
        mPipeline->SetVolume(mVolume, mMuted);
    }
}

void GstEngine::SetMuted(bool muted)
{
    mMuted = muted;
    SetVolume(mVolume);
}

void GstEngine::SetSize(int width, int height)
{
    TakeNews();
    mWindow = {width, height};
    if (mPipeline == nullptr) {
        return;
    }
    mPipeline->SetSize(width, height);
    if (mLoaded && !mPlaying && mTarget == kNowhere && !mEnded) {
        mTarget = mPosition;  // draws the held picture again
        Settle();
    }
}

PlaybackState GstEngine::Update()
{
    TakeNews();
    Settle();
    PlaybackState state;
    state.volume = mMuted ? 0 : mVolume;
    state.status = Status();
    if (mPipeline != nullptr) {
        Observe(state);
    }
    return state;
}

MediaStatus GstEngine::Status() const
{
    if (mPipeline == nullptr) {
        return mStatus;
    }
    if (!mLoaded) {
        return HTML5_VIDEO_STATUS_LOADING;
    }
    if (mEnded) {
        return HTML5_VIDEO_STATUS_ENDED;
    }
    if (!mPlayWanted) {
        return HTML5_VIDEO_STATUS_PAUSED;
    }
    return mBuffering ? HTML5_VIDEO_STATUS_BUFFERING : HTML5_VIDEO_STATUS_PLAYING;
}

void GstEngine::TakeNews()
{
    while (mPipeline != nullptr) {
        const MediaPipeline::News news = mPipeline->TakeNews();
        switch (news.kind) {
            case MediaPipeline::News::kNone:
                return;
            case MediaPipeline::News::kEnd:
                End();
                break;
            case MediaPipeline::News::kBuffering:
                mBuffering = news.percent < 100;
                break;
            case MediaPipeline::News::kError:
                Drop(news.error);
                break;
        }
    }
}

void GstEngine::End()
{
    mEnded = true;
    mPlayWanted = false;
    if (mPipelineSpeed < 0) {
        mPosition = 0;
        return;
    }
    if (mDuration == 0 && !mPipeline->QueryDuration(mDuration)) {
        mDuration = mPosition;  // known only now
    }
    mPosition = mDuration;
}

// The duration is what the container says, the position how far the sinks have come: a little
// beyond it at times, and far when the container is wrong.
void GstEngine::LimitPosition()
{
    if (mDuration == 0 || mPosition > mDuration) {
        mPipeline->QueryDuration(mDuration);  // known only now, or better
    }
    if (mDuration > 0) {
        mPosition = std::min(mPosition, mDuration);
    }
}

// Starts what is due, when the pipeline has settled.
void GstEngine::Settle()
{
    if (mPipeline == nullptr || !mPipeline->IsSettled()) {
        return;
    }
    mLoaded = true;
    if (!mEnded) {
        mPipeline->QueryPosition(mPosition);
        LimitPosition();
    }
    const bool speedDue = mSpeed != 0 && mSpeed != mPipelineSpeed && !mEnded;
    if (mTarget != kNowhere || speedDue) {
        StartSeek();
    } else {
        mInSeek = false;
    }
    SetPlaying();
}

void GstEngine::StartSeek()
{
    const std::int64_t wanted = mTarget != kNowhere ? mTarget : mPosition;
    const std::int64_t target = mDuration > 0 ? std::min(wanted, mDuration) : wanted;
    const int speed = mSpeed != 0 ? mSpeed : mPipelineSpeed;
    mTarget = kNowhere;
    if (mPipeline->Seek(target, speed)) {
        mPipelineSpeed = speed;
        mPosition = target;
        return;
    }
    PLAYER_WARNING("The media can not go to %lld ms at speed %d", static_cast<long long>(target),
                   speed);
    mSpeed = mPipelineSpeed;
    mInSeek = false;
}

void GstEngine::SetPlaying()
{
    const bool playing = mPlayWanted && !mBuffering && !mEnded && mSpeed != 0;
    if (std::exchange(mPlaying, playing) != playing) {
        mPipeline->SetPlaying(playing);
    }
}

// What the pipeline itself tells: the state holds nothing that was only asked for.
void GstEngine::Observe(PlaybackState& state)
{
    state.position = mPosition;
    state.duration = mDuration;
    state.speed = mSpeed;
    state.volume = mPipeline->HeardVolume();
    state.inSeek = mInSeek;
    const MediaPipeline::Size size = mPipeline->VideoSize();
    state.width = size.width;
    state.height = size.height;
    state.totalBytes = mPipeline->TotalBytes();
    state.currentOffset = mPipeline->CurrentOffset();
    const MediaPipeline::Size shown = mPipeline->ShownSize();
    if (shown.width != mShown.width || shown.height != mShown.height) {
        mShown = shown;
        PLAYER_INFO("Shown at %d x %d", shown.width, shown.height);
    }
}
