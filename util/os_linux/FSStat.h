// Public. Sizes of a file system, in bytes.
#ifndef UTIL_OS_LINUX_FSSTAT_H
#define UTIL_OS_LINUX_FSSTAT_H

#include <cstdint>

struct FSStat
{
    std::int64_t mTotalSize;
    std::int64_t mFreeSize;  // blocks reserved for the superuser included
};

#endif  // UTIL_OS_LINUX_FSSTAT_H
