#include "html5_video/StatusBoard.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {
// A state in which every field tells the same number.
void Fill(PlayerStatus& status, int number)
{
    status = {number,
              number,
              number,
              number,
              number,
              number,
              number,
              number % 2 != 0,
              static_cast<unsigned long long>(number) << 32 | static_cast<unsigned>(number),
              static_cast<unsigned long long>(number) << 32 | static_cast<unsigned>(number)};
}

bool IsWhole(const PlayerStatus& status)
{
    PlayerStatus expected;
    Fill(expected, status.playTime);
    return status.endTime == expected.endTime && status.statusValue3 == expected.statusValue3 &&
           status.speed == expected.speed && status.mediaStatus == expected.mediaStatus &&
           status.videoWidth == expected.videoWidth && status.videoHeight == expected.videoHeight &&
           status.inSeek == expected.inSeek && status.totalBytes == expected.totalBytes &&
           status.currentOffset == expected.currentOffset;
}

TEST(StatusBoard, StartsAtZero)
{
    const StatusBoard board;
    const PlayerStatus status = board.Read();
    EXPECT_EQ(status.speed, 0);
    EXPECT_TRUE(IsWhole(status));
}

TEST(StatusBoard, ReadersNeverSeeAMixture)
{
    StatusBoard board;
    std::atomic<int> writing{3};
    std::atomic<int> torn{0};
    std::vector<std::thread> threads;
    for (int writer = 0; writer < 3; ++writer) {
        threads.emplace_back([&, writer] {
            for (int number = 1; number <= 20000; ++number) {
                board.Update([&](PlayerStatus& status) { Fill(status, number * 3 + writer); });
            }
            --writing;
        });
    }
    for (int reader = 0; reader < 2; ++reader) {
        threads.emplace_back([&] {
            while (writing > 0) {
                torn += IsWhole(board.Read()) ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(torn, 0);
}

TEST(StatusBoard, NoUpdateIsLostBesideAnother)
{
    StatusBoard board;
    const auto count = [&board](int PlayerStatus::*field) {
        for (int number = 0; number < 20000; ++number) {
            board.Update([field](PlayerStatus& status) { ++(status.*field); });
        }
    };
    std::thread first(count, &PlayerStatus::playTime);
    std::thread second(count, &PlayerStatus::endTime);
    first.join();
    second.join();
    EXPECT_EQ(board.Read().playTime, 20000);
    EXPECT_EQ(board.Read().endTime, 20000);
}
}  // namespace
