// The launcher's side of ExecShell, against a launcher of the test's own. Its path is fixed: the
// test runs where /mtmp is private (tests/support/run_in_private_root).
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>

#include "tests/support/support.h"
#include "util/os_linux/ExecShell.h"
#include "util/os_linux/Logger.h"

namespace {
using testing::HasSubstr;
using testing::Not;

constexpr char kPath[] = "/mtmp/app_launcher";

class LauncherTest : public testing::Test
{
protected:
    void SetUp() override
    {
        Logger::ChangeMode(1);
        const char* const root = getenv("PRIVATE_ROOT");
        if (root == nullptr || std::string(root) == "none") {
            GTEST_SKIP() << "neither a mount namespace nor the right to create /mtmp";
        }
    }

    void TearDown() override
    {
        if (mListener >= 0) {
            close(mListener);
            unlink(kPath);
        }
    }

    void Listen()
    {
        mListener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address = {AF_UNIX, {}};
        std::string(kPath).copy(address.sun_path, sizeof(address.sun_path) - 1);
        ASSERT_EQ(bind(mListener, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
        ASSERT_EQ(listen(mListener, 5), 0);
    }

    // The next caller.
    int Accept() const { return accept4(mListener, nullptr, nullptr, SOCK_CLOEXEC); }

    bool SomebodyConnected() const
    {
        pollfd entry = {mListener, POLLIN, 0};
        return poll(&entry, 1, 0) > 0;
    }

    // Everything that the caller sends before it closes, or when it waits, exactly length bytes.
    static std::string Receive(int caller, std::size_t length = 1000)
    {
        std::string text;
        char byte = 0;
        while (text.size() < length && recv(caller, &byte, 1, 0) == 1) {
            text += byte;
        }
        return text;
    }

    int mListener = -1;
    test::CapturedStderr mLog;
    ExecShell mShell;
};

TEST_F(LauncherTest, ACommandIsTheWholeConnection)
{
    Listen();
    const std::string longest(511, 'c');
    for (const std::string& command : {std::string("l"), std::string("a b\n\xff%s"), longest}) {
        mShell.ExternalExec(command.c_str());
        const int caller = Accept();
        EXPECT_EQ(Receive(caller), command);
        close(caller);
    }
    mShell.WaitExternalExec();
    const int caller = Accept();
    EXPECT_EQ(Receive(caller), "echo");
    close(caller);
    EXPECT_EQ(mLog.Text(), "");
}

TEST_F(LauncherTest, ABlockingCommandWaitsForTheAnswer)
{
    Listen();
    for (const std::string& command : {std::string("ls"), std::string(502, 'c')}) {
        std::atomic<bool> returned{false};
        std::thread waiter([&] {
            mShell.ExternalExecWait(command.c_str());
            returned = true;
        });
        const int caller = Accept();
        EXPECT_EQ(Receive(caller, command.size() + 9), "EXECBLOCK" + command);
        EXPECT_FALSE(returned);
        EXPECT_EQ(send(caller, "done!", 5, 0), 5);
        waiter.join();
        EXPECT_EQ(Receive(caller), "") << "not one byte more";
        close(caller);
    }
    EXPECT_THAT(mLog.Text(), HasSubstr("]: cmdbuffer = EXECBLOCKls -> "));
    EXPECT_EQ(test::Count(mLog.Text(), "[LOG-WARN]:\033[0;0m  retSize = 5  -> "), 2);
}

TEST_F(LauncherTest, EmptyAndOverlongCommandsReachNobody)
{
    Listen();
    const int descriptors = test::CountDescriptors();
    mShell.ExternalExec("");
    EXPECT_EQ(mLog.Text(), "");
    mShell.ExternalExecWait("");
    EXPECT_THAT(mLog.Text(), HasSubstr("]: cmdbuffer =  -> "));
    mShell.ExternalExec(std::string(512, 'c').c_str());
    mShell.ExternalExecWait(std::string(503, 'c').c_str());
    mShell.ExternalExecWait(std::string(100000, 'c').c_str());
    EXPECT_THAT(mLog.Text(), HasSubstr("Command refused: 512 characters, at most 511 fit"));
    EXPECT_THAT(mLog.Text(), HasSubstr("Command refused: 503 characters, at most 502 fit"));
    EXPECT_FALSE(SomebodyConnected());
    EXPECT_EQ(test::CountDescriptors(), descriptors);
}

TEST_F(LauncherTest, AMissingLauncherIsLogged)
{
    const int descriptors = test::CountDescriptors();
    const std::string line =
        "[LOG-WARN]:\033[0;0m Socket Connect Error To: /mtmp/app_launcher, -1 -> ";
    mShell.ExternalExec("ls");
    EXPECT_EQ(test::Count(mLog.Text(), line), 1);
    mShell.ExternalExecWait("ls");
    EXPECT_EQ(test::Count(mLog.Text(), line), 2);
    EXPECT_EQ(test::CountDescriptors(), descriptors);
}

TEST_F(LauncherTest, ALauncherThatHangsUpHurtsNobody)
{
    Listen();
    std::thread launcher([this] {
        for (int caller = Accept(); caller >= 0; caller = Accept()) {
            close(caller);  // often before the caller has written
        }
    });
    for (int count = 0; count < 300; ++count) {
        mShell.ExternalExec("ls");
        mShell.ExternalExecWait("ls");
    }
    shutdown(mListener, SHUT_RDWR);
    launcher.join();
    EXPECT_THAT(mLog.Text(), Not(HasSubstr("retSize"))) << "no answer, no line";
    EXPECT_THAT(mLog.Text(), Not(HasSubstr("Connect Error")));
}

TEST_F(LauncherTest, ASilentLauncherHoldsUpOnlyItsCaller)
{
    struct sigaction action = {};
    action.sa_handler = [](int) {};  // without SA_RESTART
    sigaction(SIGUSR1, &action, nullptr);
    Listen();
    std::atomic<bool> returned{false};
    std::thread waiter([&] {
        mShell.ExternalExecWait("slow");
        returned = true;
    });
    const int silent = Accept();
    EXPECT_EQ(Receive(silent, 13), "EXECBLOCKslow");
    for (int count = 0; count < 20; ++count) {
        pthread_kill(waiter.native_handle(), SIGUSR1);
        mShell.ExternalExec("quick");
        const int caller = Accept();
        EXPECT_EQ(Receive(caller), "quick");
        close(caller);
    }
    mShell.ExecWait(": > ./done");
    EXPECT_EQ(access("./done", F_OK), 0);
    EXPECT_FALSE(returned) << "signals do not end the wait";
    close(silent);
    waiter.join();
}
}  // namespace
