// Partition and mount tables. What is found must stand in the text that was read.
#include <cstring>
#include <initializer_list>
#include <string>

#include "fuzz/support/support.h"
#include "tests/support/support.h"
#include "util/os_linux/KernelTables.h"

constexpr char kPath[] = "./fuzz.table";

void fuzz::Run(const std::string& bytes)
{
    test::WriteFile(kPath, bytes);
    PartitionParser table;
    ReadPartitions(kPath, (bytes.size() & 1) != 0, table);
    Require(table.mCount >= 0 && table.mCount <= PartitionParser::kMaxPartitions, "count");
    for (int index = 0; index < table.mCount; ++index) {
        const char* const name = table.mPartitions[index].mName;
        Require(strnlen(name, 16) < 16, "a name is not terminated");
        Require(bytes.find(name) != std::string::npos, "a name is not in the table");
        Require(table.FindPartition((std::string("/dev/") + name).c_str()) == 1, "find");
    }

    const std::string word = bytes.substr(0, bytes.find(' '));
    const char* const device = word.c_str();
    char point[PartitionParser::kMountText] = "";
    char type[PartitionParser::kMountText] = "";
    bool readOnly = false;
    if (FindMount(kPath, device, {point, sizeof(point), readOnly, type, sizeof(type)})) {
        for (const char* found : std::initializer_list<const char*>{device, point, type}) {
            Require(bytes.find(found) != std::string::npos, "what was found is not in the table");
        }
    }
    OccursInMounts(kPath, device);
}
