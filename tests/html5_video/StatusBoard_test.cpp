#include "html5_video/StatusBoard.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>
#include <vector>

#include "tests/support/Background.h"

namespace {
using namespace test;

class StatusBoardTest : public testing::Test
{
protected:
    // On the heap, as the client has it: the stack that GCC's sanitizer puts in place of the real
    // one is aligned to less than a cache line.
    const std::unique_ptr<StatusBoard> board = std::make_unique<StatusBoard>();
};

// The first and the last field that are stored, and a double word, tell the same number.
TEST_F(StatusBoardTest, ReadersNeverSeeAMixture)
{
    std::atomic<int> writing{3};
    std::atomic<int> torn{0};
    InThreads(5, [&](int id) {
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
            const auto number = static_cast<unsigned long long>(status.playTime);
            torn += status.totalBytes != (number << 32 | number) ||
                    status.currentOffset != status.totalBytes;
        }
    });
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(board->Read().playTime, 3 * 20000) << "an update was lost";
}

TEST_F(StatusBoardTest, AReaderThatMeetsAnUpdateTakesTheOtherSlot)
{
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

TEST_F(StatusBoardTest, OneLookIsEnoughBetweenUpdatesButNotBeforeTheFirst)
{
    int speed = 0;
    const auto take = [&](const StatusBoard::Slot& slot) { speed = slot.speed; };
    EXPECT_FALSE(board->Look(take));
    board->Update([](PlayerStatus& status) { status.speed = 100; });
    EXPECT_TRUE(board->Look(take));
    EXPECT_EQ(speed, 100);
    EXPECT_FALSE(
        board->Look([&](const StatusBoard::Slot&) { board->Update([](PlayerStatus&) {}); }));
}

TEST_F(StatusBoardTest, AnUpdateWaitsForTheOneThatHasBegun)
{
    std::optional<Background> other;
    board->Update([&](PlayerStatus& status) {
        other.emplace([this] { board->Update([](PlayerStatus& later) { ++later.endTime; }); });
        EXPECT_TRUE(other->Waits());
        ++status.playTime;
    });
    other.reset();
    EXPECT_EQ(board->Read().playTime, 1);
    EXPECT_EQ(board->Read().endTime, 1);
}
}  // namespace
