#include "util/os_linux/Thread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <signal.h>

#include <atomic>
#include <cerrno>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/Background.h"
#include "tests/support/support.h"
#include "util/console/CmdMgr.h"
#include "util/console/CmdParser.h"
#include "util/os_linux/ThreadList.h"

// From plain_entry.c: waits until it is cancelled.
extern "C" void* WaitInPlainC(void* argument);

namespace {
using test::Background;
using testing::HasSubstr;

// A gate that threads wait at; the wait is a cancellation point.
struct Gate
{
    Gate() { sem_init(&mSemaphore, 0, 0); }
    ~Gate() { sem_destroy(&mSemaphore); }
    void Open() { sem_post(&mSemaphore); }

    static void* WaitAt(void* gate)
    {
        while (sem_wait(&static_cast<Gate*>(gate)->mSemaphore) != 0) {}
        return nullptr;
    }

    sem_t mSemaphore;
};

bool Reaches(const Thread& thread, int status)
{
    return test::WaitUntil([&] { return thread.GetStatus() == status; });
}

// An entry that calls the function it is given.
void* Call(void* function)
{
    (*static_cast<std::function<void()>*>(function))();
    return nullptr;
}

class ThreadTest : public testing::Test
{
protected:
    void ExpectLine(const std::string& message)
    {
        EXPECT_THAT(mLog.Text(), HasSubstr("]: " + message + " -> "));
    }
    void ExpectWarning(const std::string& message)
    {
        EXPECT_THAT(mLog.Text(), HasSubstr("][LOG-WARN]:\033[0;0m " + message + " -> "));
    }

    // Starts the thread, which waits at the gate.
    void StartAtGate(Thread& thread)
    {
        ASSERT_EQ(thread.Start(&mGate), 0);
        ASSERT_TRUE(Reaches(thread, Thread::kRunning));
    }

