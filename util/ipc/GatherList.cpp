#include "util/ipc/GatherList.h"

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
    for (; mFirst != mEnd && length >= mFirst->iov_len; ++mFirst) {
        length -= mFirst->iov_len;
    }
    if (length > 0) {
        mFirst->iov_base = static_cast<unsigned char*>(mFirst->iov_base) + length;
        mFirst->iov_len -= length;
    }
}
