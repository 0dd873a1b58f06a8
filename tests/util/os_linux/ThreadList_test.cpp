#include "util/os_linux/ThreadList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <thread>
#include <vector>

#include "tests/support/support.h"
#include "tests/util/os_linux/Gate.h"
#include "util/os_linux/Logger.h"
#include "util/os_linux/Thread.h"

namespace {
using test::Gate;

class ThreadListTest : public testing::Test
{
protected:
    ThreadListTest() { Logger::ChangeMode(1); }

    test::CapturedStderr mLog;
};

TEST_F(ThreadListTest, ShowsTheObjectsThatExist)
{
    ThreadList* const list = ThreadList::GetInstance();
    list->ShowThread();
    EXPECT_EQ(mLog.Text(), " All Thread Count = 0\n");

    Gate gate;
    Thread idle("idle", nullptr, false, 7);
    Thread running("running", Gate::WaitAt, false, 0);
    running.Start(&gate);
    ASSERT_TRUE(test::WaitUntil([&] { return running.IsRunning(); }));
    unsigned long goneHandle = 0;
    {
        Thread gone("gone", Thread::GetSelf());
        goneHandle = gone.GetThreadHandle();
        EXPECT_EQ(list->GetThread(goneHandle), &gone);
    }
    EXPECT_EQ(list->GetThread(goneHandle), nullptr);
    EXPECT_EQ(list->GetThread(running.GetThreadHandle()), &running);
    char expected[512];
    std::snprintf(expected, sizeof(expected),
                  " All Thread Count = 2\n"
                  "  [0] Thread[idle] Priority = 7, Status = 0, IsRunning = 0, pid = 0, "
                  "ThreadID = 0\n"
                  "  [1] Thread[running] Priority = 0, Status = 1, IsRunning = 1, pid = %d, "
                  "ThreadID = %x\n",
                  running.GetThreadPID(), static_cast<unsigned>(running.GetThreadHandle()));
    list->ShowThread();
    EXPECT_THAT(mLog.Text(), testing::EndsWith(expected));
    gate.Open();
    running.Join();
}

TEST_F(ThreadListTest, IsSafeFromManyThreads)
{
    Logger::ChangeMode(0);
    std::vector<std::thread> threads;
    for (int id = 0; id < 4; ++id) {
        threads.emplace_back([] {
            for (int round = 0; round < 100; ++round) {
                Thread own("own", Thread::GetSelf());
                EXPECT_EQ(Thread::GetCurrentThread(), &own);
                Thread worker("worker", nullptr, round % 2 == 0, 0);
                worker.Start(nullptr);
                ThreadList::GetInstance()->ShowThread();
                test::WaitUntil([&] { return worker.GetStatus() == Thread::kExited; });
                if (round % 2 != 0) {
                    EXPECT_EQ(worker.Join(), 0);
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}
}  // namespace
