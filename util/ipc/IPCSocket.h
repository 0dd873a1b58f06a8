// Public. A stream socket: one descriptor and the operations that do not depend on the address
// family. IPCTCPSocket and IPCUnixSocket add the families; a plain IPCSocket is what Accept makes.
//
// Failures are logged at error level by the operation that met them and reported as -1 (null for
// Accept) with errno as the system call set it. An operation on a socket without a descriptor logs
// "No Defined Socket". EINTR restarts the call, a peer that is gone raises no SIGPIPE, descriptors
// are close-on-exec and never 0, 1 or 2.
//
// Threads: a socket is used by one thread at a time; only Shutdown may be called from another.
#ifndef UTIL_IPC_IPCSOCKET_H
#define UTIL_IPC_IPCSOCKET_H

#include <sys/socket.h>

#include <atomic>

#include "util/Export.h"
#include "util/os_linux/StaticLock.h"

class HTML5_VIDEO_API IPCSocket
{
public:
    enum Status
    {
        kOpen = 0,  // a descriptor, not connected
        kConnected = 1,
        kClosed = 2  // no descriptor
    };

    // Deadlines are milliseconds of the monotonic clock.
    static constexpr long long kNoWait = 0;
    static constexpr long long kForever = -1;

    // Takes over a connected descriptor; the status is connected.
    explicit IPCSocket(int descriptor);

    // A socket without a descriptor; the argument is not used.
    explicit IPCSocket(const char* unused);

    IPCSocket(const IPCSocket&) = delete;
    IPCSocket& operator=(const IPCSocket&) = delete;

    // Closes the socket.
    virtual ~IPCSocket();

    // A new, unopened socket that names the same endpoint; the caller deletes it. A plain
    // IPCSocket has no endpoint: null.
    virtual IPCSocket* Duplicate();

    // Sets the options of a listening or calling TCP socket; nothing for other families.
    virtual void SetServerOption();

    // Makes the descriptor, which is returned. -1 for a plain IPCSocket.
    virtual int Open();

    // 0, or -1 when there was no descriptor. A socket may be opened again.
    virtual int Close();

    virtual int Bind();
    virtual int Listen(int backlog);

    // Waits for a connection and returns a new connected socket that the caller deletes. The
    // peer's address replaces this socket's own until the next Open.
    virtual IPCSocket* Accept();

    // 0, or -1, also when the socket is connected already.
    virtual int Connect();

    // Waits until something can be read or the peer is gone: 1, 0 when the whole seconds ran out.
    virtual int Select(int seconds);

    // One write; a short one is reported, not completed. The bytes written. The data is only read;
    // WriteBytes is the same for data that is const.
    virtual int Write(void* data, int length);
    int WriteBytes(const void* data, int length) { return Write(const_cast<void*>(data), length); }

    // Fills the buffer, in receives of at most 1024 bytes, waiting as long as it takes. Returns
    // the length, or fewer when the connection ended before (the rest is zero), or -1 when it
    // failed before the first byte.
    virtual int Read(void* data, int length);

    // The next bytes, at most length, without consuming them; waits until there are some. 0 when
    // the peer has closed the connection, and when there is no descriptor.
    virtual int Peek(void* data, int length);

    virtual int GetStatus();

    // Ends both directions: a thread that waits in another operation returns from it. The
    // descriptor stays until Close.
    void Shutdown();

    // One receive of at most length and at most 1024 bytes, waiting until the deadline: the bytes
    // received, 0 when the peer has closed the connection, -1 otherwise, with EAGAIN when the
    // deadline passed. Nothing is logged.
    int Receive(void* data, int length, long long deadline);

    // One send that does not wait: the bytes taken, or -1, with EAGAIN when there is no room.
    int SendNow(const void* data, int length);

    // Waits for poll events until the deadline: the events that are there, 0 when it passed.
    short WaitFor(short events, long long deadline);

    // Bounds the system's own wait, so that a receive with a deadline about this far away takes one
    // system call.
    HTML5_VIDEO_LOCAL void SetReceiveTimeout(int milliseconds);

    // When the connects to come give up; kForever, as after Open, for never.
    HTML5_VIDEO_LOCAL void SetConnectDeadline(long long deadline);

    HTML5_VIDEO_LOCAL bool IsBound() const;

    // Whether a connection to the address that this socket listens on arrives here: not when the
    // address has left the machine, or the file was removed or is another socket's by now.
    HTML5_VIDEO_LOCAL bool IsReachable() const;

    // Waits without limit until a connection or data is there, or the event (OpenEvent) is raised.
    HTML5_VIDEO_LOCAL void WaitForInputOr(int event) const;

    // While quiet, SetServerOption, Bind and Listen log neither what they do nor that they failed:
    // for attempts that are repeated.
    void SetQuiet(bool quiet) { mQuiet = quiet; }

    // Milliseconds from now as a deadline.
    static long long DeadlineAfter(int milliseconds);

protected:
    // Called by a family's Open: takes over the descriptor and the address, which the family owns.
    void Opened(int descriptor, sockaddr* address, socklen_t length);
    int Descriptor() const { return mDescriptor; }

    bool IsQuiet() const { return mQuiet; }

    // False, with "No Defined Socket" logged, when there is no descriptor.
    bool HasDescriptor(const char* operation) const;

private:
    static constexpr int kChunk = 1024;

    int Buffered() const { return mAheadEnd - mAheadBegin; }
    HTML5_VIDEO_LOCAL int TakeBuffered(void* data, int length);
    HTML5_VIDEO_LOCAL int ReceiveInto(void* data, int length, long long deadline);
    HTML5_VIDEO_LOCAL int Fill(long long deadline);
    HTML5_VIDEO_LOCAL int Fail(const char* operation) const;
    HTML5_VIDEO_LOCAL bool ConnectInTime();
    HTML5_VIDEO_LOCAL bool IsConnectedToItself() const;

    std::atomic<int> mDescriptor;
    sockaddr* mAddress;
    socklen_t mAddressLength;
    std::atomic<int> mStatus;

    StaticLock mCloseLock;  // Shutdown from another thread against Close
    int mReceiveTimeout;    // milliseconds, as the descriptor has it; 0 for none
    long long mConnectDeadline;
    bool mQuiet;

    // The file of a bound UNIX-domain socket: its device and number, of types that do not depend
    // on how a host is compiled.
    unsigned long long mFile[2];

    // Bytes received ahead of what was asked for: a length word and the small frame behind it
    // arrive with one system call.
    int mAheadBegin;
    int mAheadEnd;
    unsigned char mAhead[kChunk];
};

#endif  // UTIL_IPC_IPCSOCKET_H
