#include "tools/player/MediaPipeline.h"

#include <cmath>
#include <cstdlib>
#include <utility>

#include "tools/player/PlayerLog.h"

namespace {
constexpr double kFullVolume = 100.0;

MediaStatus StatusOf(const GstMessage* message, const GError* error)
{
    if (g_error_matches(error, GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_NOT_FOUND) ||
        g_error_matches(error, GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_NOT_AUTHORIZED)) {
        return HTML5_VIDEO_STATUS_ERROR_NOT_FOUND;
    }
    if (error->domain == GST_RESOURCE_ERROR) {
        return HTML5_VIDEO_STATUS_ERROR_READ;
    }
    if (g_error_matches(error, GST_STREAM_ERROR, GST_STREAM_ERROR_TYPE_NOT_FOUND) ||
        g_error_matches(error, GST_STREAM_ERROR, GST_STREAM_ERROR_WRONG_TYPE) ||
        g_error_matches(error, GST_STREAM_ERROR, GST_STREAM_ERROR_CODEC_NOT_FOUND) ||
        g_error_matches(error, GST_CORE_ERROR, GST_CORE_ERROR_MISSING_PLUGIN)) {
        return HTML5_VIDEO_STATUS_ERROR_UNSUPPORTED;
    }
    if (GST_OBJECT_FLAG_IS_SET(GST_MESSAGE_SRC(message), GST_ELEMENT_FLAG_SOURCE)) {
        return HTML5_VIDEO_STATUS_ERROR_READ;  // reported as a failure of the stream
    }
    return error->domain == GST_STREAM_ERROR ? HTML5_VIDEO_STATUS_ERROR_DECODE
                                             : HTML5_VIDEO_STATUS_ERROR_INTERNAL;
}

MediaPipeline::Size CapsSize(GstElement* element, const char* padName)
{
    MediaPipeline::Size size;
    if (element == nullptr) {
        return size;
    }
    const GstOwned<GstPad> pad(gst_element_get_static_pad(element, padName));
    GstCaps* const caps = gst_pad_get_current_caps(pad.get());
    if (caps != nullptr) {
        const GstStructure* const structure = gst_caps_get_structure(caps, 0);
        gst_structure_get_int(structure, "width", &size.width);
        gst_structure_get_int(structure, "height", &size.height);
        gst_caps_unref(caps);
    }
    return size;
}
}  // namespace

MediaPipeline::MediaPipeline(const std::string& uri, bool headless, std::function<void()> wake)
    : mWake(std::move(wake)),
      mPlaybin(gst_element_factory_make("playbin", nullptr)),
      mScaler(nullptr),
      mSizeFilter(nullptr),
      mOffset(0),
      mFailed(mPlaybin == nullptr)
{
    if (mFailed) {
        PLAYER_ERROR("GStreamer has no playbin: install gstreamer1.0-plugins-base");
        return;
    }
    gst_object_ref_sink(mPlaybin.get());
    mBus.reset(gst_element_get_bus(mPlaybin.get()));
    gst_bus_set_sync_handler(mBus.get(), OnMessage, this, nullptr);
    g_signal_connect(mPlaybin.get(), "source-setup", G_CALLBACK(OnSource), this);
    g_object_set(mPlaybin.get(), "uri", uri.c_str(), nullptr);
    AddScaler();
    if (headless) {
        SetFakeSink("video-sink");
        SetFakeSink("audio-sink");
    } else {
        SetWindow();
    }
    mFailed = gst_element_set_state(mPlaybin.get(), GST_STATE_PAUSED) == GST_STATE_CHANGE_FAILURE;
}

MediaPipeline::~MediaPipeline()
{
    if (mPlaybin != nullptr) {
        gst_element_set_state(mPlaybin.get(), GST_STATE_NULL);
        gst_bus_set_sync_handler(mBus.get(), nullptr, nullptr, nullptr);
    }
}

// What makes the window's size: the picture is scaled to it, with borders where the shapes differ.
void MediaPipeline::AddScaler()
{
    mScaler = gst_parse_bin_from_description(
        "videoconvert ! videoscale add-borders=true ! capsfilter name=size", TRUE, nullptr);
    if (mScaler == nullptr) {
        PLAYER_WARNING("GStreamer can not scale: install gstreamer1.0-plugins-base");
        return;
    }
    g_object_set(mPlaybin.get(), "video-filter", mScaler, nullptr);  // which takes it over
    mSizeFilter = gst_bin_get_by_name(GST_BIN(mScaler), "size");
    gst_object_unref(mSizeFilter);  // the scaler keeps it
}

// A sink that takes the media in its own time and shows nothing.
void MediaPipeline::SetFakeSink(const char* property)
{
    GstElement* const sink = gst_element_factory_make("fakesink", nullptr);
    g_object_set(sink, "sync", TRUE, nullptr);
    g_object_set(mPlaybin.get(), property, sink, nullptr);
}

// The sink is chosen here: left to itself, GStreamer tries all that are installed, and some of them
// bring the process down.
void MediaPipeline::SetWindow()
{
    const bool wayland = std::getenv("DISPLAY") == nullptr;
    GstElement* const sink =
        gst_element_factory_make(wayland ? "waylandsink" : "ximagesink", nullptr);
    if (sink == nullptr) {
        PLAYER_WARNING("GStreamer has no window: install %s",
                       wayland ? "gstreamer1.0-plugins-bad" : "gstreamer1.0-x");
        SetFakeSink("video-sink");
        return;
    }
    g_object_set(mPlaybin.get(), "video-sink", sink, nullptr);
}

GstBusSyncReply MediaPipeline::OnMessage(GstBus*, GstMessage*, gpointer self)
{
    static_cast<MediaPipeline*>(self)->mWake();
    return GST_BUS_PASS;
}

