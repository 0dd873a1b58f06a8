// Public. The framework's growable array of pointers.
//
// The vector stores pointers and never owns what they point to; DestroyVectorContents deletes the
// objects for the users that do own them. No lock: a vector shared between threads is guarded by
// its user. Nothing is reported when memory runs out; the process then ends.
#ifndef UTIL_CONTAINER_VECTOR_H
#define UTIL_CONTAINER_VECTOR_H

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <type_traits>

#include "util/container/VectorIterator.h"

namespace tavi {
// Reports the index and ends the process. Written once for all vectors.
[[noreturn, gnu::noinline]] inline void EndAtInvalidIndex(int index, int count)
{
    std::printf("ERROR invalid index = %x/%x\n", static_cast<unsigned>(index),
                static_cast<unsigned>(count));
    std::fflush(stdout);  // std::terminate leaves what is buffered unwritten
    std::terminate();
}

template <typename P>
class Vector
{
    static_assert(std::is_pointer<P>::value, "a Vector holds pointers");

public:
    Vector() : mCount(0), mCapacity(kStep), mBuffer(Resize(nullptr, kStep)) {}
    Vector(const Vector&) = delete;
    Vector& operator=(const Vector&) = delete;
    ~Vector() { std::free(mBuffer); }

    // Appends the pointer. A full buffer grows by 32 slots.
    void Pushback(P const& element)
    {
        P const kept = element;  // may live in the buffer that Grow releases
        if (mCount >= mCapacity) {
            Grow();
        }
        mBuffer[mCount++] = kept;
    }

    // Makes room for that many elements in all, in the same steps of 32 slots, so that appending up
    // to there copies nothing.
    void Reserve(int elements)
    {
        if (elements > mCapacity) {
            mCapacity = (elements + kStep - 1) / kStep * kStep;
            mBuffer = Resize(mBuffer, mCapacity);
        }
    }

    // Removes every occurrence of the pointer; the others keep their order. An absent pointer is
    // no error.
    void Remove(P const& element)
    {
        P const wanted = element;  // may live in a slot that Erase overwrites
        for (int index = 0; index < mCount; ++index) {
            if (mBuffer[index] == wanted) {
                Erase(index--);
            }
        }
    }

    // Removes the element at the index. An index outside 0 to Size() - 1 does nothing.
    void Erase(int index)
    {
        if (index < 0 || index >= mCount) {
            return;
        }
        std::memmove(mBuffer + index, mBuffer + index + 1, Bytes(mCount - index - 1));
        --mCount;
    }

    // The slot at the index, to read or to overwrite.
    // REQUIRES: 0 <= index < Size(); anything else is reported on standard output and ends the
    // process through std::terminate.
    P& At(int index)
    {
        if (index < 0 || index >= mCount) {
            EndAtInvalidIndex(index, mCount);
        }
        return mBuffer[index];
    }

    // Elements now.
    int Size() const { return mCount; }

    // An iterator at the first element, or a null iterator when the vector is empty.
    VectorIterator<P> Begin()
    {
        return VectorIterator<P>(this, mCount != 0 ? 0 : VectorIterator<P>::kEnd);
    }

    // Forgets every element and clears all slots; the capacity stays.
    void Flush()
    {
        mCount = 0;
        std::memset(mBuffer, 0, Bytes(mCapacity));
    }

private:
    static constexpr int kStep = 32;

    static std::size_t Bytes(int slots)
    {
        // The size of a pointer is meant: NOLINTNEXTLINE(bugprone-sizeof-expression)
        return static_cast<std::size_t>(slots) * sizeof(P);
    }

    // realloc moves whole pages of a large buffer instead of copying them. Without memory the
    // process ends, as it does when new fails.
    static P* Resize(P* buffer, int slots)
    {
        void* const resized = std::realloc(static_cast<void*>(buffer), Bytes(slots));
        if (resized == nullptr) {
            std::terminate();
        }
        return static_cast<P*>(resized);
    }

    void Grow()
    {
        mCapacity += kStep;
        mBuffer = Resize(mBuffer, mCapacity);
    }

    int mCount;
    int mCapacity;
    P* mBuffer;
};

// Deletes every object the vector points to and leaves the vector empty and usable.
template <typename T>
void DestroyVectorContents(Vector<T*>& vector)
{
    for (VectorIterator<T*> it = vector.Begin(); !it.IsNull(); it.Next()) {
        delete *it;
    }
    vector.Flush();
}

}  // namespace tavi

#endif  // UTIL_CONTAINER_VECTOR_H
