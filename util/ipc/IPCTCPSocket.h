// Public. A TCP socket named by an IPv4 address and a port.
#ifndef UTIL_IPC_IPCTCPSOCKET_H
#define UTIL_IPC_IPCTCPSOCKET_H

#include <netinet/in.h>

#include <cstdint>

#include "util/Export.h"
#include "util/ipc/IPCSocket.h"

class HTML5_VIDEO_API IPCTCPSocket : public IPCSocket
{
public:
    // The address in dotted decimal, not checked (text that is none gives 255.255.255.255); null
    // means any address. The port in host byte order. Both are copied.
    IPCTCPSocket(const char* address, int port);

    IPCSocket* Duplicate() override;

    // Address reuse and no delay; logs their results. Nothing on an unopened socket.
    void SetServerOption() override;

    int Open() override;

private:
    std::uint16_t mFamily;
    std::uint16_t mPort;  // network byte order
    std::uint32_t mIPv4;  // network byte order
    sockaddr_in mSocketAddress;
};

#endif  // UTIL_IPC_IPCTCPSOCKET_H
