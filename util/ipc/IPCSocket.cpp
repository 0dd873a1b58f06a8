// The life of a socket, until it is closed. The waits and transfers stand in IPCSocketTransfer.cpp.
#include "util/ipc/IPCSocket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "util/os_linux/CancelGuard.h"
#include "util/os_linux/FileDescriptor.h"
#include "util/os_linux/ModuleLog.h"

static Logger* const _logger = Logger::GetLogger(2);

namespace {
union Address
{
    sockaddr any;
    sockaddr_in inet;
    sockaddr_un local;
};

// The address that a socket is bound to; zeros behind the family when it is not.
Address OwnAddress(int descriptor)
{
    Address own = {};
    socklen_t size = sizeof(own);
    getsockname(descriptor, &own.any, &size);
    return own;
}

bool IdentifyFile(const char* path, unsigned long long (&file)[2])
{
    struct stat status = {};
    const bool found = lstat(path, &status) == 0;
    file[0] = status.st_dev;
    file[1] = status.st_ino;
    return found;
}
}  // namespace

IPCSocket::IPCSocket(int descriptor)
    : mDescriptor(descriptor),
      mAddress(nullptr),
      mAddressLength(0),
      mStatus(descriptor >= 0 ? kConnected : kClosed),
      mReceiveTimeout(0),
      mConnectDeadline(kForever),
      mQuiet(false),
      mFile(),
      mAheadBegin(0),
      mAheadEnd(0)
{}

IPCSocket::IPCSocket(const char*) : IPCSocket(-1) {}

IPCSocket::~IPCSocket()
{
    IPCSocket::Close();
}

IPCSocket* IPCSocket::Duplicate()
{
    return nullptr;
}

void IPCSocket::SetServerOption() {}

int IPCSocket::Open()
{
    return -1;
}

void IPCSocket::Opened(int descriptor, sockaddr* address, socklen_t length)
{
    const CancelGuard guard;
    if (mDescriptor >= 0) {
        IPCSocket::Close();
    }
    mAddress = address;
    mAddressLength = length;
    mReceiveTimeout = 0;
    mConnectDeadline = kForever;
    mAheadBegin = mAheadEnd = 0;
    mStatus = kOpen;
    mDescriptor = descriptor;
}

int IPCSocket::Close()
{
    const CancelGuard guard;
    const int descriptor = mDescriptor;
    if (descriptor < 0) {
        TAVI_ERROR("Socket Close() Failed");
        return -1;
    }
    {
        const StaticLockHold hold(mCloseLock);
        mDescriptor = -1;
        close(descriptor);
    }
    TAVI_INFO("Socket is Closed : %d", descriptor);
    mStatus = kClosed;
    return 0;
}

bool IPCSocket::IsBound() const
{
    const Address own = OwnAddress(mDescriptor);
    return own.any.sa_family == AF_UNIX ? own.local.sun_path[0] != '\0' : own.inet.sin_port != 0;
}

bool IPCSocket::IsReachable() const
{
    Address own = OwnAddress(mDescriptor);
    if (own.any.sa_family == AF_UNIX) {
        // While this socket lives, no other file can have its file's number.
        unsigned long long file[2];
        return IdentifyFile(own.local.sun_path, file) && file[0] == mFile[0] && file[1] == mFile[1];
    }
    // Only an address of this machine can be bound.
    own.inet.sin_port = 0;
    const ScopedDescriptor probe(OpenSocket(AF_INET, SOCK_STREAM, 0));
    return bind(probe.Get(), &own.any, sizeof(own.inet)) == 0;
}

void IPCSocket::WaitForInputOr(int event) const
{
    pollfd entries[] = {{mDescriptor, POLLIN, 0}, {event, POLLIN, 0}};
    WaitForAny(entries, 2, -1);
}

void IPCSocket::Shutdown()
{
    const StaticLockHold hold(mCloseLock);
    if (mDescriptor >= 0) {
        shutdown(mDescriptor, SHUT_RDWR);
    }
}

