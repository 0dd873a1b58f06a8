// One video element: the commands, the state, and what it takes to get over a player that dies.
// Used by one thread.
//
// The session remembers what was asked for. A player that has gone is reported once by Poll; from
// then on the session listens again and tries to bring the media back, until the next player
// reports a state, which is reported, too.
#ifndef TOOLS_BROWSER_SESSION_H
#define TOOLS_BROWSER_SESSION_H

#include <chrono>
#include <string>

#include "tools/browser/Status.h"
#include "tools/browser/VideoLibrary.h"

class Session
{
public:
    enum class Event
    {
        kNone,
        kPlayerFound,  // for the first time, or again
        kPlayerGone
    };

    // The reference player takes rates from -16 to 16.
    static constexpr double kMaxRate = 16;

    // What was asked for last. The rest of the state is the player's to tell.
    struct Wishes
    {
        std::string url;  // "" for none
        bool play = false;
        double rate = 1;
        double volume = 1;
        bool muted = false;
        int width = 0;  // of the window, 0 when never asked for
        int height = 0;
    };

    // The library must outlive this.
    explicit Session(const VideoLibrary& library);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Starts the client.
    void Start();

    void Load(const std::string& url);
    void CancelLoad();
    void Play();
    void Pause();
    void Seek(double seconds);
    void SetRate(double rate);
    void SetVolume(double volume);
    void SetSize(int width, int height);
    void SetMuted(bool muted);

    // To be called every now and then, some ten times a second.
    Event Poll();

    Status GetStatus() const;
    bool HasPlayer() const { return mHasPlayer; }
    const Wishes& GetWishes() const { return mWishes; }

private:
    using Clock = std::chrono::steady_clock;

    Event Lose();
    void Note(const Status& status);
    void Restore();

    const VideoLibrary& mLibrary;
    Wishes mWishes;
    double mPosition;  // seconds, where to go on after a restore
    bool mHasPlayer;
    bool mRestoring;  // a player was lost, or the media was asked for without one
    Clock::time_point mNextRestore;
};

#endif  // TOOLS_BROWSER_SESSION_H