void MediaPipeline::OnSource(GstElement*, GstElement* source, gpointer self)
{
    GstPad* const pad = gst_element_get_static_pad(source, "src");
    if (pad != nullptr) {
        const int buffers = GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_SCHEDULING;
        gst_pad_add_probe(pad, static_cast<GstPadProbeType>(buffers), OnRead, self, nullptr);
        gst_object_unref(pad);
    }
}

GstPadProbeReturn MediaPipeline::OnRead(GstPad*, GstPadProbeInfo* info, gpointer self)
{
    const GstBuffer* const buffer = GST_PAD_PROBE_INFO_BUFFER(info);
    if (buffer != nullptr && GST_BUFFER_OFFSET_IS_VALID(buffer)) {
        static_cast<MediaPipeline*>(self)->mOffset =
            GST_BUFFER_OFFSET(buffer) + gst_buffer_get_size(const_cast<GstBuffer*>(buffer));
    }
    return GST_PAD_PROBE_OK;
}

MediaPipeline::News MediaPipeline::TakeNews()
{
    News news;
    GstMessage* message = nullptr;
    while (mBus != nullptr && news.kind == News::kNone &&
           (message = gst_bus_pop_filtered(
                mBus.get(), static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_BUFFERING |
                                                        GST_MESSAGE_ERROR))) != nullptr) {
        switch (GST_MESSAGE_TYPE(message)) {
            case GST_MESSAGE_EOS:
                news.kind = News::kEnd;
                break;
            case GST_MESSAGE_BUFFERING:
                news.kind = News::kBuffering;
                gst_message_parse_buffering(message, &news.percent);
                break;
            default:
                news = ErrorNews(message);
                break;
        }
        gst_message_unref(message);
    }
    if (news.kind == News::kNone && std::exchange(mFailed, false)) {
        news.kind = News::kError;
    }
    return news;
}

MediaPipeline::News MediaPipeline::ErrorNews(GstMessage* message) const
{
    GError* error = nullptr;
    gchar* details = nullptr;
    gst_message_parse_error(message, &error, &details);
    News news;
    news.kind = News::kError;
    news.error = StatusOf(message, error);
    PLAYER_ERROR("GStreamer: %s (%s)", error->message, details != nullptr ? details : "");
    g_error_free(error);
    g_free(details);
    return news;
}

bool MediaPipeline::IsSettled() const
{
    const GstStateChangeReturn result = gst_element_get_state(mPlaybin.get(), nullptr, nullptr, 0);
    return result == GST_STATE_CHANGE_SUCCESS || result == GST_STATE_CHANGE_NO_PREROLL;
}

void MediaPipeline::SetPlaying(bool playing)
{
    gst_element_set_state(mPlaybin.get(), playing ? GST_STATE_PLAYING : GST_STATE_PAUSED);
}

bool MediaPipeline::Seek(std::int64_t position, int speed)
{
    const GstSeekFlags flags =
        static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_ACCURATE);
    const gint64 target = position * GST_MSECOND;
    const bool forward = speed > 0;
    return gst_element_seek(mPlaybin.get(), speed / 100.0, GST_FORMAT_TIME, flags,
                            GST_SEEK_TYPE_SET, forward ? target : 0, GST_SEEK_TYPE_SET,
                            forward ? -1 : target) == TRUE;
}

void MediaPipeline::SetVolume(int volume, bool muted)
{
    if (mPlaybin != nullptr) {
        g_object_set(mPlaybin.get(), "volume", volume / kFullVolume, "mute", muted ? TRUE : FALSE,
                     nullptr);
    }
}

void MediaPipeline::SetSize(int width, int height)
{
    if (mSizeFilter != nullptr) {
        GstCaps* const caps =
            gst_caps_new_simple("video/x-raw", "width", G_TYPE_INT, width, "height", G_TYPE_INT,
                                height, "pixel-aspect-ratio", GST_TYPE_FRACTION, 1, 1, nullptr);
        g_object_set(mSizeFilter, "caps", caps, nullptr);
        gst_caps_unref(caps);
    }
}

int MediaPipeline::HeardVolume() const
{
    double volume = 0;
    gboolean muted = FALSE;
    g_object_get(mPlaybin.get(), "volume", &volume, "mute", &muted, nullptr);
    return muted ? 0 : static_cast<int>(std::lround(volume * kFullVolume));
}

bool MediaPipeline::QueryPosition(std::int64_t& position) const
{
    gint64 value = -1;
    const bool known =
        gst_element_query_position(mPlaybin.get(), GST_FORMAT_TIME, &value) == TRUE && value >= 0;
    position = known ? value / GST_MSECOND : position;
    return known;
}

bool MediaPipeline::QueryDuration(std::int64_t& duration) const
{
    gint64 value = -1;
    const bool known =
        gst_element_query_duration(mPlaybin.get(), GST_FORMAT_TIME, &value) == TRUE && value >= 0;
    duration = known ? value / GST_MSECOND : duration;
    return known;
}

MediaPipeline::Size MediaPipeline::VideoSize() const
{
    return CapsSize(mScaler, "sink");
}

MediaPipeline::Size MediaPipeline::ShownSize() const
{
    return CapsSize(mSizeFilter, "src");
}

std::uint64_t MediaPipeline::TotalBytes() const
{
    GstElement* source = nullptr;
    g_object_get(mPlaybin.get(), "source", &source, nullptr);
    if (source == nullptr) {
        return 0;
    }
    const GstOwned<GstElement> owned(source);
    gint64 bytes = -1;
    const bool known = gst_element_query_duration(source, GST_FORMAT_BYTES, &bytes) == TRUE;
    return known && bytes > 0 ? static_cast<std::uint64_t>(bytes) : 0;
}
