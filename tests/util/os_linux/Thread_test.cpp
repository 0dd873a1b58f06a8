#include "util/os_linux/Thread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <memory>
#include <string>
#include <thread>

#include "tests/support/support.h"
#include "tests/util/os_linux/Gate.h"
#include "util/os_linux/Logger.h"
#include "util/os_linux/Sleep.h"
#include "util/os_linux/ThreadList.h"

namespace {
using test::Gate;
using testing::HasSubstr;
using testing::Not;

bool Reaches(const Thread& thread, int status)
{
    return test::WaitUntil([&] { return thread.GetStatus() == status; });
}

class ThreadTest : public testing::Test
{
protected:
    ThreadTest() { Logger::ChangeMode(1); }

    void ExpectLine(const std::string& message)
    {
        EXPECT_THAT(mLog.Text(), HasSubstr("]: " + message + " -> "));
    }
    void ExpectWarning(const std::string& message)
    {
        EXPECT_THAT(mLog.Text(), HasSubstr("][LOG-WARN]:\033[0;0m " + message + " -> "));
    }

    test::CapturedStderr mLog;
};

TEST_F(ThreadTest, NamesAreCopiedAndCut)
{
    EXPECT_STREQ(Thread(nullptr, nullptr, false, 0).GetThreadName(), "Undefined");
    EXPECT_STREQ(Thread(nullptr, Thread::GetSelf()).GetThreadName(), "Undefined");
    for (std::size_t length : {63U, 64U, 70U, 5000U}) {
        const std::string name(length, 'n');
        const Thread thread(name.c_str(), nullptr, false, 0);
        EXPECT_EQ(thread.GetThreadName(), name.substr(0, 63));
        EXPECT_EQ(Thread(name.c_str(), Thread::GetSelf()).GetThreadName(), name.substr(0, 63));
    }
}

TEST_F(ThreadTest, LivesFromStartToJoinAndAgain)
{
    Gate gate;
    Thread thread("worker", Gate::WaitAt, false, 0);
    EXPECT_EQ(thread.GetThreadHandle(), 0U);
    EXPECT_EQ(thread.GetThreadPID(), 0);
    EXPECT_FALSE(thread.IsStarted());
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(thread.Start(&gate), 0);
        EXPECT_NE(thread.GetThreadHandle(), 0U);
        ASSERT_TRUE(Reaches(thread, Thread::kRunning));
        EXPECT_TRUE(thread.IsRunning());
        EXPECT_TRUE(thread.IsStarted());
        EXPECT_NE(thread.GetThreadPID(), Thread::GetTid());
        EXPECT_EQ(thread.Start(&gate), -1) << "it runs already";
        gate.Open();
        ASSERT_TRUE(Reaches(thread, Thread::kExited));
        EXPECT_FALSE(thread.IsRunning());
        EXPECT_EQ(thread.Join(), 0);
        EXPECT_EQ(thread.GetStatus(), Thread::kNotStarted);
    }
    ExpectLine("[THREAD STARTING] Start PID = " + std::to_string(thread.GetThreadPID()) +
               ", NAME = worker");
    ExpectLine("Thread Name worker State 0-->1");
    ExpectLine("Thread Name worker State 1-->4");
    ExpectLine("Before Thread::Join : Thread = worker, status = 4");
    ExpectLine("Thread Joined : worker");
    EXPECT_THAT(mLog.Text(), Not(HasSubstr("-->0")));
}

TEST_F(ThreadTest, RestartsAfterExitWithoutAJoin)
{
    std::atomic<int> runs{0};
    Thread thread(
        "again",
        [](void* count) -> void* {
            ++*static_cast<std::atomic<int>*>(count);
            return nullptr;
        },
        false, 0);
    const int threads = test::CountThreads();  // and one that a sanitizer may add
    for (int round = 1; round <= 200; ++round) {
        ASSERT_EQ(thread.Start(&runs), 0);
        ASSERT_TRUE(Reaches(thread, Thread::kExited));
    }
    EXPECT_EQ(runs, 200);
    EXPECT_EQ(thread.Join(), 0);
    EXPECT_TRUE(test::WaitUntil([&] { return test::CountThreads() <= threads + 1; }));
}

