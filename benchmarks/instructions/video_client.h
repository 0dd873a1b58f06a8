// The video client at a port that nobody else takes, so that a benchmark does not meet a player.
#ifndef BENCHMARKS_INSTRUCTIONS_VIDEO_CLIENT_H
#define BENCHMARKS_INSTRUCTIONS_VIDEO_CLIENT_H

#include "html5_video/html5_video_client.h"
#include "util/ipc/IPCChannel.h"
#include "util/ipc/IPCChannelMgr.h"

// The manager gives the client the channel that already has its name, and a method's first handler
// is the one that runs.
inline void StartVideoClient(int port, IPCHandler handler)
{
    IPCChannelMgr::GetInstance()
        ->GetIPCChannel("HTML5 Video Socket", 1, port)
        ->Register("SetStatus", handler);
    html5_video_client_init();
}

#endif  // BENCHMARKS_INSTRUCTIONS_VIDEO_CLIENT_H
