#include "util/os_linux/PartitionParser.h"

#include <cstddef>
#include <cstring>

#include "util/os_linux/KernelTables.h"

namespace {
using Partition = PartitionParser::Partition;
static_assert(offsetof(Partition, mBlocks) == 16 && offsetof(Partition, mMajor) == 20 &&
                  offsetof(Partition, mMinor) == 24 && sizeof(Partition) == 28 &&
                  offsetof(PartitionParser, mPartitions) == 4 &&
                  sizeof(PartitionParser) == 4 + 32 * sizeof(Partition),
              "users read the table directly");

constexpr char kPartitionsPath[] = "/proc/partitions";
constexpr char kMountsPath[] = "/proc/mounts";
}  // namespace

void PartitionParser::Parse(bool skipHd)
{
    ReadPartitions(kPartitionsPath, skipHd, *this);
}

int PartitionParser::FindPartition(const char* path) const
{
    constexpr char kFolder[] = "/dev/";
    if (path == nullptr || std::strncmp(path, kFolder, sizeof(kFolder) - 1) != 0) {
        return 0;
    }
    const char* const name = path + sizeof(kFolder) - 1;
    for (int index = 0; index < mCount; ++index) {
        if (std::strcmp(mPartitions[index].mName, name) == 0) {
            return 1;
        }
    }
    return 0;
}

int PartitionParser::GetPartitionCount(const char* prefix) const
{
    const std::size_t length = prefix != nullptr ? std::strlen(prefix) : 0;
    int count = 0;
    for (int index = 0; prefix != nullptr && index < mCount; ++index) {
        count += std::strncmp(mPartitions[index].mName, prefix, length) == 0 ? 1 : 0;
    }
    return count;
}

int PartitionParser::CheckMount(const char* text) const
{
    return OccursInMounts(kMountsPath, text) ? 1 : 0;
}

bool PartitionParser::GetMountedInfo(const char* device, char*& mountPoint, bool& readOnly,
                                     char*& fsType) const
{
    return GetMountedInfo(device, mountPoint, kMountText, readOnly, fsType, kMountText);
}

bool PartitionParser::GetMountedInfo(const char* device, char* mountPoint,
                                     std::size_t mountPointSize, bool& readOnly, char* fsType,
                                     std::size_t fsTypeSize) const
{
    return FindMount(kMountsPath, device,
                     {mountPoint, mountPointSize, readOnly, fsType, fsTypeSize});
}
