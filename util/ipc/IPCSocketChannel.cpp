// Construction, opening, the serving side and stopping. The calling side stands in
// IPCSocketChannelCalls.cpp.
#include "util/ipc/IPCSocketChannel.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "util/ipc/FrameBuffer.h"
#include "util/ipc/FrameIO.h"
#include "util/ipc/IPCParam.h"
#include "util/ipc/IPCTCPSocket.h"
#include "util/ipc/IPCUnixSocket.h"
#include "util/ipc/WireFormat.h"
#include "util/os_linux/CancelGuard.h"
#include "util/os_linux/FixedText.h"
#include "util/os_linux/ModuleLog.h"
#include "util/os_linux/Mutex.h"
#include "util/os_linux/Sleep.h"
#include "util/os_linux/Thread.h"

static Logger* const _logger = Logger::GetLogger(2);

namespace {
constexpr char kLoopback[] = "127.0.0.1";
constexpr int kSelectSeconds = 3;
constexpr int kMaxZeroLengths = 100;
constexpr int kAcceptPause = 200;  // milliseconds after a failed accept
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
    : IPCSocketChannel(name, new IPCUnixSocket(sendPath), new IPCUnixSocket(receivePath), 0)
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

void* IPCSocketChannel::ChannelThread(void* channel)
{
    static_cast<IPCSocketChannel*>(channel)->Serve();
    return channel;
}

void IPCSocketChannel::Serve()
{
    AcceptConnection();
    ServeConnection();
    DropConnection();
    mRunning = false;
}

void IPCSocketChannel::AcceptConnection()
{
    while (mRun && mConnSocket == nullptr) {
        TAVI_INFO("Waiting For Connection");
        IPCSocket* const accepted = mRecvSocket->Accept();
        if (accepted == nullptr) {
            MSleep(kAcceptPause);
            continue;
        }
        const StaticLockHold hold(mConnLock);
        mConnSocket = accepted;
    }
}

void IPCSocketChannel::ServeConnection()
{
    while (mRun) {
        const int ready = mConnSocket->Select(kSelectSeconds);
        if (ready < 0) {
            TAVI_ERROR("Select Error : ret = %d", ready);
            return;
        }
        if (ready > 0 && HandleRequest() < 0) {
            return;
        }
    }
}

void IPCSocketChannel::DropConnection()
{
    const StaticLockHold hold(mConnLock);
    if (mConnSocket != nullptr) {
        mConnSocket->Close();
        delete mConnSocket;
        mConnSocket = nullptr;
    }
}

int IPCSocketChannel::HandleRequest()
{
    unsigned char word[wire::kLengthSize] = {};
    const int peeked = mConnSocket->Peek(word, sizeof(word));
    const int length2 = wire::Load32(word);
    TAVI_INFO("length2 = %d", length2);
    if (peeked == 0) {
        return -1;
    }
    const bool whole = mConnSocket->Read(word, sizeof(word)) == static_cast<int>(sizeof(word));
    const int length = whole ? wire::Load32(word) : 0;
    TAVI_INFO("length = %d length2 = %d", length, length2);
    return HandleLength(length);
}

int IPCSocketChannel::HandleLength(int length)
{
    if (length == 0) {
        TAVI_ERROR("Zero Length Method !!! %s %d", mName, mZeroCount);
        if (++mZeroCount > kMaxZeroLengths) {
            TAVI_ERROR("Trigger Force Quit %s", mName);
            mZeroCount = 0;
            return -1;
        }
        return 0;
    }
    mZeroCount = 0;
    if (length < 0) {
        TAVI_ERROR("Negative length : %d", length);
        return -1;
    }
    if (length > wire::kMaxLength) {
        TAVI_ERROR("Too big length ( > 2 MB ): %d", length);
        return DropAll(*mConnSocket, length) ? 0 : -1;
    }
    FrameBuffer payload;
    const int received = ReceiveAll(*mConnSocket, payload, length, IPCSocket::kForever);
    if (received != length) {
        TAVI_ERROR("Payload Cut : %d of %d", received, length);
        return -1;
    }
    return HandlePayload(payload.Data(), length);
}

int IPCSocketChannel::HandlePayload(const unsigned char* payload, int length)
{
    unsigned char code[wire::kCodeSize] = {};
    const std::size_t size = static_cast<std::size_t>(length);
    std::memcpy(code, payload, size < sizeof(code) ? size : sizeof(code));
    if (size < sizeof(code) || std::memcmp(code, wire::kMethodCode, sizeof(code)) != 0) {
        TAVI_ERROR("Wrong Method Code : %02x %02x %02x %02x", code[0], code[1], code[2], code[3]);
        return 0;
    }
    const char* const name = reinterpret_cast<const char*>(payload + sizeof(code));
    const void* const end = std::memchr(name, '\0', size - sizeof(code));
    if (end == nullptr) {
        TAVI_ERROR("Method Name Without End in %d Bytes", length);
        return -1;
    }
    const std::size_t nameLength = static_cast<std::size_t>(static_cast<const char*>(end) - name);
    const std::size_t offset = sizeof(code) + wire::Pad4(nameLength);
    char method[sizeof(IPCMethod::mName)];
    CopyText(method, name);
    Dispatch(method, payload + (offset < size ? offset : size),
             offset < size ? static_cast<int>(size - offset) : 0);
    return 0;
}

void IPCSocketChannel::Dispatch(const char* method, const unsigned char* parameters, int length)
{
    IPCParam request;
    request.DeSerialize(parameters, length);
    const IPCMethod* const found = FindMethod(method);
    if (found == nullptr) {
        TAVI_ERROR("Method [%s] is Not Registered", method);
        Reply(nullptr);
        return;
    }
    IPCParam* const result = found->mHandler(&request);
    Reply(result);
    delete result;
}

// Length word and record leave in one system call.
void IPCSocketChannel::Reply(IPCParam* result)
{
    const int length = result != nullptr ? result->GetSeiralizedLength() : 0;
    const std::size_t size = wire::kLengthSize + static_cast<std::size_t>(length);
    FrameBuffer frame;
    if (!frame.Reserve(size)) {
        TAVI_ERROR("No Memory for a reply of %d", length);
        mConnSocket->Shutdown();
        return;
    }
    unsigned char* const body = wire::Store32(frame.Data(), length);
    if (result != nullptr) {
        result->Serialize(body);
    }
    SendAll(*mConnSocket, frame.Data(), static_cast<int>(size), IPCSocket::kForever, nullptr);
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
