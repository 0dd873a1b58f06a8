// What plays the media. All operations are called on the player's thread, none of them waits, and
// none fails outright: what went wrong shows as an error in the state.
//
// A load resets the speed to 100; volume, mute and window size outlive it. Play, pause, seek and
// rate given while the media is being loaded take effect when it is loaded.
#ifndef TOOLS_PLAYER_ENGINE_H
#define TOOLS_PLAYER_ENGINE_H

#include <string>

#include "tools/player/PlaybackState.h"

class Engine
{
public:
    Engine() = default;
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;
    virtual ~Engine() = default;

    // Opens the file path or address and holds it, paused, at its beginning.
    virtual void Load(const std::string& address) = 0;

    // Drops what is being loaded, or is loaded.
    virtual void CancelLoad() = 0;

    // At the end, playing starts over: from the beginning, or backwards from the end.
    virtual void Play() = 0;
    virtual void Pause() = 0;

    // Moves into the media's length where it lies outside.
    virtual void Seek(int milliseconds) = 0;

    // Hundredths: 0 stands still though playing, a negative speed plays backwards until the
    // beginning. REQUIRES: from -kMaxSpeed to kMaxSpeed.
    virtual void SetSpeed(int speed) = 0;
    static constexpr int kMaxSpeed = 1600;

    // Hundredths of full volume. REQUIRES: from 0 to 100.
    virtual void SetVolume(int volume) = 0;
    virtual void SetMuted(bool muted) = 0;

    // The video is scaled to fit. REQUIRES: both from 1 to kMaxSize pixels.
    virtual void SetSize(int width, int height) = 0;
    static constexpr int kMaxSize = 16384;

    // Takes note of what happened since, and tells the state of this moment.
    virtual PlaybackState Update() = 0;
};

#endif  // TOOLS_PLAYER_ENGINE_H
