// The player's debugging console, for trying a browser against a player that misbehaves. It listens
// on 127.0.0.1 only. Commands, run on the console's thread:
//
//     player_state        the state as it was reported last
//     player_fail CODE    tell that media status instead of the engine's, 0: the engine's again
//     player_delay MS     answer every command that much later, 0: at once
//     commands FILE       write the names of all commands to a new file
//
// Each leaves its answer as the line's result and prints it.
#ifndef TOOLS_PLAYER_PLAYERCONSOLE_H
#define TOOLS_PLAYER_PLAYERCONSOLE_H

#include <atomic>
#include <memory>
#include <mutex>

#include "tools/player/PlaybackState.h"

class PlayerConsole
{
public:
    // Milliseconds; above what a browser waits for an answer.
    static constexpr int kMaxDelay = 35000;

    explicit PlayerConsole(int port);
    PlayerConsole(const PlayerConsole&) = delete;
    PlayerConsole& operator=(const PlayerConsole&) = delete;

    // Stops the console and waits for a command that runs.
    ~PlayerConsole();

    // False when its thread could not be started. A port that is taken is reported on standard
    // output.
    bool Start();

    // The engine's state as it is to be reported: with the forced failure, if there is one. The
    // player asks at every turn, so a new failure is reported within a second.
    PlaybackState Filter(const PlaybackState& state);

    // What the commands do.
    PlaybackState GetState();
    bool Fail(int code);
    bool Delay(int milliseconds);

private:
    class Client;

    const int mPort;
    std::atomic<int> mForced;
    std::mutex mMutex;
    PlaybackState mLatest;  // under mMutex
    const std::unique_ptr<Client> mClient;
};

#endif  // TOOLS_PLAYER_PLAYERCONSOLE_H
