#include "html5_video/StatusBoard.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "tests/support/support.h"
#include "util/os_linux/Thread.h"

namespace {
// On the heap, as the client has it: the stack that GCC's sanitizer puts in place of the real one
// is aligned to less than a cache line.
std::unique_ptr<StatusBoard> NewBoard()
{
    return std::make_unique<StatusBoard>();
}

// The first and the last field that are stored, and a double word, tell the same number.
TEST(StatusBoard, ReadersNeverSeeAMixture)
{
    const std::unique_ptr<StatusBoard> board = NewBoard();
    std::atomic<int> writing{3};
    std::atomic<int> torn{0};
    test::InThreads(5, [&](int id) {
        for (int count = 0; id < 3 && count < 20000; ++count) {
            board->Update([&](PlayerStatus& status) {
                const int number = status.playTime + 1;
                status.playTime = number;
                status.totalBytes = static_cast<unsigned long long>(number) << 32 | number;
                status.currentOffset = status.totalBytes;
            });
        }
        writing -= id < 3 ? 1 : 0;
        while (writing > 0) {
            const PlayerStatus status = board->Read();
            torn += status.totalBytes >> 32 == static_cast<unsigned>(status.playTime) &&
                            status.currentOffset == (status.totalBytes >> 32) * 0x100000001u
                        ? 0
                        : 1;
        }
    });
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(board->Read().playTime, 3 * 20000) << "an update was lost";
}

TEST(StatusBoard, AReaderThatMeetsAnUpdateTakesTheOtherSlot)
{
    const std::unique_ptr<StatusBoard> board = NewBoard();
    std::vector<const StatusBoard::Slot*> taken;
    int seen = 0;
    board->Read([&](const StatusBoard::Slot& slot) {
        taken.push_back(&slot);
        seen = slot.playTime;
        if (taken.size() == 1) {
            board->Update([](PlayerStatus& status) { status.playTime = 7; });
        }
    });
    ASSERT_EQ(taken.size(), 2U);
    EXPECT_EQ(taken[1], taken[0] + 1);
    EXPECT_EQ(seen, 7);
}

TEST(StatusBoard, OneLookIsEnoughBetweenUpdatesButNotBeforeTheFirst)
{
    const std::unique_ptr<StatusBoard> board = NewBoard();
    const auto update = [&](const StatusBoard::Slot&) { board->Update([](PlayerStatus&) {}); };
    int speed = 0;
    const auto take = [&](const StatusBoard::Slot& slot) { speed = slot.speed; };
    EXPECT_FALSE(board->Look(take));
    board->Update([](PlayerStatus& status) { status.speed = 100; });
    EXPECT_TRUE(board->Look(take));
    EXPECT_EQ(speed, 100);
    EXPECT_FALSE(board->Look(update));
}

TEST(StatusBoard, AnUpdateWaitsForTheOneThatHasBegun)
{
    const std::unique_ptr<StatusBoard> board = NewBoard();
    std::atomic<int> tid{0};
    std::atomic<bool> done{false};
    std::thread other;
    board->Update([&](PlayerStatus& status) {
        other = std::thread([&] {
            tid = Thread::GetTid();
            board->Update([](PlayerStatus& later) { ++later.endTime; });
            done = true;
        });
        EXPECT_TRUE(test::WaitUntil([&] { return done || (tid != 0 && test::IsAsleep(tid)); }));
        ++status.playTime;
    });
    other.join();
    EXPECT_EQ(board->Read().playTime, 1);
    EXPECT_EQ(board->Read().endTime, 1);
}
}  // namespace
