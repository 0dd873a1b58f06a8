#include "util/ipc/ReplyReader.h"

#include <algorithm>
#include <cerrno>

#include "util/ipc/FrameBuffer.h"
#include "util/ipc/FrameIO.h"
#include "util/ipc/IPCSocket.h"
#include "util/ipc/WireFormat.h"
#include "util/os_linux/ModuleLog.h"

static Logger* const _logger = Logger::GetLogger(2);

namespace {
constexpr int kLengthBytes = static_cast<int>(wire::kLengthSize);

// What a receive that brought nothing means.
ReplyReader::Result Nothing(int received)
{
    return received < 0 && errno == EAGAIN ? ReplyReader::kTimeout : ReplyReader::kBroken;
}
}  // namespace

// Completes the length word; mBodyLeft is then what follows it.
ReplyReader::Result ReplyReader::ReadLength(IPCSocket& socket, long long deadline)
{
    while (mLengthBytes < kLengthBytes) {
        const int received =
            socket.Receive(mLength + mLengthBytes, kLengthBytes - mLengthBytes, deadline);
        if (received <= 0) {
            return Nothing(received);
        }
        mLengthBytes += received;
        if (mLengthBytes == kLengthBytes) {
            mBodyLeft = wire::Load32(mLength);
        }
    }
    if (mBodyLeft > wire::kMaxLength) {
        TAVI_ERROR("Too big reply length ( > 2 MB ): %d", mBodyLeft);
        return kBroken;
    }
    return kDone;
}

ReplyReader::Result ReplyReader::DropBody(IPCSocket& socket, long long deadline)
{
    unsigned char dropped[1024];
    while (mBodyLeft > 0) {
        const int wanted = std::min(mBodyLeft, static_cast<int>(sizeof(dropped)));
        const int received = socket.Receive(dropped, wanted, deadline);
        if (received <= 0) {
            return Nothing(received);
        }
        mBodyLeft -= received;
    }
    return kDone;
}

ReplyReader::Result ReplyReader::DropOne(IPCSocket& socket, long long deadline)
{
    Result result = ReadLength(socket, deadline);
    if (result == kDone) {
        result = DropBody(socket, deadline);
    }
    if (result == kDone) {
        Finish();
    }
    return result;
}

void ReplyReader::Finish()
{
    --mOwed;
    mLengthBytes = 0;
    mBodyLeft = 0;
}

bool ReplyReader::DropArrived(IPCSocket& socket)
{
    Result result = kDone;
    while (mOwed > 0 && result == kDone) {
        result = DropOne(socket, IPCSocket::kNoWait);
    }
    return result != kBroken;
}

ReplyReader::Result ReplyReader::ReadLast(IPCSocket& socket, FrameBuffer& buffer, int& length,
                                          long long deadline)
{
    while (mOwed > 1) {
        const Result dropped = DropOne(socket, deadline);
        if (dropped != kDone) {
            return dropped;
        }
    }
    const Result result = ReadLength(socket, deadline);
    if (result != kDone) {
        return result;
    }
    length = mBodyLeft;
    const int received = ReceiveAll(socket, buffer, mBodyLeft, deadline);
    if (received < mBodyLeft) {
        const bool late = errno == EAGAIN;
        mBodyLeft -= received;
        return late ? kTimeout : kBroken;
    }
    Finish();
    return kDone;
}
