#include "html5_video/html5_video_client.h"

#include "html5_video/HTML5VideoClient.h"
#include "html5_video/StatusBoard.h"
#include "html5_video/media_status.h"

namespace {
// html5_video_get_status where one look is not enough: an update is being stored, or none has come
// yet, so that there may be no client. Apart, so that a read keeps everything in registers.
[[gnu::noinline]] int ReadStatus(int* playTime, int* endTime, int* speed, int* mediaStatus,
                                 int* inSeek, unsigned long long* totalBytes,
                                 unsigned long long* currentOffset)
{
    const PlayerStatus status = HTML5VideoClient::GetInstance()->GetStatus();
    *playTime = status.playTime;
    *endTime = status.endTime;
    *speed = status.speed;
    *mediaStatus = status.mediaStatus;
    *inSeek = status.inSeek;
    *totalBytes = status.totalBytes;
    *currentOffset = status.currentOffset;
    return 0;
}
}  // namespace

extern "C" {
int html5_video_client_init(void)
{
    return HTML5VideoClient::GetInstance()->Init();
}

int html5_video_client_load(const char* url)
{
    return HTML5VideoClient::GetInstance()->load(url);
}

int html5_video_client_cancel_load(void)
{
    return HTML5VideoClient::GetInstance()->cancelLoad();
}

int html5_video_client_play(void)
{
    return HTML5VideoClient::GetInstance()->play();
}

int html5_video_client_pause(void)
{
    return HTML5VideoClient::GetInstance()->pause();
}

int html5_video_client_seek(float seconds)
{
    return HTML5VideoClient::GetInstance()->seek(seconds);
}

int html5_video_client_setRate(float rate)
{
    return HTML5VideoClient::GetInstance()->setRate(rate);
}

int html5_video_client_setVolume(float volume)
{
    return HTML5VideoClient::GetInstance()->setVolume(volume);
}

int html5_video_client_setSize(int width, int height)
{
    return HTML5VideoClient::GetInstance()->setSize(width, height);
}

int html5_video_client_setMuted(bool muted)
{
    return HTML5VideoClient::GetInstance()->setMuted(muted);
}

int html5_video_get_status(int* playTime, int* endTime, int* speed, int* mediaStatus, int* inSeek,
                           unsigned long long* totalBytes, unsigned long long* currentOffset)
{
    const bool whole = StatusBoard::sPlayer.Look([&](const StatusBoard::Slot& slot) {
        *playTime = slot.playTime;
        *endTime = slot.endTime;
        *speed = slot.speed;
        *mediaStatus = slot.mediaStatus;
        *inSeek = slot.inSeek;
        *totalBytes = slot.totalBytes;
        *currentOffset = slot.currentOffset;
    });
    return whole ? 0
                 : ReadStatus(playTime, endTime, speed, mediaStatus, inSeek, totalBytes,
                              currentOffset);
}

int html5_video_get_video_dimension(int* width, int* height)
{
    StatusBoard::sPlayer.Read([&](const StatusBoard::Slot& slot) {
        *width = slot.videoWidth;
        *height = slot.videoHeight;
    });
    HTML5VideoClient::GetInstance();  // behind the read, which it would cost its registers
    return 0;
}

int html5_video_client_is_connected(void)
{
    return HTML5VideoClient::IsConnected() ? 1 : 0;
}

int html5_video_client_reconnect(void)
{
    HTML5VideoClient::Reconnect();
    return 0;
}

int html5_video_client_get_event_fd(void)
{
    return HTML5VideoClient::GetInstance()->GetEventDescriptor();
}

int html5_video_client_get_last_result(void)
{
    return HTML5VideoClient::GetLastResult();
}

int html5_video_client_set_reply_timeout(int milliseconds)
{
    return HTML5VideoClient::SetReplyTimeout(milliseconds);
}

int html5_video_client_set_log(int mode, int level)
{
    return HTML5VideoClient::SetLog(mode, level);
}

const char* html5_video_media_status_text(int code)
{
    return html5_video_media_status_name(code);
}
}
