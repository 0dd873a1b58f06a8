// Public. The process-wide registry of channels: asked by name, it gives the channel of that name
// or makes one. Independent modules of a process so share one channel per name.
//
// It only makes and finds channels; opening, registering methods and starting is the caller's
// business. Every channel lives until the process ends. Safe from any thread.
#ifndef UTIL_IPC_IPCCHANNELMGR_H
#define UTIL_IPC_IPCCHANNELMGR_H

#include <atomic>

#include "util/Export.h"
#include "util/container/Vector.h"
#include "util/os_linux/StaticLock.h"

class IPCChannel;

class HTML5_VIDEO_API IPCChannelMgr
{
public:
    // The one instance, made on first use and never destroyed.
    static IPCChannelMgr* GetInstance();

    IPCChannelMgr();
    IPCChannelMgr(const IPCChannelMgr&) = delete;
    IPCChannelMgr& operator=(const IPCChannelMgr&) = delete;
    ~IPCChannelMgr();

    // The existing channel of that name, whatever its endpoints are, or a new one with the given
    // endpoints, unopened. Names are compared as channels store them, cut to 63 characters.
    IPCChannel* GetIPCChannel(const char* name, const char* sendPath, const char* receivePath);
    IPCChannel* GetIPCChannel(const char* name, int sendPort, int receivePort);
    IPCChannel* GetIPCChannelWithPriority(const char* name, int sendPort, int receivePort,
                                          int priority);
    IPCChannel* GetIPCChannel(const char* name, const char* sendAddress, const char* receiveAddress,
                              int sendPort, int receivePort);

    // The existing channel of that name, or null.
    IPCChannel* GetIPCChannel(const char* name);

private:
    HTML5_VIDEO_LOCAL IPCChannel* Find(const char* name) TAVI_REQUIRES(mLock);

    template <typename Make>
    IPCChannel* FindOrMake(const char* name, bool logFound, Make make) TAVI_EXCLUDES(mLock);

    HTML5_VIDEO_LOCAL static std::atomic<IPCChannelMgr*> sIPCChannelMgr;

    StaticLock mLock;
    tavi::Vector<IPCChannel*> mChannels TAVI_GUARDED_BY(mLock);
};

#endif  // UTIL_IPC_IPCCHANNELMGR_H
