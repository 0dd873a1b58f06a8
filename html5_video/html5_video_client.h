/* Public. The HTML5 video element's interface for a browser. Plain C99 and C++.
 *
 * The player is a separate process: each command becomes a message to it over TCP. The library
 * connects to the player at HBB_SYSTEM_IP port 56911 and listens for the player's state at
 * HBB_BROWSER_IP port 56910; both environment variables hold an IPv4 address in dotted decimal,
 * are read once, at the first call that starts the client, and default to 127.0.0.1.
 *
 * Threads: the functions may be called from any thread. Commands wait for one another and for the
 * player's answer, at most 30 seconds in all; the initialisation and the status functions never
 * wait. The library is never unloaded, since its serving thread runs until the process ends.
 *
 * Results: the first twelve functions return 0, whatever happens. Without a player a command has no
 * effect; it fails at once on the same machine. Failures are reported in the log, which the first
 * call switches to standard error, and by html5_video_client_get_last_result.
 *
 * A player that died: commands have no effect and no state arrives until the host calls
 * html5_video_client_reconnect (docs/integration.md). */
#ifndef HTML5_VIDEO_HTML5_VIDEO_CLIENT_H
#define HTML5_VIDEO_HTML5_VIDEO_CLIENT_H

#include <stdbool.h>

#include "util/Export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Prepares the client: listens for the player on a thread of its own. Call it first; a further call
 * serves the next player's state connection when the last one has gone, and changes nothing while a
 * player is served or awaited. Does not connect to the player. */
HTML5_VIDEO_API int html5_video_client_init(void);

/* Loads the URL (NUL-terminated, read during the call; null is passed on as no URL) and resets the
 * status: times, media status and in seek to 0, speed to 100; size and byte counts stay. The reset
 * happens with and without a player. */
HTML5_VIDEO_API int html5_video_client_load(const char* url);

/* Gives up loading. */
HTML5_VIDEO_API int html5_video_client_cancel_load(void);

/* Plays on from the position, at the rate that was set last. */
HTML5_VIDEO_API int html5_video_client_play(void);

/* Holds the position. */
HTML5_VIDEO_API int html5_video_client_pause(void);

/* Position in seconds from the start; sent in whole milliseconds, cut toward zero. */
HTML5_VIDEO_API int html5_video_client_seek(float seconds);

/* Playback rate, 1.0 is normal, negative backwards; sent in whole hundredths, cut toward zero. */
HTML5_VIDEO_API int html5_video_client_setRate(float rate);

/* Volume, 1.0 is full; sent in whole hundredths, cut toward zero. */
HTML5_VIDEO_API int html5_video_client_setVolume(float volume);

/* Size of the video window in pixels. */
HTML5_VIDEO_API int html5_video_client_setSize(int width, int height);

/* Silences the player, or lets it sound at the volume that was set last. */
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

/* ---- Beside the twelve: noticing, recovering, waiting, being quiet ----
 *
 * All of these may be called from any thread at any time; none of them waits. Only
 * html5_video_client_get_event_fd starts the client, as the twelve do. */

/* 1 while a player's state connection is served, else 0: before the first one, and from the moment
 * a player has closed its connection or died. A read of memory. */
HTML5_VIDEO_API int html5_video_client_is_connected(void);

/* After a player has gone: the next state connection is served and the next command connects anew.
 * A command that waits ends, with the result -1, within a quarter of a second, unless its answer
 * comes meanwhile. Harmless while all is well: a served player that answers keeps both its
 * connections, and the request stands until it has gone. Returns 0 at once. Nothing happens before
 * the client's start.
 *
 * A new player knows nothing of what the old one was told: load the media again. */
HTML5_VIDEO_API int html5_video_client_reconnect(void);

/* A descriptor for the host's loop (poll, epoll, GLib, libuv): readable when the status or the
 * connection has changed since it was last read. Read it with read(fd, buffer, 8), an eventfd's
 * count in the machine's byte order, then look at the status; changes in between make it readable
 * once. The descriptor is the library's own: always the same, never closed, non-blocking,
 * close-on-exec. It costs one system call for each report of the player from the first call on. -1
 * with errno when there is none to be had; the next call tries again. Starts the client. */
HTML5_VIDEO_API int html5_video_client_get_event_fd(void);

/* How the calling thread's last command (load to setMuted) ended: 0 when the player answered it, or
 * the thread has sent none; -1 when there is no player, no answer came in time, or the connection
 * broke. Whether the player could do it shows in the status. */
HTML5_VIDEO_API int html5_video_client_get_last_result(void);

/* How long a command waits in all, the connect included: milliseconds, at least 1, for the commands
 * that begin from now on, of all threads. 30,000 at the start. 0, or -1 for other values, which
 * change nothing. */
HTML5_VIDEO_API int html5_video_client_set_reply_timeout(int milliseconds);

/* Where the library's log goes and how much of it. Mode: 0 nowhere, 1 standard error, 2 the file, 3
 * the UDP peer, 4 the UNIX-domain socket of logger.conf, or -1 for the mode that logger.conf chose
 * (0 without the file). Level: 0 all lines, 1 warnings and errors, 2 errors, 3 none. Called before
 * the first function that starts the client, that one no longer switches the log to standard error.
 * With mode 0 or level 3 html5_video_client_load leaves out its trace line, too. 0, or -1 for other
 * values, which change nothing. */
HTML5_VIDEO_API int html5_video_client_set_log(int mode, int level);

/* A word for people for a media status code (html5_video/media_status.h), such as "playing"; "?"
 * for a code that is none of them. Never null; a literal, never to be freed. */
HTML5_VIDEO_API const char* html5_video_media_status_text(int code);

#ifdef __cplusplus
}
#endif

#endif /* HTML5_VIDEO_HTML5_VIDEO_CLIENT_H */
