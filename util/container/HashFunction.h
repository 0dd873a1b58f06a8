// Public. What a tavi::HashTable needs to know about its keys, supplied from outside.
#ifndef UTIL_CONTAINER_HASHFUNCTION_H
#define UTIL_CONTAINER_HASHFUNCTION_H

namespace tavi {
template <typename K>
class HashFunction
{
public:
    virtual ~HashFunction() = default;

    // Any number for a key, always the same; the table takes it modulo its buckets.
    virtual unsigned int Hash(K& key) = 0;

    // True when the two keys are equal; equal keys must hash alike.
    virtual bool Compare(K& a, K& b) = 0;
};

}  // namespace tavi

#endif  // UTIL_CONTAINER_HASHFUNCTION_H
