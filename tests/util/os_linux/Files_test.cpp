// Directories, paths and descriptors.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/support.h"
#include "util/os_linux/FSUtil.h"
#include "util/os_linux/FileDescriptor.h"
#include "util/os_linux/FilePath.h"
#include "util/os_linux/Logger.h"
#include "util/os_linux/Thread.h"

// From narrow_offsets.cpp.
int SortNamesOnHost(const char* a, const char* b);

namespace {
using testing::ElementsAre;
using testing::HasSubstr;

class FSUtilTest : public testing::Test
{
protected:
    // Names in the order of the scan, directories with a slash.
    static std::vector<std::string> Scan(const char* path, FileCompare* compare = nullptr)
    {
        tavi::Vector<FileCompareUnit*> entries;
        EXPECT_EQ(FSUtil::ScanDir(path, entries, compare), 0);
        std::vector<std::string> names;
        for (int index = 0; index < entries.Size(); ++index) {
            FileCompareUnit* const entry = entries.At(index);
            EXPECT_EQ(entry->mDirectory & ~1, 0);
            names.push_back(entry->mName + std::string(entry->mDirectory != 0 ? "/" : ""));
            std::free(entry->mName);
            std::free(entry);
        }
        return names;
    }

    test::CapturedLog mLog;
};

TEST_F(FSUtilTest, MakesDirectoriesAndTellsThemFromOtherNodes)
{
    umask(022);
    EXPECT_EQ(FSUtil::Mkdir("./d"), 0);
    EXPECT_EQ(test::OutputOf("stat -c %a d"), "755\n");
    EXPECT_EQ(FSUtil::Mkdir("./d"), -1);
    EXPECT_EQ(errno, EEXIST);
    test::OutputOf("touch -d 2040-01-01 d; touch f; chmod 644 f; ln -s d link");
    EXPECT_TRUE(FSUtil::IsDirectory("./d")) << "of any date";
    EXPECT_EQ(mLog.Text(), "");
    for (const char* path : {"./f", "./link", "./absent"}) {  // links are not followed
        EXPECT_FALSE(FSUtil::IsDirectory(path)) << path;
    }
    EXPECT_THAT(mLog.Text(), HasSubstr("Not Directory ./f 33188 -> "));
    EXPECT_THAT(mLog.Text(), HasSubstr("Invalid Node ./absent -> "));
}

TEST_F(FSUtilTest, ReadsTheSizesOfAFileSystem)
{
    EXPECT_TRUE(FSUtil::StatFS("/", nullptr));
    EXPECT_EQ(mLog.Text(), "") << "no figures are logged when none are asked for";
    FSStat figures = {-1, -1};
    EXPECT_FALSE(FSUtil::StatFS("./absent", &figures));
    EXPECT_EQ(figures.mTotalSize, -1);
    EXPECT_THAT(mLog.Text(), HasSubstr("Invalid Node ./absent -> "));

    ASSERT_TRUE(FSUtil::StatFS("/proc/self", &figures));
    EXPECT_EQ(figures.mTotalSize, 0);
    struct statvfs expected = {};
    EXPECT_TRUE(test::WaitUntil([&] {  // others may write in between
        EXPECT_EQ(statvfs("/", &expected), 0);
        EXPECT_TRUE(FSUtil::StatFS("/", &figures));
        return figures.mFreeSize == static_cast<std::int64_t>(expected.f_bsize * expected.f_bfree);
    }));
    const std::int64_t total = figures.mTotalSize;
    EXPECT_EQ(total, static_cast<std::int64_t>(expected.f_bsize * expected.f_blocks));
    std::ostringstream line;
    line << " (" << total << " " << figures.mFreeSize << "/" << (total >> 20) << " "
         << (figures.mFreeSize >> 20) << ") -> ";
    EXPECT_THAT(mLog.Text(), HasSubstr(line.str()));
}

TEST_F(FSUtilTest, ScansDirectoriesFirstAndThenByName)
{
    test::OutputOf("mkdir d");
    EXPECT_THAT(Scan("./d"), ElementsAre("../"));
    test::OutputOf(
        "cd d; mkdir z; touch b a B .hidden; touch -d 2040-01-01 z; ln -s z link;"
        "ln -s nowhere dangling; mkfifo pipe");
    // A link to a directory sorts as one but is not flagged; what cannot be examined is no
    // directory.
    EXPECT_THAT(Scan("./d"),
                ElementsAre("../", "link", "z/", ".hidden", "B", "a", "b", "dangling", "pipe"));
    FileCompare byName;
    EXPECT_THAT(Scan("./d", &byName),
                ElementsAre("../", ".hidden", "B", "a", "b", "dangling", "link", "pipe", "z/"));
    struct Backward : FileCompare
    {
        int Compare(FileCompareUnit& a, FileCompareUnit& b) override
        {
            return FileCompare::Compare(b, a);
        }
    } backward;
    EXPECT_EQ(Scan("./d", &backward).front(), "z/");
}

// While a scan compares, it is handed two entries that a source with 32-bit offsets made.
TEST_F(FSUtilTest, AHostsEntriesMayHaveAnotherLayout)
{
    struct : FileCompare
    {
        int Compare(FileCompareUnit& a, FileCompareUnit& b) override
        {
            const bool first = seen.empty();
            seen += std::string(a.mName) + " " + b.mName + "\n";
            EXPECT_EQ(first ? SortNamesOnHost("first", "second") : 0, 0) << "what this returns";
            return 0;
        }

        std::string seen;
    } compare;
    FSUtil::Mkdir("./d");
    Scan("./d", &compare);
    EXPECT_THAT(compare.seen, HasSubstr("\nfirst second\n"));
}

TEST_F(FSUtilTest, AnUnreadableDirectoryLeavesTheVectorAsItWas)
{
    tavi::Vector<FileCompareUnit*> entries;
    const std::string tooLong = "./" + std::string(5000, 'p');
    for (const char* path : {"./absent", "", "/dev/null", tooLong.c_str()}) {
        EXPECT_EQ(FSUtil::ScanDir(path, entries, nullptr), -1);
    }
    EXPECT_EQ(entries.Size(), 0);
    EXPECT_THAT(mLog.Text(), HasSubstr("[[LOG-ERROR]]:\033[0;0m scandir failed at ./absent -> "));
}

TEST_F(FSUtilTest, APathBeyondTheBufferCountsAsNoDirectory)
{
    test::OutputOf("mkdir -p d/dd d/ddx");
    std::string path = "./d/";
    while (path.size() < 2044) {  // with "/dd" 2047 characters, the most that fit
        path += "./";
    }
    EXPECT_THAT(Scan(path.c_str()), ElementsAre("../", "dd/", "ddx"));
}

TEST_F(FSUtilTest, ScansFromManyThreads)
{
    Logger::ChangeMode(0);
    test::OutputOf("mkdir d e; touch e/file");
    test::InThreads(4, [](int id) {
        for (int round = 0; round < 20; ++round) {
            EXPECT_EQ(Scan(id % 2 == 0 ? "./d" : "./e").size(), id % 2 == 0 ? 1U : 2U);
        }
    });
}

TEST_F(FSUtilTest, FindsAProcessByTheStartOfItsCommandLine)
{
    const std::string program = "/tmp/not-a-real-program-" + std::to_string(getpid());
    const pid_t child = fork();
    if (child == 0) {
        execl("/bin/sleep", program.c_str(), "100", nullptr);
        _exit(127);
    }
    const std::string commandLine = "/proc/" + std::to_string(child) + "/cmdline";
    ASSERT_TRUE(test::WaitUntil([&] { return test::ReadFile(commandLine).find("100") < 300; }));
    const std::pair<std::string, int> cases[] = {
        {program, 1},
        {program.substr(0, 20), 1},
        {program + "x", 0},
        {program + " 100", 0},       // arguments are parted by NUL
        {std::string(300, '/'), 0},  // longer than what is read
    };
    for (const auto& [command, running] : cases) {
        EXPECT_EQ(FSUtil::IsProcessRunning(command.c_str()), running) << command;
        EXPECT_EQ(Thread::IsProcessRunning(command.c_str()), running) << command;
    }
    for (const std::string& message : {program + " " + program, std::string("Unit = self")}) {
        EXPECT_THAT(mLog.Text(), HasSubstr("]: " + message + " -> IsProcessRunning in (/"));
    }
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const std::size_t before = test::AllocatedBytes();
    for (int count = 0; count < 10; ++count) {
        EXPECT_EQ(FSUtil::IsProcessRunning(program.c_str()), 0);
    }
    EXPECT_LT(test::AllocatedBytes(), before + 20000) << "ten lists of the processes take more";
}

TEST(FileDescriptor, StaysAboveTheStandardStreamsAndIsClosedOnExec)
{
    const int output = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 10);
    const int errors = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 10);
    close(STDIN_FILENO);
    close(STDOUT_FILENO);
    close(STDERR_FILENO);
    const int opened[] = {OpenDescriptor("/dev/null", O_RDONLY),
                          OpenSocket(AF_INET, SOCK_STREAM, 0),
                          OpenDescriptor("./absent", O_RDONLY)};
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    for (int descriptor : {opened[0], opened[1]}) {
        EXPECT_GE(descriptor, 3);
        EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC);
        close(descriptor);
    }
    EXPECT_EQ(opened[2], -1);
    EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1) << "nothing was left behind";
}

