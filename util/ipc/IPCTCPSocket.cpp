#include "util/ipc/IPCTCPSocket.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>

#include "util/ipc/IPCLog.h"
#include "util/os_linux/FileDescriptor.h"

IPCTCPSocket::IPCTCPSocket(const char* address, int port)
    : IPCSocket(-1),
      mFamily(AF_INET),
      mPort(htons(static_cast<std::uint16_t>(port))),
      mIPv4(address != nullptr ? inet_addr(address) : 0),
      mSocketAddress()
{}

IPCSocket* IPCTCPSocket::Duplicate()
{
    TAVI_INFO("");
    char text[INET_ADDRSTRLEN] = "";
    const in_addr address = {mIPv4};
    inet_ntop(AF_INET, &address, text, sizeof(text));
    return new IPCTCPSocket(text, ntohs(mPort));
}

void IPCTCPSocket::SetServerOption()
{
    const int descriptor = Descriptor();
    if (descriptor < 1) {
        return;
    }
    const int on = 1;
    const int reuse = setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    const int noDelay = setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    if (!IsQuiet()) {
        TAVI_INFO("SetServerOption returns %d %d %d", descriptor, reuse, noDelay);
    }
}

int IPCTCPSocket::Open()
{
    const int descriptor = OpenSocket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    if (descriptor < 0) {
        TAVI_ERROR("TCP Socket Open() Failed");
        return -1;
    }
    mSocketAddress = {};
    mSocketAddress.sin_family = mFamily;
    mSocketAddress.sin_port = mPort;
    mSocketAddress.sin_addr.s_addr = mIPv4;
    Opened(descriptor, reinterpret_cast<sockaddr*>(&mSocketAddress), sizeof(mSocketAddress));
    return descriptor;
}
