#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <ctime>
#include <string>
#include <thread>
#include <utility>

#include "tests/support/Background.h"
#include "util/os_linux/CondVar.h"
#include "util/os_linux/Mutex.h"
#include "util/os_linux/Sleep.h"

namespace {
using test::Milliseconds;
using testing::AllOf;
using testing::Ge;
using testing::Lt;

TEST(Mutex, ExcludesOtherThreadsAndItsOwn)
{
    Mutex mutex(nullptr);
    EXPECT_STREQ(mutex.GetName(), "Undefined");
    const std::string name(40, 'n');
    EXPECT_EQ(Mutex(name.c_str()).GetName(), name.substr(0, 31));
    long counter = 0;
    test::InThreads(4, [&](int) {
        for (int count = 0; count < 2000; ++count) {
            mutex.Lock();
            ++counter;
            mutex.Unlock();
        }
    });
    EXPECT_EQ(counter, 8000);
    ASSERT_EQ(mutex.Trylock(), 0);
    EXPECT_EQ(mutex.Trylock(), -1) << "held by this very thread";
    std::thread([&] { EXPECT_EQ(mutex.Trylock(), -1); }).join();
    EXPECT_EQ(mutex.Unlock(), 0);
}

TEST(Mutex, ALongWaitIsReportedEveryTenAttempts)
{
    const test::CapturedLog log;
    Mutex mutex("slow one");
    mutex.Lock();
    std::thread waiter([&] { const MutexHold hold(mutex); });
    EXPECT_TRUE(log.WaitFor("Lock slow one has blocked in 20 -> Lock in (/Mutex.cpp "));
    mutex.Unlock();
    waiter.join();
    EXPECT_EQ(test::Count(log.Text(), "has blocked in 10 "), 1);
    EXPECT_EQ(test::Count(log.Text(), "has blocked in 0 "), 0);
}

// All the waits at once, since the longest has to last.
TEST(CondVar, TimesOutOnTheMonotonicClock)
{
    constexpr int kTimeouts[] = {0, -5000, 30, 970, 1030};
    test::InThreads(5, [&](int id) {
        Mutex mutex("m");
        CondVar condition("c");
        const MutexHold hold(mutex);
        const int timeout = kTimeouts[id];
        const auto wait = [&] { EXPECT_EQ(condition.WaitTimeout(mutex, timeout), ETIMEDOUT); };
        EXPECT_THAT(Milliseconds(wait), AllOf(Ge(timeout), Lt(std::max(timeout, 0) + 5000)));
    });
}

TEST(CondVar, WaitsUntilAWallClockSecond)
{
    Mutex mutex("m");
    const MutexHold hold(mutex);
    const long now = static_cast<long>(std::time(nullptr));
    for (long until : {LONG_MIN, 0L, now - 1, now + 2}) {
        testing::internal::CaptureStdout();
        CondVar condition(nullptr);
        const auto wait = [&] { EXPECT_EQ(condition.WaitTimeoutUntil(mutex, until), ETIMEDOUT); };
        EXPECT_THAT(Milliseconds(wait), AllOf(Ge(until > now ? 900 : 0), Lt(5000)));
        EXPECT_THAT(testing::internal::GetCapturedStdout(),
                    testing::MatchesRegex("-----> WaitTimeoutUntil : currnet realtime = [0-9]+, "
                                          "auntil = " +
                                          std::to_string(static_cast<int>(until)) +
                                          ", diff = -?[0-9]+, abs = [0-9]+, next abs = -?[0-9]+ \n"
                                          "---->WaitTimeoutUntil Out current_time = [0-9]+\n"));
    }
}

TEST(CondVar, SignalWakesOneAndBroadcastWakesAll)
{
    Mutex mutex("m");
    CondVar condition("c");
    int waiting = 0;
    int permits = 0;
    const auto wait = [&](int id) {
        const MutexHold hold(mutex);
        ++waiting;
        while (permits == 0) {
            EXPECT_EQ(id % 2 == 0 ? condition.Wait(mutex) : condition.WaitTimeout(mutex, 20000), 0);
        }
        --permits;
        --waiting;
    };
    const auto reaches = [&](int wanted) {
        return test::WaitUntil([&] {
            const MutexHold hold(mutex);
            return waiting == wanted;
        });
    };
    const test::Background waiters([&] { test::InThreads(4, wait); });
    ASSERT_TRUE(reaches(4));
    for (const int left : {3, 0}) {
        {
            const MutexHold hold(mutex);
            permits = waiting - left;
            EXPECT_EQ(left == 3 ? condition.Signal() : condition.Broadcast(), 0);
        }
        EXPECT_TRUE(reaches(left));
    }
}

TEST(Sleep, LastsAtLeastAsLongAsAsked)
{
    const std::pair<void (*)(), int> cases[] = {
        {[] { NanoSleep(0, 20000000); }, 20},
        {[] { NanoSleep(1, 0); }, 1000},
        {[] { USleep(20000); }, 20},
        {[] { MSleep(999); }, 999},
        {[] { MSleep(1010); }, 1010},
        {[] { Sleep(1); }, 999},
        {[] { NanoSleep(30, 1000000000); }, 0},  // not a valid length
    };
    test::InThreads(std::size(cases), [&](int id) {
        const auto& [sleep, least] = cases[id];
        EXPECT_THAT(Milliseconds(sleep), AllOf(Ge(least), Lt(20000))) << id;
    });
}

TEST(Sleep, ASignalEndsItEarly)
{
    test::HandleSignal(SIGUSR1);
    for (void (*sleep)() :
         {+[] { NanoSleep(60, 0); }, +[] { NanoSleep(3000000000U, 0); }, +[] { MSleep(60000); },
          +[] { USleep(60000000); }, +[] { Sleep(60); }}) {
        test::Background sleeper(sleep);
        EXPECT_TRUE(sleeper.Waits()) << "without a signal";
        EXPECT_TRUE(test::WaitUntil([&] {
            sleeper.Signal(SIGUSR1);
            return sleeper.Returns(10);
        }));
    }
}
}  // namespace
