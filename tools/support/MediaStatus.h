// What the programs ask of a media status code.
#ifndef TOOLS_SUPPORT_MEDIASTATUS_H
#define TOOLS_SUPPORT_MEDIASTATUS_H

#include "html5_video/media_status.h"

// An integer: a player may report codes that the enumeration does not have.
using MediaStatus = int;

constexpr bool IsError(MediaStatus status)
{
    return status >= HTML5_VIDEO_STATUS_ERROR_NOT_FOUND;
}

constexpr bool IsLoaded(MediaStatus status)
{
    return status >= HTML5_VIDEO_STATUS_PAUSED && status <= HTML5_VIDEO_STATUS_ENDED;
}

#endif  // TOOLS_SUPPORT_MEDIASTATUS_H
