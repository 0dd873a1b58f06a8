// What lies at fixed places of a box: the launcher's side of ExecShell at /mtmp/app_launcher,
// against a launcher of the test's own, and the logger's /config/debug.out and /proc/kmsg. The test
// runs where they are private (tests/support/run_in_private_root).
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include "tests/support/Background.h"
#include "tests/support/RawPeer.h"
#include "util/os_linux/ExecShell.h"
#include "util/os_linux/Logger.h"

namespace {
using test::Background;
using test::RawListener;
using testing::HasSubstr;

constexpr char kPath[] = "/mtmp/app_launcher";

// What tests/support/run_in_private_root made of the fixed places.
const char* const kGiven = std::getenv("PRIVATE_ROOT");
const std::string kRoot = kGiven != nullptr ? kGiven : "none";

class FixedPlaces : public testing::Test
{
protected:
    void SetUp() override
    {
        if (kRoot == "none") {
            GTEST_SKIP() << "neither a mount namespace nor the right to create /mtmp and /config";
        }
    }
    void TearDown() override { unlink(kPath); }

    static void Configure(std::string line) { Logger::GetLogger(0)->ParseConfig(line.data()); }

    test::CapturedLog mLog;
    ExecShell mShell;
};

TEST_F(FixedPlaces, ACommandIsTheWholeConnection)
{
    const RawListener launcher(kPath);
    for (const std::string& command : {std::string("a b\n\xff%s"), std::string(511, 'c')}) {
        mShell.ExternalExec(command.c_str());
        EXPECT_EQ(launcher.Accept().Receive(1000), command);
    }
    mShell.WaitExternalExec();
    EXPECT_EQ(launcher.Accept().Receive(1000), "echo");
    EXPECT_EQ(mLog.Text(), "");
}

TEST_F(FixedPlaces, ABlockingCommandWaitsForTheAnswerThroughSignals)
{
    test::HandleSignal(SIGUSR1);
    const RawListener launcher(kPath);
    for (const std::string& command : {std::string("ls"), std::string(502, 'c')}) {
        Background waiter([&] { mShell.ExternalExecWait(command.c_str()); });
        const test::RawPeer caller = launcher.Accept();
        EXPECT_EQ(caller.Receive(command.size() + 9), "EXECBLOCK" + command);
        for (int count = 0; count < 10; ++count) {
            waiter.Signal(SIGUSR1);
            mShell.ExternalExec("quick");
            EXPECT_EQ(launcher.Accept().Receive(1000), "quick") << "others are not held up";
        }
        EXPECT_TRUE(waiter.Waits());
        EXPECT_TRUE(caller.Send("done!"));
        EXPECT_TRUE(waiter.Returns());
        EXPECT_EQ(caller.Receive(1000), "") << "not one byte more";
    }
    EXPECT_THAT(mLog.Text(), HasSubstr("]: cmdbuffer = EXECBLOCKls -> "));
    EXPECT_EQ(test::Count(mLog.Text(), "[LOG-WARN]:\033[0;0m  retSize = 5  -> "), 2);
}

TEST_F(FixedPlaces, WhatReachesNobodyLeavesNoDescriptor)
{
    const int before = test::CountDescriptors();
    mShell.ExternalExec("ls");
    mShell.ExternalExecWait("ls");
    EXPECT_EQ(test::Count(mLog.Text(),
                          "[LOG-WARN]:\033[0;0m Socket Connect Error To: "
                          "/mtmp/app_launcher, -1 -> "),
              2);

    const RawListener launcher(kPath);
    mShell.ExternalExec("");
    mShell.ExternalExecWait("");
    mShell.ExternalExec(std::string(512, 'c').c_str());
    mShell.ExternalExecWait(std::string(503, 'c').c_str());
    EXPECT_THAT(mLog.Text(), HasSubstr("]: cmdbuffer =  -> "));
    EXPECT_THAT(mLog.Text(), HasSubstr("Command refused: 512 characters, at most 511 fit"));
    EXPECT_THAT(mLog.Text(), HasSubstr("Command refused: 503 characters, at most 502 fit"));
    EXPECT_EQ(test::Count(mLog.Text(), "\n"), 6)
        << "nothing about an empty command of the other kind";
    EXPECT_FALSE(launcher.SomebodyConnected());
    EXPECT_EQ(test::CountDescriptors(), before + 1) << "the listener's own";
}

TEST_F(FixedPlaces, ALauncherThatHangsUpHurtsNobody)
{
    const RawListener listener(kPath);
    const Background launcher([&] {
        while (listener.Accept().IsOpen()) {}  // often closed before the caller has written
    });
    for (int count = 0; count < 300; ++count) {
        mShell.ExternalExec("ls");
        mShell.ExternalExecWait("ls");
    }
    listener.Shutdown();
    EXPECT_EQ(test::Count(mLog.Text(), "retSize"), 0) << "no answer, no line";
    EXPECT_EQ(test::Count(mLog.Text(), "Connect Error"), 0);
}

TEST_F(FixedPlaces, AnUnusableFileIsReplacedByTheBoxesOwn)
{
    test::WriteFile("/config/debug.out", "old text");
    Configure("outpath=./absent/out.log");
    Logger::ChangeMode(2);
    Logger_Print(0, 0, 1, "F", "f", 1, "new");
    EXPECT_EQ(test::ReadFile("/config/debug.out"), "new");
    unlink("/config/debug.out");
}

TEST_F(FixedPlaces, KernelMessagesAreForwardedWhenAskedFor)
{
    ASSERT_EQ(mkfifo("./kmsg", 0600), 0);
    if (kRoot != "private" || mount("./kmsg", "/proc/kmsg", "", MS_BIND, nullptr) != 0) {
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
