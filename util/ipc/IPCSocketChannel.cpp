// Construction and the two sockets. The serving thread's life stands in IPCSocketChannelThread.cpp,
// what it serves in IPCSocketChannelServing.cpp, the calling side in IPCSocketChannelCalls.cpp.
#include "util/ipc/IPCSocketChannel.h"
#include "util/ipc/IPCLog.h"
#include "util/ipc/ReplyReader.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "util/ipc/IPCTCPSocket.h"
#include "util/ipc/IPCUnixSocket.h"
#include "util/ipc/StreamSocket.h"
#include "util/os_linux/CancelGuard.h"
#include "util/os_linux/Mutex.h"
#include "util/os_linux/Sleep.h"
#include "util/os_linux/Thread.h"

namespace {
constexpr char kLoopback[] = "127.0.0.1";
constexpr int kPoll = 10;  // milliseconds

// A null address means any.
const char* Shown(const char* address)
{
    return address != nullptr ? address : "";
}

Thread* NewThread(const char* channel, int priority)
{
    char name[80];
    std::snprintf(name, sizeof(name), "%.63s Thread", channel);
    return new Thread(name, IPCSocketChannel::ChannelThread, false, priority);
}

Mutex* NewMutex(const char* channel)
{
    char name[80];
    std::snprintf(name, sizeof(name), "%.63s Mutex", channel);
    return new Mutex(name);
}
}  // namespace

// Holds the mutex of the calls, ending whatever call has it: by a shutdown, which only wakes it,
// since the descriptor is closed by whoever has the mutex, and again and again, since a call that
// is about to connect does not notice. Calls to come stand back meanwhile.
class TAVI_SCOPED_CAPABILITY IPCSocketChannel::NoCalls
{
public:
    explicit NoCalls(IPCSocketChannel& channel)
        TAVI_ACQUIRE(channel.mMutex) TAVI_NO_THREAD_SAFETY_ANALYSIS : mChannel(channel)
    {
        ++mChannel.mReopening;
        while (mChannel.mMutex->Trylock() != 0) {
            mChannel.mSendSocket->Shutdown();
            MSleep(kPoll);
        }
    }
    NoCalls(const NoCalls&) = delete;
    NoCalls& operator=(const NoCalls&) = delete;
    ~NoCalls() TAVI_RELEASE()
    {
        --mChannel.mReopening;
        mChannel.mMutex->Unlock();
    }

private:
    IPCSocketChannel& mChannel;
};

IPCSocketChannel::IPCSocketChannel(const char* name, IPCSocket* sendSocket, IPCSocket* recvSocket,
                                   int priority)
    : IPCChannel(name),
      mSendSocket(sendSocket),
      mRecvSocket(recvSocket),
      mConnSocket(nullptr),
      mThread(NewThread(name, priority)),
      mMutex(NewMutex(name)),
      mRun(true),
      mConnected(false),
      mServesNext(false),
      mConnectionHandler(nullptr),
      mConnectionContext(nullptr),
      mZeroCount(0),
      mEvent(-1),
      mListening(false),
      mBindError(0),
      mReplies(std::make_unique<ReplyReader>()),
      mReplyTimeout(kDefaultReplyTimeout),
      mReopening(0)
{}

IPCSocketChannel::IPCSocketChannel(const char* name, const char* sendPath, const char* receivePath)
    : IPCSocketChannel(name, sendPath, receivePath, IPCUnixSocket::kEveryone)
{}

IPCSocketChannel::IPCSocketChannel(const char* name, const char* sendPath, const char* receivePath,
                                   unsigned fileMode)
    : IPCSocketChannel(name, new IPCUnixSocket(sendPath), new IPCUnixSocket(receivePath, fileMode),
                       0)
{
    TAVI_INFO("aSendSocketPath =%s, aRecvSocketPath = %s", Shown(sendPath), Shown(receivePath));
}

IPCSocketChannel::IPCSocketChannel(const char* name, int sendPort, int receivePort)
    : IPCSocketChannel(name, sendPort, receivePort, 0)
{}

IPCSocketChannel::IPCSocketChannel(const char* name, int sendPort, int receivePort, int priority)
    : IPCSocketChannel(name, new IPCTCPSocket(kLoopback, sendPort),
                       new IPCTCPSocket(kLoopback, receivePort), priority)
{
    TAVI_INFO("%s aSendAddress = %s:%d, aRecvAddress = %s:%d", mName, kLoopback, sendPort,
              kLoopback, receivePort);
}

