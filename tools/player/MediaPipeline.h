// One media in a GStreamer "playbin", from its opening until it is dropped. Used by one thread;
// nothing waits: what takes time shows in IsSettled and in the news.
#ifndef TOOLS_PLAYER_MEDIAPIPELINE_H
#define TOOLS_PLAYER_MEDIAPIPELINE_H

#include <gst/gst.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "tools/support/MediaStatus.h"

template <typename Object>
struct GstUnref
{
    void operator()(Object* object) const { gst_object_unref(object); }
};
template <typename Object>
using GstOwned = std::unique_ptr<Object, GstUnref<Object>>;

class MediaPipeline
{
public:
    struct News
    {
        enum Kind
        {
            kNone,
            kEnd,
            kBuffering,
            kError
        };
        Kind kind = kNone;
        int percent = 0;  // of the buffer's filling
        MediaStatus error = HTML5_VIDEO_STATUS_ERROR_INTERNAL;
    };

    struct Size
    {
        int width = 0;
        int height = 0;
    };

    // Opens the URI and holds it, paused. wake is called on GStreamer's threads when there may be
    // news.
    MediaPipeline(const std::string& uri, bool headless, std::function<void()> wake);
    MediaPipeline(const MediaPipeline&) = delete;
    MediaPipeline& operator=(const MediaPipeline&) = delete;
    ~MediaPipeline();

    // The oldest news that was not taken yet. Errors are logged.
    News TakeNews();

    // Whether the opening, the last seek and the last change of playing are done.
    bool IsSettled() const;

    void SetPlaying(bool playing);

    // Goes on from the position in milliseconds at the speed in hundredths, not 0. False when the
    // media can not do that.
    bool Seek(std::int64_t position, int speed);

    void SetVolume(int volume, bool muted);
    void SetSize(int width, int height);

    // Hundredths, as heard.
    int HeardVolume() const;

    // Milliseconds; false when not known at the moment.
    bool QueryPosition(std::int64_t& position) const;
    bool QueryDuration(std::int64_t& duration) const;

    // The video's own size, and the one it is shown at; 0 x 0 as long as there is none.
    Size VideoSize() const;
    Size ShownSize() const;

    // Of the source: its size, 0 when not known, and the end of what was read last.
    std::uint64_t TotalBytes() const;
    std::uint64_t CurrentOffset() const { return mOffset; }

private:
    void AddScaler();
    void SetFakeSink(const char* property);
    void SetWindow();
    News ErrorNews(GstMessage* message) const;

    static GstBusSyncReply OnMessage(GstBus* bus, GstMessage* message, gpointer self);
    static void OnSource(GstElement* playbin, GstElement* source, gpointer self);
    static GstPadProbeReturn OnRead(GstPad* pad, GstPadProbeInfo* info, gpointer self);

    const std::function<void()> mWake;
    GstOwned<GstElement> mPlaybin;  // null without the plugin
    GstOwned<GstBus> mBus;
    GstElement* mScaler;      // the playbin's; null without the plugins
    GstElement* mSizeFilter;  // in the scaler
    std::atomic<std::uint64_t> mOffset;
    bool mFailed;  // could not be made; reported once
};

#endif  // TOOLS_PLAYER_MEDIAPIPELINE_H
