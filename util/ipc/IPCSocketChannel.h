// Public. A channel over two stream sockets, TCP or UNIX-domain.
//
// The send socket connects to the peer's receive endpoint on the first call and carries this
// side's calls and their replies. The receive socket listens; a serving thread accepts one
// connection of the peer, runs the registered methods for its requests and answers each. The two
// processes of a pair are configured crosswise. Frames: docs/protocol.md.
//
// Calls from any thread are serialised by the channel's mutex. A peer that closed the connection
// shows as failing calls until Reopen, and as an ended serving loop until Start.
#ifndef UTIL_IPC_IPCSOCKETCHANNEL_H
#define UTIL_IPC_IPCSOCKETCHANNEL_H

#include <atomic>
#include <memory>

#include "util/Export.h"
#include "util/ipc/IPCChannel.h"
#include "util/os_linux/StaticLock.h"

class GatherList;
class IPCSocket;
class Mutex;
class ReplyReader;
class Thread;

class HTML5_VIDEO_API IPCSocketChannel : public IPCChannel
{
public:
    // How long a call takes at most: waiting for other calls, connecting, writing and waiting for
    // its reply together.
    static constexpr int kDefaultReplyTimeout = 30000;  // milliseconds

    // UNIX-domain sockets at the two paths.
    IPCSocketChannel(const char* name, const char* sendPath, const char* receivePath);

    // The same; the permission bits say who may connect to this side's file (IPCUnixSocket).
    IPCSocketChannel(const char* name, const char* sendPath, const char* receivePath,
                     unsigned fileMode);

    // TCP on 127.0.0.1; a priority above 0 makes the serving thread a real-time one.
    IPCSocketChannel(const char* name, int sendPort, int receivePort);
    IPCSocketChannel(const char* name, int sendPort, int receivePort, int priority);

    // TCP at the addresses, in dotted decimal. Whoever reaches the receive address may call: null
    // is every interface.
    IPCSocketChannel(const char* name, const char* sendAddress, const char* receiveAddress,
                     int sendPort, int receivePort);

    // Stops serving when it does. REQUIRES: no call in progress.
    ~IPCSocketChannel() override;

    // Both may be called while the channel serves: an accepted connection stays, and a serving
    // thread that waits for one binds the new socket and goes on waiting.
    int Open() override;
    int Close() override;  // also ends a call that waits for its reply

    // Returns at once, whatever a call waits for. A receive socket that can not be bound is bound
    // by the serving thread later, as soon as it can be: it tries every 0.2 s, then less often, at
    // last every 2 s.
    void Start() override;
    void Bind() override;

    // Also ends a call that waits for its reply. Always 0.
    int Reopen() override;

    void Run() override;

    // Returns at once when nothing is served, else when the serving thread has ended: within a
    // second, or when the handler that runs has returned.
    void Quit() override;

    // -1 also when the reply did not come in time: a call takes no longer than the reply time-out,
    // connecting and waiting for other calls included. (One whose time ran out behind others still
    // sends its request.) A late reply is dropped when it comes; when the stream can no longer be
    // trusted, the connection is shut down and calls fail until Reopen. A request whose frame is
    // above 2 MB is refused, since no peer would answer it.
    int Call(const char* method, IPCParam* request, IPCParam* reply) override;
    int CallWithoutReturn(const char* method, IPCParam* request) override;

    // -1 when not all bytes could be written.
    int SendRaw(unsigned char* data, int length) override;

    // The bytes read: fewer than length when the connection ended or the reply time-out passed, -1
    // when nothing came; the rest of the buffer is then zero. Replies still owed by the peer come
    // first, and those taken here count as received.
    int ReceiveRaw(unsigned char* buffer, int length) override;

    // Milliseconds, at least 1, for the calls from now on.
    void SetReplyTimeout(int milliseconds);

    // Whether a connection of the peer is served. Once that is false, Start accepts the next one.
    bool IsConnected() const { return mConnected; }

    // After a peer has gone: the next connection is served, and the next call connects anew when
    // the connection of the last one is no more. A call that waits ends within a quarter of a
    // second unless its reply comes meanwhile. Harmless while all is well: connections that live
    // are kept, and what is asked for happens once the peer has gone. From any thread, at any
    // time; does not wait.
    void Recover();

