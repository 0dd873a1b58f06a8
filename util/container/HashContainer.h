// Public. One node of a tavi::HashTable's chain. It refers to its item and does not own it.
//
// The link is atomic: Add publishes a finished node, so a thread that walks the chain meanwhile
// sees it whole or not at all.
#ifndef UTIL_CONTAINER_HASHCONTAINER_H
#define UTIL_CONTAINER_HASHCONTAINER_H

#include <atomic>
#include <cstddef>
#include <new>

namespace tavi {
template <typename T>
class HashContainer
{
public:
    explicit HashContainer(T* item) : mItem(item), mNext(nullptr) {}

    // The item, and the node behind this one or null; from any thread.
    T* Get() const { return mItem; }
    HashContainer* Next() const { return mNext.load(std::memory_order_acquire); }

    // Links the node behind the last one of this chain. One thread adds at a time.
    void Add(HashContainer* node)
    {
        HashContainer* last = this;
        while (HashContainer* next = last->Next()) {
            last = next;
        }
        last->mNext.store(node, std::memory_order_release);
    }

    // The placement form builds a node in memory of an allocator; declaring it hides the ordinary
    // form, which stands beside it.
    static void* operator new(std::size_t size) { return ::operator new(size); }
    static void* operator new(std::size_t, void* place) { return place; }
    static void operator delete(void* node) { ::operator delete(node); }
    static void operator delete(void*, void*) {}

private:
    T* mItem;
    std::atomic<HashContainer*> mNext;
};

}  // namespace tavi

#endif  // UTIL_CONTAINER_HASHCONTAINER_H
