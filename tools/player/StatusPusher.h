// Tells the browser the player's state, from one thread, and keeps the channel alive: a browser
// may be absent, come late, go and come back.
//
// PushSchedule tells what goes out when, again and again so that a browser which has just come
// learns it. Each push waits for the browser's answer, at most kAnswer: only so a browser that has
// gone is noticed with the first push, and the state that it missed is sent again to the next one.
// When states come faster than the browser answers, the newest goes out and those in between are
// left out.
//
// A load makes what was reported so far untrue, and a browser can not see which medium a report is
// about. So nothing is reported between Hold and Release; what is reported afterwards is of the new
// medium.
#ifndef TOOLS_PLAYER_STATUSPUSHER_H
#define TOOLS_PLAYER_STATUSPUSHER_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "tools/player/PlaybackState.h"
#include "tools/player/PushSchedule.h"

class IPCSocketChannel;

class StatusPusher
{
public:
    static constexpr std::chrono::milliseconds kAnswer{2000};

    // The channel must outlive this.
    explicit StatusPusher(IPCSocketChannel& channel);
    StatusPusher(const StatusPusher&) = delete;
    StatusPusher& operator=(const StatusPusher&) = delete;
    ~StatusPusher();

    // REQUIRES: the channel is started, and Start was not called before.
    void Start();

    // Ends the thread, also when it waits for an answer. The channel is left as it is.
    void Stop();

    // The state to tell. From any thread and at any time; does not wait. Passed over while held.
    void Update(const PlaybackState& state);

    // Drops what was not told yet and waits until a push in flight was answered or given up: from
    // here on the browser gets no report of before. A Release ends it, on any thread; holds may
    // overlap. The first state after the last Release is pushed at once, whatever it is.
    void Hold();
    void Release();

private:
    void Run();
    bool WaitForPush(PlaybackState& state);
    bool Push(const PlaybackState& state);
    void Report(bool reached);

    IPCSocketChannel& mChannel;

    std::mutex mMutex;
    std::condition_variable mNews;
    std::condition_variable mPushEnded;
    PushSchedule mSchedule;  // under mMutex, as these
    bool mPushing;
    bool mStop;

    std::thread mThread;
};

#endif  // TOOLS_PLAYER_STATUSPUSHER_H
