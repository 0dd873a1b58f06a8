#include "util/ipc/IPCChannelMgr.h"

#include <cstring>

#include "util/ipc/IPCLog.h"
#include "util/ipc/IPCSocketChannel.h"
#include "util/os_linux/FixedText.h"
#include "util/os_linux/Singleton.h"

std::atomic<IPCChannelMgr*> IPCChannelMgr::sIPCChannelMgr{nullptr};

IPCChannelMgr* IPCChannelMgr::GetInstance()
{
    static StaticLock sLock;
    return GetOrMake(sIPCChannelMgr, sLock, [] { return new IPCChannelMgr; });
}

IPCChannelMgr::IPCChannelMgr() = default;
IPCChannelMgr::~IPCChannelMgr() = default;

IPCChannel* IPCChannelMgr::Find(const char* name)
{
    char wanted[64];
    CopyText(wanted, name);
    for (tavi::VectorIterator<IPCChannel*> it = mChannels.Begin(); !it.IsNull(); it.Next()) {
        if (std::strcmp((*it)->GetName(), wanted) == 0) {
            return *it;
        }
    }
    return nullptr;
}

template <typename Make>
IPCChannel* IPCChannelMgr::FindOrMake(const char* name, bool logFound, Make make)
{
    const StaticLockHold hold(mLock);
    IPCChannel* channel = Find(name);
    if (channel == nullptr) {
        channel = make();
        mChannels.Pushback(channel);
    } else if (logFound) {
        TAVI_INFO("Name Found %s", name);
    }
    return channel;
}

IPCChannel* IPCChannelMgr::GetIPCChannel(const char* name, const char* sendPath,
                                         const char* receivePath)
{
    return FindOrMake(name, false,
                      [=] { return new IPCSocketChannel(name, sendPath, receivePath); });
}

IPCChannel* IPCChannelMgr::GetIPCChannel(const char* name, int sendPort, int receivePort)
{
    return FindOrMake(name, true,
                      [=] { return new IPCSocketChannel(name, sendPort, receivePort); });
}

IPCChannel* IPCChannelMgr::GetIPCChannelWithPriority(const char* name, int sendPort,
                                                     int receivePort, int priority)
{
    return FindOrMake(name, true,
                      [=] { return new IPCSocketChannel(name, sendPort, receivePort, priority); });
}

IPCChannel* IPCChannelMgr::GetIPCChannel(const char* name, const char* sendAddress,
                                         const char* receiveAddress, int sendPort, int receivePort)
{
    return FindOrMake(name, false, [=] {
        return new IPCSocketChannel(name, sendAddress, receiveAddress, sendPort, receivePort);
    });
}

IPCChannel* IPCChannelMgr::GetIPCChannel(const char* name)
{
    const StaticLockHold hold(mLock);
    return Find(name);
}
