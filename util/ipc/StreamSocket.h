// Internal. What an IPCSocket stands on: its descriptor, the bytes received ahead of what was asked
// for, the memory for its frames, and waits that have a deadline and can be interrupted. Nothing
// here logs. What no call passes through is marked cold: size before speed.
//
// Threads: those of IPCSocket; Shutdown and Interrupt may be called from any thread.
#ifndef UTIL_IPC_STREAMSOCKET_H
#define UTIL_IPC_STREAMSOCKET_H

#include <sys/socket.h>

#include <atomic>

#include "util/ipc/FrameBuffer.h"
#include "util/os_linux/StaticLock.h"

class GatherList;

// How a transfer ended.
enum class Outcome
{
    kDone,
    kLate,    // the deadline passed; the connection is as it was
    kClosed,  // the peer has closed the connection
    kFailed   // errno says why; ECANCELED after an Interrupt
};

class StreamSocket
{
public:
    // Deadlines are milliseconds of the monotonic clock.
    static constexpr long long kNoWait = 0;
    static constexpr long long kForever = -1;

    // Milliseconds from now as a deadline.
    static long long DeadlineAfter(int milliseconds);

    // Takes over the descriptor; -1 for none.
    explicit StreamSocket(int descriptor) : mDescriptor(descriptor) {}
    StreamSocket(const StreamSocket&) = delete;
    StreamSocket& operator=(const StreamSocket&) = delete;

    // The descriptor must have been closed.
    ~StreamSocket() = default;

    int Descriptor() const { return mDescriptor; }

    // Takes over a new descriptor in place of the one that was closed.
    [[gnu::cold]] void Renew(int descriptor);

    // The descriptor that was closed, or -1.
    [[gnu::cold]] int Close();

    // Ends both directions, whatever waits on them.
    [[gnu::cold]] void Shutdown();

    // bind, which also makes IsReachable know the file of a UNIX-domain socket.
    [[gnu::cold]] bool Bind(const sockaddr* address, socklen_t length);
    [[gnu::cold]] static bool IsBound(int descriptor);

    // Whether a connection to the address that this socket listens on arrives here: not when the
    // address has left the machine, or the file was removed or is another socket's by now.
    [[gnu::cold]] bool IsReachable() const;

    // Waits without limit until a connection or data is there, or the event (OpenEvent) is raised.
    [[gnu::cold]] void WaitForInputOr(int event) const;

    // False, with the reason in errno, also when the connect deadline passed.
    [[gnu::cold]] bool Connect(const sockaddr* address, socklen_t length);
    [[gnu::cold]] bool IsConnectedToItself() const;

    // When the connects to come give up; kForever, as on a new descriptor, for never.
    [[gnu::cold]] void SetConnectDeadline(long long deadline);

    // Bounds the system's own wait, so that a receive with a deadline about this far away takes one
    // system call.
    void SetReceiveTimeout(int milliseconds);

    // Whether a connection has neither broken nor been ended by either side, as far as is known
    // here.
    [[gnu::cold]] bool IsAlive() const;

    // Makes sure of at least one byte received ahead.
    Outcome Fetch(long long deadline) { return Buffered() > 0 ? Outcome::kDone : Fill(deadline); }

    // IPCSocket::Select of a connection: a receive into the read-ahead buffer, which the following
    // reads use, so that one system call does for two.
    [[gnu::cold]] int Select(int milliseconds);

    // REQUIRES: a Fetch that was done. The next bytes, at most length, without consuming them.
    int Peek(void* data, int length) const;

    // The memory for one frame of this connection, sent or received, until it is closed.
    FrameBuffer& Frame() { return mFrame; }

    // Receives the bytes of a frame from count up to the length; count then says how many have
    // come. What is missing of its memory is made as they arrive: a peer that promises much and
    // sends little costs little. Without memory it fails with ENOMEM.
    Outcome ReceiveFrame(int length, long long deadline, int& count);

    // The same into the caller's memory, as much with one system call as there is.
    Outcome ReceiveAll(void* data, int length, long long deadline, int& count);

    // ReceiveAll in receives of at most a chunk and with the result of IPCSocket::Read: what is
    // missing is zero, and -1 is a failure, or the deadline, before the first byte.
    [[gnu::cold]] int Read(void* data, int length, long long deadline);

    // Receives and drops as many bytes as are left, and counts them down.
    [[gnu::cold]] Outcome Drop(int& left, long long deadline);

    // One send that does not wait: the bytes taken, or -1, with EAGAIN when there is no room, or
    // EINTR.
    int SendNow(GatherList& list);

    // Waits for poll events until the deadline: the events that are there, 0 when it passed.
    [[gnu::cold]] short WaitFor(short events, long long deadline);

    // Ends the wait of an operation that another thread is in, after kInterruptSlice at the latest,
    // unless it ends by itself before. TakeInterrupt tells whether that was asked for since the
    // last time.
    static constexpr int kInterruptSlice = 250;  // milliseconds
    void Interrupt() { mInterrupted = true; }
    bool TakeInterrupt() { return mInterrupted && mInterrupted.exchange(false); }

private:
    static constexpr int kChunk = 1024;  // bytes received ahead, or by one receive of Read, at most

    int Buffered() const { return mAheadEnd - mAheadBegin; }
    Outcome Fill(long long deadline);
    Outcome ReceiveInto(void* data, int length, int flags, long long deadline, int& count);

    std::atomic<int> mDescriptor;
    std::atomic<bool> mInterrupted{false};
    StaticLock mCloseLock;    // Shutdown from another thread against Close
    int mReceiveTimeout = 0;  // milliseconds, as the descriptor has it; 0 for none
    long long mConnectDeadline = kForever;
    unsigned long long mFile[2] = {};  // device and number of a bound UNIX-domain socket's file

    // A length word and the small frame behind it arrive with one system call.
    int mAheadBegin = 0;
    int mAheadEnd = 0;
    unsigned char mAhead[kChunk];

    FrameBuffer mFrame;
};

#endif  // UTIL_IPC_STREAMSOCKET_H
