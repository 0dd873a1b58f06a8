#include "util/ipc/FrameIO.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>

#include "util/ipc/FrameBuffer.h"
#include "util/ipc/IPCSocket.h"
#include "util/ipc/ReplyReader.h"

namespace {
// How much room is made ahead of what has arrived.
constexpr int kGrowth = 65536;
}  // namespace

int ReceiveAll(IPCSocket& socket, FrameBuffer& buffer, int length, long long deadline)
{
    int count = 0;
    while (count < length) {
        int room = static_cast<int>(buffer.Capacity());
        if (count == room) {
            room = std::min(length, count + kGrowth);
            if (!buffer.Reserve(static_cast<std::size_t>(room))) {
                errno = ENOMEM;
                return count;
            }
        }
        const int received =
            socket.Receive(buffer.Data() + count, std::min(length, room) - count, deadline);
        if (received <= 0) {
            errno = received == 0 ? ECONNRESET : errno;
            return count;
        }
        count += received;
    }
    return count;
}

bool DropAll(IPCSocket& socket, int length)
{
    unsigned char dropped[1024];
    while (length > 0) {
        const int wanted = std::min(length, static_cast<int>(sizeof(dropped)));
        const int received = socket.Receive(dropped, wanted, IPCSocket::kForever);
        if (received <= 0) {
            return false;
        }
        length -= received;
    }
    return true;
}

bool SendAll(IPCSocket& socket, const unsigned char* data, int length, long long deadline,
             ReplyReader* replies)
{
    while (length > 0) {
        const int sent = socket.SendNow(data, length);
        if (sent >= 0) {
            data += sent;
            length -= sent;
            continue;
        }
        if (errno != EAGAIN) {
            return false;
        }
        const bool owed = replies != nullptr && replies->IsOwed();
        const short wanted = static_cast<short>(owed ? POLLOUT | POLLIN : POLLOUT);
        const short ready = socket.WaitFor(wanted, deadline);
        const bool arrived = (ready & POLLIN) != 0;
        if (ready == 0 || (arrived && owed && !replies->DropArrived(socket))) {
            return false;
        }
    }
    return true;
}
