// The clock engine on a clock of the test's own: nothing here waits.
#include "tools/player/ClockEngine.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {
constexpr int kLoadTime = 100;
constexpr int kSeekTime = 50;
constexpr auto kPaused = HTML5_VIDEO_STATUS_PAUSED;
constexpr auto kPlaying = HTML5_VIDEO_STATUS_PLAYING;
constexpr auto kEnded = HTML5_VIDEO_STATUS_ENDED;

class ClockEngineTest : public testing::Test
{
protected:
    // What it tells so many milliseconds later.
    PlaybackState After(std::int64_t milliseconds)
    {
        mNow += milliseconds;
        return mEngine.Update();
    }

    void ExpectAfter(std::int64_t milliseconds, MediaStatus status, std::int64_t position)
    {
        const PlaybackState state = After(milliseconds);
        EXPECT_EQ(state.status, status);
        EXPECT_EQ(state.position, position);
    }

    void LoadAndPlay(const std::string& address = "clock:10")
    {
        mEngine.Load(address);
        mEngine.Play();
        After(kLoadTime);
    }

    std::int64_t mNow = 1000000;
    ClockEngine mEngine{{20000, 640, 360, kLoadTime, kSeekTime}, [this] { return mNow; }};
};

TEST_F(ClockEngineTest, PositionFollowsEveryChangeOfSpeedWithoutLosingAFraction)
{
    LoadAndPlay();
    ExpectAfter(1000, kPlaying, 1000);
    mEngine.SetSpeed(200);
    ExpectAfter(500, kPlaying, 2000);
    mEngine.SetSpeed(33);
    for (int turn = 0; turn < 100; ++turn) {
        After(1);  // a third of a millisecond each
    }
    ExpectAfter(0, kPlaying, 2033);
    mEngine.SetSpeed(0);
    ExpectAfter(700, kPlaying, 2033);
    mEngine.SetSpeed(-100);
    ExpectAfter(1000, kPlaying, 1033);
    mEngine.Pause();
    ExpectAfter(1000, kPaused, 1033);
    EXPECT_EQ(mEngine.Update().speed, -100);
    mEngine.Play();
    ExpectAfter(33, kPlaying, 1000);
}

TEST_F(ClockEngineTest, EndsAtEitherSideAndPlaysAgainFromTheOther)
{
    LoadAndPlay();
    ExpectAfter(9999, kPlaying, 9999);
    ExpectAfter(50, kEnded, 10000);
    mEngine.Play();
    ExpectAfter(250, kPlaying, 250);
    mEngine.SetSpeed(-200);
    ExpectAfter(151, kEnded, 0);
    mEngine.Play();
    ExpectAfter(100, kPlaying, 9800);
    ExpectAfter(9800, kEnded, 0);
    mEngine.Seek(3000);
    ExpectAfter(kSeekTime + 500, kPaused, 3000);  // a seek holds its position
}

TEST_F(ClockEngineTest, SeeksAndGoesOnAsBefore)
{
    LoadAndPlay();
    After(500);
    mEngine.Seek(4000);
    ExpectAfter(kSeekTime - 1, kPlaying, 4000);
    EXPECT_TRUE(mEngine.Update().inSeek);
    // However late the end of the seek is noticed, it was when it was.
    ExpectAfter(1 + 300, kPlaying, 4300);
    EXPECT_FALSE(mEngine.Update().inSeek);
}

TEST_F(ClockEngineTest, RemembersWhatIsAskedForWhileLoading)
{
    mEngine.Load("clock:10");
    mEngine.Seek(60000);
    mEngine.Seek(5000);
    mEngine.SetSpeed(50);
    mEngine.Play();
    EXPECT_EQ(After(kLoadTime - 1).position, 5000);
    ExpectAfter(1 + 200, kPlaying, 5100);
    mEngine.Load("clock:10");
    mEngine.Play();
    mEngine.Pause();
    ExpectAfter(kLoadTime, kPaused, 0);
}
}  // namespace
