// Runs an engine on a thread of its own: commands are queued from any thread and return at once,
// and the engine's state is reported at every turn.
#ifndef TOOLS_PLAYER_PLAYER_H
#define TOOLS_PLAYER_PLAYER_H

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "tools/player/Engine.h"

class Player
{
public:
    using Command = std::function<void(Engine&)>;

    // Makes an engine, which may call wake from any thread when there is news in it.
    using EngineMaker = std::function<std::unique_ptr<Engine>(std::function<void()> wake)>;

    // publish is called on the player's thread.
    Player(const EngineMaker& makeEngine, std::function<void(const PlaybackState&)> publish);
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    // Ends the thread; commands still in the queue are dropped.
    ~Player();

    // Queues a command. When the engine has fallen far behind, the command is dropped and false
    // returned.
    bool Post(Command command);

private:
    void Run();
    void Wake();
    bool WaitForWork(std::deque<Command>& commands, const PlaybackState& state);

    const std::function<void(const PlaybackState&)> mPublish;

    std::mutex mMutex;
    std::condition_variable mNews;
    std::deque<Command> mQueue;  // these three under mMutex
    bool mWoken;
    bool mStop;

    std::unique_ptr<Engine> mEngine;  // the thread's
    std::thread mThread;
};

#endif  // TOOLS_PLAYER_PLAYER_H
