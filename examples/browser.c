/* A browser in plain C: plays one address in a poll loop, shows where it is, and goes on where it
 * was when its player dies and another one comes.
 *
 *     example_browser FILE-OR-URL
 *
 * Exit status: 0 at the end, 1 when the media can not be played or no player comes within ten
 * seconds, 2 for wrong usage. The log goes where a logger.conf says; without one it is off. */
#define _POSIX_C_SOURCE 200809L
#include <poll.h>
#include <stdint.h>
#include <stdio.h>
#include <unistd.h>

#include "html5_video/html5_video_client.h"
#include "html5_video/media_status.h"

enum
{
    kTurn = 1000,        /* milliseconds without news before the loop looks around */
    kPatience = 10,      /* turns without a player */
    kReplyTimeout = 2000 /* milliseconds for a command: it blocks this loop */
};

struct view
{
    int connected;
    int cleared;  /* this player was told to forget what it played before */
    int loaded;   /* this player has taken the media */
    int position; /* milliseconds, where to go on */
    int status;
};

/* Waits for news of the player, or for a turn; 0 when there were none. */
static int wait_for_news(int events)
{
    struct pollfd entry = {events, POLLIN, 0};
    uint64_t count = 0;
    return poll(&entry, 1, kTurn) > 0 && read(events, &count, sizeof(count)) > 0;
}

/* A new player knows nothing: it is told everything. */
static void load(struct view* view, const char* url)
{
    html5_video_client_load(url);
    view->loaded = html5_video_client_get_last_result() == 0;
    if (view->loaded) {
        view->status = HTML5_VIDEO_STATUS_UNKNOWN;
        if (view->position > 0) {
            html5_video_client_seek((float)view->position / 1000);
        }
        html5_video_client_play();
    }
}

/* A report does not say which media it is of, and a player's first one is of what it played for
 * another browser. So it is cleared first: what it reports once it was idle is of this media. */
static void begin(struct view* view, const char* url, int news)
{
    if (!view->cleared) {
        html5_video_client_cancel_load();
        view->cleared = html5_video_client_get_last_result() == 0;
    } else if (view->status == HTML5_VIDEO_STATUS_IDLE || !news) {
        load(view, url);
    }
}

static void follow_connection(struct view* view, const char* url, int news)
{
    const int connected = html5_video_client_is_connected();
    if (view->connected && !connected) {
        printf("\nthe player has gone\n");
        view->cleared = 0;
        view->loaded = 0;
        html5_video_client_reconnect();
    }
    view->connected = connected;
    if (connected && !view->loaded) {
        begin(view, url, news);
    }
}

static void show(struct view* view)
{
    int playTime, endTime, speed, inSeek, width, height;
    unsigned long long totalBytes, currentOffset;
    html5_video_get_status(&playTime, &endTime, &speed, &view->status, &inSeek, &totalBytes,
                           &currentOffset);
    html5_video_get_video_dimension(&width, &height);
    if (view->loaded && view->status >= HTML5_VIDEO_STATUS_PAUSED && !inSeek) {
        view->position = playTime;
    }
    printf("\r%6.1f of %.1f s, %d x %d, %-12s", playTime / 1000.0, endTime / 1000.0, width, height,
           html5_video_media_status_text(view->status));
    fflush(stdout);
}

static int is_over(int status)
{
    return status == HTML5_VIDEO_STATUS_ENDED || status >= HTML5_VIDEO_STATUS_ERROR_NOT_FOUND;
}

int main(int argc, char** argv)
{
    struct view view = {0, 0, 0, 0, HTML5_VIDEO_STATUS_UNKNOWN};
    int alone = 0; /* turns without a player */
    int events;
    if (argc != 2) {
        fprintf(stderr, "Usage: %s FILE-OR-URL\n", argv[0]);
        return 2;
    }
    html5_video_client_set_log(-1, 0);
    html5_video_client_set_reply_timeout(kReplyTimeout);
    html5_video_client_init();
    events = html5_video_client_get_event_fd();
    if (events < 0) {
        perror("html5_video_client_get_event_fd");
        return 1;
    }
    while (alone < kPatience && !(view.loaded && is_over(view.status))) {
        const int news = wait_for_news(events);
        show(&view);
        follow_connection(&view, argv[1], news);
        alone = view.connected ? 0 : alone + !news;
    }
    putchar('\n');
    if (alone >= kPatience) {
        fprintf(stderr, "no player\n");
    }
    return view.status == HTML5_VIDEO_STATUS_ENDED ? 0 : 1;
}
