// Public. The kernel's partitions ("/proc/partitions") in a fixed table, and questions to its
// mount table ("/proc/mounts").
//
// The table is filled and read by one thread at a time; the mount operations share no state. Files
// that cannot be read give an empty table, false or 0. What does not fit is left out with a
// warning and never cut, since a cut name could match another device.
#ifndef UTIL_OS_LINUX_PARTITIONPARSER_H
#define UTIL_OS_LINUX_PARTITIONPARSER_H

#include <cstddef>

#include "util/Export.h"

class HTML5_VIDEO_API PartitionParser
{
public:
    static constexpr int kMaxPartitions = 32;

    // Bytes of a caller's buffer that holds any mount point or file-system type, NUL included.
    static constexpr std::size_t kMountText = 128;

    // One entry of the table.
    struct Partition
    {
        char mName[16];  // without "/dev/"
        int mBlocks;     // of 1 KiB; 2147483647 stands for 2 TiB and more
        int mMajor;      // the driver's device number
        int mMinor;      // of the partition within its driver
    };

    // Fills the table with the first 32 partitions but "mtd" and "loop" devices and, when skipHd,
    // "hd" devices, and logs them. Left out are names of 16 characters or more and lines of 128
    // or more; numbers beyond an int are stored as the largest one.
    void Parse(bool skipHd);

    // 1 when the path is "/dev/" and the name of an entry, else 0. Null is no path.
    int FindPartition(const char* path) const;

    // The number of entries whose names begin with the prefix; 0 for null.
    int GetPartitionCount(const char* prefix) const;

    // 1 when the text occurs anywhere in the first 4096 bytes of the mount table, else 0; 0 for
    // null. So "/mnt/a" is also found where "/mnt/ab" is mounted.
    int CheckMount(const char* text) const;

    // Looks the device up in the first 4096 bytes of the mount table, where its last line counts,
    // and copies what stands there: the mount point and the file-system type into buffers of
    // kMountText bytes each (more is never written; a null one receives nothing), and whether the
    // first mount option contains "ro". True when the device was found.
    //
    // Also true when the mount-point buffer (a text of at most 127 characters, NUL-terminated even
    // before the call) then holds a text, not empty, that occurs anywhere in the table. Buffers
    // and flag are as before when the device was not found.
    //
    // Texts are the kernel's own: a blank in a mount point reads "\040" (octal), also in the
    // device and mount point given. Skipped are lines of 512 characters or more, lines of fewer
    // than four fields, and matching lines with a mount point or type that does not fit.
    bool GetMountedInfo(const char* device, char*& mountPoint, bool& readOnly, char*& fsType) const;

    // The same with buffers of any size, given in bytes.
    bool GetMountedInfo(const char* device, char* mountPoint, std::size_t mountPointSize,
                        bool& readOnly, char* fsType, std::size_t fsTypeSize) const;

    int mCount = 0;                              // valid entries
    Partition mPartitions[kMaxPartitions] = {};  // in the kernel's order
};

#endif  // UTIL_OS_LINUX_PARTITIONPARSER_H
