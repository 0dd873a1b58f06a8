/* Compiling and linking is the test: every function by its C prototype.
 *
 *     c_header_test [LOG-MODE LOG-LEVEL] */
#include <stdlib.h>

#include "html5_video/html5_video_client.h"
#include "html5_video/media_status.h"
#include "util/os_linux/LoggerPrint.h"
#include "util/os_linux/Sleep.h"

int main(int argc, char** argv)
{
    int numbers[7];
    unsigned long long bytes[2];
    int result = argc == 3 ? html5_video_client_set_log(atoi(argv[1]), atoi(argv[2])) : 0;
    result += html5_video_client_init();
    result += html5_video_client_load("http://example.com/a.mp4");
    result += html5_video_client_play();
    result += html5_video_client_pause();
    result += html5_video_client_seek(1.5F);
    result += html5_video_client_setRate(1.0F);
    result += html5_video_client_setVolume(0.5F);
    result += html5_video_client_setSize(1280, 720);
    result += html5_video_client_setMuted(true);
    result += html5_video_client_cancel_load();
    result += html5_video_get_status(&numbers[0], &numbers[1], &numbers[2], &numbers[3],
                                     &numbers[4], &bytes[0], &bytes[1]);
    result += html5_video_get_video_dimension(&numbers[5], &numbers[6]);
    result += html5_video_client_set_reply_timeout(10000);
    result += html5_video_client_reconnect();
    result += html5_video_client_is_connected();
    result += html5_video_client_get_event_fd() < 0;
    result += html5_video_client_get_last_result() != -1; /* there is no player */
    result += *html5_video_media_status_text(HTML5_VIDEO_STATUS_PLAYING) != 'p';
    if (argc != 3) {
        Logger_Print(3, 1, 0, "main", __FILE__, __LINE__, "results %d", result);
    }
    MSleep(1);
    return result;
}
