// What an engine is doing, as "SetStatus" tells it to the browser.
#ifndef TOOLS_PLAYER_PLAYBACKSTATE_H
#define TOOLS_PLAYER_PLAYBACKSTATE_H

#include <cstdint>

#include "tools/support/MediaStatus.h"

struct PlaybackState
{
    MediaStatus status = HTML5_VIDEO_STATUS_IDLE;
    std::int64_t position = 0;  // milliseconds
    std::int64_t duration = 0;  // milliseconds, 0 when not known
    int speed = 100;            // hundredths of the nominal rate
    int volume = 100;           // hundredths, as heard: 0 while muted
    int width = 0;              // pixels, the video's own size
    int height = 0;
    bool inSeek = false;
    std::uint64_t totalBytes = 0;     // the file's size, 0 when not known
    std::uint64_t currentOffset = 0;  // how far the file was read
};

// Whether the two tell the same but for the progress of an ordinary playback.
inline bool SameButProgress(const PlaybackState& a, const PlaybackState& b)
{
    return a.status == b.status && a.duration == b.duration && a.speed == b.speed &&
           a.volume == b.volume && a.width == b.width && a.height == b.height &&
           a.inSeek == b.inSeek && a.totalBytes == b.totalBytes;
}

inline bool operator==(const PlaybackState& a, const PlaybackState& b)
{
    return SameButProgress(a, b) && a.position == b.position && a.currentOffset == b.currentOffset;
}

#endif  // TOOLS_PLAYER_PLAYBACKSTATE_H
