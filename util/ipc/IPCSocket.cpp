#include "util/ipc/IPCSocket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>

#include "util/ipc/IPCLog.h"
#include "util/ipc/StreamSocket.h"
#include "util/os_linux/CancelGuard.h"
#include "util/os_linux/FileDescriptor.h"

IPCSocket::IPCSocket(int descriptor)
    : mStream(new StreamSocket(descriptor)),
      mAddress(nullptr),
      mAddressLength(0),
      mStatus(descriptor >= 0 ? kConnected : kClosed),
      mQuiet(false)
{}

IPCSocket::IPCSocket(const char*) : IPCSocket(-1) {}

IPCSocket::~IPCSocket()
{
    IPCSocket::Close();
    delete mStream;
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
    if (Descriptor() >= 0) {
        IPCSocket::Close();
    }
    mAddress = address;
    mAddressLength = length;
    mStatus = kOpen;
    mStream->Renew(descriptor);
}

int IPCSocket::Descriptor() const
{
    return mStream->Descriptor();
}

int IPCSocket::Close()
{
    const CancelGuard guard;
    const int descriptor = mStream->Close();
    if (descriptor < 0) {
        TAVI_ERROR("Socket Close() Failed");
        return -1;
    }
    TAVI_INFO("Socket is Closed : %d", descriptor);
    mStatus = kClosed;
    return 0;
}

void IPCSocket::Shutdown()
{
    mStream->Shutdown();
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
    _logger->Print(Logger::kInfo, 0, operation, __FILE__, __LINE__, "%.107s : %s", address,
                   std::strerror(reason));
    errno = reason;
    return -1;
}

bool IPCSocket::HasDescriptor(const char* operation) const
{
    if (Descriptor() < 0) {
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
    return mStream->Bind(mAddress, mAddressLength) ? 0 : Fail(__func__);
}

int IPCSocket::Listen(int backlog)
{
    if (!HasDescriptor(__func__)) {
        return -1;
    }
    return listen(Descriptor(), backlog) < 0 ? Fail(__func__) : 0;
}

IPCSocket* IPCSocket::Accept()
{
    if (!HasDescriptor(__func__)) {
        return nullptr;
    }
    const int accepted = AcceptSocket(Descriptor(), mAddress, &mAddressLength);
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
    if (!mStream->Connect(mAddress, mAddressLength)) {
        return Fail(__func__);
    }
    if (mStream->IsConnectedToItself()) {
        Open();
        errno = ECONNREFUSED;
        return Fail(__func__);
    }
    mStatus = kConnected;
    return 0;
}

int IPCSocket::Select(int seconds)
{
    if (!HasDescriptor(__func__)) {
        return -1;
    }
    if (seconds < 0) {
        errno = EINVAL;
        return -1;
    }
    const int milliseconds = static_cast<int>(std::min(seconds * 1000LL, 1LL * INT_MAX));
    if (mStatus != kConnected) {
        return WaitForEvents(Descriptor(), POLLIN, milliseconds);
    }
    return mStream->Select(milliseconds);
}

int IPCSocket::Write(void* data, int length)
{
    if (!HasDescriptor(__func__)) {
        return -1;
    }
    return static_cast<int>(
        SendBytes(Descriptor(), data, static_cast<std::size_t>(std::max(length, 0))));
}

int IPCSocket::Read(void* data, int length)
{
    return HasDescriptor(__func__) ? mStream->Read(data, length, StreamSocket::kForever) : -1;
}

int IPCSocket::Peek(void* data, int length)
{
    if (!HasDescriptor(__func__) || length <= 0) {
        return 0;
    }
    const Outcome outcome = mStream->Fetch(StreamSocket::kForever);
    if (outcome == Outcome::kDone) {
        return mStream->Peek(data, length);
    }
    return outcome == Outcome::kClosed ? 0 : -1;
}

int IPCSocket::GetStatus()
{
    return mStatus;
}
