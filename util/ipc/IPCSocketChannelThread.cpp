// The serving thread of IPCSocketChannel: its start and end, and its wait for a connection of the
// peer.
//
// While it waits, only it, Open, Close and Bind use the receive socket, one at a time under
// mRecvLock. Nobody waits with that lock held: the thread polls the socket together with an event,
// and whoever changes something raises the event, upon which the thread looks anew.
#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "util/ipc/IPCLog.h"
#include "util/ipc/IPCSocket.h"
#include "util/ipc/IPCSocketChannel.h"
#include "util/ipc/StreamSocket.h"
#include "util/os_linux/CancelGuard.h"
#include "util/os_linux/FileDescriptor.h"
#include "util/os_linux/Sleep.h"
#include "util/os_linux/Thread.h"

namespace {
constexpr int kWakeTimeout = 200;  // milliseconds for the connection that wakes the thread
constexpr int kWakeWait = 500;     // milliseconds for the thread to end by it
constexpr int kPoll = 10;          // milliseconds

// Milliseconds between attempts to listen or accept: each pause is twice the one before.
constexpr int kShortestPause = 200;
constexpr int kLongestPause = 2000;
}  // namespace

void IPCSocketChannel::Start()
{
    TAVI_INFO("");
    // Two tests: the first without the lock, since a Quit holds it until the handler that runs has
    // returned, and Start is to return at once. The second decides between two that start together,
    // or against a Run, which takes no lock.
    if (!mRunning) {
        const StaticLockHold hold(mStartLock);
        if (!mRunning.exchange(true)) {
            StartThread();
            return;
        }
    }
    TAVI_WARNING("Start Failure");
}

// With mRunning set.
void IPCSocketChannel::StartThread()
{
    if (mThread->IsStarted()) {
        mThread->Join();  // the thread of an earlier peer: unjoined it would keep its stack
    }
    Open();
    Bind();
    if (mThread->Start(this) != 0) {
        TAVI_ERROR("Serving thread of %s can not be started", mName);
        mRunning = false;
    }
}

void IPCSocketChannel::Run()
{
    if (!mOpened) {
        TAVI_ERROR("Not Opened!!");
    } else if (!mBound) {
        TAVI_ERROR("Not Binded!!");
    } else if (mRunning.exchange(true)) {
        TAVI_WARNING("Start Failure");
    } else {
        ChannelThread(this);
    }
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
    const bool connected = StopServing();
    while (mRunning) {
        TAVI_INFO("Waiting for exit ... ");
        MSleep(kPoll);
    }
    mRun = true;
    if (connected) {
        DropPending();
    }
    mThread->Join();
}

// With mRun cleared: ends the wait of the serving thread, wherever it is. True when a connection to
// the channel's own endpoint was made for it.
bool IPCSocketChannel::StopServing()
{
    {
        const StaticLockHold hold(mConnLock);
        if (mConnSocket != nullptr) {
            mConnSocket->Shutdown();
            return false;
        }
    }
    const bool connected = ConnectToItself();
    RaiseEvent();  // needs no address
    return connected;
}

// Connects to the channel's own receive endpoint, if that is its own, and gives the serving thread
// the time to end by it.
bool IPCSocketChannel::ConnectToItself()
{
    {
        const StaticLockHold hold(mRecvLock);
        if (!mListening || !mRecvSocket->mStream->IsReachable()) {
            return false;
        }
    }
    bool connected = false;
    IPCSocket* const copy = mRecvSocket->Duplicate();
    if (copy->Open() >= 0) {
        copy->mStream->SetConnectDeadline(StreamSocket::DeadlineAfter(kWakeTimeout));
        connected = copy->Connect() == 0;
        for (int waited = 0; connected && mRunning && waited < kWakeWait; waited += kPoll) {
            MSleep(kPoll);
        }
        copy->Close();
    }
    delete copy;
    return connected;
}

void IPCSocketChannel::RaiseEvent()
{
    if (mEvent >= 0) {
        eventfd_write(mEvent, 1);
    }
}

