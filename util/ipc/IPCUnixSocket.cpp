#include "util/ipc/IPCUnixSocket.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

#include "util/ipc/IPCLog.h"
#include "util/ipc/StreamSocket.h"
#include "util/os_linux/FileDescriptor.h"
#include "util/os_linux/FixedText.h"

static_assert(sizeof(sockaddr_un::sun_path) == 108, "the path array is the system's size");

IPCUnixSocket::IPCUnixSocket(const char* path) : IPCUnixSocket(path, kEveryone) {}

IPCUnixSocket::IPCUnixSocket(const char* path, unsigned fileMode)
    : IPCSocket(-1), mFamily(AF_UNIX), mPath(), mSocketAddress(), mFileMode(fileMode & kEveryone)
{
    if (path != nullptr && std::strlen(path) < sizeof(mPath)) {
        CopyText(mPath, path);
    }
}

IPCSocket* IPCUnixSocket::Duplicate()
{
    TAVI_INFO("");
    return new IPCUnixSocket(mPath, mFileMode);
}

int IPCUnixSocket::Open()
{
    if (mPath[0] == '\0') {
        TAVI_ERROR("Unix Socket Open() Failed, no path or one of 108 bytes or more");
        errno = ENAMETOOLONG;
        return -1;
    }
    const int descriptor = OpenSocket(AF_UNIX, SOCK_STREAM, 0);
    if (descriptor < 0) {
        TAVI_ERROR("Unix Socket Open() Failed");
        return -1;
    }
    mSocketAddress = {};
    mSocketAddress.sun_family = mFamily;
    const std::size_t length = CopyText(mSocketAddress.sun_path, mPath);
    Opened(descriptor, reinterpret_cast<sockaddr*>(&mSocketAddress),
           static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length));
    return descriptor;
}

int IPCUnixSocket::Bind()
{
    if (!StreamSocket::IsBound(Descriptor())) {  // a bound socket's file is its own: callers would
                                                 // be cut off without it
        unlink(mPath);
    }
    if (!IsQuiet()) {
        TAVI_INFO("Bind to %s", mPath);
    }
    if (mFileMode != kEveryone && Descriptor() >= 0) {
        fchmod(Descriptor(), mFileMode);  // the file is born with the socket's bits less the umask
    }
    const int result = IPCSocket::Bind();
    if (result == 0 && chmod(mPath, mFileMode) != 0) {
        TAVI_ERROR("CHMOD failed");
    }
    return result;
}
