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

Outcome FrameBuffer::Receive(StreamSocket& socket, int length, long long deadline, int& count)
{
    Outcome outcome = Outcome::kDone;
    while (count < length && outcome == Outcome::kDone) {
        const bool full = count == static_cast<int>(mCapacity);
        if (full && !Reserve(static_cast<std::size_t>(std::min(length, count + kGrowth)))) {
            errno = ENOMEM;
            return Outcome::kFailed;
        }
        const int room = std::min(length, static_cast<int>(mCapacity));
        outcome = socket.ReceiveAll(mData, room, deadline, count);
    }
    return outcome;
}
