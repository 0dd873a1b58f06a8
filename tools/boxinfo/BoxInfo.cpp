#include "tools/boxinfo/BoxInfo.h"

#include <algorithm>
#include <fstream>

#include "util/checksum/Crc32.h"
#include "util/checksum/SHA1.h"
#include "util/os_linux/FSUtil.h"
#include "util/os_linux/PartitionParser.h"

namespace {
std::vector<PartitionFact> Partitions(bool skipHd)
{
    PartitionParser parser;
    parser.Parse(skipHd);
    std::vector<PartitionFact> facts;
    for (int index = 0; index < parser.mCount; ++index) {
        const PartitionParser::Partition& entry = parser.mPartitions[index];
        facts.push_back({entry.mName, entry.mBlocks, entry.mMajor, entry.mMinor});
    }
    return facts;
}

MountFact Mount(const std::string& device)
{
    char mountPoint[PartitionParser::kMountText] = "";
    char type[PartitionParser::kMountText] = "";
    bool readOnly = false;
    const bool mounted = PartitionParser().GetMountedInfo(
        device.c_str(), mountPoint, sizeof(mountPoint), readOnly, type, sizeof(type));
    return {device, mounted, mountPoint, type, readOnly};
}

// The path that the kernel means: in its table a blank, a TAB, a line feed and a backslash stand as
// three octal digits.
std::string Decoded(const std::string& mountPoint)
{
    std::string path;
    for (std::size_t at = 0; at < mountPoint.size(); ++at) {
        const std::string digits = mountPoint.substr(at + 1, 3);
        if (mountPoint[at] == '\\' && digits.size() == 3 &&
            digits.find_first_not_of("01234567") == std::string::npos) {
            path += static_cast<char>(std::stoi(digits, nullptr, 8));
            at += digits.size();
        } else {
            path += mountPoint[at];
        }
    }
    return path;
}

FileSystemFact FileSystem(const std::string& path)
{
    FSStat sizes = {};
    const bool readable = FSUtil::StatFS(path.c_str(), &sizes);
    return {path, readable, sizes.mTotalSize, sizes.mFreeSize};
}

std::string Hexadecimal(const unsigned char (&digest)[20])
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (unsigned char byte : digest) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

ChecksumFact Checksum(const std::string& path)
{
    SHA1Calculator sha1;
    sha1.Start();
    std::uint32_t crc = MCrc32(nullptr, 0).mCrc;
    std::ifstream file(path, std::ios::binary);
    std::vector<unsigned char> piece(65536);
    do {
        file.read(reinterpret_cast<char*>(piece.data()),
                  static_cast<std::streamsize>(piece.size()));
        const int length = static_cast<int>(file.gcount());
        sha1.Update(piece.data(), length);
        for (int index = 0; index < length; ++index) {
            crc = crc << 8 ^ crc_table[crc >> 24 ^ piece[static_cast<std::size_t>(index)]];
        }
    } while (file);
    sha1.Finish();
    // The end of the file ends a good read; a directory, for one, fails before it.
    return {path, file.eof() && !file.bad(), Hexadecimal(sha1.mDigest), crc};
}

template <typename Fact>
bool All(const std::vector<Fact>& facts, bool Fact::*holds)
{
    return std::all_of(facts.begin(), facts.end(), [holds](const Fact& f) { return f.*holds; });
}
}  // namespace

BoxInfo FindOut(const Questions& questions)
{
    BoxInfo info;
    if (questions.partitions) {
        info.partitions = Partitions(questions.skipHd);
    }
    if (questions.everyMount) {
        for (const PartitionFact& partition : Partitions(questions.skipHd)) {
            const MountFact mount = Mount("/dev/" + partition.name);
            if (mount.mounted) {
                info.mounts.push_back(mount);
                info.fileSystems.push_back(FileSystem(Decoded(mount.mountPoint)));
            }
        }
    }
    for (const std::string& device : questions.devices) {
        info.mounts.push_back(Mount(device));
    }
    for (const std::string& path : questions.fileSystems) {
        info.fileSystems.push_back(FileSystem(path));
    }
    for (const std::string& command : questions.processes) {
        info.processes.push_back({command, FSUtil::IsProcessRunning(command.c_str()) == 1});
    }
    for (const std::string& file : questions.files) {
        info.checksums.push_back(Checksum(file));
    }
    return info;
}

bool BoxInfo::Complete() const
{
    return All(mounts, &MountFact::mounted) && All(fileSystems, &FileSystemFact::readable) &&
           All(processes, &ProcessFact::running) && All(checksums, &ChecksumFact::readable);
}
