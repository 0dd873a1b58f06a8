#include "util/os_linux/ExecShell.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <thread>

#include "tests/support/support.h"
#include "util/os_linux/Logger.h"

// Stands before the C library's own for all of this program, the library's calls included.
static bool gForkFails = false;
extern "C" __attribute__((visibility("default"))) pid_t fork() noexcept
{
    static const auto original = reinterpret_cast<pid_t (*)()>(dlsym(RTLD_NEXT, "fork"));
    if (gForkFails) {
        errno = EAGAIN;
        return -1;
    }
    return original();
}

namespace {
using testing::HasSubstr;
using testing::Not;

class ExecShellTest : public testing::Test
{
protected:
    // Whether all children have been collected.
    static bool NoChildIsLeft() { return waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD; }

    test::CapturedLog mLog;
    ExecShell mShell;
};

TEST_F(ExecShellTest, ChildrenGetTheFixedEnvironmentEntryByEntry)
{
    setenv("OF_THE_CALLER", "1", 1);
    std::string expected = test::ReadFile(TEST_DATA_DIR "/shell_environment.txt");
    // What the shell itself was given: it would hand a tidied environment to its children.
    mShell.Exec("tr '\\0' '\\n' < /proc/$$/environ > ./exec; :");
    mShell.Wait(-1);
    EXPECT_EQ(test::ReadFile("./exec"), expected);

    mShell.ExecWait("tr '\\0' '\\n' < /proc/$$/environ > ./wait; :");
    expected.insert(expected.find("\nOLDPWD=/config"), ":/data/wlan:./");
    EXPECT_EQ(test::ReadFile("./wait"), expected);

    mShell.System(("echo $OF_THE_CALLER > ./system #" + std::string(3000, 'x')).c_str());
    EXPECT_EQ(test::ReadFile("./system"), "1\n") << "that of the caller";
    EXPECT_THAT(mLog.Text(), Not(HasSubstr("ERROR")));
}

TEST_F(ExecShellTest, ExecDoesNotWaitAndLeavesTheChildToItsHost)
{
    ASSERT_EQ(mkfifo("./gate", 0600), 0);
    mShell.Exec("cat ./gate; exit 5");
    test::WriteFile("./gate", "");  // waits for the child, which waits for it
    siginfo_t child = {};
    ASSERT_EQ(waitid(P_ALL, 0, &child, WEXITED | WNOWAIT), 0);
    EXPECT_EQ(child.si_status, 5);
    mShell.Wait(child.si_pid);
    EXPECT_TRUE(NoChildIsLeft());
    const std::string id = std::to_string(child.si_pid);
    const std::string before = mLog.Text();
    EXPECT_THAT(before, testing::AllOf(
                            HasSubstr("]: Exit PID: " + id + ", Child PID : " + id + "\n -> Wait"),
                            HasSubstr("]: Child PID... -> "), Not(HasSubstr("Invoke"))));
    mShell.Wait(child.si_pid);
    EXPECT_EQ(mLog.Text(), before) << "nothing to wait for";
}

TEST_F(ExecShellTest, ExecWaitWaitsThroughSignals)
{
    const test::Interruptions interruptions(10000);
    mShell.ExecWait("sleep 0.1; pwd > ./done");
    EXPECT_NE(test::ReadFile("./done"), "");
    EXPECT_TRUE(NoChildIsLeft());
    EXPECT_THAT(mLog.Text(), HasSubstr("]: Invoke sleep 0.1; pwd > ./done : PID Parent= " +
                                       std::to_string(getpid()) + ", Child = "));
}

TEST_F(ExecShellTest, ACommandThatDoesNotFitIsRefusedWhole)
{
    const auto padded = [](const std::string& command, std::size_t length) {
        return command + " #" + std::string(length - command.size() - 2, 'x');
    };
    mShell.ExecWait(padded(": > ./a", 255).c_str());
    EXPECT_THAT(mLog.Text(), Not(HasSubstr("ERROR")));
    mShell.ExecWait(padded(": > ./b", 256).c_str());
    mShell.Exec(padded(": > ./c", 5000).c_str());
    EXPECT_THAT(mLog.Text(), HasSubstr("Command refused: 256 characters, at most 255 fit"));
    mShell.Exec(nullptr);
    mShell.ExecWait(nullptr);
    mShell.System(nullptr);
    mShell.ExternalExec(nullptr);
    mShell.ExternalExecWait(nullptr);
    EXPECT_EQ(test::Count(mLog.Text(), "Command refused: there is none"), 5);
    EXPECT_EQ(test::Count(mLog.Text(), "Invoke "), 1);
    EXPECT_TRUE(NoChildIsLeft());
    EXPECT_EQ(test::OutputOf("ls ?"), "a\n");
    mShell.ExecWait("");  // a shell with nothing to do
    EXPECT_TRUE(NoChildIsLeft());
}

void LogFromHandler(const char* where)
{
    Logger_Print(3, Logger::kInfo, 0, "Handler", "f", 1, "handler: %s", where);
}

// The log is written to all the while, so that forks meet its lock when it is held; the host's
// handlers of a fork may log, too.
TEST_F(ExecShellTest, ManyChildrenOfManyThreadsAllEnd)
{
    constexpr int kCommands = 200;
    pthread_atfork([] { LogFromHandler("prepare"); }, [] { LogFromHandler("parent"); },
                   [] { LogFromHandler("child"); });
    alarm(100);  // ends a process that hangs
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        while (!stop) {
            Logger_Print(3, Logger::kInfo, 0, "Writer", "f", 1, "traffic");
        }
    });
    test::InThreads(4, [this](int) {
        for (int count = 0; count < kCommands / 4; ++count) {
            mShell.ExecWait("echo >> ./done");
        }
    });
    stop = true;
    writer.join();
    alarm(0);
    EXPECT_EQ(test::ReadFile("./done"), std::string(kCommands, '\n'));
    EXPECT_TRUE(NoChildIsLeft());
    const std::string log = mLog.Text();
    for (const char* line : {"handler: prepare -> ", "handler: parent -> ", "handler: child -> ",
                             "Child PID... -> ", "Exit PID: "}) {
        EXPECT_EQ(test::Count(log, line), kCommands) << line;
    }
}

TEST_F(ExecShellTest, AFailedForkIsLoggedAndWaitsForNobody)
{
    const pid_t other = fork();  // a child that a wait for any would collect
    if (other == 0) {
        _exit(7);
    }
    gForkFails = true;
    mShell.ExecWait("anything");
    mShell.Exec("anything");
    gForkFails = false;
    EXPECT_EQ(waitpid(other, nullptr, 0), other);
    EXPECT_EQ(test::Count(mLog.Text(), "Fork failed with 11 for anything"), 2);
}

TEST_F(ExecShellTest, AChildWithoutAShellEndsWith127)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can take the shell away";
    }
    const auto run = [this] {
        int status = 0;
        if (chroot(".") == 0) {
            mShell.Exec("anything");
            wait(&status);
        }
        _exit(WEXITSTATUS(status));
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(127), "");
}

}  // namespace
