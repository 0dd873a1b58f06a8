// Public. A fixed pool handed out front to back. Single blocks are not taken back; Flush resets
// the whole pool. No lock: an allocator shared between threads is guarded by its user.
#ifndef UTIL_CONTAINER_SIMPLEALLOCATOR_H
#define UTIL_CONTAINER_SIMPLEALLOCATOR_H

#include "util/Export.h"
#include "util/container/Allocator.h"

class HTML5_VIDEO_API SimpleAllocator : public tavi::Allocator
{
public:
    // A pool of size bytes; a negative size counts as 0.
    explicit SimpleAllocator(int size);
    SimpleAllocator(const SimpleAllocator&) = delete;
    SimpleAllocator& operator=(const SimpleAllocator&) = delete;

    // Frees the pool: blocks handed out become invalid.
    ~SimpleAllocator() override;

    // The next block, raised to a multiple of 4 bytes, aligned to 4 within the pool and to 16 at
    // the pool's start. Null with an error line when the pool cannot hold it. A size of 0 gives
    // the next free address and uses nothing; a negative size is refused like one too large.
    void* GetMemory(int size) override;

    // Does nothing.
    void PutMemory(void* block) override;

    // Gives every block back at once.
    void Flush();

    // Logs size, used and free bytes at info level.
    void Print();

private:
    char* const mPool;
    int mUsed;
    const int mSize;
};

#endif  // UTIL_CONTAINER_SIMPLEALLOCATOR_H
