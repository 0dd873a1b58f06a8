/* The HTML5 video element's interface for a browser. Plain C99 and C++.
 *
 * The player is a separate process: each command becomes a message to it over TCP. The library
 * connects to the player at HBB_SYSTEM_IP port 56911 and listens for the player's state at
 * HBB_BROWSER_IP port 56910; both environment variables hold an IPv4 address in dotted decimal,
 * are read once, at the first call of any function here, and default to 127.0.0.1.
 *
 * Threads: the functions may be called from any thread. Commands wait for one another and for the
 * player's answer, at most 30 seconds in all; the initialisation and the status functions never
 * wait. The library is never unloaded, since its serving thread runs until the process ends.
 *
 * Results: every function returns 0, whatever happens. Without a player a command has no effect; it
 * fails at once on the same machine. Failures are reported in the log, which the first call
 * switches to standard error.
 *
 * A player that died: commands have no effect until the host reopens the channel, and no state
 * arrives until html5_video_client_init is called again (docs/integration.md). */
#ifndef HTML5_VIDEO_HTML5_VIDEO_CLIENT_H
#define HTML5_VIDEO_HTML5_VIDEO_CLIENT_H

#include <stdbool.h>

#include "util/Export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Prepares the client: listens for the player on a thread of its own. Call it first, and again
 * after a player has gone, so that the next one's state is received; a further call while a player
 * is served or awaited changes nothing. Does not connect to the player. */
HTML5_VIDEO_API int html5_video_client_init(void);

/* Loads the URL (NUL-terminated, read during the call; null is passed on as no URL) and resets the
 * status: times, media status and in seek to 0, speed to 100; size and byte counts stay. The reset
 * happens with and without a player. */
HTML5_VIDEO_API int html5_video_client_load(const char* url);

/* Gives up loading. */
HTML5_VIDEO_API int html5_video_client_cancel_load(void);

HTML5_VIDEO_API int html5_video_client_play(void);
HTML5_VIDEO_API int html5_video_client_pause(void);

/* Position in seconds from the start; sent in whole milliseconds, cut toward zero. */
HTML5_VIDEO_API int html5_video_client_seek(float seconds);

/* Playback rate, 1.0 is normal, negative backwards; sent in whole hundredths, cut toward zero. */
HTML5_VIDEO_API int html5_video_client_setRate(float rate);

/* Volume, 1.0 is full; sent in whole hundredths, cut toward zero. */
HTML5_VIDEO_API int html5_video_client_setVolume(float volume);

/* Size of the video window in pixels. */
HTML5_VIDEO_API int html5_video_client_setSize(int width, int height);

HTML5_VIDEO_API int html5_video_client_setMuted(bool muted);

/* The state that the player reported last, one whole report, from memory: play time and end time
 * (in the player's units, milliseconds for the reference player), speed in hundredths, the player's
 * media status code, in seek 0 or 1, total bytes and current offset of the media. All 0 before the
 * first report and the first load. No pointer may be null. */
HTML5_VIDEO_API int html5_video_get_status(int* playTime, int* endTime, int* speed,
                                           int* mediaStatus, int* inSeek,
                                           unsigned long long* totalBytes,
                                           unsigned long long* currentOffset);

/* The size in pixels that the player reported last. No pointer may be null. */
HTML5_VIDEO_API int html5_video_get_video_dimension(int* width, int* height);

#ifdef __cplusplus
}
#endif

#endif /* HTML5_VIDEO_HTML5_VIDEO_CLIENT_H */
