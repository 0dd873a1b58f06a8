#include "util/os_linux/PartitionParser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "tests/support/support.h"
#include "util/os_linux/KernelTables.h"

namespace {
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

class PartitionTest : public testing::Test
{
protected:
    // The entries as lines of the kernel's table.
    std::vector<std::string> Read(const std::string& path, bool skipHd = false)
    {
        ReadPartitions(path.c_str(), skipHd, mParser);
        std::vector<std::string> lines;
        for (int index = 0; index < mParser.mCount; ++index) {
            const PartitionParser::Partition& entry = mParser.mPartitions[index];
            std::ostringstream line;
            line << entry.mMajor << " " << entry.mMinor << " " << entry.mBlocks << " "
                 << entry.mName;
            lines.push_back(line.str());
        }
        return lines;
    }

    const std::string mData = TEST_DATA_DIR "/partitions/";
    test::CapturedLog mLog;
    PartitionParser mParser;
};

TEST_F(PartitionTest, ListsThePartitionsOfABox)
{
    EXPECT_THAT(Read(mData + "box", true), ElementsAre("8 0 488386584 sda", "8 1 488384032 sda1"));
    EXPECT_THAT(Read(mData + "box"),
                ElementsAre("8 0 488386584 sda", "8 1 488384032 sda1", "3 0 39082680 hda"));
    EXPECT_THAT(mLog.Text(),
                HasSubstr("]: 2th Partition Name=hda, Blocks=39082680, Major=3, Minor=0 -> "));
    EXPECT_EQ(mParser.FindPartition("/dev/sda"), 1);
    EXPECT_EQ(mParser.FindPartition("/dev/hda"), 1);
    for (const char* path : {"sda1", "/dev/sda11", "/dev/sd", "/dev/", "/DEV/sda", "/dev//sda"}) {
        EXPECT_EQ(mParser.FindPartition(path), 0) << path;
    }
    EXPECT_EQ(mParser.FindPartition(nullptr), 0);
    EXPECT_EQ(mParser.GetPartitionCount("sd"), 2);
    EXPECT_EQ(mParser.GetPartitionCount(""), 3);
    EXPECT_EQ(mParser.GetPartitionCount(nullptr), 0);
}

TEST_F(PartitionTest, HoldsThirtyTwoOfAServersMany)
{
    std::string table = "header\n";
    for (int number = 10; number < 60; ++number) {
        table += " 8 0 976762584 sd" + std::to_string(number) + "\n";
    }
    test::WriteFile("./server", table);
    EXPECT_EQ(Read("./server").size(), 32U);
    EXPECT_EQ(Read("./server").back(), "8 0 976762584 sd41");
}

TEST_F(PartitionTest, LeavesOutWhatItCannotHold)
{
    EXPECT_THAT(Read(mData + "hostile", true),
                ElementsAre("8 16 8 sdb", "8 2 2147483647 huge",
                            "2147483647 2147483647 2147483647 wide", "8 3 2147483647 negative",
                            "0 0 0 words", "8 4 100 exactly15chars_", "8 7 100 a"));
    EXPECT_THAT(mLog.Text(), HasSubstr("Partition exactly16chars__ left out"));
    EXPECT_THAT(mLog.Text(), HasSubstr("Partition line of 128 characters left out"));
    EXPECT_THAT(Read(mData + "hostile"), Contains("8 9 100 hdb"));
    EXPECT_THAT(Read(mData + "crlf"), Contains(testing::EndsWith(" sda\r")))
        << "names end at blanks only";
}

TEST_F(PartitionTest, ATableThatCannotBeReadEmptiesTheList)
{
    test::WriteFile("./empty", "");
    test::WriteFile("./header", "major minor  #blocks  name\n");
    for (const char* path : {"./absent", ".", "./empty", "./header", "/dev/null"}) {
        Read(mData + "box");
        EXPECT_EQ(Read(path).size(), 0U) << path;
        EXPECT_EQ(mParser.FindPartition("/dev/sda"), 0);
    }
    EXPECT_EQ(PartitionParser().GetPartitionCount(""), 0) << "nothing before Parse";
}

TEST_F(PartitionTest, ReadsAsMuchAsItsBufferHolds)
{
    std::string table = "header\n";
    while (table.size() < 16300) {
        table += "31 0 100 mtdblock\n";
    }
    table.resize(16383 - 9);
    table.back() = '\n';
    test::WriteFile("./table", table + "8 0 1 sd\n" + "8 0 1 sdx\n");
    EXPECT_THAT(Read("./table"), ElementsAre("8 0 1 sd"));
    test::WriteFile("./table", table + "8 0 1 sdy\n");
    EXPECT_THAT(Read("./table"), ElementsAre()) << "a line that is cut is no line";
}

class MountTest : public testing::Test
{
protected:
    // Looks the device up with buffers that show every byte written; "-" when it is not found.
    std::string Find(const std::string& table, const char* device, const char* mountPoint = "",
                     std::size_t size = PartitionParser::kMountText)
    {
        std::string point = mountPoint + std::string(1, '\0');
        std::string type(1, '\0');
        point.resize(size + 8, '#');
        type.resize(size + 8, '#');
        bool readOnly = false;
        const bool found =
            FindMount(table.c_str(), device, {point.data(), size, readOnly, type.data(), size});
        EXPECT_EQ(point.substr(size) + type.substr(size), std::string(16, '#'))
            << "written beyond the buffer";
        if (!found) {
            EXPECT_STREQ(point.c_str(), mountPoint) << "as before";
            return "-";
        }
        return std::string(point.c_str()) + " " + type.c_str() + (readOnly ? " ro" : " rw");
    }

