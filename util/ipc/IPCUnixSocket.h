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
    static constexpr unsigned kEveryone = 0777;

    // The path is copied. One of 108 bytes or more is refused by Open.
    explicit IPCUnixSocket(const char* path);

    // The permission bits are those of the file that Bind makes. Connecting takes the right to
    // write: 0600 lets in processes of this user, 0660 of the group too. (root is not asked.)
    IPCUnixSocket(const char* path, unsigned fileMode);

    IPCSocket* Duplicate() override;
    int Open() override;

    // Removes a stale socket file, binds and gives the file its mode, by default 0777: every user
    // may connect. At no moment does it allow more than that. A socket that is bound already fails
    // and keeps its file. The file stays when the socket is closed.
    int Bind() override;

private:
    std::uint16_t mFamily;
    char mPath[108];  // empty when the path did not fit
    sockaddr_un mSocketAddress;
    unsigned mFileMode;
};

#endif  // UTIL_IPC_IPCUNIXSOCKET_H
