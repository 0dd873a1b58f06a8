// The browser's debugging console, as a module of its own: it links the library, which the browser
// itself only loads, and so works on the very copy that the browser has loaded. Commands:
//
//     video_status     the state as the library gives it
//     video_play, video_pause, video_load URL, video_seek MS
//
// The commands go out from the console's thread, beside those of the browser's own.
#include <cstdio>

#include "html5_video/html5_video_client.h"
#include "tools/browser/ConsoleModule.h"
#include "util/console/CmdClient.h"
#include "util/console/CmdMgr.h"

namespace {
struct Video
{};

void Describe(char* result)
{
    int time = 0;
    int end = 0;
    int speed = 0;
    int media = 0;
    int seeking = 0;
    unsigned long long total = 0;
    unsigned long long offset = 0;
    html5_video_get_status(&time, &end, &speed, &media, &seeking, &total, &offset);
    std::snprintf(result, CmdMgr::kResultSize,
                  "media status %d at %d of %d ms, speed %d, %llu of %llu bytes%s", media, time,
                  end, speed, offset, total, seeking != 0 ? ", in seek" : "");
}

class VideoClient final : public CmdClient<Video>
{
public:
    using CmdClient<Video>::CmdClient;

    int CmdHandler(CmdParser* line, CmdInfo* info, char* result) override
    {
        CmdValue value;
        line->GetCmdArgs(&value, 1);
        if (line->CompareCommand("video_play")) {
            html5_video_client_play();
        } else if (line->CompareCommand("video_pause")) {
            html5_video_client_pause();
        } else if (line->CompareCommand("video_load") && value.GetType() == CmdValue::kString) {
            html5_video_client_load(value.GetString());
        } else if (line->CompareCommand("video_seek") && value.GetType() == CmdValue::kInt) {
            html5_video_client_seek(static_cast<float>(value.GetInt()) / 1000.0F);
        } else if (line->CompareCommand("video_status")) {
            Describe(result);
            std::fprintf(stderr, "%s\n", result);
        } else {
            std::fprintf(stderr, "%s\n", info->mHelp);
        }
        return 0;
    }
};
}  // namespace

int StartBrowserConsole(int port)
{
    static Video video;
    static VideoClient* const client = new VideoClient(&video);  // lives as long as the console
    client->Register("video_status", "video_status : show the state");
    client->Register("video_play", "video_play : send play");
    client->Register("video_pause", "video_pause : send pause");
    client->Register("video_load string", "video_load URL : send load");
    client->Register("video_seek int", "video_seek MS : send seek");
    CmdMgr* const console = CmdMgr::GetInstance(port);
    console->SetAddress("127.0.0.1");
    console->SetTolerant(true);
    console->SetVerbose(true);
    return console->Start();
}
