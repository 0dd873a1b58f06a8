// Public. The video client: turns the browser's commands into method calls on the channel "HTML5
// Video Socket" and keeps the state that the player reports. html5_video_client.h is the face of it
// for a browser; what stands there about threads and failures holds here too.
#ifndef HTML5_VIDEO_HTML5VIDEOCLIENT_H
#define HTML5_VIDEO_HTML5VIDEOCLIENT_H

#include <atomic>

#include "html5_video/PlayerStatus.h"
#include "util/Export.h"

class IPCParam;
class IPCSocketChannel;

class HTML5_VIDEO_API HTML5VideoClient
{
public:
    // The one instance, made on first use, with its channel started, and never destroyed.
    static HTML5VideoClient* GetInstance();

    // Switches the log to standard error, reads the environment, obtains the channel, becomes the
    // instance and runs Init. For GetInstance.
    HTML5VideoClient();
    HTML5VideoClient(const HTML5VideoClient&) = delete;
    HTML5VideoClient& operator=(const HTML5VideoClient&) = delete;

    // Registers "SetStatus" and starts the channel. Always 0.
    int Init();

    // The commands. Each sends one request, waits for its answer and returns 0.
    int load(const char* url);
    int cancelLoad();
    int play();
    int pause();
    int seek(float seconds);
    int setRate(float rate);
    int setVolume(float volume);
    int setSize(int width, int height);
    int setMuted(bool muted);

    // Each stores a part of a report. SetStatus_IPC stores a whole one, as one update.
    void setStatus(int playTime, int endTime, int speed, int statusValue3, int mediaStatus,
                   bool inSeek, unsigned long long totalBytes, unsigned long long currentOffset);
    void setVideoDimension(int width, int height);

    // One whole report.
    PlayerStatus GetStatus() const;

    // A part of it, in the units of html5_video_get_status. Two calls may see two reports.
    int GetPlayTime() const { return GetStatus().playTime; }
    int GetEndTime() const { return GetStatus().endTime; }
    int GetSpeed() const { return GetStatus().speed; }
    int GetMediaStatus() const { return GetStatus().mediaStatus; }
    int GetVideoWidth() const { return GetStatus().videoWidth; }
    int GetVideoHeight() const { return GetStatus().videoHeight; }
    bool InSeek() const { return GetStatus().inSeek; }
    unsigned long long GetTotalBytes() const { return GetStatus().totalBytes; }
    unsigned long long GetCurrentOffset() const { return GetStatus().currentOffset; }

    // What html5_video_client.h tells of the functions of these names; none of them makes the
    // instance.
    static bool IsConnected();
    static void Reconnect();
    static int GetLastResult();
    static int SetReplyTimeout(int milliseconds);
    static int SetLog(int mode, int level);

    // The descriptor of html5_video_client_get_event_fd.
    int GetEventDescriptor();

private:
    HTML5_VIDEO_LOCAL static HTML5VideoClient* Instance();
    HTML5_VIDEO_LOCAL static HTML5VideoClient* MakeInstance();
    HTML5_VIDEO_LOCAL int Send(const char* method, IPCParam& arguments);

    // With the numbers that have a name.
    HTML5_VIDEO_LOCAL int SendNumbers(const char* method, const char* first = nullptr,
                                      int firstValue = 0, const char* second = nullptr,
                                      int secondValue = 0);

    HTML5_VIDEO_LOCAL static std::atomic<HTML5VideoClient*> sHTML5VideoClient;

    IPCSocketChannel* mChannel;
};

// The handler of "SetStatus": twelve integers by position, of which missing or mistyped ones count
// as 0 and are logged. Runs on the serving thread; the request is the channel's, the empty record
// returned becomes the channel's.
HTML5_VIDEO_API IPCParam* SetStatus_IPC(IPCParam* request);

#endif  // HTML5_VIDEO_HTML5VIDEOCLIENT_H
