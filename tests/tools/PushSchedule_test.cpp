// What the player pushes and when, on a clock of the test's own.
#include "tools/player/PushSchedule.h"

#include <gtest/gtest.h>

namespace {
using std::chrono::milliseconds;

PlaybackState At(int position, MediaStatus status = HTML5_VIDEO_STATUS_PLAYING)
{
    PlaybackState state;
    state.status = status;
    state.position = position;
    return state;
}

class PushScheduleTest : public testing::Test
{
protected:
    // The position that goes out so many milliseconds later, -1 for nothing; the browser takes it.
    int After(int time, bool reached = true)
    {
        mNow += milliseconds(time);
        const auto due = mSchedule.Take(mNow);
        if (due) {
            mSchedule.Report(reached);
        }
        return due ? static_cast<int>(due->position) : -1;
    }

    PushSchedule::Time::duration Wait() const { return mSchedule.Next(mNow) - mNow; }

    PushSchedule::Time mNow{milliseconds(1000000)};
    PushSchedule mSchedule;
};

TEST_F(PushScheduleTest, TheNewestStateGoesOutAndThoseBeforeItAreLeftOut)
{
    EXPECT_EQ(After(5000), -1);
    EXPECT_EQ(Wait(), milliseconds(250));
    EXPECT_TRUE(mSchedule.Update(At(1)));
    EXPECT_TRUE(mSchedule.Update(At(2)));
    EXPECT_EQ(After(0), 2);
    EXPECT_FALSE(mSchedule.Update(At(3))) << "progress has its turn";
    EXPECT_FALSE(mSchedule.Update(At(4)));
    EXPECT_EQ(Wait(), milliseconds(250));
    EXPECT_EQ(After(249), -1);
    EXPECT_EQ(Wait(), milliseconds(1));
    EXPECT_EQ(After(1), 4);
    EXPECT_TRUE(mSchedule.Update(At(5, HTML5_VIDEO_STATUS_PAUSED)));
    EXPECT_TRUE(mSchedule.Update(At(6, HTML5_VIDEO_STATUS_PAUSED)));
    EXPECT_EQ(After(0), 6) << "a change does not wait";
    EXPECT_TRUE(mSchedule.Update(At(7, HTML5_VIDEO_STATUS_PAUSED))) << "a jump";
    EXPECT_EQ(After(0), 7);
}

TEST_F(PushScheduleTest, AnUnchangedStateBeatsAndOneThatWasNotTakenIsTriedAgain)
{
    mSchedule.Update(At(1));
    EXPECT_EQ(After(0), 1);
    EXPECT_FALSE(mSchedule.Update(At(1)));
    EXPECT_EQ(After(999), -1);
    EXPECT_EQ(After(1, false), 1);
    EXPECT_EQ(After(249), -1);
    EXPECT_EQ(After(1), 1);
    EXPECT_EQ(After(250), -1) << "it was taken";
}

TEST_F(PushScheduleTest, NothingIsToldWhileAnyoneHolds)
{
    mSchedule.Update(At(1));
    mSchedule.Hold();
    mSchedule.Hold();
    EXPECT_FALSE(mSchedule.Update(At(2)));
    mSchedule.Release();
    EXPECT_FALSE(mSchedule.Update(At(3)));
    EXPECT_EQ(After(5000), -1);
    mSchedule.Release();
    EXPECT_EQ(After(0), -1) << "what came meanwhile is dropped";
    EXPECT_TRUE(mSchedule.Update(At(4)));
    EXPECT_EQ(After(0), 4);
    mSchedule.Hold();
    mSchedule.Release();
    EXPECT_TRUE(mSchedule.Update(At(4))) << "told anew, though unchanged";
}
}  // namespace
