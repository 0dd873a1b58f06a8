/* A browser in C99 lives through the death of its player, with nothing but the C functions: it
 * waits by poll alone, sees the player go, recovers, and sees the next one play within a second of
 * that one's first report. The players are processes of this program's own. */
#define _POSIX_C_SOURCE 200809L
#include <arpa/inet.h>
#include <poll.h>
#include <signal.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "html5_video/html5_video_client.h"
#include "html5_video/media_status.h"

enum
{
    kPatience = 30000, /* milliseconds for what comes at once on an idle machine */
    kCommandPort = 56911,
    kStatePort = 56910
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

/* ---- The player ---- */

static int open_socket(int port, struct sockaddr_in* address)
{
    const int one = 1;
    const int descriptor = socket(AF_INET, SOCK_STREAM, 0);
    memset(address, 0, sizeof(*address));
    address->sin_family = AF_INET;
    address->sin_port = htons((uint16_t)port);
    address->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &one, sizeof(one));
    return descriptor;
}

static unsigned char* put_word(unsigned char* at, unsigned value)
{
    int byte;
    for (byte = 0; byte < 4; ++byte) {
        *at++ = (unsigned char)(value >> (8 * byte));
    }
    return at;
}

/* "SetStatus" with twelve integers, of which the play time and the media status are given. */
static size_t make_report(unsigned char* frame, int playTime, int mediaStatus)
{
    static const unsigned char kHead[] = "\0\0\0\x47SetStatus\0\0\0\0\0\0\x48iiiiiiiiiiii\0\0\0";
    unsigned char* at = frame + 4;
    int position;
    memcpy(at, kHead, sizeof(kHead));
    at += sizeof(kHead);
    for (position = 0; position < 12; ++position) {
        memcpy(at, "a\0\0", 4);
        at = put_word(at + 4, (unsigned)(position == 0   ? playTime
                                         : position == 4 ? mediaStatus
                                                         : 0));
    }
    put_word(frame, (unsigned)(at - frame - 4));
    return (size_t)(at - frame);
}

/* Where nobody listens, TCP may join a socket to itself. */
static int connect_to(int descriptor, const struct sockaddr_in* address)
{
    struct sockaddr_in own;
    socklen_t size = sizeof(own);
    return connect(descriptor, (const struct sockaddr*)address, sizeof(*address)) == 0 &&
           getsockname(descriptor, (struct sockaddr*)&own, &size) == 0 &&
           own.sin_port != address->sin_port;
}

/* Reports every 50 ms that it plays, from the given time on, and answers every command. Writes when
 * its first report was answered to the pipe. Ends with its parent's socket or by a signal. */
static void play(int start, int started)
{
    static const unsigned char kEmpty[] = {8, 0, 0, 0, 0, 0, 0, 0x48, 0, 0, 0, 0};
    unsigned char frame[256];
    unsigned char bytes[4096];
    struct sockaddr_in address;
    struct pollfd command = {-1, POLLIN, 0};
    int playTime = start;
    const int listener = open_socket(kCommandPort, &address);
    int state;
    check(bind(listener, (struct sockaddr*)&address, sizeof(address)) == 0, "bind of the player");
    check(listen(listener, 1) == 0, "listen of the player");
    state = open_socket(kStatePort, &address);
    while (!connect_to(state, &address)) {
        poll(NULL, 0, 20);
        close(state);
        state = open_socket(kStatePort, &address);
    }
    for (;; playTime += 50) {
        const size_t size = make_report(frame, playTime, HTML5_VIDEO_STATUS_PLAYING);
        if (send(state, frame, size, MSG_NOSIGNAL) != (ssize_t)size ||
            recv(state, bytes, sizeof(kEmpty), MSG_WAITALL) <= 0) {
            _exit(0);
        }
        if (playTime == start) {
            const long long time = now();
            check(write(started, &time, sizeof(time)) == sizeof(time), "write to the pipe");
        }
        if (command.fd < 0) {
            struct pollfd waiting = {listener, POLLIN, 0};
            if (poll(&waiting, 1, 50) > 0) {
                command.fd = accept(listener, NULL, NULL);
            }
        } else if (poll(&command, 1, 50) > 0) {
            if (recv(command.fd, bytes, sizeof(bytes), 0) <= 0) {
                close(command.fd);
                command.fd = -1;
            } else if (send(command.fd, kEmpty, sizeof(kEmpty), MSG_NOSIGNAL) < 0) {
                _exit(0);
            }
        }
    }
}

static pid_t start_player(int start, int started)
{
    const pid_t child = fork();
    check(child >= 0, "fork");
    if (child == 0) {
        play(start, started);
    }
    return child;
}

static void end_player(pid_t player)
{
    kill(player, SIGKILL);
    waitpid(player, NULL, 0);
}

/* ---- The browser ---- */

static int sees_player_from(int start)
{
    int playTime, endTime, speed, mediaStatus, inSeek;
    unsigned long long totalBytes, currentOffset;
    html5_video_get_status(&playTime, &endTime, &speed, &mediaStatus, &inSeek, &totalBytes,
                           &currentOffset);
    return html5_video_client_is_connected() && playTime >= start && playTime < start + 100000 &&
           mediaStatus == HTML5_VIDEO_STATUS_PLAYING;
}

static int sees_no_player(int unused)
{
    (void)unused;
    return !html5_video_client_is_connected();
}

/* By poll alone: looks again after each event only. */
static void wait_until(int (*condition)(int), int argument, int events, const char* what)
{
    const long long deadline = now() + kPatience;
    while (!condition(argument)) {
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
    wait_until(sees_player_from, kFirst, events, "the first player is seen");
    check(html5_video_client_play() == 0 && html5_video_client_get_last_result() == 0, "a command");

    end_player(player);
    wait_until(sees_no_player, 0, events, "the player's death is seen");
    check(html5_video_client_play() == 0 && html5_video_client_get_last_result() == -1,
          "a command without a player fails");
    check(html5_video_client_reconnect() == 0, "reconnect");

    check(read(started[0], &reported, sizeof(reported)) == sizeof(reported), "the first's report");
    player = start_player(kSecond, started[1]);
    wait_until(sees_player_from, kSecond, events, "the second player is seen");
    check(read(started[0], &reported, sizeof(reported)) == sizeof(reported), "the second's report");
    check(now() - reported < 1000, "within a second of its first report");
    check(html5_video_client_play() == 0 && html5_video_client_get_last_result() == 0,
          "a command reaches the second player");

    end_player(player);
    wait_until(sees_no_player, 0, events, "the second player's death is seen");
    check(strcmp(html5_video_media_status_text(HTML5_VIDEO_STATUS_PLAYING), "playing") == 0 &&
              strcmp(html5_video_media_status_text(99), "?") == 0,
          "texts");
    return 0;
}
