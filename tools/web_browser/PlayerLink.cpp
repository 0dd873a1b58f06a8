#include "tools/web_browser/PlayerLink.h"

#include <glib-unix.h>
#include <unistd.h>

#include <chrono>
#include <map>
#include <utility>

#include "html5_video/html5_video_client.h"
#include "html5_video/media_status.h"

namespace {
constexpr std::size_t kMaxQueue = 1000;
constexpr int kReplyTimeout = 5000;  // milliseconds

// How long the old media's last reports are waited for, and how often is looked.
constexpr std::chrono::milliseconds kUnloadTime{500};
constexpr std::chrono::milliseconds kUnloadTurn{5};

using Command = PlayerLink::Command;
using Action = void (*)(const Command&);

float Single(double value)
{
    return static_cast<float>(value);
}

int Whole(double value)
{
    return static_cast<int>(value);
}

// All commands but load, which is more than one call.
const std::map<std::string, Action> kActions = {
    {"begin", [](const Command&) { html5_video_client_cancel_load(); }},
    {"cancelLoad", [](const Command&) { html5_video_client_cancel_load(); }},
    {"play", [](const Command&) { html5_video_client_play(); }},
    {"pause", [](const Command&) { html5_video_client_pause(); }},
    {"seek", [](const Command& c) { html5_video_client_seek(Single(c.first)); }},
    {"setRate", [](const Command& c) { html5_video_client_setRate(Single(c.first)); }},
    {"setVolume", [](const Command& c) { html5_video_client_setVolume(Single(c.first)); }},
    {"setSize",
     [](const Command& c) { html5_video_client_setSize(Whole(c.first), Whole(c.second)); }},
    {"setMuted", [](const Command& c) { html5_video_client_setMuted(c.first != 0); }},
};

void ReadState(PlayerLink::Report& report)
{
    report.connected = html5_video_client_is_connected() == 1;
    html5_video_get_status(&report.playTime, &report.endTime, &report.speed, &report.mediaStatus,
                           &report.inSeek, &report.totalBytes, &report.currentOffset);
    html5_video_get_video_dimension(&report.width, &report.height);
}

// Whether no report of a media can come any more.
bool IsUnloaded()
{
    PlayerLink::Report report;
    ReadState(report);
    return !report.connected || report.mediaStatus == HTML5_VIDEO_STATUS_IDLE;
}
}  // namespace

PlayerLink::PlayerLink(std::function<void(const Report&)> onReport)
    : mOnReport(std::move(onReport)),
      mEventSource(0),
      mConnected(false),
      mDonePosted(false),
      mStop(false),
      mLoaded(false)
{
    html5_video_client_init();
    html5_video_client_set_reply_timeout(kReplyTimeout);
    const int events = html5_video_client_get_event_fd();
    if (events >= 0) {
        mEventSource = g_unix_fd_add(events, G_IO_IN, OnEvent, this);
    } else {
        g_warning("the player's state can not be followed");
    }
    mThread = std::thread([this] { Run(); });
}

PlayerLink::~PlayerLink()
{
    {
        const std::lock_guard<std::mutex> hold(mMutex);
        mStop = true;
        mQueue.clear();
    }
    mNews.notify_one();
    // A player that hangs holds the end up no longer than this.
    html5_video_client_set_reply_timeout(static_cast<int>(kUnloadTime.count()));
    html5_video_client_reconnect();
    mThread.join();
    if (mEventSource != 0) {
        g_source_remove(mEventSource);
    }
    g_idle_remove_by_data(this);
}

bool PlayerLink::Post(const Command& command)
{
    if (command.name != "load" && kActions.count(command.name) == 0) {
        return false;
    }
    {
        const std::lock_guard<std::mutex> hold(mMutex);
        if (command.name == "begin") {
            mQueue.clear();
        }
        if (mQueue.size() >= kMaxQueue) {
            return false;
        }
        mQueue.push_back(command);
    }
    mNews.notify_one();
    return true;
}

// Under the lock of the progress, so that a state is never told with a load that it is not of.
PlayerLink::Report PlayerLink::GetReport() const
{
    const std::lock_guard<std::mutex> hold(mMutex);
    Report report = mProgress;
    ReadState(report);
    return report;
}

// The library has news. A player that has gone is made way for the next at once.
gboolean PlayerLink::OnEvent(gint descriptor, GIOCondition /*condition*/, gpointer self)
{
    std::uint64_t count = 0;
    if (read(descriptor, &count, sizeof count) < 0) {
        return G_SOURCE_CONTINUE;  // taken already
    }
    auto* const link = static_cast<PlayerLink*>(self);
    const bool connected = html5_video_client_is_connected() == 1;
    if (std::exchange(link->mConnected, connected) && !connected) {
        html5_video_client_reconnect();
    }
    link->mOnReport(link->GetReport());
    return G_SOURCE_CONTINUE;
}

gboolean PlayerLink::OnDone(gpointer self)
{
    auto* const link = static_cast<PlayerLink*>(self);
    {
        const std::lock_guard<std::mutex> hold(link->mMutex);
        link->mDonePosted = false;
    }
    link->mOnReport(link->GetReport());
    return G_SOURCE_REMOVE;
}

void PlayerLink::Run()
{
    Command command;
    while (Take(command)) {
        Execute(command);
        const std::lock_guard<std::mutex> hold(mMutex);
        mProgress.page = command.page;
        mProgress.done = command.id;
        if (!std::exchange(mDonePosted, true)) {
            g_idle_add_full(G_PRIORITY_DEFAULT, OnDone, this, nullptr);
        }
    }
    Unload();
}

bool PlayerLink::Take(Command& command)
{
    std::unique_lock<std::mutex> lock(mMutex);
    mNews.wait(lock, [this] { return mStop || !mQueue.empty(); });
    if (mStop) {
        return false;
    }
    command = std::move(mQueue.front());
    mQueue.pop_front();
    return true;
}

void PlayerLink::Execute(const Command& command)
{
    if (command.name == "load") {
        Load(command);
        return;
    }
    if (command.name == "begin" || command.name == "cancelLoad") {
        const std::lock_guard<std::mutex> hold(mMutex);
        mProgress.load = 0;
    }
    kActions.at(command.name)(command);
}

void PlayerLink::Load(const Command& command)
{
    {
        const std::lock_guard<std::mutex> hold(mMutex);
        mProgress.load = 0;
    }
    Unload();
    html5_video_client_load(command.url.c_str());
    const bool failed = html5_video_client_get_last_result() != 0;
    mLoaded = !failed;
    if (failed && html5_video_client_is_connected() == 0) {
        html5_video_client_reconnect();  // the player may have gone before it reported anything
    }
    const std::lock_guard<std::mutex> hold(mMutex);
    mProgress.load = command.id;
    mProgress.loadFailed = failed;
}

// A report does not say which media it is of: the old one's must have ended before the next load.
void PlayerLink::Unload()
{
    if (!std::exchange(mLoaded, false)) {
        return;
    }
    html5_video_client_cancel_load();
    const auto end = std::chrono::steady_clock::now() + kUnloadTime;
    while (!IsUnloaded() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(kUnloadTurn);
    }
}
