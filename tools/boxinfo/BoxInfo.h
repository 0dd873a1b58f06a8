// What boxinfo finds out, each fact through one facility of the library.
#ifndef TOOLS_BOXINFO_BOXINFO_H
#define TOOLS_BOXINFO_BOXINFO_H

#include <cstdint>
#include <string>
#include <vector>

// What to find out. Devices, paths and commands are reported in the order given.
struct Questions
{
    bool partitions = false;
    bool skipHd = false;      // leave out partitions whose names begin with "hd"
    bool everyMount = false;  // the mounts of all partitions, and the sizes of what they hold
    std::vector<std::string> devices;
    std::vector<std::string> fileSystems;
    std::vector<std::string> processes;
    std::vector<std::string> files;
};

struct PartitionFact
{
    std::string name;
    int kibibytes;  // 2147483647 stands for 2 TiB and more
    int major;
    int minor;
};

struct MountFact
{
    std::string device;
    bool mounted;
    std::string mountPoint;  // as the kernel writes it: a blank reads "\040"
    std::string type;
    bool readOnly;
};

struct FileSystemFact
{
    std::string path;
    bool readable;
    std::int64_t totalBytes;
    std::int64_t freeBytes;
};

struct ProcessFact
{
    std::string command;  // the start of a command line
    bool running;
};

struct ChecksumFact
{
    std::string file;
    bool readable;
    std::string sha1;   // 40 hexadecimal digits
    std::uint32_t crc;  // CRC-32/MPEG-2
};

struct BoxInfo
{
    std::vector<PartitionFact> partitions;
    std::vector<MountFact> mounts;
    std::vector<FileSystemFact> fileSystems;
    std::vector<ProcessFact> processes;
    std::vector<ChecksumFact> checksums;

    // Whether everything asked about was there: devices mounted, paths readable, processes running.
    bool Complete() const;
};

BoxInfo FindOut(const Questions& questions);

#endif  // TOOLS_BOXINFO_BOXINFO_H
