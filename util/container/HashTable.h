// Public. A chained hash table of pointers to items, found by key.
//
// The table stores neither keys nor items: an item gives its key through a member ToString(), and
// belongs to whoever added it. Items are added by one thread at a time; lookups from other threads
// may run meanwhile and see each new item whole or not at all.
#ifndef UTIL_CONTAINER_HASHTABLE_H
#define UTIL_CONTAINER_HASHTABLE_H

#include <atomic>
#include <cstddef>
#include <memory>

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

    // Releases the buckets and the nodes of the heap, not the items. Nodes of an allocator are not
    // touched: it may be reset or gone already.
    ~HashTable()
    {
        if (mAllocator == nullptr) {
            ForEachNode([](Node* node) { delete node; });
        }
        delete[] mBuckets;
    }

    // From now on nodes come from the allocator (null: from the heap) and stay its own: they are
    // not given back, and live until it is reset. It is not owned, and must outlive the last use
    // of the table but its destruction. A table that holds an item keeps what it has, so that
    // nodes never mix: 0, or -1 then.
    int SetAllocator(Allocator* allocator)
    {
        bool empty = true;
        ForEachNode([&empty](Node*) { empty = false; });
        if (!empty) {
            return -1;
        }
        mAllocator = allocator;
        return 0;
    }

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
        void* const place = Place();
        return place == nullptr ? nullptr : new (place) Node(item);
    }

    // Room for a node from the allocator, or null. A block need not be aligned as a node where
    // pointers take 64 bits; one with the difference to spare then holds it.
    void* Place()
    {
        constexpr std::size_t kBlockAlignment = 4;
        constexpr std::size_t kSizes[] = {sizeof(Node),
                                          sizeof(Node) + alignof(Node) - kBlockAlignment};
        for (std::size_t size : kSizes) {
            void* const block = mAllocator->GetMemory(static_cast<int>(size));
            void* place = block;
            if (block == nullptr || std::align(alignof(Node), sizeof(Node), place, size)) {
                return place;
            }
            mAllocator->PutMemory(block);
        }
        return nullptr;
    }

    const int mBucketCount;
    std::atomic<Node*>* const mBuckets;
    HashFunction<K>* const mFunction;
    Allocator* mAllocator;
};

}  // namespace tavi

#endif  // UTIL_CONTAINER_HASHTABLE_H
