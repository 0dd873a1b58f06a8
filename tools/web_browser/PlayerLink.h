// The player, as the main loop sees it: a command is taken at once and carried out on a thread of
// its own, in order, since it may wait for the player; the state comes back as reports.
//
// All operations, and the callback, are on the main loop's thread.
#ifndef TOOLS_WEB_BROWSER_PLAYERLINK_H
#define TOOLS_WEB_BROWSER_PLAYERLINK_H

#include <glib.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

class PlayerLink
{
public:
    // One of the library's commands, or "begin": a page has begun, and what the last one asked for
    // is given up.
    struct Command
    {
        std::string name;
        std::uint64_t page = 0;  // who asks: a number of the page's choice
        std::uint64_t id = 0;    // the page counts its commands from 1
        std::string url;
        double first = 0;
        double second = 0;
    };

    struct Report
    {
        std::uint64_t page = 0;   // whose command was done last
        std::uint64_t done = 0;   // its number
        std::uint64_t load = 0;   // the load that the state belongs to; 0 while it changes
        bool loadFailed = false;  // that load did not reach the player
        bool connected = false;   // a player reports its state
        int playTime = 0;         // from here on as html5_video_get_status tells it
        int endTime = 0;
        int speed = 0;
        int mediaStatus = 0;
        int inSeek = 0;
        unsigned long long totalBytes = 0;
        unsigned long long currentOffset = 0;
        int width = 0;
        int height = 0;
    };

    // Starts the library's client and the thread. The callback is called whenever the player
    // reported, came, went, or has answered a command.
    explicit PlayerLink(std::function<void(const Report&)> onReport);
    PlayerLink(const PlayerLink&) = delete;
    PlayerLink& operator=(const PlayerLink&) = delete;

    // Unloads what the page left behind.
    ~PlayerLink();

    // False for an unknown name, and when too many wait already.
    bool Post(const Command& command);

    Report GetReport() const;

private:
    static gboolean OnEvent(gint descriptor, GIOCondition condition, gpointer self);
    static gboolean OnDone(gpointer self);

    void Run();
    bool Take(Command& command);
    void Execute(const Command& command);
    void Load(const Command& command);
    void Unload();

    const std::function<void(const Report&)> mOnReport;
    guint mEventSource;
    bool mConnected;  // when it was looked at last

    mutable std::mutex mMutex;
    std::condition_variable mNews;
    std::deque<Command> mQueue;  // under mMutex, as all of these
    Report mProgress;            // its first four
    bool mDonePosted;            // OnDone is going to run
    bool mStop;

    bool mLoaded;  // the thread's: a media may be loaded
    std::thread mThread;
};

#endif  // TOOLS_WEB_BROWSER_PLAYERLINK_H
