#include "tools/browser/ChannelAccess.h"

#include <dlfcn.h>

class IPCChannelMgr;

IPCChannel* FindVideoChannel(void* libraryHandle)
{
    // static IPCChannelMgr* IPCChannelMgr::GetInstance()
    using GetInstance = IPCChannelMgr* (*)();
    const auto getInstance =
        reinterpret_cast<GetInstance>(dlsym(libraryHandle, "_ZN13IPCChannelMgr11GetInstanceEv"));

    // IPCChannel* IPCChannelMgr::GetIPCChannel(const char* name)
    using GetIPCChannel = IPCChannel* (*)(IPCChannelMgr*, const char*);
    const auto getIPCChannel = reinterpret_cast<GetIPCChannel>(
        dlsym(libraryHandle, "_ZN13IPCChannelMgr13GetIPCChannelEPKc"));

    return getInstance != nullptr && getIPCChannel != nullptr
               ? getIPCChannel(getInstance(), "HTML5 Video Socket")
               : nullptr;
}
