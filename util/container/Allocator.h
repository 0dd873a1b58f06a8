// Public. A source of raw memory blocks for the containers.
#ifndef UTIL_CONTAINER_ALLOCATOR_H
#define UTIL_CONTAINER_ALLOCATOR_H

namespace tavi {
class Allocator
{
public:
    virtual ~Allocator() = default;

    // A block of at least size bytes, aligned to 4 bytes or more and owned by the allocator, or
    // null when it has none left.
    virtual void* GetMemory(int size) = 0;

    // Gives a block back. Only blocks of this allocator come here, and not every one: whoever
    // resets or ends the allocator gives the rest back at once.
    virtual void PutMemory(void* block) = 0;
};

}  // namespace tavi

#endif  // UTIL_CONTAINER_ALLOCATOR_H
