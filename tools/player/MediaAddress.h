// What a browser may ask the player to load: a file path, a file:// address, an http(s):// address,
// or "clock:SECONDS", a video of that length without a file (the clock engine only).
#ifndef TOOLS_PLAYER_MEDIAADDRESS_H
#define TOOLS_PLAYER_MEDIAADDRESS_H

#include <cstdint>
#include <string>

#include "tools/support/MediaStatus.h"

struct MediaAddress
{
    enum Kind
    {
        kFile,
        kNetwork,
        kClock,
        kUnknown
    };

    // Any text is accepted; what is none of the others is unknown.
    static MediaAddress Parse(const std::string& text);

    Kind kind = kUnknown;
    std::string path;           // of a file
    std::int64_t duration = 0;  // milliseconds, of a clock
};

// Looks at a file before it is opened: kLoading and its size when it is a file that may be read,
// else an error.
MediaStatus InspectFile(const std::string& path, std::uint64_t& size);

#endif  // TOOLS_PLAYER_MEDIAADDRESS_H
