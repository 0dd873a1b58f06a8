#include "util/ipc/FrameBuffer.h"

#include <cstdlib>
#include <cstring>

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