TEST_F(ThreadTest, RefusesWhatItsStatusDoesNotAllow)
{
    Thread thread("idle", Gate::WaitAt, false, 0);
    EXPECT_EQ(thread.Join(), -1);
    ExpectWarning("Thread idle is not running but status=0?? can not join");
    EXPECT_EQ(thread.SendSignal(SIGUSR1), -1);
    ExpectWarning("SendSignal is not available, Thread idle is not running but status = 0");
    EXPECT_EQ(thread.Detach(), -1);
    ExpectWarning("Thread idle can not be detached, not running but status = 0");
    EXPECT_EQ(thread.SetPriorityImpl(), -1);
    ExpectWarning("Thread idle can not set priority, not running but status = 0");
    EXPECT_EQ(thread.Kill(), -1);
    EXPECT_EQ(thread.GetStatus(), Thread::kNotStarted);
    EXPECT_EQ(thread.SetPriority(3), 0);
    EXPECT_EQ(thread.GetPriority(), 3);
    thread.Exit();
    ExpectLine("pthread_equal = 0");
    ExpectWarning("Can not Exit pthread - not current thread.. idle");
}

TEST_F(ThreadTest, SetStatusTakesOnlyTheFiveValues)
{
    Thread thread("s", nullptr, false, 0);
    const std::string before = mLog.Text();
    for (int status : {-1, 5, 1000}) {
        EXPECT_EQ(thread.SetStatus(status), -1);
    }
    EXPECT_EQ(mLog.Text(), before);
    EXPECT_EQ(thread.SetStatus(Thread::kKilled), 0);
    ExpectLine("Thread Name s State 0-->3");
    thread.SetStatus(0);
}

TEST_F(ThreadTest, KillEndsAWaitingThread)
{
    Gate gate;
    Thread thread("victim", Gate::WaitAt, false, 0);
    for (int round = 0; round < 50; ++round) {
        ASSERT_EQ(thread.Start(&gate), 0);
        if (round % 2 == 0) {  // else it may be killed before it runs
            ASSERT_TRUE(Reaches(thread, Thread::kRunning));
        }
        ASSERT_EQ(thread.Kill(), 0);
        ASSERT_EQ(thread.Join(), 0);
        ASSERT_EQ(thread.GetStatus(), Thread::kNotStarted);
        EXPECT_EQ(thread.Kill(), -1) << "nobody is left";
    }
    ASSERT_EQ(thread.Start(&gate), 0);
    ASSERT_EQ(thread.Kill(), 0);
    MSleep(20);
    EXPECT_EQ(thread.GetStatus(), Thread::kKilled) << "a killed thread does not seem to run again";
    EXPECT_EQ(thread.Start(&gate), -1) << "nobody has joined it";
    EXPECT_EQ(thread.Join(), 0);
}

TEST_F(ThreadTest, DetachesByFlagOrByCall)
{
    Gate gate;
    Thread byFlag("flag", Gate::WaitAt, true, 0);
    Thread byCall("call", Gate::WaitAt, false, 0);
    byFlag.Start(&gate);
    byCall.Start(&gate);
    ASSERT_TRUE(Reaches(byCall, Thread::kRunning));
    EXPECT_EQ(byCall.Detach(), 0);
    ASSERT_TRUE(Reaches(byFlag, Thread::kDetached));
    EXPECT_TRUE(byFlag.IsRunning());
    EXPECT_EQ(byFlag.Join(), -1);
    EXPECT_EQ(byCall.Join(), -1);
    EXPECT_EQ(byCall.Detach(), -1);
    EXPECT_EQ(byFlag.Start(&gate), -1) << "it runs already";
    ExpectWarning("Thread flag is DETACHED?? can not join");
    gate.Open();
    gate.Open();
    EXPECT_TRUE(Reaches(byFlag, Thread::kExited));
    EXPECT_TRUE(Reaches(byCall, Thread::kExited));
}

TEST_F(ThreadTest, ADetachedThreadMayOutliveItsObject)
{
    const int threads = test::CountThreads();
    Gate gate;
    for (int round = 0; round < 20; ++round) {
        Thread thread("short-lived object", Gate::WaitAt, true, 0);
        ASSERT_EQ(thread.Start(&gate), 0);
        if (round % 2 == 0) {
            ASSERT_TRUE(Reaches(thread, Thread::kDetached));
        }
    }
    ExpectLine("Deleting Thread : short-lived object");
    for (int round = 0; round < 20; ++round) {
        gate.Open();
    }
    EXPECT_TRUE(test::WaitUntil([&] { return test::CountThreads() <= threads + 1; }));
}

TEST_F(ThreadTest, AnEndedDetachedThreadLeavesNoHandle)
{
    Thread thread("brief", nullptr, true, 0);
    for (int round = 0; round < 300; ++round) {
        ASSERT_EQ(thread.Start(nullptr), 0);
        ASSERT_TRUE(Reaches(thread, Thread::kExited));
        ASSERT_EQ(thread.GetThreadHandle(), 0U) << "it is soon another thread's";
    }
}

