#include "html5_video/StatusBoard.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <atomic>
#include <memory>

#include "tests/support/support.h"

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

// On the heap, as the client has it: the stack that GCC's sanitizer puts in place of the real one
// is aligned to less than a cache line.
std::unique_ptr<StatusBoard> NewBoard()
{
    return std::make_unique<StatusBoard>();
}

TEST(StatusBoard, ReadersNeverSeeAMixture)
{
    const std::unique_ptr<StatusBoard> board = NewBoard();
    std::atomic<int> writing{3};
    std::atomic<int> torn{0};
    test::InThreads(5, [&](int id) {
        for (int number = 1; id < 3 && number <= 20000; ++number) {
            board->Update([&](PlayerStatus& status) { Fill(status, number * 3 + id); });
        }
        writing -= id < 3 ? 1 : 0;
        while (writing > 0) {
            torn += IsWhole(board->Read()) ? 0 : 1;
        }
    });
    EXPECT_EQ(torn, 0);
}

TEST(StatusBoard, NoUpdateIsLostBesideAnother)
{
    const std::unique_ptr<StatusBoard> board = NewBoard();
    test::InThreads(2, [&board](int id) {
        int PlayerStatus::*const field = id == 0 ? &PlayerStatus::playTime : &PlayerStatus::endTime;
        for (int number = 0; number < 500; ++number) {
            board->Update([field](PlayerStatus& status) {
                ++(status.*field);
                sched_yield();  // to the other thread, on a single processor too
            });
        }
    });
    EXPECT_EQ(board->Read().playTime, 500);
    EXPECT_EQ(board->Read().endTime, 500);
}
}  // namespace
