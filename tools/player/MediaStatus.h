// The media status codes that the reference player reports: a choice of this player, which a
// browser written for it agrees on. 0 is never sent: the library answers it before the first report
// and after each load, so that it reads "no news from the player yet".
#ifndef TOOLS_PLAYER_MEDIASTATUS_H
#define TOOLS_PLAYER_MEDIASTATUS_H

enum class MediaStatus : int
{
    kUnknown = 0,    // nothing reported yet
    kIdle = 1,       // nothing is loaded
    kLoading = 2,    // being opened; commands are remembered
    kPaused = 3,     // loaded, holds its position
    kPlaying = 4,    // the position advances by the speed; at speed 0 it stands
    kBuffering = 5,  // playing, waits for data
    kEnded = 6,      // reached the end, or the beginning when playing backwards

    // Errors: nothing is loaded any more.
    kErrorNotFound = 100,     // there is no such file or resource, or it may not be read
    kErrorUnsupported = 101,  // an address or a media format that the engine does not know
    kErrorDecode = 102,       // the media is damaged
    kErrorRead = 103,         // the file or the network failed while reading
    kErrorInternal = 104      // anything else
};

constexpr bool IsError(MediaStatus status)
{
    return status >= MediaStatus::kErrorNotFound;
}

constexpr bool IsLoaded(MediaStatus status)
{
    return status >= MediaStatus::kPaused && status <= MediaStatus::kEnded;
}

// A word for people and scripts; "?" for a code that is none of these.
constexpr const char* Name(MediaStatus status)
{
    switch (status) {
        case MediaStatus::kUnknown:
            return "unknown";
        case MediaStatus::kIdle:
            return "idle";
        case MediaStatus::kLoading:
            return "loading";
        case MediaStatus::kPaused:
            return "paused";
        case MediaStatus::kPlaying:
            return "playing";
        case MediaStatus::kBuffering:
            return "buffering";
        case MediaStatus::kEnded:
            return "ended";
        case MediaStatus::kErrorNotFound:
            return "not-found";
        case MediaStatus::kErrorUnsupported:
            return "unsupported";
        case MediaStatus::kErrorDecode:
            return "decode-error";
        case MediaStatus::kErrorRead:
            return "read-error";
        case MediaStatus::kErrorInternal:
            return "internal-error";
    }
    return "?";
}

#endif  // TOOLS_PLAYER_MEDIASTATUS_H