    // The handler is called with the context whenever IsConnected has changed, on the thread that
    // serves. REQUIRES: the channel was not started yet.
    using ConnectionHandler = void (*)(void* context);
    void SetConnectionHandler(ConnectionHandler handler, void* context);

    // The serving thread's entry; the argument is the channel and the result.
    static void* ChannelThread(void* channel);

    // Reads and answers one request of the accepted connection; -1 ends the serving of it. For the
    // serving loop only.
    int HandleRequest();

private:
    class Exchange;
    class NoCalls;

    HTML5_VIDEO_LOCAL IPCSocketChannel(const char* name, IPCSocket* sendSocket,
                                       IPCSocket* recvSocket, int priority);

    HTML5_VIDEO_LOCAL int CloseSockets();
    HTML5_VIDEO_LOCAL bool Listen(bool again);

    HTML5_VIDEO_LOCAL void StartThread();
    HTML5_VIDEO_LOCAL void Serve();
    HTML5_VIDEO_LOCAL void AcceptConnection();
    HTML5_VIDEO_LOCAL bool TryToAccept();
    HTML5_VIDEO_LOCAL bool EnsureListening();
    HTML5_VIDEO_LOCAL void DrainEvent();
    HTML5_VIDEO_LOCAL void ServeConnection();
    HTML5_VIDEO_LOCAL bool ServesNext();
    HTML5_VIDEO_LOCAL void SetConnected(bool connected);
    HTML5_VIDEO_LOCAL void RenewBroken();
    HTML5_VIDEO_LOCAL void DropConnection();
    HTML5_VIDEO_LOCAL bool StopServing();
    HTML5_VIDEO_LOCAL bool ConnectToItself();
    HTML5_VIDEO_LOCAL void RaiseEvent();
    HTML5_VIDEO_LOCAL void DropPending();

    HTML5_VIDEO_LOCAL int HandleLength(int length);
    HTML5_VIDEO_LOCAL int HandlePayload(const unsigned char* payload, int length);
    HTML5_VIDEO_LOCAL void Dispatch(const char* method, const unsigned char* parameters,
                                    int length);
    HTML5_VIDEO_LOCAL void Reply(IPCParam* result);

    HTML5_VIDEO_LOCAL bool EnsureConnected(bool setOptions, long long deadline);
    HTML5_VIDEO_LOCAL bool SendRequest(const char* method, IPCParam* request, long long deadline);
    HTML5_VIDEO_LOCAL bool SendOrShutDown(GatherList& list, long long deadline);
    HTML5_VIDEO_LOCAL void ShutDown();
    HTML5_VIDEO_LOCAL int ReceiveReply(IPCParam* reply, long long deadline);

    IPCSocket* const mSendSocket;  // used under mMutex; shut down from anywhere
    IPCSocket* const mRecvSocket;  // used under mRecvLock, but for the serving thread's wait
    // The accepted connection, or null: made and deleted by the serving thread, under mConnLock.
    IPCSocket* mConnSocket;
    Thread* const mThread;
    Mutex* const mMutex;           // one outgoing exchange at a time
    std::atomic<bool> mRun;        // false while a Quit is in progress
    std::atomic<bool> mConnected;  // a connection is served
    bool mServesNext;              // asked for by Recover while one was; under mConnLock
    ConnectionHandler mConnectionHandler;
    void* mConnectionContext;
    std::atomic<int> mZeroCount;  // length words of 0 in a row
    std::atomic<int> mEvent;      // ends the serving thread's wait; -1 until it first serves
    bool mListening;              // the receive socket does
    int mBindError;               // why it did not, at the last attempt; or 0

    StaticLock mRecvLock;   // mRecvSocket and the two above; never held while waiting
    StaticLock mConnLock;   // mConnSocket against Quit and Recover
    StaticLock mStartLock;  // one Start or Quit at a time
    const std::unique_ptr<ReplyReader> mReplies;  // under mMutex
    std::atomic<int> mReplyTimeout;
    std::atomic<int> mReopening;  // Reopen and Close that want mMutex, before any call
};

#endif  // UTIL_IPC_IPCSOCKETCHANNEL_H
