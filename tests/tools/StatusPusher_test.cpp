// What a browser receives of the player's state, and when; the browser is a channel in this
// process that comes and goes.
#include "tools/player/StatusPusher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <vector>

#include "tests/support/support.h"
#include "util/ipc/IPCParam.h"
#include "util/ipc/IPCSocketChannel.h"

namespace {
using testing::ElementsAre;
using Report = std::vector<int>;

constexpr int kMediaStatus = 4;  // its position in a report

std::mutex sMutex;
std::vector<Report> sReports;

IPCParam* OnSetStatus(IPCParam* request)
{
    Report report;
    for (int index = 0; index < request->GetCount(); ++index) {
        EXPECT_EQ(request->GetArg(index)->mType, 'i');
        report.push_back(static_cast<int>(request->GetArg(index)->mValue));
    }
    const std::lock_guard<std::mutex> hold(sMutex);
    sReports.push_back(report);
    return new IPCParam;
}

class StatusPusherTest : public testing::Test
{
protected:
    StatusPusherTest()
        : mPort(test::FreePort()),
          mBrowserPort(test::FreePort()),
          mPlayer("player", mBrowserPort, mPort),
          mPusher(mPlayer)
    {
        mPlayer.Start();
        mPusher.Start();
    }
    ~StatusPusherTest() override
    {
        mBrowser.reset();
        mPusher.Stop();
        mPlayer.Quit();
    }

    void BrowserComes()
    {
        sReports.clear();
        mBrowser = std::make_unique<IPCSocketChannel>("browser", mPort, mBrowserPort);
        mBrowser->Register("SetStatus", OnSetStatus);
        mBrowser->Start();
    }

    void BrowserGoes()
    {
        mBrowser->Quit();
        mBrowser.reset();
    }

    static bool WaitForStatus(MediaStatus status)
    {
        return test::WaitUntil([&] {
            const std::lock_guard<std::mutex> hold(sMutex);
            return !sReports.empty() && sReports.back()[kMediaStatus] == static_cast<int>(status);
        });
    }

    void Update(MediaStatus status)
    {
        PlaybackState state;
        state.status = status;
        mPusher.Update(state);
    }

    const int mPort;
    const int mBrowserPort;
    IPCSocketChannel mPlayer;
    StatusPusher mPusher;
    std::unique_ptr<IPCSocketChannel> mBrowser;
};

TEST_F(StatusPusherTest, SendsTwelveIntegersInTheAgreedOrder)
{
    BrowserComes();
    PlaybackState state;
    state.status = MediaStatus::kPaused;
    state.position = 1500;
    state.duration = std::int64_t{1} << 40;  // held to what fits
    state.speed = -50;
    state.volume = 70;
    state.width = 320;
    state.height = 240;
    state.inSeek = true;
    state.totalBytes = 0x12FFFFFFFF;
    state.currentOffset = 0x180000000;
    mPusher.Update(state);
    ASSERT_TRUE(WaitForStatus(MediaStatus::kPaused));
    const std::lock_guard<std::mutex> hold(sMutex);
    EXPECT_THAT(sReports.back(), ElementsAre(1500, 2147483647, -50, 70, 3, 320, 240, 1, 0x12, -1, 1,
                                             -2147483647 - 1));
}

TEST_F(StatusPusherTest, ABrowserThatComesLateOrAgainLearnsTheStateWithoutAChange)
{
    Update(MediaStatus::kEnded);
    for (int round = 0; round < 3; ++round) {
        BrowserComes();
        EXPECT_TRUE(WaitForStatus(MediaStatus::kEnded)) << round;
        // A command keeps a connection to the player open, as a browser's do.
        IPCParam request;
        mBrowser->Call("unknown", &request, nullptr);
        BrowserGoes();
    }
}

TEST_F(StatusPusherTest, AChangeThatABrowserMissedReachesTheNextOne)
{
    BrowserComes();
    Update(MediaStatus::kPlaying);
    ASSERT_TRUE(WaitForStatus(MediaStatus::kPlaying));
    BrowserGoes();
    Update(MediaStatus::kErrorDecode);
    BrowserComes();
    EXPECT_TRUE(WaitForStatus(MediaStatus::kErrorDecode));
}

TEST_F(StatusPusherTest, ManyChangesEndWithTheLatest)
{
    BrowserComes();
    for (int round = 0; round < 1000; ++round) {
        Update(round % 2 == 0 ? MediaStatus::kPaused : MediaStatus::kPlaying);
    }
    Update(MediaStatus::kEnded);
    EXPECT_TRUE(WaitForStatus(MediaStatus::kEnded));
}
}  // namespace
