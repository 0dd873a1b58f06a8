#include "util/ipc/GatherList.h"

#include <algorithm>

namespace {
// Bytes from which on a block is not copied into the frame.
constexpr std::size_t kLarge = 4096;
}  // namespace

bool GatherList::Insert(const unsigned char* place, const void* block, std::size_t length)
{
    // What stands before it, the block itself, and what will stand behind.
    if (length < kLarge || mPieces + kMost - mEnd < 3) {
        return false;
    }
    End(place);
    *mEnd++ = {const_cast<void*>(block), length};
    mTaken = place + length;
    return true;
}

void GatherList::End(const unsigned char* frameEnd)
{
    if (frameEnd != mTaken) {
        *mEnd++ = {const_cast<unsigned char*>(mTaken), static_cast<std::size_t>(frameEnd - mTaken)};
    }
}

void GatherList::Sent(std::size_t length)
{
    while (length > 0) {
        const std::size_t part = std::min(length, mFirst->iov_len);
        mFirst->iov_base = static_cast<unsigned char*>(mFirst->iov_base) + part;
        mFirst->iov_len -= part;
        mFirst += mFirst->iov_len == 0 ? 1 : 0;
        length -= part;
    }
}
