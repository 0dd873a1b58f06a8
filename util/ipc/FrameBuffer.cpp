#include "util/ipc/FrameBuffer.h"

#include <cstdlib>

namespace {
// Memory is made in whole pages: small frames share one allocation. Besides, a block of whole pages
// is often copied from a frame into the memory right behind it, and where the two begin 16 bytes
// apart within their pages, some processors need 18 times as long (docs/performance.md).
constexpr std::size_t kPage = 4096;
}  // namespace

bool FrameBuffer::Reserve(std::size_t size)
{
    if (size <= mCapacity) {
        return true;
    }
    const std::size_t capacity = (size + kPage - 1) / kPage * kPage;
    void* const grown = std::realloc(mData, capacity);
    if (grown == nullptr) {
        return false;
    }
    mData = static_cast<unsigned char*>(grown);
    mCapacity = capacity;
    return true;
}

void FrameBuffer::Release()
{
    std::free(mData);
    mData = nullptr;
    mCapacity = 0;
}
