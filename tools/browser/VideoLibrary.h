// The library as a browser sees it: loaded at run time, plain C functions.
#ifndef TOOLS_BROWSER_VIDEOLIBRARY_H
#define TOOLS_BROWSER_VIDEOLIBRARY_H

#include <string>

#include "html5_video/html5_video_client.h"

// The header gives the types of the functions; nothing is linked.
struct VideoLibrary
{
    void* handle = nullptr;  // of dlopen; never closed, since the library's thread goes on

    decltype(&html5_video_client_init) init = nullptr;
    decltype(&html5_video_client_load) load = nullptr;
    decltype(&html5_video_client_cancel_load) cancelLoad = nullptr;
    decltype(&html5_video_client_play) play = nullptr;
    decltype(&html5_video_client_pause) pause = nullptr;
    decltype(&html5_video_client_seek) seek = nullptr;
    decltype(&html5_video_client_setRate) setRate = nullptr;
    decltype(&html5_video_client_setVolume) setVolume = nullptr;
    decltype(&html5_video_client_setSize) setSize = nullptr;
    decltype(&html5_video_client_setMuted) setMuted = nullptr;
    decltype(&html5_video_get_status) getStatus = nullptr;
    decltype(&html5_video_get_video_dimension) getVideoDimension = nullptr;
    decltype(&html5_video_client_is_connected) isConnected = nullptr;
    decltype(&html5_video_client_reconnect) reconnect = nullptr;
    decltype(&html5_video_client_set_log) setLog = nullptr;

    // False with the reason when the file or one of the functions is missing. The library tells its
    // log settings on standard output while it is loaded.
    bool Open(const std::string& path, std::string& reason);
};

#endif  // TOOLS_BROWSER_VIDEOLIBRARY_H
