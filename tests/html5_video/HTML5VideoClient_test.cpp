// The C functions against a player made of plain system calls.
#include "html5_video/HTML5VideoClient.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/html5_video/player.h"
#include "tests/support/RawPeer.h"
#include "tests/support/support.h"
#include "util/ipc/IPCChannel.h"
#include "util/ipc/IPCChannelMgr.h"

namespace {
using test::EmptyRecord;
using test::Frame;
using test::Hex;
using test::Integers;
using test::kStatusPort;
using test::Number;
using test::PlayTime;
using test::Push;
using test::RawListener;
using test::RawPeer;
using test::ReadStatus;
using test::Status;
using test::Text;

// An encoded record of one argument, the value encoded already.
std::string Record(const std::string& type, const std::string& name, const std::string& value)
{
    return Hex("00 00 00 48") + Text(type) + Text(name) + value;
}

class HTML5VideoClientTest : public testing::Test
{
protected:
    static void SetUpTestSuite() { test::UsePrivateNetwork(); }

    // The player's side: answers commands on a thread and records them.
    void ServeCommands()
    {
        listener = std::make_unique<RawListener>(test::kCommandPort);
        player = std::thread([this] {
            const RawPeer connection = listener->Accept();
            for (;;) {
                const std::string frame = connection.ReceiveFrame();
                if (frame.size() < 8) {
                    return;
                }
                commands.push_back(frame);
                connection.Send(test::EmptyReply());
            }
        });
    }

    void TearDown() override
    {
        if (player.joinable()) {
            IPCChannelMgr::GetInstance()->GetIPCChannel("HTML5 Video Socket")->Reopen();
            player.join();
        }
    }

