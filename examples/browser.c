/* The shortest browser: plays one address and shows the position until its end.
 *
 *     example_browser FILE-OR-URL
 *
 * A player must be running. Exit status: 0 at the end, 1 when the media can not be played or no
 * player answers, 2 for wrong usage. */
#include <stdbool.h>
#include <stdio.h>
#include <time.h>

#include "html5_video/html5_video_client.h"

/* The codes of the reference player (tools/player/MediaStatus.h). */
enum
{
    kUnknown = 0,
    kEnded = 6,
    kFirstError = 100
};

enum
{
    kTurnsPerSecond = 10,
    kPatience = 5 * kTurnsPerSecond /* turns without news of the player */
};

static void wait_a_turn(void)
{
    const struct timespec turn = {0, 1000000000 / kTurnsPerSecond};
    nanosleep(&turn, NULL);
}

/* Shows the state and returns the media status. */
static int show_status(void)
{
    int playTime, endTime, speed, mediaStatus, inSeek, width, height;
    unsigned long long totalBytes, currentOffset;
    html5_video_get_status(&playTime, &endTime, &speed, &mediaStatus, &inSeek, &totalBytes,
                           &currentOffset);
    html5_video_get_video_dimension(&width, &height);
    printf("\r%6.1f of %.1f s, %d x %d, status %d   ", playTime / 1000.0, endTime / 1000.0, width,
           height, mediaStatus);
    fflush(stdout);
    return mediaStatus;
}

int main(int argc, char** argv)
{
    int status = kUnknown;
    int silent = 0;
    if (argc != 2) {
        fprintf(stderr, "Usage: %s FILE-OR-URL\n", argv[0]);
        return 2;
    }
    html5_video_client_init();
    html5_video_client_load(argv[1]);
    html5_video_client_play();
    while (status != kEnded && status < kFirstError && silent < kPatience) {
        wait_a_turn();
        status = show_status();
        silent = status == kUnknown ? silent + 1 : 0;
    }
    putchar('\n');
    return status == kEnded ? 0 : 1;
}
