// What the library answers about the player, in one record.
#ifndef TOOLS_BROWSER_STATUS_H
#define TOOLS_BROWSER_STATUS_H

#include "tools/support/MediaStatus.h"

struct Status
{
    int position = 0;  // milliseconds
    int duration = 0;
    int speed = 0;  // hundredths
    MediaStatus media = HTML5_VIDEO_STATUS_UNKNOWN;
    bool inSeek = false;
    unsigned long long totalBytes = 0;
    unsigned long long currentOffset = 0;
    int width = 0;  // pixels
    int height = 0;
};

#endif  // TOOLS_BROWSER_STATUS_H
