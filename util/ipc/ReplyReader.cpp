#include "util/ipc/ReplyReader.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "util/ipc/GatherList.h"
#include "util/ipc/IPCLog.h"
#include "util/ipc/WireFormat.h"

namespace {
constexpr int kLengthBytes = static_cast<int>(wire::kLengthSize);
}  // namespace

Outcome ReplyReader::Send(StreamSocket& socket, GatherList& list, long long deadline)
{
    while (list.Count() > 0) {
        const int sent = socket.SendNow(list);
        if (sent >= 0) {
            list.Sent(static_cast<std::size_t>(sent));
            continue;
        }
        if (errno != EAGAIN && errno != EINTR) {
            return Outcome::kFailed;
        }
        const bool owed = IsOwed();
        const short wanted = static_cast<short>(owed ? POLLOUT | POLLIN : POLLOUT);
        const short ready = socket.WaitFor(wanted, deadline);
        if (ready == 0) {
            return Outcome::kLate;
        }
        if (owed && (ready & POLLIN) != 0 && !DropArrived(socket)) {
            return Outcome::kFailed;
        }
    }
    return Outcome::kDone;
}

void ReplyReader::Take(const unsigned char* bytes, int length)
{
    while (IsOwed() && length > 0) {
        const bool inLength = mLengthBytes < kLengthBytes;
        const int part = std::min(length, inLength ? kLengthBytes - mLengthBytes : mBodyLeft);
        if (inLength) {
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

// What has not come yet of the length word of the current reply.
Outcome ReplyReader::ReadLength(StreamSocket& socket, long long deadline)
{
    if (mLengthBytes < kLengthBytes) {
        const Outcome outcome = socket.ReceiveAll(mLength, kLengthBytes, deadline, mLengthBytes);
        if (outcome != Outcome::kDone) {
            return outcome;
        }
        mBodyLeft = wire::Load32(mLength);
    }
    if (mBodyLeft > wire::kMaxLength) {
        TAVI_ERROR("Too big reply length ( > 2 MB ): %d", mBodyLeft);
        return Outcome::kFailed;
    }
    return Outcome::kDone;
}

Outcome ReplyReader::DropOne(StreamSocket& socket, long long deadline)
{
    Outcome outcome = ReadLength(socket, deadline);
    if (outcome == Outcome::kDone) {
        outcome = socket.Drop(mBodyLeft, deadline);
    }
    if (outcome == Outcome::kDone) {
        Finish();
    }
    return outcome;
}

void ReplyReader::Finish()
{
    --mOwed;
    mLengthBytes = 0;
    mBodyLeft = 0;
}

// What has arrived of the owed replies, without waiting. False when the connection is broken.
bool ReplyReader::DropArrived(StreamSocket& socket)
{
    Outcome outcome = Outcome::kDone;
    while (IsOwed() && outcome == Outcome::kDone) {
        outcome = DropOne(socket, StreamSocket::kNoWait);
    }
    return outcome == Outcome::kDone || outcome == Outcome::kLate;
}

Outcome ReplyReader::ReadLast(StreamSocket& socket, int& length, long long deadline)
{
    Outcome outcome = Outcome::kDone;
    while (mOwed > 1 && outcome == Outcome::kDone) {
        outcome = DropOne(socket, deadline);
    }
    if (outcome == Outcome::kDone) {
        outcome = ReadLength(socket, deadline);
    }
    if (outcome != Outcome::kDone) {
        return outcome;
    }
    length = mBodyLeft;
    int count = 0;
    outcome = socket.ReceiveFrame(length, deadline, count);
    mBodyLeft -= count;
    if (outcome == Outcome::kDone) {
        Finish();
    }
    return outcome;
}