    test::CapturedLog mLog;
    Gate mGate;
};

TEST_F(ThreadTest, LivesFromStartToJoinAndAgain)
{
    Thread thread("worker", Gate::WaitAt, false, 0);
    EXPECT_EQ(thread.GetThreadPID(), 0);
    EXPECT_FALSE(thread.IsStarted());
    for (int round = 0; round < 3; ++round) {
        StartAtGate(thread);
        EXPECT_TRUE(thread.IsRunning());
        EXPECT_TRUE(thread.IsStarted());
        EXPECT_NE(thread.GetThreadPID(), Thread::GetTid());
        EXPECT_EQ(thread.Start(&mGate), -1) << "it runs already";
        mGate.Open();
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
    EXPECT_EQ(test::Count(mLog.Text(), "-->0"), 0);
}

TEST_F(ThreadTest, RestartsAfterItsEndWithoutAJoin)
{
    const int threads = test::CountThreads();  // and one that a sanitizer may add
    for (const bool detached : {false, true}) {
        std::atomic<int> runs{0};
        std::function<void()> count = [&runs] { ++runs; };
        Thread thread("again", Call, detached, 0);
        for (int round = 1; round <= 200; ++round) {
            ASSERT_EQ(thread.Start(&count), 0);
            ASSERT_TRUE(Reaches(thread, Thread::kExited));
            ASSERT_EQ(thread.GetThreadHandle() == 0, detached) << "it is soon another thread's";
        }
        EXPECT_EQ(runs, 200);
        EXPECT_EQ(thread.Join(), detached ? -1 : 0);
    }
    EXPECT_TRUE(test::WaitUntil([&] { return test::CountThreads() <= threads + 1; }));
}

TEST_F(ThreadTest, RefusesWhatItsStatusDoesNotAllow)
{
    Thread thread("idle", Gate::WaitAt, false, 0);
    EXPECT_THAT((std::vector{thread.Join(), thread.SendSignal(SIGUSR1), thread.Detach(),
                             thread.SetPriorityImpl(), thread.Kill()}),
                testing::Each(-1));
    for (const char* warning :
         {"Thread idle is not running but status=0?? can not join",
          "SendSignal is not available, Thread idle is not running but status = 0",
          "Thread idle can not be detached, not running but status = 0",
          "Thread idle can not set priority, not running but status = 0",
          "Thread idle can not be killed, not running but status = 0"}) {
        ExpectWarning(warning);
    }
    EXPECT_EQ(thread.GetStatus(), Thread::kNotStarted);
    thread.Exit();
    ExpectLine("pthread_equal = 0");
    ExpectWarning("Can not Exit pthread - not current thread.. idle");
    for (int status : {-1, 5}) {
        EXPECT_EQ(thread.SetStatus(status), -1);
    }
    EXPECT_EQ(test::Count(mLog.Text(), "State"), 0);
    EXPECT_EQ(thread.SetStatus(Thread::kNotStarted), 0);
}

TEST_F(ThreadTest, KillEndsAWaitingThread)
{
    for (const auto entry : {Gate::WaitAt, WaitInPlainC}) {  // the latter can not be unwound
        void* const argument = entry == WaitInPlainC ? nullptr : &mGate;
        Thread thread("victim", entry, false, 0);
        for (int round = 0; round < 30; ++round) {
            ASSERT_EQ(thread.Start(argument), 0);
            // In every other round it may be killed before it runs.
            ASSERT_TRUE(round % 2 != 0 || Reaches(thread, Thread::kRunning));
            ASSERT_EQ(thread.Kill(), 0);
            ASSERT_EQ(thread.Join(), 0);
            ASSERT_EQ(thread.GetStatus(), Thread::kNotStarted);
            EXPECT_EQ(thread.Kill(), -1) << "nobody is left";
        }
        ASSERT_EQ(thread.Start(argument), 0);
        ASSERT_EQ(thread.Kill(), 0);
        EXPECT_TRUE(test::WaitUntil([&] {
            EXPECT_EQ(thread.GetStatus(), Thread::kKilled) << "it does not seem to run again";
            return thread.Start(argument) == 0;  // as soon as it has ended
        }));
        ASSERT_EQ(thread.Kill(), 0);
        EXPECT_EQ(thread.Join(), 0);
    }
}

TEST_F(ThreadTest, KillEndsAThreadThatAnotherWaitsForAfterACancelledJoin)
{
    int joins = 0;
    const auto nextJoinWaits = [this, &joins] {
        ++joins;
        return test::WaitUntil([&] {
            return test::Count(mLog.Text(), "Before Thread::Join : Thread = victim") == joins;
        });
    };
    for (const bool wrapped : {false, true}) {
        SCOPED_TRACE(wrapped ? "wrapped" : "started");
        Gate gate;
        pthread_t handle = 0;
        ASSERT_TRUE(!wrapped || pthread_create(&handle, nullptr, Gate::WaitAt, &gate) == 0);
        const auto thread = wrapped ? std::make_unique<Thread>("victim", handle)
                                    : std::make_unique<Thread>("victim", Gate::WaitAt, false, 0);
        EXPECT_EQ(thread->Start(&gate), wrapped ? -1 : 0);
        ASSERT_TRUE(Reaches(*thread, Thread::kRunning));

        std::function<void()> join = [&] { thread->Join(); };
        Thread waiter("waiter", Call, false, 0);
        ASSERT_EQ(waiter.Start(&join), 0);
        EXPECT_TRUE(nextJoinWaits());
        EXPECT_EQ(waiter.Kill(), 0);
        EXPECT_EQ(waiter.Join(), 0);
        EXPECT_EQ(thread->GetStatus(), Thread::kRunning);

        Background joiner([&] { EXPECT_EQ(thread->Join(), 0); });
        EXPECT_TRUE(nextJoinWaits());
        EXPECT_EQ(thread->Join(), -1) << "one joins it";
        EXPECT_EQ(thread->Start(&gate), -1) << "it runs";
        EXPECT_EQ(thread->Kill(), 0);
        EXPECT_TRUE(joiner.Returns());
        gate.Open();  // where the Kill failed
        EXPECT_EQ(thread->GetStatus(), Thread::kNotStarted);
        EXPECT_EQ(thread->GetThreadHandle(), 0U);
        EXPECT_EQ(thread->Kill(), -1);
    }
}

TEST_F(ThreadTest, StartBesideAJoinMakesOneThread)
{
    pthread_key_t key = 0;  // whose destructor keeps a thread that has returned until it may end
    pthread_key_create(&key, [](void* gate) { Gate::WaitAt(gate); });
    std::atomic<int> runs{0};
    std::function<void()> linger = [&] {
        pthread_setspecific(key, &mGate);
        ++runs;
    };
    Thread thread("again", Call, false, 0);
    for (int round = 1; round <= 10; ++round) {
        ASSERT_EQ(thread.Start(&linger), 0) << round;
        ASSERT_TRUE(Reaches(thread, Thread::kExited));
        {
            const Background joiner([&] { EXPECT_EQ(thread.Join(), 0); });
            ASSERT_TRUE(test::WaitUntil(
                [&] { return test::Count(mLog.Text(), "Before Thread::Join") == round; }));
            const Background starter([&] { EXPECT_EQ(thread.Start(&linger), 0); });
            EXPECT_TRUE(starter.Waits());
            EXPECT_EQ(runs, 2 * round - 1) << "no second thread beside the first";
            mGate.Open();
        }
        EXPECT_TRUE(Reaches(thread, Thread::kExited));
        EXPECT_EQ(runs, 2 * round);
        mGate.Open();
    }
    EXPECT_EQ(thread.Join(), 0);
}

TEST_F(ThreadTest, OperationsMeetTheEndOfTheThread)
{
    Thread thread("brief", nullptr, false, 0);
    for (int round = 0; round < 300; ++round) {
        Logger::ChangeMode(round % 2);
        ASSERT_TRUE(test::WaitUntil([&] { return thread.Start(nullptr) == 0; }));
        test::InThreads(3, [&](int id) {
            if (id == 0) {
                thread.SendSignal(0);
                thread.Kill();
            } else if (id == 1) {
                thread.Join();
            } else if (round % 3 != 0) {
                thread.Start(nullptr);
            }
        });
        while (thread.GetThreadHandle() != 0) {
            thread.Join();
        }
        ASSERT_EQ(thread.GetStatus(), Thread::kNotStarted) << round;
    }
}

TEST_F(ThreadTest, AKilledThreadHasItsStatusBeforeItEnds)
{
    std::atomic<bool> left{false};
    std::function<void()> wait = [&] {
        const std::shared_ptr<void> leaving(nullptr, [&](void*) { left = true; });
        Gate::WaitAt(&mGate);
    };
    Thread thread("victim", Call, false, 0);
    ASSERT_EQ(thread.Start(&wait), 0);
    ASSERT_TRUE(Reaches(thread, Thread::kRunning));
    Logger::Lock();
    {
        const Background killer([&] { EXPECT_EQ(thread.Kill(), 0); });
        EXPECT_TRUE(test::WaitUntil([&] { return left && test::IsAsleep(thread.GetThreadPID()); }))
            << "the line of its status waits, and it for that";
        Logger::Unlock();
    }
    EXPECT_EQ(thread.GetStatus(), Thread::kKilled);
    EXPECT_EQ(thread.Join(), 0);
}

// A thread holds up the operations while it begins, which here lasts as long as the log is locked.
TEST_F(ThreadTest, OperationsWaitForAThreadThatBegins)
{
    for (const int status : {Thread::kRunning, Thread::kDetached, Thread::kKilled}) {
        Thread thread("beginner", Gate::WaitAt, false, 0);
        Logger::Lock();
        ASSERT_EQ(thread.Start(&mGate), 0);
        EXPECT_TRUE(test::WaitUntil(
            [&] { return thread.GetThreadPID() != 0 && test::IsAsleep(thread.GetThreadPID()); }));
        {
            const Background other([&] {
                EXPECT_EQ(status == Thread::kRunning    ? thread.SendSignal(0)
                          : status == Thread::kDetached ? thread.Detach()
                                                        : thread.Kill(),
                          0);
            });
            EXPECT_TRUE(other.Waits());
            Logger::Unlock();
        }
        EXPECT_EQ(thread.GetStatus(), status);
        mGate.Open();
        EXPECT_EQ(thread.Join(), status == Thread::kDetached ? -1 : 0);
    }
    ExpectWarning("Thread beginner is DETACHED?? can not join");
}

TEST_F(ThreadTest, ADetachMeetsTheEndOfTheThread)
{
    Thread thread("brief", Gate::WaitAt, false, 0);
    for (int round = 0; round < 100; ++round) {
        StartAtGate(thread);
        int detached = -2;
        test::InThreads(2,
                        [&](int id) { id == 0 ? mGate.Open() : void(detached = thread.Detach()); });
        ASSERT_TRUE(Reaches(thread, Thread::kExited)) << round;
        ASSERT_EQ(thread.Join(), detached == 0 ? -1 : 0) << round;
    }
}

TEST_F(ThreadTest, AThreadOfTheHostsOwnMayRunTheBody)
{
    static Gate gate;
    const auto entry = [](void*) { return Gate::WaitAt(&gate); };
    for (const bool detached : {false, true, false}) {
        Thread thread("hosted", entry, detached, 0);
        pthread_t handle = 0;
        ASSERT_EQ(pthread_create(&handle, nullptr, Thread::ThreadMainHandler, &thread), 0);
        ASSERT_TRUE(Reaches(thread, detached ? Thread::kDetached : Thread::kRunning));
        EXPECT_EQ(thread.Join(), -1) << "the host's to join";
        EXPECT_EQ(thread.Start(nullptr), -1);
        EXPECT_EQ(thread.SendSignal(0), 0);
        EXPECT_EQ(ThreadList::GetInstance()->GetThread(handle), &thread);
        gate.Open();
        ASSERT_TRUE(Reaches(thread, Thread::kExited));
        EXPECT_EQ(thread.GetThreadHandle(), 0U);
        EXPECT_EQ(thread.Kill(), -1);
        if (!detached) {
            EXPECT_EQ(pthread_join(handle, nullptr), 0);
        }
    }
}

TEST_F(ThreadTest, ADetachedThreadMayOutliveItsObject)
{
    const int threads = test::CountThreads();
    for (int round = 0; round < 20; ++round) {
        Thread thread("short-lived object", Gate::WaitAt, true, 0);
        ASSERT_EQ(thread.Start(&mGate), 0);
        if (round % 2 == 0) {
            ASSERT_TRUE(Reaches(thread, Thread::kDetached));
            EXPECT_TRUE(thread.IsRunning());
            EXPECT_EQ(thread.Detach(), -1);
            EXPECT_EQ(thread.Start(&mGate), -1);
        }
    }
    ExpectLine("Deleting Thread : short-lived object");
    for (int round = 0; round < 20; ++round) {
        mGate.Open();
    }
    for (int round = 0; round < 100; ++round) {
        Thread* object = nullptr;
        std::atomic<bool> deleted{false};  // the last that the entry touches of this stack
        std::function<void()> deleteIt = [&] {
            delete object;
            deleted = true;
        };
        object = new Thread("self", Call, true, 0);
        ASSERT_EQ(object->Start(&deleteIt), 0);
        EXPECT_TRUE(test::WaitUntil([&] { return deleted.load(); }));
    }
    EXPECT_TRUE(test::WaitUntil([&] { return test::CountThreads() <= threads + 1; }));
}

TEST_F(ThreadTest, ExitEndsOnlyTheOwnThread)
{
    std::function<void()> leave = [] {
        Thread::GetCurrentThread()->Exit();
        ADD_FAILURE() << "it goes on";
    };
    Thread thread("leaver", Call, false, 0);
    thread.Start(&leave);
    ASSERT_TRUE(Reaches(thread, Thread::kExited));
    EXPECT_EQ(thread.SendSignal(0), -1);
    EXPECT_EQ(thread.Join(), 0);
    ExpectLine("pthread_equal = 1");
}

TEST_F(ThreadTest, SignalsAndPrioritiesReachARunningThread)
{
    static std::atomic<int> receiver{0};
    test::HandleSignal(SIGUSR1, [](int) { receiver = Thread::GetTid(); });
    Thread thread("urgent", Gate::WaitAt, false, 10);
    StartAtGate(thread);
    EXPECT_EQ(thread.SendSignal(SIGUSR1), 0);
    EXPECT_TRUE(test::WaitUntil([&] { return receiver == thread.GetThreadPID(); }));
    EXPECT_EQ(thread.SendSignal(1000), EINVAL) << "the POSIX result";

    const int result = thread.SetPriorityImpl();
    int policy = -1;
    sched_param parameters = {};
    pthread_getschedparam(thread.GetThreadHandle(), &policy, &parameters);
    EXPECT_THAT(result, testing::AnyOf(0, EPERM));
    EXPECT_EQ(policy, result == 0 ? SCHED_RR : SCHED_OTHER);
    EXPECT_EQ(parameters.sched_priority, result == 0 ? 10 : 0);
    EXPECT_EQ(thread.SetPriority(1000), 0);
    EXPECT_EQ(thread.SetPriorityImpl(), EINVAL);
    mGate.Open();
    EXPECT_EQ(thread.Join(), 0);
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

TEST_F(ThreadTest, TheListShowsTheObjectsThatExist)
{
    ThreadList* const list = ThreadList::GetInstance();
    const auto show = [] {
        CmdParser line("thread_show");
        char result[CmdMgr::kResultSize];
        EXPECT_EQ(CmdMgr::GetInstance(0)->CmdExecute(&line, result), 0);
    };
    ThreadList();  // takes its command with it
    show();
    EXPECT_EQ(mLog.Text(), " All Thread Count = 0\n");

    Thread idle(nullptr, nullptr, false, 7);
    Thread running("running", Gate::WaitAt, false, 0);
    StartAtGate(running);
    Thread("gone", Thread::GetSelf());
    EXPECT_EQ(list->GetThread(Thread::GetSelf()), nullptr);
    EXPECT_EQ(list->GetThread(running.GetThreadHandle()), &running);
    std::ostringstream expected;
    expected << " All Thread Count = 2\n"
                "  [0] Thread[Undefined] Priority = 7, Status = 0, IsRunning = 0, pid = 0, "
                "ThreadID = 0\n"
                "  [1] Thread[running] Priority = 0, Status = 1, IsRunning = 1, pid = "
             << running.GetThreadPID() << ", ThreadID = " << std::hex
             << static_cast<unsigned>(running.GetThreadHandle()) << "\n";
    show();
    EXPECT_THAT(mLog.Text(), testing::EndsWith(expected.str()));
    mGate.Open();
    EXPECT_EQ(running.Join(), 0);
}

TEST_F(ThreadTest, NothingIsLoggedUnderTheRegistrysLock)
{
    Thread ending("ending", Gate::WaitAt, false, 0);
    StartAtGate(ending);
    Logger::Lock();
    {
        const Background listing([] { ThreadList::GetInstance()->ShowThread(); });
        mGate.Open();
        const std::string before = mLog.Text();
        EXPECT_TRUE(listing.Waits());
        EXPECT_TRUE(test::WaitUntil([&] { return test::IsAsleep(ending.GetThreadPID()); }));
        const Background asking([] { EXPECT_EQ(Thread::GetCurrentThread(), nullptr); });
        EXPECT_TRUE(asking.Returns());
        EXPECT_EQ(mLog.Text(), before);
        Logger::Unlock();
    }
    EXPECT_EQ(ending.Join(), 0);
}

TEST_F(ThreadTest, TheListIsSafeFromManyThreads)
{
    Logger::ChangeMode(0);
    test::InThreads(4, [](int) {
        for (int round = 0; round < 100; ++round) {
            Thread own("own", Thread::GetSelf());
            EXPECT_EQ(Thread::GetCurrentThread(), &own);
            Thread worker("worker", nullptr, round % 2 == 0, 0);
            worker.Start(nullptr);
            ThreadList::GetInstance()->ShowThread();
            EXPECT_TRUE(Reaches(worker, Thread::kExited));
            EXPECT_EQ(worker.Join(), round % 2 == 0 ? -1 : 0);
        }
    });
}
}  // namespace
