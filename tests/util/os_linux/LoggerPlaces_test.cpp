// The logger's fixed places, /config/debug.out and /proc/kmsg, where both are private to the test
// (tests/support/run_in_private_root).
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include "tests/support/support.h"
#include "util/os_linux/Logger.h"

namespace {
void Configure(std::string line)
{
    Logger::GetLogger(0)->ParseConfig(line.data());
}

std::string Root()
{
    const char* const root = std::getenv("PRIVATE_ROOT");
    return root != nullptr ? root : "none";
}

TEST(LoggerPlaces, AnUnusableFileIsReplacedByTheBoxesOwn)
{
    if (Root() == "none") {
        GTEST_SKIP() << "neither a mount namespace nor the right to create /config";
    }
    test::WriteFile("/config/debug.out", "old text");
    Configure("outpath=./absent/out.log");
    Logger::ChangeMode(2);
    Logger_Print(0, 0, 1, "F", "f", 1, "new");
    EXPECT_EQ(test::ReadFile("/config/debug.out"), "new");
    unlink("/config/debug.out");
}

TEST(LoggerPlaces, KernelMessagesAreForwardedWhenAskedFor)
{
    ASSERT_EQ(mkfifo("./kmsg", 0600), 0);
    if (Root() != "private" || mount("./kmsg", "/proc/kmsg", "", MS_BIND, nullptr) != 0) {
        GTEST_SKIP() << "/proc/kmsg cannot be replaced here";
    }
    Configure("outpath=./out.log");
    Configure("kmsg=1");
    Logger::ChangeMode(2);
    std::thread(Logger::ThreadKmsg, nullptr).detach();
    std::ofstream kernel("./kmsg");
    kernel << "<6>first\n" << std::flush;
    const auto shows = [](const std::string& text) {
        return test::WaitUntil([&] { return test::ReadFile("./out.log") == text; });
    };
    EXPECT_TRUE(shows("KMSG:<6>first\n"));
    const std::string piece(1019, 'k');
    kernel << piece << "rest" << std::flush;
    EXPECT_TRUE(shows("KMSG:<6>first\nKMSG:" + piece + "KMSG:rest"));
}
}  // namespace