TEST(FilePath, SplitsAtItsLastSeparator)
{
    const std::tuple<const char*, const char*, const char*, bool> cases[] = {
        {"/a/b/c", "c", "/a/b", false},
        {"/a/b/", "b/", "/a", true},
        {"/name", "name", "", false},
        {"name", "name", "name", false},
        {"name/", "name/", "name/", true},
        {"/", "/", "/", true},
        {"//", "/", "", true},
        {"a//b", "b", "a/", false},
        {"", "", "", false},
    };
    for (const auto& [text, item, directory, endsInSlash] : cases) {
        FilePath path(text);
        EXPECT_STREQ(path.GetLastItem(), item) << text;
        EXPECT_STREQ(path.GetLastDirectory(), directory) << text;
        EXPECT_EQ(path.GuessDir(), endsInSlash) << text;
        EXPECT_EQ(path.IsAbsolutePath(), text[0] == '/') << text;
    }
    EXPECT_STREQ(FilePath(nullptr).GetLastItem(), "");
}

TEST(FilePath, CountsItemsWithoutALeadingSlash)
{
    FilePath path("/a//b/");
    const std::pair<int, const char*> items[] = {
        {INT32_MIN, ""}, {-1, ""}, {0, "a"}, {1, ""}, {2, "b"}, {3, ""}, {4, ""}, {INT32_MAX, ""}};
    for (const auto& [index, item] : items) {
        EXPECT_STREQ(path.GetItem(index), item) << index;
    }
    EXPECT_STREQ(FilePath("whole").GetItem(1), "whole") << "without a slash every item is the path";

    const std::string name(1000, 'n');
    FilePath longPath(("/" + name + "/" + name).c_str());
    EXPECT_EQ(longPath.GetLastItem(), name.substr(0, 255)) << "results have 255 characters";
    EXPECT_EQ(longPath.GetItem(0), name.substr(0, 255));
    EXPECT_EQ(longPath.GetLastDirectory(), "/" + name.substr(0, 254));
}
}  // namespace