TEST_F(ThreadTest, AnEntryMayDeleteItsOwnObject)
{
    const int threads = test::CountThreads();
    for (int round = 0; round < 200; ++round) {
        auto* const thread = new Thread(
            "self",
            [](void* self) -> void* {
                delete *static_cast<Thread**>(self);
                delete static_cast<Thread**>(self);
                return nullptr;
            },
            true, 0);
        ASSERT_EQ(thread->Start(new Thread*(thread)), 0);
    }
    EXPECT_TRUE(test::WaitUntil([&] { return test::CountThreads() <= threads + 1; }));
}

TEST_F(ThreadTest, ExitEndsOnlyTheOwnThread)
{
    struct Argument
    {
        Thread* own;
        bool returned;
    } argument = {nullptr, false};
    Thread thread(
        "leaver",
        [](void* data) -> void* {
            auto* const given = static_cast<Argument*>(data);
            given->own->Exit();
            given->returned = true;
            return nullptr;
        },
        false, 0);
    argument.own = &thread;
    thread.Start(&argument);
    ASSERT_TRUE(Reaches(thread, Thread::kExited));
    EXPECT_EQ(thread.Join(), 0);
    EXPECT_FALSE(argument.returned);
    ExpectLine("pthread_equal = 1");
}

TEST_F(ThreadTest, SignalsReachARunningThread)
{
    static std::atomic<int> receiver{0};
    struct sigaction action = {};
    action.sa_handler = [](int) { receiver = Thread::GetTid(); };
    sigaction(SIGUSR1, &action, nullptr);
    Gate gate;
    Thread thread("target", Gate::WaitAt, false, 0);
    thread.Start(&gate);
    ASSERT_TRUE(Reaches(thread, Thread::kRunning));
    EXPECT_EQ(thread.SendSignal(SIGUSR1), 0);
    EXPECT_TRUE(test::WaitUntil([&] { return receiver == thread.GetThreadPID(); }));
    EXPECT_EQ(thread.SendSignal(1000), EINVAL) << "the POSIX result";
    gate.Open();
    ASSERT_TRUE(Reaches(thread, Thread::kExited));
    EXPECT_EQ(thread.SendSignal(0), -1);
    thread.Join();
}

TEST_F(ThreadTest, AsksForRealTimeScheduling)
{
    Gate gate;
    Thread thread("urgent", Gate::WaitAt, false, 10);
    thread.Start(&gate);
    ASSERT_TRUE(Reaches(thread, Thread::kRunning));
    const int result = thread.SetPriorityImpl();
    int policy = -1;
    sched_param parameters = {};
    pthread_getschedparam(thread.GetThreadHandle(), &policy, &parameters);
    if (result == 0) {
        EXPECT_EQ(policy, SCHED_RR);
        EXPECT_EQ(parameters.sched_priority, 10);
    } else {
        EXPECT_EQ(result, EPERM);
        EXPECT_EQ(policy, SCHED_OTHER);
    }
    EXPECT_EQ(thread.SetPriority(1000), 0);
    EXPECT_EQ(thread.SetPriorityImpl(), EINVAL);
    gate.Open();
    while (thread.Join() != 0) {}
}

TEST_F(ThreadTest, WrapsAThreadThatRuns)
{
    const Thread self("main", Thread::GetSelf());
    EXPECT_EQ(self.GetStatus(), Thread::kRunning);
    EXPECT_EQ(self.GetThreadPID(), Thread::GetTid());
    EXPECT_EQ(self.GetPriority(), 0);
    EXPECT_EQ(Thread::GetCurrentThread(), &self);
    EXPECT_TRUE(Thread::IsCurrentThread(&self));
    std::thread([&] {
        EXPECT_EQ(Thread::GetCurrentThread(), nullptr) << "no object stands for this thread";
        EXPECT_FALSE(Thread::IsCurrentThread(&self));
        EXPECT_EQ(Thread("other", self.GetThreadHandle()).GetThreadPID(), 0);
    }).join();
    EXPECT_FALSE(Thread::IsCurrentThread(nullptr));
}

TEST_F(ThreadTest, FindsItsOwnObject)
{
    Thread thread(
        "own",
        [](void* found) -> void* {
            *static_cast<Thread**>(found) = Thread::GetCurrentThread();
            return nullptr;
        },
        false, 0);
    Thread* found = nullptr;
    thread.Start(&found);
    ASSERT_TRUE(Reaches(thread, Thread::kExited));
    thread.Join();
    EXPECT_EQ(found, &thread);
}
}  // namespace
