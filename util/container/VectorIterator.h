// Public. The cursor over a tavi::Vector: a plain value that holds an index, so it stays usable
// while the vector grows. A removal shifts the later elements under it.
#ifndef UTIL_CONTAINER_VECTORITERATOR_H
#define UTIL_CONTAINER_VECTORITERATOR_H

namespace tavi {
template <typename P>
class Vector;

template <typename P>
class VectorIterator
{
public:
    // The index of a null iterator: past the last element, or over an empty vector.
    static constexpr int kEnd = 0x7FFFFFFF;

    // The vector is not owned and must outlive the iterator's use.
    VectorIterator(Vector<P>* vector, int index) : mVector(vector), mIndex(index) {}

    // Whether there is no element under the cursor.
    bool IsNull() const { return mIndex == kEnd; }

    // Steps to the next element; null after the last one and on a null iterator. Returns a copy of
    // the iterator after the step.
    VectorIterator Next()
    {
        Advance(1);
        return *this;
    }

    // Moves by n elements, backward when n is negative. Null when that leaves the vector.
    void Advance(int n)
    {
        if (IsNull()) {
            return;
        }
        const long long index = static_cast<long long>(mIndex) + n;
        mIndex = index < 0 || index >= mVector->Size() ? kEnd : static_cast<int>(index);
    }

    // The current slot. REQUIRES: !IsNull(); otherwise Vector::At ends the process.
    P& operator*() { return mVector->At(mIndex); }

private:
    Vector<P>* mVector;
    int mIndex;
};

}  // namespace tavi

#endif  // UTIL_CONTAINER_VECTORITERATOR_H
