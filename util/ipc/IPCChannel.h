// Public. A named two-way channel to a peer process: methods registered here are called by the
// peer, methods of the peer are called from here. What carries the calls is the subclass's
// business; IPCSocketChannel is the only one.
//
// Threads: any thread may call, register and start; Quit and the destructor must not run on the
// channel's own serving thread, so not in a handler.
#ifndef UTIL_IPC_IPCCHANNEL_H
#define UTIL_IPC_IPCCHANNEL_H

#include <atomic>

#include "util/Export.h"
#include "util/container/HashTable.h"
#include "util/ipc/IPCMethod.h"
#include "util/ipc/StringHashFunction.h"
#include "util/os_linux/StaticLock.h"

class HTML5_VIDEO_API IPCChannel
{
public:
    // The name is copied and cut to 63 characters.
    explicit IPCChannel(const char* name);
    IPCChannel(const IPCChannel&) = delete;
    IPCChannel& operator=(const IPCChannel&) = delete;

    // Releases the method table with its entries.
    virtual ~IPCChannel();

    // Each int result is 0, or -1 with the reason logged.
    virtual int Open() = 0;
    virtual int Close() = 0;

    // Opens, binds and serves one connection of the peer on a thread of the channel's own. Call it
    // again after the peer has gone to serve the next.
    virtual void Start() = 0;

    // Makes the receive side listen.
    virtual void Bind() = 0;

    // Gives the calling side a fresh, unconnected socket; the next call connects.
    virtual int Reopen();

    // Serves one connection on the calling thread.
    virtual void Run() = 0;

    // Stops serving and waits until the serving thread has ended.
    virtual void Quit() = 0;

    // Calls a method of the peer and waits for its reply, whose arguments are appended to the
    // reply record unless that is null. Both records stay the caller's.
    virtual int Call(const char* method, IPCParam* request, IPCParam* reply) = 0;

    // Bytes as they are, without a frame, on the calling side's connection. What is sent is only
    // read; SendRawBytes is the same for data that is const.
    virtual int SendRaw(unsigned char* data, int length) = 0;
    int SendRawBytes(const unsigned char* data, int length)
    {
        return SendRaw(const_cast<unsigned char*>(data), length);
    }
    virtual int ReceiveRaw(unsigned char* buffer, int length);

    // Calls a method of the peer without waiting for its reply.
    virtual int CallWithoutReturn(const char* method, IPCParam* request) = 0;

    // Lives as long as the channel.
    const char* GetName() const { return mName; }

    // Whether a serving loop is active: false before Start and after the peer has gone.
    bool IsRunning() const { return mRunning; }

    // Whether the receive side listens.
    bool IsBound() const { return mBound; }

    // Offers a method to the peer, also while the channel serves. The name is copied and cut to 63
    // characters. A name registered twice keeps both entries; the first one is called.
    void Register(const char* method, IPCHandler handler);

protected:
    // The handler's entry, or null. For the serving thread.
    IPCMethod* FindMethod(const char* name) { return mMethods.Get(name); }

    char mName[64];              // NUL-terminated
    std::atomic<bool> mRunning;  // the serving loop is active
    std::atomic<bool> mOpened;   // the sockets are open
    std::atomic<bool> mBound;    // the receive side listens

private:
    StringHashFunction mHashFunction;
    StaticLock mRegisterLock;  // one addition to the table at a time; lookups take no lock
    tavi::HashTable<IPCMethod, const char*> mMethods;
};

#endif  // UTIL_IPC_IPCCHANNEL_H