    const test::CapturedStderr log;
    std::unique_ptr<RawListener> listener;
    std::thread player;
    std::vector<std::string> commands;
};

TEST_F(HTML5VideoClientTest, EveryCommandIsOneFrame)
{
    ServeCommands();
    const std::pair<std::function<int()>, std::string> cases[] = {
        {[] { return html5_video_client_load("http://a/b.mp4"); },
         Frame("load", Record("s", "url", Text("http://a/b.mp4")))},
        {[] { return html5_video_client_load(nullptr); }, Frame("load", Record("n", "url", ""))},
        {html5_video_client_cancel_load, Frame("cancelLoad", EmptyRecord())},
        {html5_video_client_play, Frame("play", EmptyRecord())},
        {html5_video_client_pause, Frame("pause", EmptyRecord())},
        {[] { return html5_video_client_seek(1.5F); },
         Frame("seek", Record("i", "ms", Number(1500)))},
        {[] { return html5_video_client_setRate(0.5F); },
         Frame("setRate", Record("i", "speed", Number(50)))},
        {[] { return html5_video_client_setVolume(1.0F); },
         Frame("setVolume", Record("i", "v", Number(100)))},
        {[] { return html5_video_client_setSize(1280, 720); },
         Frame("setSize", Record("ii", "w", Number(1280) + Text("h") + Number(720)))},
        {[] { return html5_video_client_setMuted(true); },
         Frame("setMuted", Record("i", "m", Number(1)))},
        {[] { return html5_video_client_setMuted(false); },
         Frame("setMuted", Record("i", "m", Number(0)))},
    };
    for (const auto& [command, bytes] : cases) {
        EXPECT_EQ(command(), 0);
        ASSERT_FALSE(commands.empty());
        EXPECT_EQ(commands.back(), bytes);
    }
    EXPECT_EQ(commands.size(), std::size(cases));
    EXPECT_EQ(test::Count(log.Text(), "html5_video/HTML5VideoClient.cpp load 186\n"), 2);
}

TEST_F(HTML5VideoClientTest, FloatsAreCutTowardZero)
{
    ServeCommands();
    const std::pair<float, int> cases[] = {
        {123.456F, 12345},
        {0.004F, 0},
        {-0.019F, -1},
        {21474836.0F, std::numeric_limits<int>::max()},  // its product is 2 to the 31st
        {1e30F, std::numeric_limits<int>::max()},
        {-1e30F, std::numeric_limits<int>::min()},
        {std::nanf(""), 0},
    };
    for (const auto& [rate, hundredths] : cases) {
        html5_video_client_setRate(rate);
        EXPECT_EQ(commands.back(), Frame("setRate", Record("i", "speed", Number(hundredths))));
    }
}

TEST_F(HTML5VideoClientTest, ReportsWhatThePlayerPushedLast)
{
    html5_video_client_init();
    EXPECT_EQ(ReadStatus(), Status(9)) << "all zeros before the first report";
    const RawPeer peer = RawPeer::Connect(kStatusPort);
    Push(peer, Integers({1000, 60000, 100, 7, 2, 640, 360, 1, 0, 5000, 0, 2500}));
    EXPECT_EQ(ReadStatus(), (Status{1000, 60000, 100, 2, 1, 5000, 2500, 640, 360}));
    HTML5VideoClient* const client = HTML5VideoClient::GetInstance();
    EXPECT_EQ(client->GetStatus().statusValue3, 7);
    EXPECT_TRUE(log.WaitFor("7 1000 60000 100 2 inSeek 1 5000 2500 -> SetStatus_IPC in "));
    EXPECT_EQ(test::Count(log.Text(), "[LOG]:  -> SetStatus_IPC in "), 1);
    Push(peer, Integers({1, 2, -100, 4, -5, 6, 7, 5, 1, 0, 0, -1}));
    EXPECT_EQ(ReadStatus(), (Status{1, 2, -100, -5, 1, 4294967296, 4294967295, 6, 7}));
    // More arguments than twelve: the rest is passed over.
    Push(peer, Integers({9, 9, 9, 9, 9, 9, 9, 0, 9, 9, 9, 9, 8, 8}));
    const long long nines = 9LL << 32 | 9;
    EXPECT_EQ(ReadStatus(), (Status{9, 9, 9, 9, 0, nines, nines, 9, 9}));
    EXPECT_EQ(test::Count(log.Text(), "ARG ERROR"), 0);
    client->setVideoDimension(1, 2);
    client->setStatus(3, 4, 5, 6, 7, true, 8, 9);
    EXPECT_EQ(ReadStatus(), (Status{3, 4, 5, 7, 1, 8, 9, 1, 2}));
    EXPECT_EQ(client->GetStatus().statusValue3, 6);
}

TEST_F(HTML5VideoClientTest, MissingAndMistypedArgumentsCountAsZero)
{
    html5_video_client_init();
    const RawPeer peer = RawPeer::Connect(kStatusPort);
    for (int count = 0; count <= 12; ++count) {
        Push(peer, Integers(std::vector<int>(static_cast<std::size_t>(count), 3)));
        const auto sent = [count](int index) { return index < count ? 3LL : 0; };
        EXPECT_EQ(ReadStatus(),
                  (Status{sent(0), sent(1), sent(2), sent(4), sent(7) != 0 ? 1 : 0,
                          sent(8) << 32 | sent(9), sent(10) << 32 | sent(11), sent(5), sent(6)}))
            << count;
    }
    EXPECT_EQ(test::Count(log.Text(), "ARG ERROR"), 12 * 13 / 2);
    EXPECT_EQ(test::Count(log.Text(), "ARG ERROR 11 "), 12);
    // A string, a block and a null: the null has become the integer 0.
    Push(peer, Hex("00 00 00 48") + Text("isbnii") + Text("a") + Number(1) + Text("a") +
                   Text("text") + Text("a") + Number(3) + "xyz" + Text("a") + Text("a") +
                   Number(5) + Text("a") + Number(6));
    EXPECT_EQ(ReadStatus(), (Status{1, 0, 0, 5, 0, 0, 0, 6, 0}));
    EXPECT_EQ(test::Count(log.Text(), "ARG ERROR 1 "), 3);
    EXPECT_EQ(test::Count(log.Text(), "ARG ERROR 3 "), 4);
}

TEST_F(HTML5VideoClientTest, LoadResetsTheStatusButNotSizeAndBytes)
{
    html5_video_client_init();
    const RawPeer peer = RawPeer::Connect(kStatusPort);
    Push(peer, Integers({1, 2, 3, 4, 5, 6, 7, 1, 0, 8, 0, 9}));
    EXPECT_EQ(html5_video_client_load("x"), 0);  // nobody listens: still 0
    EXPECT_EQ(ReadStatus(), (Status{0, 0, 100, 0, 0, 8, 9, 6, 7}));
    EXPECT_EQ(HTML5VideoClient::GetInstance()->GetStatus().statusValue3, 0);
    EXPECT_EQ(
        test::Count(log.Text(), "Call Failure, IPCChannel is not activated HTML5 Video Socket"), 1);
}

TEST_F(HTML5VideoClientTest, AnyFirstCallStartsTheClientAndInitServesTheNextPlayer)
{
    html5_video_client_play();
    html5_video_client_reconnect();  // with no player it asks for no second one
    IPCChannel* const channel = IPCChannelMgr::GetInstance()->GetIPCChannel("HTML5 Video Socket");
    for (int life = 1; life <= 2; ++life) {
        {
            const RawPeer peer = RawPeer::Connect(kStatusPort);
            Push(peer, Integers({life}));
            html5_video_client_init();
            EXPECT_EQ(test::Count(log.Text(), "Start Failure"), life) << "it changes nothing";
            Push(peer, Integers({life + 10}));
        }
        EXPECT_EQ(PlayTime(), life + 10);
        ASSERT_TRUE(test::WaitUntil([&] { return !channel->IsRunning(); }));
        html5_video_client_init();
    }
}

TEST_F(HTML5VideoClientTest, TakesItsAddressesFromTheEnvironment)
{
    setenv("HBB_SYSTEM_IP", "127.0.0.2", 1);
    setenv("HBB_BROWSER_IP", "127.0.0.3", 1);
    html5_video_client_init();
    EXPECT_EQ(test::Count(log.Text(),
                          "HTML5 Video Socket aSendAddress = 127.0.0.2:56911, "
                          "aRecvAddress = 127.0.0.3:56910"),
              1);
    EXPECT_EQ(test::Count(log.Text(), "is no IPv4 address"), 0);
    const RawPeer peer = RawPeer::Connect(kStatusPort, "127.0.0.3");
    Push(peer, Integers({4}));
    EXPECT_EQ(PlayTime(), 4);
}

TEST_F(HTML5VideoClientTest, SaysWhichAddressOfTheEnvironmentIsNone)
{
    setenv("HBB_SYSTEM_IP", "player.local", 1);
    setenv("HBB_BROWSER_IP", "", 1);
    html5_video_client_play();
    EXPECT_EQ(test::Count(log.Text(), "HBB_SYSTEM_IP is no IPv4 address : player.local -> "), 1);
    EXPECT_EQ(test::Count(log.Text(), "HBB_BROWSER_IP is no IPv4 address :  -> "), 1);
    EXPECT_EQ(test::Count(log.Text(), "255.255.255.255:56911 : "), 1);  // used as it is
}
}  // namespace
