// Public. A UNIX-domain stream socket named by a file path.
#ifndef UTIL_IPC_IPCUNIXSOCKET_H
#define UTIL_IPC_IPCUNIXSOCKET_H

#include <sys/un.h>

#include <cstdint>

#include "util/Export.h"
#include "util/ipc/IPCSocket.h"

class HTML5_VIDEO_API IPCUnixSocket : public IPCSocket
{
public:
    // The path is copied. One of 108 bytes or more is refused by Open.
    explicit IPCUnixSocket(const char* path);

    IPCSocket* Duplicate() override;
    int Open() override;

    // Removes a stale socket file, binds and opens the file to every user (mode 0777). A socket
    // that is bound already fails and keeps its file. The file stays when the socket is closed.
    int Bind() override;

private:
    HTML5_VIDEO_LOCAL bool IsBound() const;

    std::uint16_t mFamily;
    char mPath[108];  // empty when the path did not fit
    sockaddr_un mSocketAddress;
};

#endif  // UTIL_IPC_IPCUNIXSOCKET_H
