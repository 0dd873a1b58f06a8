/* Public. The media status codes that html5_video_get_status hands on. Plain C99 and C++.
 *
 * They are the reference player's, and what browser and player agree on: the library carries any
 * number unchanged. 0 is never sent by a player; the library answers it before the first report and
 * after each load, so that it reads "no news from the player yet". */
#ifndef HTML5_VIDEO_MEDIA_STATUS_H
#define HTML5_VIDEO_MEDIA_STATUS_H

/* The codes. */
enum html5_video_media_status
{
    HTML5_VIDEO_STATUS_UNKNOWN = 0,   /* nothing reported yet */
    HTML5_VIDEO_STATUS_IDLE = 1,      /* nothing is loaded */
    HTML5_VIDEO_STATUS_LOADING = 2,   /* being opened; commands are remembered */
    HTML5_VIDEO_STATUS_PAUSED = 3,    /* loaded, holds its position */
    HTML5_VIDEO_STATUS_PLAYING = 4,   /* the position advances by the speed; at speed 0 it stands */
    HTML5_VIDEO_STATUS_BUFFERING = 5, /* playing, waits for data */
    HTML5_VIDEO_STATUS_ENDED = 6,     /* reached the end, or the beginning when playing backwards */

    /* Errors: nothing is loaded any more. Every code from here on is one. */
    HTML5_VIDEO_STATUS_ERROR_NOT_FOUND = 100, /* no such file or resource, or it may not be read */
    HTML5_VIDEO_STATUS_ERROR_UNSUPPORTED =
        101,                                /* an address or a format that the engine knows not */
    HTML5_VIDEO_STATUS_ERROR_DECODE = 102,  /* the media is damaged */
    HTML5_VIDEO_STATUS_ERROR_READ = 103,    /* the file or the network failed while reading */
    HTML5_VIDEO_STATUS_ERROR_INTERNAL = 104 /* anything else */
};

/* A word for people and scripts, such as "playing"; "?" for a code that is none of these. Never
 * null; a literal. The same words as html5_video_media_status_text, for programs that do not link
 * the library. */
static inline const char* html5_video_media_status_name(int code)
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

#endif /* HTML5_VIDEO_MEDIA_STATUS_H */
