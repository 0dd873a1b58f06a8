// Construction, opening, starting and stopping. The serving side stands in
// IPCSocketChannelServing.cpp, the calling side in IPCSocketChannelCalls.cpp.
#include "util/ipc/IPCSocketChannel.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "util/ipc/IPCTCPSocket.h"
#include "util/ipc/IPCUnixSocket.h"
#include "util/os_linux/CancelGuard.h"
#include "util/os_linux/ModuleLog.h"
#include "util/os_linux/Mutex.h"
#include "util/os_linux/Sleep.h"
#include "util/os_linux/Thread.h"

static Logger* const _logger = Logger::GetLogger(2);

namespace {
constexpr char kLoopback[] = "127.0.0.1";
constexpr int kWakeTimeout = 200;  // milliseconds for the connection that wakes an accept
constexpr int kWakeWait = 500;     // milliseconds for the serving thread to see it
constexpr int kPoll = 10;          // milliseconds

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

IPCSocketChannel::IPCSocketChannel(const char* name, IPCSocket* sendSocket, IPCSocket* recvSocket,
                                   int priority)
    : IPCChannel(name),
      mSendSocket(sendSocket),
      mRecvSocket(recvSocket),
      mConnSocket(nullptr),
      mThread(NewThread(name, priority)),
      mMutex(NewMutex(name)),
      mRun(false),
      mZeroCount(0),
      mReplyTimeout(kDefaultReplyTimeout)
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
    delete mSendSocket;
    delete mRecvSocket;
    delete mThread;
    delete mMutex;
}

int IPCSocketChannel::Open()
{
    TAVI_INFO("");
    const CancelGuard guard;
    const MutexHold hold(*mMutex);
    if (mOpened) {
        TAVI_ERROR("Socket Channel is Already Opened %s", mName);
        return -1;
    }
    mReplies.Reset();
    if (mSendSocket->Open() < 0) {
        TAVI_ERROR("SendSocket Open Failure");
        return -1;
    }
    if (mRecvSocket->Open() < 0) {
        TAVI_ERROR("RecvSocket Open Failure");
        return -1;
    }
    mOpened = true;
    mZeroCount = 0;
    return 0;
}

int IPCSocketChannel::Close()
{
    TAVI_INFO("");
    if (!mOpened) {
        TAVI_ERROR("Socket Channel is Already Closed");
        return -1;
    }
    const CancelGuard guard;
    mSendSocket->Shutdown();  // a call that waits for its reply holds the mutex
    const MutexHold hold(*mMutex);
    if (mSendSocket->Close() < 0) {
        TAVI_ERROR("SendSocket Close Failure");
        return -1;
    }
    mRecvSocket->Shutdown();  // the serving thread may wait in its accept
    if (mRecvSocket->Close() < 0) {
        TAVI_ERROR("RecvSocket Close Failure");
        return -1;
    }
    mOpened = false;
    return 0;
}

void IPCSocketChannel::Bind()
{
    mRecvSocket->SetServerOption();
    if (mRecvSocket->Bind() < 0) {
        TAVI_ERROR("Bind Failed %s", std::strerror(errno));
        return;
    }
    if (mRecvSocket->Listen(1) < 0) {
        TAVI_ERROR("Listen Failed");
        return;
    }
    mBound = true;
}

void IPCSocketChannel::Start()
{
    TAVI_INFO("");
    if (mRunning) {
        TAVI_WARNING("Start Failure");
        return;
    }
    const StaticLockHold hold(mStartLock);
    if (mRunning.exchange(true)) {
        TAVI_WARNING("Start Failure");
        return;
    }
    if (mThread->IsStarted()) {
        mThread->Join();  // the thread of an earlier peer: unjoined it would keep its stack
    }
    Open();
    Bind();
    mRun = true;
    if (mThread->Start(this) != 0) {
        TAVI_ERROR("Serving thread of %s can not be started", mName);
        mRunning = false;
    }
}

void IPCSocketChannel::Run()
{
    if (!mOpened) {
        TAVI_ERROR("Not Opened!!");
        return;
    }
    if (!mBound) {
        TAVI_ERROR("Not Binded!!");
        return;
    }
    if (mRunning.exchange(true)) {
        TAVI_WARNING("Start Failure");
        return;
    }
    mRun = true;
    ChannelThread(this);
}

void IPCSocketChannel::Quit()
{
    TAVI_INFO("");
    const CancelGuard guard;
    const StaticLockHold hold(mStartLock);
    if (!mRunning) {
        return;
    }
    mRun = false;
    StopServing();
    while (mRunning) {
        TAVI_INFO("Waiting for exit ... ");
        MSleep(kPoll);
    }
    mThread->Join();
}

// With mRun cleared: ends the wait of the serving thread, wherever it is.
void IPCSocketChannel::StopServing()
{
    {
        const StaticLockHold hold(mConnLock);
        if (mConnSocket != nullptr) {
            mConnSocket->Shutdown();
            return;
        }
    }
    if (mBound) {
        WakeAccept();
    }
}

// Connects to the channel's own receive endpoint. An endpoint that cannot be reached has no accept
// waiting on it: the loop retries with a pause and sees mRun.
void IPCSocketChannel::WakeAccept()
{
    IPCSocket* const copy = mRecvSocket->Duplicate();
    if (copy->Open() >= 0) {
        copy->SetTimeouts(kWakeTimeout);
        copy->Connect();
        for (int waited = 0; mRunning && waited < kWakeWait; waited += kPoll) {
            MSleep(kPoll);
        }
        copy->Close();
    }
    delete copy;
    DropPending();
}

// The serving thread may have left without taking the connection that was to wake it; the next
// Start must not take it for its peer.
void IPCSocketChannel::DropPending()
{
    while (!mRunning && mRecvSocket->Select(0) > 0) {
        const IPCSocket* const pending = mRecvSocket->Accept();
        if (pending == nullptr) {
            return;
        }
        delete pending;
    }
}

void IPCSocketChannel::SetReplyTimeout(int milliseconds)
{
    mReplyTimeout = milliseconds > 0 ? milliseconds : 1;
}
