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

class StreamSocket;

class HTML5_VIDEO_API IPCSocket
{
public:
    enum Status
    {
        kOpen = 0,  // a descriptor, not connected
        kConnected = 1,
        kClosed = 2  // no descriptor
    };

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

    // Takes the address, and lets at most that many connections wait for Accept. 0 or -1.
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

    // A Status.
    virtual int GetStatus();

    // Ends both directions: a thread that waits in another operation returns from it. The
    // descriptor stays until Close.
    void Shutdown();

protected:
    // Called by a family's Open: takes over the descriptor and the address, which the family owns.
    void Opened(int descriptor, sockaddr* address, socklen_t length);

    // -1 for none.
    int Descriptor() const;

    // Attempts that are repeated log neither what they do nor that they failed.
    bool IsQuiet() const { return mQuiet; }

private:
    friend class IPCSocketChannel;  // its deadlines and its repeated attempts

    HTML5_VIDEO_LOCAL bool HasDescriptor(const char* operation) const;
    HTML5_VIDEO_LOCAL int Fail(const char* operation) const;

    StreamSocket* const mStream;
    sockaddr* mAddress;
    socklen_t mAddressLength;
    std::atomic<int> mStatus;
    bool mQuiet;
};

#endif  // UTIL_IPC_IPCSOCKET_H
