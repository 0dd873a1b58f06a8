#include "util/ipc/ReplyReader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "util/ipc/FrameBuffer.h"
#include "util/ipc/FrameIO.h"
#include "util/ipc/IPCSocket.h"
#include "util/ipc/WireFormat.h"
#include "util/os_linux/ModuleLog.h"

static Logger* const _logger = Logger::GetLogger(2);

namespace {
constexpr int kLengthBytes = static_cast<int>(wire::kLengthSize);
}  // namespace

bool ReplyReader::IsTooBig() const
{
    if (mBodyLeft > wire::kMaxLength) {
        TAVI_ERROR("Too big reply length ( > 2 MB ): %d", mBodyLeft);
        return true;
    }
    return false;
}

// Of the length word while that is not whole, then of the body.
int ReplyReader::Missing() const
{
    return mLengthBytes < kLengthBytes ? kLengthBytes - mLengthBytes : mBodyLeft;
}

void ReplyReader::Take(const unsigned char* bytes, int length)
{
    while (IsOwed() && length > 0) {
        const int part = std::min(length, Missing());
        if (mLengthBytes < kLengthBytes) {
            std::memcpy(mLength + mLengthBytes, bytes, static_cast<std::size_t>(part));
            mLengthBytes += part;
            mBodyLeft = mLengthBytes == kLengthBytes ? wire::Load32(mLength) : 0;
        } else {
            mBodyLeft -= part;
        }
        if (mLengthBytes == kLengthBytes && mBodyLeft <= 0) {
            Finish();
        }
        bytes += part;
        length -= part;
    }
}

// One receive of what is missing of the current reply.
ReplyReader::Result ReplyReader::ReceivePart(IPCSocket& socket, long long deadline)
{
    if (IsTooBig()) {
        return kBroken;
    }
    unsigned char part[1024];
    const int received =
        socket.Receive(part, std::min(Missing(), static_cast<int>(sizeof(part))), deadline);
    if (received <= 0) {
        return received < 0 && errno == EAGAIN ? kTimeout : kBroken;
    }
    Take(part, received);
    return kDone;
}

ReplyReader::Result ReplyReader::DropOne(IPCSocket& socket, long long deadline)
{
    const long long others = mOwed - 1;
    Result result = kDone;
    while (mOwed > others && result == kDone) {
        result = ReceivePart(socket, deadline);
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
    Result result = kDone;
    while (mOwed > 1 && result == kDone) {
        result = DropOne(socket, deadline);
    }
    while (IsOwed() && mLengthBytes < kLengthBytes && result == kDone) {
        result = ReceivePart(socket, deadline);
    }
    length = mBodyLeft;
    if (result != kDone || !IsOwed()) {
        return result;
    }
    if (IsTooBig()) {
        return kBroken;
    }
    const int received = ReceiveAll(socket, buffer, length, deadline);
    if (received < length) {
        const bool late = errno == EAGAIN;
        mBodyLeft -= received;
        return late ? kTimeout : kBroken;
    }
    Finish();
    return kDone;
}