// The serving thread may have left without taking the connection that was to wake it; the next
// Start must not take it for its peer.
void IPCSocketChannel::DropPending()
{
    const StaticLockHold hold(mRecvLock);
    while (mRecvSocket->Select(0) > 0) {
        const IPCSocket* const pending = mRecvSocket->Accept();
        if (pending == nullptr) {
            return;
        }
        delete pending;
    }
}

void* IPCSocketChannel::ChannelThread(void* channel)
{
    static_cast<IPCSocketChannel*>(channel)->Serve();
    return channel;
}

void IPCSocketChannel::Serve()
{
    // A thread of the host's that is cancelled inside Run unwinds here. Once serving has ended by
    // itself another thread may have been started, whose state this one must not touch.
    struct End
    {
        IPCSocketChannel& channel;
        bool pending;
        ~End()
        {
            if (pending) {
                const CancelGuard guard;
                channel.DropConnection();
                channel.mRunning = false;
                channel.SetConnected(false);
            }
        }
    };
    End end = {*this, true};
    if (mEvent < 0) {
        mEvent = OpenEvent();
    }
    if (mEvent < 0) {
        TAVI_ERROR("No event for %s : %s", mName, std::strerror(errno));
        return;
    }
    DrainEvent();
    while (end.pending) {
        AcceptConnection();
        ServeConnection();
        DropConnection();
        end.pending = ServesNext();
        SetConnected(false);
    }
}

// Whether another connection was asked for; if not, nothing is served from here on. Whoever sees
// IsConnected turn false, which comes after, can start the channel anew.
bool IPCSocketChannel::ServesNext()
{
    const StaticLockHold hold(mConnLock);
    const bool next = mRun && mServesNext;
    mServesNext = false;
    mRunning = next;
    return next;
}

void IPCSocketChannel::SetConnected(bool connected)
{
    if (mConnected.exchange(connected) != connected && mConnectionHandler != nullptr) {
        mConnectionHandler(mConnectionContext);
    }
}

void IPCSocketChannel::Recover()
{
    const CancelGuard guard;
    mSendSocket->mStream->Interrupt();
    bool running = true;
    {
        const StaticLockHold hold(mConnLock);
        running = mRunning;
        mServesNext = running && mConnSocket != nullptr;
    }
    if (!running) {
        Start();
    }
}

void IPCSocketChannel::AcceptConnection()
{
    int pause = kShortestPause;
    while (mRun && mConnSocket == nullptr) {
        if (!TryToAccept()) {
            WaitForEvents(mEvent, POLLIN, pause);
            DrainEvent();
            pause = std::min(2 * pause, kLongestPause);
        }
    }
    SetConnected(mConnSocket != nullptr);
}

// Waits for a connection, until the event is raised. False when a pause must go before the next
// attempt.
bool IPCSocketChannel::TryToAccept()
{
    if (!EnsureListening()) {
        return false;
    }
    TAVI_INFO("Waiting For Connection");
    mRecvSocket->mStream->WaitForInputOr(mEvent);
    DrainEvent();
    const StaticLockHold hold(mRecvLock);
    // The socket may be another one by now, or none.
    const int ready = mListening ? mRecvSocket->Select(0) : 0;
    if (ready <= 0) {
        return ready == 0;
    }
    // From here until DropConnection this thread uses it without the lock: only this thread changes
    // the pointer, and others, with the lock, do no more than shut the socket down.
    IPCSocket* const accepted = mRecvSocket->Accept();
    const StaticLockHold connection(mConnLock);
    mConnSocket = accepted;
    return accepted != nullptr;
}

// Whether the receive socket listens. One that could not be bound when the channel started, or was
// opened anew, is bound here.
bool IPCSocketChannel::EnsureListening()
{
    const StaticLockHold hold(mRecvLock);
    return mOpened && (mListening || Listen(true));
}

void IPCSocketChannel::DrainEvent()
{
    eventfd_t count = 0;
    eventfd_read(mEvent, &count);
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
