/* A browser in C99 lives through the death of its player, with nothing but the C functions: it
 * waits by poll alone, sees the player go, recovers, and sees the next one play within a second of
 * that one's first report. The players are processes of this program's own. */
#define _POSIX_C_SOURCE 200809L
#include <poll.h>
#include <signal.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "html5_video/html5_video_client.h"
#include "html5_video/media_status.h"

/* In c_recovery_player.cpp. */
pid_t start_player(int start, int started);

enum
{
    kPatience = 30000 /* milliseconds for what comes at once on an idle machine */
};

static long long now(void)
{
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * 1000LL + time.tv_nsec / 1000000;
}

static void check(int holds, const char* what)
{
    if (!holds) {
        fprintf(stderr, "failed: %s\n", what);
        exit(1);
    }
}

static void end_player(pid_t player)
{
    kill(player, SIGKILL);
    waitpid(player, NULL, 0);
}

/* The player that started from there, or with 0 that there is none. */
static int sees(int start)
{
    int playTime, endTime, speed, mediaStatus, inSeek;
    unsigned long long totalBytes, currentOffset;
    html5_video_get_status(&playTime, &endTime, &speed, &mediaStatus, &inSeek, &totalBytes,
                           &currentOffset);
    return html5_video_client_is_connected()
               ? start > 0 && playTime >= start && playTime < start + 100000 &&
                     mediaStatus == HTML5_VIDEO_STATUS_PLAYING
               : start == 0;
}

/* By poll alone: looks again after each event only. */
static void wait_until_it_sees(int start, int events, const char* what)
{
    const long long deadline = now() + kPatience;
    while (!sees(start)) {
        struct pollfd entry = {events, POLLIN, 0};
        uint64_t count;
        check(poll(&entry, 1, (int)(deadline - now())) == 1, what);
        check(read(events, &count, sizeof(count)) == sizeof(count) && count > 0, "read of 8 bytes");
    }
}

int main(void)
{
    static const int kFirst = 1000000, kSecond = 2000000;
    int started[2];
    int events;
    long long reported;
    pid_t player;
    check(pipe(started) == 0, "pipe");

    check(html5_video_client_is_connected() == 0, "nothing is connected before the start");
    check(html5_video_client_reconnect() == 0, "reconnect before the start");
    check(html5_video_client_get_last_result() == 0, "no command, no failure");
    check(html5_video_client_set_reply_timeout(0) == -1, "a time-out of 0");
    check(html5_video_client_set_reply_timeout(10000) == 0, "a time-out");
    check(html5_video_client_set_log(5, 0) == -1 && html5_video_client_set_log(-2, 0) == -1 &&
              html5_video_client_set_log(0, 4) == -1 && html5_video_client_set_log(0, -1) == -1,
          "modes and levels that there are not");
    check(html5_video_client_set_log(0, 3) == 0, "no log");

    player = start_player(kFirst, started[1]);
    events = html5_video_client_get_event_fd();
    check(events >= 0 && events == html5_video_client_get_event_fd(), "one descriptor");
    wait_until_it_sees(kFirst, events, "the first player is seen");
    check(html5_video_client_play() == 0 && html5_video_client_get_last_result() == 0, "a command");

    end_player(player);
    wait_until_it_sees(0, events, "the player's death is seen");
    check(html5_video_client_play() == 0 && html5_video_client_get_last_result() == -1,
          "a command without a player fails");
    check(html5_video_client_reconnect() == 0, "reconnect");

    check(read(started[0], &reported, sizeof(reported)) == sizeof(reported), "the first's report");
    player = start_player(kSecond, started[1]);
    wait_until_it_sees(kSecond, events, "the second player is seen");
    check(read(started[0], &reported, sizeof(reported)) == sizeof(reported), "the second's report");
    check(now() - reported < 1000, "within a second of its first report");
    check(html5_video_client_play() == 0 && html5_video_client_get_last_result() == 0,
          "a command reaches the second player");

    end_player(player);
    wait_until_it_sees(0, events, "the second player's death is seen");
    check(strcmp(html5_video_media_status_text(HTML5_VIDEO_STATUS_PLAYING), "playing") == 0 &&
              strcmp(html5_video_media_status_text(99), "?") == 0,
          "texts");
    return 0;
}
