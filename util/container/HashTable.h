// Public. A chained hash table of pointers to items, found by key.
//
// The table stores neither keys nor items: an item gives its key through a member ToString(), and
// belongs to whoever added it. Items are added by one thread at a time; lookups from other threads
// may run meanwhile and see each new item whole or not at all.
#ifndef UTIL_CONTAINER_HASHTABLE_H
#define UTIL_CONTAINER_HASHTABLE_H

#include <atomic>
#include <cstddef>

#include "util/container/Allocator.h"
#include "util/container/HashContainer.h"
#include "util/container/HashFunction.h"

namespace tavi {
template <typename T, typename K>
class HashTable
{
public:
    using Node = HashContainer<T>;

    // The function is not owned and must outlive the table. REQUIRES: buckets >= 1.
    HashTable(int buckets, HashFunction<K>* function)
        : mBucketCount(buckets),
          mBuckets(new std::atomic<Node*>[static_cast<std::size_t>(buckets)]()),
          mFunction(function),
          mAllocator(nullptr)
    {}
    HashTable(const HashTable&) = delete;
    HashTable& operator=(const HashTable&) = delete;

    // Releases the nodes and the buckets, not the items.
    ~HashTable()
    {
        ForEachNode([this](Node* node) { Release(node); });
        delete[] mBuckets;
    }

    // From now on nodes come from the allocator (not owned, must outlive the table) instead of
    // from the heap. REQUIRES: the table is empty.
    void SetAllocator(Allocator* allocator) { mAllocator = allocator; }

    // Inserts the item under the key, behind items already there. A key may be used twice; lookups
    // find the item added first. 0, or -1 when the allocator has no memory.
    int Add(T* item, K& key)
    {
        Node* const node = NewNode(item);
        if (node == nullptr) {
            return -1;
        }
        std::atomic<Node*>& bucket = Bucket(key);
        if (Node* head = bucket.load(std::memory_order_acquire)) {
            head->Add(node);
        } else {
            bucket.store(node, std::memory_order_release);
        }
        return 0;
    }

    // The first item whose own key equals the given one, or null.
    T* Get(K& key)
    {
        for (Node* node = Bucket(key).load(std::memory_order_acquire); node != nullptr;
             node = node->Next()) {
            K own = node->Get()->ToString();
            if (mFunction->Compare(key, own)) {
                return node->Get();
            }
        }
        return nullptr;
    }

    // Calls visit with every item, bucket by bucket in the order of addition. The visitor may
    // delete the item when nobody looks anything up afterwards.
    template <typename Visitor>
    void ForEach(Visitor visit)
    {
        ForEachNode([&visit](Node* node) { visit(node->Get()); });
    }

private:
    std::atomic<Node*>& Bucket(K& key)
    {
        return mBuckets[mFunction->Hash(key) % static_cast<unsigned int>(mBucketCount)];
    }

    template <typename Visitor>
    void ForEachNode(Visitor visit)
    {
        for (int index = 0; index < mBucketCount; ++index) {
            for (Node* node = mBuckets[index].load(std::memory_order_acquire); node != nullptr;) {
                Node* const next = node->Next();
                visit(node);
                node = next;
            }
        }
    }

    Node* NewNode(T* item)
    {
        if (mAllocator == nullptr) {
            return new Node(item);
        }
        void* const place = mAllocator->GetMemory(static_cast<int>(sizeof(Node)));
        return place == nullptr ? nullptr : new (place) Node(item);
    }

    void Release(Node* node)
    {
        if (mAllocator == nullptr) {
            delete node;
            return;
        }
        node->~Node();
        mAllocator->PutMemory(node);
    }

    const int mBucketCount;
    std::atomic<Node*>* const mBuckets;
    HashFunction<K>* const mFunction;
    Allocator* mAllocator;
};

}  // namespace tavi

#endif  // UTIL_CONTAINER_HASHTABLE_H
