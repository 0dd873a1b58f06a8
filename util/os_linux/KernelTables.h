// Internal. What PartitionParser does, over tables at any path, so that recorded ones can be read.
#ifndef UTIL_OS_LINUX_KERNELTABLES_H
#define UTIL_OS_LINUX_KERNELTABLES_H

#include <cstddef>

#include "util/os_linux/PartitionParser.h"

void ReadPartitions(const char* path, bool skipHd, PartitionParser& table);

bool OccursInMounts(const char* path, const char* text);

// The caller's variables; a null text receives nothing.
struct MountedInfo
{
    char* mountPoint;
    std::size_t mountPointSize;
    bool& readOnly;
    char* fsType;
    std::size_t fsTypeSize;
};

bool FindMount(const char* path, const char* device, const MountedInfo& info);

#endif  // UTIL_OS_LINUX_KERNELTABLES_H
