#include "util/ipc/FrameBuffer.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {
// How much room is made ahead of what has arrived.
constexpr int kGrowth = 65536;
}  // namespace

FrameBuffer::~FrameBuffer()
{
    if (mData != mInline) {
        std::free(mData);
    }
}

bool FrameBuffer::Reserve(std::size_t size)
{
    if (size <= mCapacity) {
        return true;
    }
    const bool onStack = mData == mInline;
    void* const grown = std::realloc(onStack ? nullptr : mData, size);
    if (grown == nullptr) {
        return false;
    }
    if (onStack) {
        std::memcpy(grown, mInline, sizeof(mInline));
    }
    mData = static_cast<unsigned char*>(grown);
    mCapacity = size;
    return true;
}

Transfer FrameBuffer::Receive(StreamSocket& socket, int length, long long deadline)
{
    Transfer all = {Outcome::kDone, 0};
    while (all.count < length && all.outcome == Outcome::kDone) {
        const int full = static_cast<int>(mCapacity);
        const int room = std::min(length, all.count < full ? full : all.count + kGrowth);
        if (!Reserve(static_cast<std::size_t>(room))) {
            errno = ENOMEM;
            return {Outcome::kFailed, all.count};
        }
        const Transfer part = socket.ReceiveAll(mData + all.count, room - all.count, deadline);
        all = {part.outcome, all.count + part.count};
    }
    return all;
}