    const std::string mData = TEST_DATA_DIR "/mounts/";
    test::CapturedLog mLog;
};

TEST_F(MountTest, TellsWhereADeviceIsMounted)
{
    const struct
    {
        const char *table, *device;
        std::string result;
        const char* mountPoint = "";  // that the caller gives
    } cases[] = {
        {"box", "/dev/root", "/ squashfs ro"},
        {"box", "rootfs", "/ rootfs rw"},
        {"box", "/dev/sda1", "/mnt/usb vfat rw"},
        {"box", "/dev/sdb1", "/mnt/my\\040disk ext4 ro"},
        {"box", "/dev/sdc1", "/mnt/second ext3 ro"},  // the last line counts
        {"box", "/dev/sdd1", "/mnt/odd ext4 ro"},     // the first option contains "ro"
        {"box", "/dev/sda", "-"},
        {"box", "", "-"},
        {"box", nullptr, "-"},
        {"containers", "/dev/vda1", "/etc/resolv.conf ext4 ro"},  // bind mounts
        {"containers", "overlay", "/var/lib/containers/short/merged overlay rw"},
        {"hostile", "/dev/three", "-"},
        {"hostile", "/dev/four", "/mnt/four ext4 rw"},
        {"hostile", "/dev/sp", " /mnt/sp rw"},
        {"hostile", "/dev/p127", "/" + std::string(126, 'p') + " ext4 rw"},
        {"hostile", "/dev/p128", "-"},
        {"hostile", "/dev/t127", "/t " + std::string(127, 't') + " rw"},
        {"hostile", "/dev/t128", "-"},
        {"hostile", "/dev/l511", "/l ext4 rw"},
        {"hostile", "/dev/l512", "-"},
        {"hostile", "/dev/crlf", "/mnt/crlf vfat ro"},
        {"hostile", "/dev/cr4", "/mnt/cr4 vfat rw"},
        {"hostile", "/dev/unfinished", "-"},
        {"absent", "/dev/root", "-"},
        {"box", "none", "/mnt/usb  rw", "/mnt/usb"},
        {"box", "none", "/mnt/us  rw", "/mnt/us"},  // any part of the table
        {"box", "none", "-", "/mnt/cdrom"},
        {"box", "/dev/root", "/ squashfs ro", "/mnt/cdrom"},
        {"hostile", "none", "/mnt/unfinished  rw", "/mnt/unfinished"},
        {"absent", "none", "-", "/mnt/usb"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Find(mData + c.table, c.device, c.mountPoint), c.result)
            << c.table << " " << (c.device != nullptr ? c.device : "null");
    }
    EXPECT_EQ(Find(mData + "hostile", ("/" + std::string(200, 'd')).c_str()),
              "/mnt/longdevice ext4 rw");
    for (const char* message :
         {"Device Name = /dev/root", "result = proc /proc proc rw,relatime 0 0", " Mount Point : /",
          " Filesystem Type : squashfs", "aIsReadOnly = 1 part = ro,relatime read = ro",
          "Mount line of 512 characters left out",
          "Mount left out, its mount point or type is too long"}) {
        EXPECT_THAT(mLog.Text(), HasSubstr(std::string(message) + " -> "));
    }
}

TEST_F(MountTest, WritesOnlyWhatFits)
{
    for (const char* device : {"/dev/root", "/dev/sda1"}) {  // "squashfs" and "/mnt/usb"
        EXPECT_EQ(Find(mData + "box", device, "", 9), Find(mData + "box", device));
        EXPECT_EQ(Find(mData + "box", device, "", 8), "-");
    }
    const std::string table = mData + "box";
    bool readOnly = false;
    EXPECT_TRUE(FindMount(table.c_str(), "/dev/root", {nullptr, 128, readOnly, nullptr, 128}));
    EXPECT_TRUE(readOnly);
    EXPECT_FALSE(FindMount(table.c_str(), "none", {nullptr, 128, readOnly, nullptr, 128}));
    std::vector<char> endless(128, '/');  // without its NUL
    EXPECT_FALSE(FindMount(table.c_str(), "none", {endless.data(), 128, readOnly, nullptr, 0}));
}

TEST_F(MountTest, LooksAtTheFirst4096BytesOnly)
{
    std::string table;
    for (int number = 10000; number < 10130; ++number) {  // lines of 33 bytes
        const std::string name = std::to_string(number);
        table += "/dev/d" + name + " /m/" + name + " ext4 rw 0 0\n";
    }
    test::WriteFile("./mounts", table);
    EXPECT_EQ(Find("./mounts", "/dev/d10123"), "/m/10123 ext4 rw");
    EXPECT_EQ(Find("./mounts", "/dev/d10124"), "-") << "a line that is cut";
    EXPECT_TRUE(OccursInMounts("./mounts", "10123 ext4 rw 0 0\n/dev"));
    EXPECT_FALSE(OccursInMounts("./mounts", "10123 ext4 rw 0 0\n/dev/"));
    EXPECT_FALSE(OccursInMounts("./mounts", nullptr));
    EXPECT_FALSE(OccursInMounts("./absent", ""));
}

TEST_F(MountTest, AgreesWithThisMachine)
{
    PartitionParser fromFile, parser;
    ReadPartitions("/proc/partitions", false, fromFile);
    parser.Parse(false);
    EXPECT_EQ(parser.mCount, fromFile.mCount);

    std::string device;
    std::istringstream(test::ReadFile("/proc/mounts")) >> device;
    char point[PartitionParser::kMountText] = "", type[PartitionParser::kMountText] = "";
    char* mountPoint = point;
    char* fsType = type;
    bool readOnly = false;
    ASSERT_TRUE(parser.GetMountedInfo(device.c_str(), mountPoint, readOnly, fsType));
    const std::string mount = std::string(point) + " " + type + (readOnly ? " ro" : " rw");
    EXPECT_EQ(Find("/proc/mounts", device.c_str()), mount);
    EXPECT_EQ(parser.CheckMount((device + " " + mount).c_str()), 1);
    EXPECT_EQ(parser.CheckMount("/no/such/mount/point"), 0);
    char root[] = "/";
    EXPECT_TRUE(parser.GetMountedInfo("none", root, 2, readOnly, nullptr, 0));
    EXPECT_FALSE(parser.GetMountedInfo("none", root, 1, readOnly, nullptr, 0)) << "no room for it";
}
}  // namespace
