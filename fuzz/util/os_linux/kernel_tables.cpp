// Partition and mount tables. What is found must stand in the text that was read.
#include <cstring>
#include <string>

#include "fuzz/support/support.h"
#include "tests/support/support.h"
#include "util/os_linux/KernelTables.h"

namespace {
constexpr char kPath[] = "./fuzz.table";

void CheckPartitions(const std::string& text)
{
    PartitionParser table;
    ReadPartitions(kPath, (text.size() & 1) != 0, table);
    fuzz::Require(table.mCount >= 0 && table.mCount <= PartitionParser::kMaxPartitions, "count");
    for (int index = 0; index < table.mCount; ++index) {
        const char* const name = table.mPartitions[index].mName;
        fuzz::Require(strnlen(name, 16) < 16, "a name is not terminated");
        fuzz::Require(text.find(name) != std::string::npos, "a name is not in the table");
        fuzz::Require(table.FindPartition((std::string("/dev/") + name).c_str()) == 1, "find");
    }
}

void CheckMounts(const std::string& text, const std::string& device)
{
    char point[PartitionParser::kMountText] = "";
    char type[PartitionParser::kMountText] = "";
    bool readOnly = false;
    const MountedInfo info = {point, sizeof(point), readOnly, type, sizeof(type)};
    if (FindMount(kPath, device.c_str(), info)) {
        fuzz::Require(text.find(device) != std::string::npos, "a device is not in the table");
        fuzz::Require(text.find(point) != std::string::npos, "a mount point is not in the table");
        fuzz::Require(text.find(type) != std::string::npos, "a type is not in the table");
    }
    OccursInMounts(kPath, device.c_str());
}
}  // namespace

void fuzz::Run(const std::string& bytes)
{
    test::WriteFile(kPath, bytes);
    CheckPartitions(bytes);
    CheckMounts(bytes, bytes.substr(0, bytes.find(' ')));
}
