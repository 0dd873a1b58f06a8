#include "html5_video/media_status.h"

#include "html5_video/html5_video_client.h"

const char* html5_video_media_status_text(int code)
{
    switch (code) {
        case HTML5_VIDEO_STATUS_UNKNOWN:
            return "unknown";
        case HTML5_VIDEO_STATUS_IDLE:
            return "idle";
        case HTML5_VIDEO_STATUS_LOADING:
            return "loading";
        case HTML5_VIDEO_STATUS_PAUSED:
            return "paused";
        case HTML5_VIDEO_STATUS_PLAYING:
            return "playing";
        case HTML5_VIDEO_STATUS_BUFFERING:
            return "buffering";
        case HTML5_VIDEO_STATUS_ENDED:
            return "ended";
        case HTML5_VIDEO_STATUS_ERROR_NOT_FOUND:
            return "not-found";
        case HTML5_VIDEO_STATUS_ERROR_UNSUPPORTED:
            return "unsupported";
        case HTML5_VIDEO_STATUS_ERROR_DECODE:
            return "decode-error";
        case HTML5_VIDEO_STATUS_ERROR_READ:
            return "read-error";
        case HTML5_VIDEO_STATUS_ERROR_INTERNAL:
            return "internal-error";
        default:
            return "?";
    }
}
