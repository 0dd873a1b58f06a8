#include "tools/browser/VideoLibrary.h"

#include <dlfcn.h>

namespace {
template <typename Function>
bool Find(void* handle, const char* name, Function& function, std::string& reason)
{
    function = reinterpret_cast<Function>(dlsym(handle, name));
    if (function == nullptr) {
        reason = std::string("The library lacks ") + name;
    }
    return function != nullptr;
}
}  // namespace

bool VideoLibrary::Open(const std::string& path, std::string& reason)
{
    handle = dlopen(path.c_str(), RTLD_NOW);
    if (handle == nullptr) {
        const char* const error = dlerror();
        reason = error != nullptr ? error : path;
        return false;
    }
    return Find(handle, "html5_video_client_init", init, reason) &&
           Find(handle, "html5_video_client_load", load, reason) &&
           Find(handle, "html5_video_client_cancel_load", cancelLoad, reason) &&
           Find(handle, "html5_video_client_play", play, reason) &&
           Find(handle, "html5_video_client_pause", pause, reason) &&
           Find(handle, "html5_video_client_seek", seek, reason) &&
           Find(handle, "html5_video_client_setRate", setRate, reason) &&
           Find(handle, "html5_video_client_setVolume", setVolume, reason) &&
           Find(handle, "html5_video_client_setSize", setSize, reason) &&
           Find(handle, "html5_video_client_setMuted", setMuted, reason) &&
           Find(handle, "html5_video_get_status", getStatus, reason) &&
           Find(handle, "html5_video_get_video_dimension", getVideoDimension, reason) &&
           Find(handle, "html5_video_client_is_connected", isConnected, reason) &&
           Find(handle, "html5_video_client_reconnect", reconnect, reason) &&
           Find(handle, "html5_video_client_set_log", setLog, reason);
}