// "Socket Bind() Failed" and its like, and a line more with the address and the reason. Always -1,
// with errno as it was.
int IPCSocket::Fail(const char* operation) const
{
    const int reason = errno;
    if (mQuiet) {
        return -1;
    }
    _logger->Print(Logger::kError, 0, operation, __FILE__, __LINE__, "Socket %s() Failed",
                   operation);
    char text[INET_ADDRSTRLEN + sizeof(":65535")] = "";
    const char* address = text;
    if (mAddress != nullptr && mAddress->sa_family == AF_UNIX) {
        address = reinterpret_cast<const sockaddr_un*>(mAddress)->sun_path;
    } else if (mAddress != nullptr) {
        const auto* const inet = reinterpret_cast<const sockaddr_in*>(mAddress);
        inet_ntop(AF_INET, &inet->sin_addr, text, INET_ADDRSTRLEN);
        const std::size_t length = std::strlen(text);
        std::snprintf(text + length, sizeof(text) - length, ":%d", ntohs(inet->sin_port));
    }
    // A connect that ran out of time is still in progress for the system.
    const bool late = reason == EINPROGRESS || reason == EALREADY;
    _logger->Print(Logger::kInfo, 0, operation, __FILE__, __LINE__, "%.107s : %s", address,
                   std::strerror(late ? ETIMEDOUT : reason));
    errno = reason;
    return -1;
}

bool IPCSocket::HasDescriptor(const char* operation) const
{
    if (mDescriptor < 0) {
        _logger->Print(Logger::kError, 0, operation, __FILE__, __LINE__, "No Defined Socket");
        return false;
    }
    return true;
}

int IPCSocket::Bind()
{
    if (!HasDescriptor(__func__)) {
        return -1;
    }
    if (bind(mDescriptor, mAddress, mAddressLength) < 0) {
        return Fail(__func__);
    }
    if (mAddress->sa_family == AF_UNIX) {
        IdentifyFile(reinterpret_cast<const sockaddr_un*>(mAddress)->sun_path, mFile);
    }
    return 0;
}

int IPCSocket::Listen(int backlog)
{
    if (!HasDescriptor(__func__)) {
        return -1;
    }
    return listen(mDescriptor, backlog) < 0 ? Fail(__func__) : 0;
}

IPCSocket* IPCSocket::Accept()
{
    if (!HasDescriptor(__func__)) {
        return nullptr;
    }
    const int accepted = AcceptSocket(mDescriptor, mAddress, &mAddressLength);
    if (accepted < 0) {
        TAVI_ERROR("Socket Accept() Failed");
        return nullptr;
    }
    return new IPCSocket(accepted);
}

int IPCSocket::Connect()
{
    if (!HasDescriptor(__func__)) {
        return -1;
    }
    if (!ConnectInTime()) {
        return Fail(__func__);
    }
    if (IsConnectedToItself()) {
        Open();
        errno = ECONNREFUSED;
        return Fail(__func__);
    }
    mStatus = kConnected;
    return 0;
}

// Nobody listened on the port, and the system chose that very port for this side, whereupon TCP
// joins the two. The fixed ports lie in the range that it chooses from.
bool IPCSocket::IsConnectedToItself() const
{
    sockaddr_in own = {};
    sockaddr_in peer = {};
    socklen_t ownSize = sizeof(own);
    socklen_t peerSize = sizeof(peer);
    return mAddress->sa_family == AF_INET &&
           getsockname(mDescriptor, reinterpret_cast<sockaddr*>(&own), &ownSize) == 0 &&
           getpeername(mDescriptor, reinterpret_cast<sockaddr*>(&peer), &peerSize) == 0 &&
           own.sin_port == peer.sin_port && own.sin_addr.s_addr == peer.sin_addr.s_addr;
}

// An interrupted connect goes on in the background; once that has ended, a second one says how.
// False leaves errno with the reason.
bool IPCSocket::ConnectInTime()
{
    int result = connect(mDescriptor, mAddress, mAddressLength);
    while (result < 0 && errno == EINTR) {
        if (WaitFor(POLLOUT, mConnectDeadline) == 0) {
            errno = ETIMEDOUT;
            return false;
        }
        SetConnectDeadline(mConnectDeadline);
        result = connect(mDescriptor, mAddress, mAddressLength);
    }
    return result == 0;
}

int IPCSocket::GetStatus()
{
    return mStatus;
}