IPCSocketChannel::IPCSocketChannel(const char* name, const char* sendAddress,
                                   const char* receiveAddress, int sendPort, int receivePort)
    : IPCSocketChannel(name, new IPCTCPSocket(sendAddress, sendPort),
                       new IPCTCPSocket(receiveAddress, receivePort), 0)
{
    TAVI_INFO("%s aSendAddress = %s:%d, aRecvAddress = %s:%d", mName, Shown(sendAddress), sendPort,
              Shown(receiveAddress), receivePort);
}

IPCSocketChannel::~IPCSocketChannel()
{
    const CancelGuard guard;
    if (mRunning) {
        IPCSocketChannel::Quit();
    }
    if (mThread->IsStarted()) {
        mThread->Join();  // it ended by itself when its peer left
    }
    if (mEvent >= 0) {
        close(mEvent);
    }
    delete mSendSocket;
    delete mRecvSocket;
    delete mThread;
    delete mMutex;
}

int IPCSocketChannel::Open()
{
    TAVI_INFO("");
    const CancelGuard guard;
    // A call may wait on a send socket that is open, with the mutex held; on a closed one none
    // does.
    if (!mOpened && mSendSocket->GetStatus() == IPCSocket::kClosed) {
        const MutexHold hold(*mMutex);
        if (mSendSocket->Open() < 0) {
            TAVI_ERROR("SendSocket Open Failure");
            return -1;
        }
    }
    const StaticLockHold hold(mRecvLock);
    if (mOpened) {
        TAVI_ERROR("Socket Channel is Already Opened %s", mName);
        return -1;
    }
    if (mRecvSocket->Open() < 0) {
        TAVI_ERROR("RecvSocket Open Failure");
        return -1;
    }
    mListening = false;
    mBindError = 0;
    mZeroCount = 0;
    mOpened = true;
    RaiseEvent();
    return 0;
}

int IPCSocketChannel::Close()
{
    TAVI_INFO("");
    const CancelGuard guard;
    if (mOpened) {
        const NoCalls hold(*this);
        if (mOpened) {  // nobody else closed it meanwhile
            return CloseSockets();
        }
    }
    TAVI_ERROR("Socket Channel is Already Closed");
    return -1;
}

// Under mMutex.
int IPCSocketChannel::CloseSockets()
{
    if (mSendSocket->Close() < 0) {
        TAVI_ERROR("SendSocket Close Failure");
        return -1;
    }
    const StaticLockHold hold(mRecvLock);
    // The shutdown first, while there is a descriptor to shut down: the serving thread's poll keeps
    // a closed socket alive, and listening, until it returns; no peer may connect to it.
    mRecvSocket->Shutdown();
    if (mRecvSocket->Close() < 0) {
        TAVI_ERROR("RecvSocket Close Failure");
        return -1;
    }
    mListening = false;
    mOpened = false;
    RaiseEvent();
    return 0;
}

int IPCSocketChannel::Reopen()
{
    const CancelGuard guard;
    const NoCalls hold(*this);
    mSendSocket->Close();
    mSendSocket->Open();
    mReplies->Reset();
    return 0;
}

void IPCSocketChannel::Bind()
{
    const StaticLockHold hold(mRecvLock);
    Listen(false);
}

// Under mRecvLock. True when the receive socket listens. Trying again logs a reason only when it is
// another one than before.
bool IPCSocketChannel::Listen(bool again)
{
    mRecvSocket->mQuiet = again;
    mRecvSocket->SetServerOption();
    const bool bound =
        (again && StreamSocket::IsBound(mRecvSocket->Descriptor())) || mRecvSocket->Bind() == 0;
    const bool listens = bound && mRecvSocket->Listen(1) == 0;
    const int reason = listens ? 0 : errno;
    mRecvSocket->mQuiet = false;
    if (listens) {
        mListening = true;
        mBound = true;
    } else if (!again || reason != mBindError) {
        if (bound) {
            TAVI_ERROR("Listen Failed");
        } else {
            TAVI_ERROR("Bind Failed %s", std::strerror(reason));
        }
    }
    mBindError = reason;
    return listens;
}

void IPCSocketChannel::SetReplyTimeout(int milliseconds)
{
    mReplyTimeout = milliseconds > 0 ? milliseconds : 1;
}

void IPCSocketChannel::SetConnectionHandler(ConnectionHandler handler, void* context)
{
    mConnectionHandler = handler;
    mConnectionContext = context;
}
