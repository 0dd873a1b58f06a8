// The clock engine on a clock of the test's own: nothing here waits.
#include "tools/player/ClockEngine.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "tests/support/support.h"

namespace {
constexpr int kLoadTime = 100;
constexpr int kSeekTime = 50;

class ClockEngineTest : public testing::Test
{
protected:
    ClockEngineTest() : mEngine(MakeSettings(), [this] { return mNow; }) {}

    static ClockEngine::Settings MakeSettings()
    {
        ClockEngine::Settings settings;
        settings.duration = 20000;
        settings.loadTime = kLoadTime;
        settings.seekTime = kSeekTime;
        return settings;
    }

    PlaybackState After(std::int64_t milliseconds)
    {
        mNow += milliseconds;
        return mEngine.Update();
    }

    void LoadAndPlay(const std::string& address = "clock:10")
    {
        mEngine.Load(address);
        mEngine.Play();
        After(kLoadTime);
    }

    std::int64_t mNow = 1000000;
    ClockEngine mEngine;
};

TEST_F(ClockEngineTest, PositionFollowsEveryChangeOfSpeedWithoutLosingAFraction)
{
    LoadAndPlay();
    EXPECT_EQ(After(1000).position, 1000);
    mEngine.SetSpeed(200);
    EXPECT_EQ(After(500).position, 2000);
    mEngine.SetSpeed(33);
    for (int turn = 0; turn < 100; ++turn) {
        After(1);  // a third of a millisecond each
    }
    EXPECT_EQ(mEngine.Update().position, 2033);
    mEngine.SetSpeed(0);
    EXPECT_EQ(After(700).position, 2033);
    EXPECT_EQ(mEngine.Update().status, HTML5_VIDEO_STATUS_PLAYING);
    mEngine.SetSpeed(-100);
    EXPECT_EQ(After(1000).position, 1033);
    mEngine.Pause();
    EXPECT_EQ(After(1000).position, 1033);
    EXPECT_EQ(mEngine.Update().status, HTML5_VIDEO_STATUS_PAUSED);
    EXPECT_EQ(mEngine.Update().speed, -100);
    mEngine.Play();
    EXPECT_EQ(After(33).position, 1000);
}

TEST_F(ClockEngineTest, EndsAtEitherSideAndPlaysAgainFromTheOther)
{
    LoadAndPlay();
    EXPECT_EQ(After(9999).status, HTML5_VIDEO_STATUS_PLAYING);
    const PlaybackState ended = After(50);
    EXPECT_EQ(ended.status, HTML5_VIDEO_STATUS_ENDED);
    EXPECT_EQ(ended.position, 10000);
    mEngine.Play();
    EXPECT_EQ(After(250).position, 250);
    mEngine.SetSpeed(-200);
    EXPECT_EQ(After(151).status, HTML5_VIDEO_STATUS_ENDED);
    EXPECT_EQ(mEngine.Update().position, 0);
    mEngine.Play();
    EXPECT_EQ(After(100).position, 9800);
    EXPECT_EQ(After(9800).status, HTML5_VIDEO_STATUS_ENDED);
    mEngine.Seek(3000);
    EXPECT_EQ(After(kSeekTime + 500).status, HTML5_VIDEO_STATUS_PAUSED)
        << "a seek holds its position";
    EXPECT_EQ(mEngine.Update().position, 3000);
}

TEST_F(ClockEngineTest, SeeksIntoTheLengthAndGoesOnAsBefore)
{
    LoadAndPlay();
    After(500);
    mEngine.Seek(4000);
    const PlaybackState seeking = After(kSeekTime - 1);
    EXPECT_TRUE(seeking.inSeek);
    EXPECT_EQ(seeking.position, 4000);
    EXPECT_EQ(seeking.status, HTML5_VIDEO_STATUS_PLAYING);
    // However late the end of the seek is noticed, it was when it was.
    const PlaybackState playing = After(1 + 300);
    EXPECT_FALSE(playing.inSeek);
    EXPECT_EQ(playing.position, 4300);

    mEngine.Pause();
    const std::pair<int, int> cases[] = {{-2147483647 - 1, 0}, {9999, 9999}, {2147483647, 10000}};
    for (const auto& [target, position] : cases) {
        mEngine.Seek(target);
        EXPECT_EQ(After(kSeekTime).position, position);
        EXPECT_EQ(mEngine.Update().status, HTML5_VIDEO_STATUS_PAUSED);
    }
}

TEST_F(ClockEngineTest, RemembersWhatIsAskedForWhileLoading)
{
    mEngine.Load("clock:10");
    mEngine.Seek(60000);
    mEngine.Seek(5000);
    mEngine.SetSpeed(50);
    mEngine.Play();
    EXPECT_EQ(After(kLoadTime - 1).position, 5000);
    EXPECT_EQ(After(1 + 200).position, 5100);
    mEngine.Load("clock:10");
    mEngine.Play();
    mEngine.Pause();
    EXPECT_EQ(After(kLoadTime).status, HTML5_VIDEO_STATUS_PAUSED);
}

TEST_F(ClockEngineTest, WhatCanNotBeLoadedShowsAsAnError)
{
    const struct
    {
        const char* address;
        MediaStatus status;
    } cases[] = {
        {"nowhere.webm", HTML5_VIDEO_STATUS_ERROR_NOT_FOUND},
        {".", HTML5_VIDEO_STATUS_ERROR_UNSUPPORTED},
        {"rtsp://127.0.0.1/x", HTML5_VIDEO_STATUS_ERROR_UNSUPPORTED},
        {"clock:", HTML5_VIDEO_STATUS_ERROR_UNSUPPORTED},
        {"clock:nan", HTML5_VIDEO_STATUS_ERROR_UNSUPPORTED},
        {"clock:1e300", HTML5_VIDEO_STATUS_ERROR_UNSUPPORTED},
    };
    for (const auto& load : cases) {
        LoadAndPlay(load.address);
        EXPECT_EQ(mEngine.Update().status, load.status) << load.address;
        EXPECT_EQ(mEngine.Update().duration, 0) << load.address;
    }
    test::WriteFile("half a gigabyte.webm", std::string(1000, 'x'));
    LoadAndPlay("half a gigabyte.webm");
    EXPECT_EQ(After(5000).totalBytes, 1000U);
    EXPECT_EQ(mEngine.Update().currentOffset, 250U);
}
}  // namespace
