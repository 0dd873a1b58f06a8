// The engine that plays real media: files and http(s):// addresses, through GStreamer.
//
// One change of the pipeline is under way at a time (the opening, a seek, a change of speed, which
// is a seek, too, a pause). What is asked for meanwhile is kept, the last of each, and started when
// the pipeline has settled.
#ifndef TOOLS_PLAYER_GSTENGINE_H
#define TOOLS_PLAYER_GSTENGINE_H

#include <cstdint>
#include <functional>
#include <memory>

#include "tools/player/Engine.h"
#include "tools/player/MediaPipeline.h"

class GstEngine : public Engine
{
public:
    // Without a display it is headless, too. wake is called from any thread when Update has news.
    GstEngine(bool headless, std::function<void()> wake);
    ~GstEngine() override;

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
    static constexpr std::int64_t kNowhere = -1;

    void Drop(MediaStatus status);
    void TakeNews();
    void End();
    void Settle();
    void StartSeek();
    void SetPlaying();
    void Observe(PlaybackState& state);
    void LimitPosition();
    MediaStatus Status() const;

    const bool mHeadless;
    const std::function<void()> mWake;
    std::unique_ptr<MediaPipeline> mPipeline;  // null when nothing is or is being loaded

    MediaStatus mStatus;  // the last error or idle, when there is no pipeline
    bool mLoaded;
    bool mEnded;
    bool mBuffering;
    bool mPlayWanted;        // play and not pause was the last word
    bool mPlaying;           // what the pipeline was told last
    bool mInSeek;            // the browser's seek is waiting or under way
    std::int64_t mTarget;    // where to go once settled, or kNowhere
    std::int64_t mPosition;  // milliseconds
    std::int64_t mDuration;
    int mSpeed;          // as asked for
    int mPipelineSpeed;  // of the last seek, never 0

    int mVolume;
    bool mMuted;
    MediaPipeline::Size mWindow;  // 0 x 0: the video's own size
    MediaPipeline::Size mShown;   // as logged last
};

#endif  // TOOLS_PLAYER_GSTENGINE_H
