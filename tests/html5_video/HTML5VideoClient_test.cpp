// The C functions against a player made of plain system calls.
#include "html5_video/HTML5VideoClient.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <optional>

#include "tests/html5_video/player.h"
#include "tests/support/Background.h"
#include "util/ipc/IPCChannel.h"
#include "util/ipc/IPCChannelMgr.h"

namespace {
using namespace test;

// An encoded record of one argument, the value encoded already.
std::string Record(const std::string& type, const std::string& name, const std::string& value)
{
    return Hex("00 00 00 48") + Text(type) + Text(name) + value;
}

std::string IntegerNamed(const std::string& name, int value)
{
    return Record("i", name, Number(value));
}

IPCChannel& Channel()
{
    return *IPCChannelMgr::GetInstance()->GetIPCChannel("HTML5 Video Socket");
}

class HTML5VideoClientTest : public testing::Test
{
protected:
    // The player's side: answers commands on a thread and records them.
    void ServeCommands()
    {
        listener.emplace(kCommandPort);
        player.emplace([this] {
            const RawPeer connection = listener->Accept();
            for (std::string frame; !(frame = connection.ReceiveFrame()).empty();) {
                commands.push_back(frame);
                usleep(20000);  // the call waits for a slow player, too
                connection.Send(EmptyReply());
            }
        });
    }

    void TearDown() override
    {
        if (player) {
            Channel().Reopen();
        }
    }

    const CapturedStderr log;
    std::vector<std::string> commands;
    std::optional<RawListener> listener;
    std::optional<Background> player;
};

TEST_F(HTML5VideoClientTest, EveryCommandIsOneFrame)
{
    ServeCommands();
    const std::tuple<std::function<int()>, const char*, std::string> cases[] = {
        {[] { return html5_video_client_load("a.mp4"); }, "load",
         Record("s", "url", Text("a.mp4"))},
        {[] { return html5_video_client_load(nullptr); }, "load", Record("n", "url", "")},
        {html5_video_client_cancel_load, "cancelLoad", EmptyRecord()},
        {html5_video_client_play, "play", EmptyRecord()},
        {html5_video_client_pause, "pause", EmptyRecord()},
        {[] { return html5_video_client_seek(1.5F); }, "seek", IntegerNamed("ms", 1500)},
        {[] { return html5_video_client_setVolume(1.0F); }, "setVolume", IntegerNamed("v", 100)},
        {[] { return html5_video_client_setSize(1280, 720); }, "setSize",
         Record("ii", "w", Number(1280) + Text("h") + Number(720))},
        {[] { return html5_video_client_setMuted(true); }, "setMuted", IntegerNamed("m", 1)},
        {[] { return html5_video_client_setMuted(false); }, "setMuted", IntegerNamed("m", 0)},
    };
    for (const auto& [command, method, record] : cases) {
        EXPECT_EQ(command(), 0);
        EXPECT_EQ(html5_video_client_get_last_result(), 0);
        ASSERT_FALSE(commands.empty());
        EXPECT_EQ(commands.back(), Frame(method, record));
    }
    EXPECT_EQ(commands.size(), std::size(cases));
    EXPECT_EQ(log.Count("html5_video/HTML5VideoClient.cpp load 186\n"), 2);
}

TEST_F(HTML5VideoClientTest, FloatsAreCutTowardZero)
{
    ServeCommands();
    const std::pair<float, int> cases[] = {
        {123.456F, 12345},      {0.004F, 0}, {-0.019F, -1}, {1e30F, INT_MAX}, {-1e30F, INT_MIN},
        {21474836.0F, INT_MAX},  // its product is 2 to the 31st
        {std::nanf(""), 0},
    };
    for (const auto& [rate, hundredths] : cases) {
        EXPECT_EQ(html5_video_client_setRate(rate), 0);
        EXPECT_EQ(commands.back(), Frame("setRate", IntegerNamed("speed", hundredths)));
    }
}

TEST_F(HTML5VideoClientTest, ReportsWhatThePlayerPushedLast)
{
    const RawPeer peer = ConnectedPlayer();
    EXPECT_EQ(ReadStatus(), Status(9)) << "all zeros before the first report";
    Push(peer, Integers({1000, 60000, 100, 7, 2, 640, 360, 1, 0, 5000, 0, 2500}));
    EXPECT_EQ(ReadStatus(), (Status{1000, 60000, 100, 2, 1, 5000, 2500, 640, 360}));
    HTML5VideoClient* const client = HTML5VideoClient::GetInstance();
    EXPECT_EQ(client->GetStatus().statusValue3, 7);
    EXPECT_TRUE(log.WaitFor("7 1000 60000 100 2 inSeek 1 5000 2500 -> SetStatus_IPC in "));
    EXPECT_EQ(log.Count("[LOG]:  -> SetStatus_IPC in "), 1);
    Push(peer, Integers({1, 2, -100, 4, -5, 6, 7, 5, 1, 0, 0, -1}));
    EXPECT_EQ(ReadStatus(), (Status{1, 2, -100, -5, 1, 4294967296, 4294967295, 6, 7}));
    // More arguments than twelve: the rest is passed over.
    Push(peer, Integers({9, 9, 9, 9, 9, 9, 9, 0, 9, 9, 9, 9, 8, 8}));
    const long long nines = 9LL << 32 | 9;
    EXPECT_EQ(ReadStatus(), (Status{9, 9, 9, 9, 0, nines, nines, 9, 9}));
    EXPECT_EQ(log.Count("ARG ERROR"), 0);
    client->setVideoDimension(1, 2);
    client->setStatus(3, 4, 5, 6, 7, true, 8, 9);
    EXPECT_EQ(ReadStatus(), (Status{3, 4, 5, 7, 1, 8, 9, 1, 2}));
    EXPECT_EQ(ReadStatus(), (Status{client->GetPlayTime(), client->GetEndTime(), client->GetSpeed(),
                                    client->GetMediaStatus(), client->InSeek(),
                                    static_cast<long long>(client->GetTotalBytes()),
                                    static_cast<long long>(client->GetCurrentOffset()),
                                    client->GetVideoWidth(), client->GetVideoHeight()}));
    EXPECT_EQ(client->GetStatus().statusValue3, 6);
}

TEST_F(HTML5VideoClientTest, MissingAndMistypedArgumentsCountAsZero)
{
    const RawPeer peer = ConnectedPlayer();
    for (int count = 0; count <= 12; ++count) {
        Push(peer, Integers(std::vector<int>(static_cast<std::size_t>(count), 3)));
        const auto sent = [count](int index) { return index < count ? 3LL : 0; };
        EXPECT_EQ(ReadStatus(),
                  (Status{sent(0), sent(1), sent(2), sent(4), sent(7) != 0 ? 1 : 0,
                          sent(8) << 32 | sent(9), sent(10) << 32 | sent(11), sent(5), sent(6)}))
            << count;
    }
    EXPECT_EQ(log.Count("ARG ERROR"), 12 * 13 / 2);
    EXPECT_EQ(log.Count("ARG ERROR 11 "), 12);
    // A string, a block and a null: the null has become the integer 0.
    Push(peer, Hex("00 00 00 48") + Text("isbnii") + Text("a") + Number(1) + Text("a") +
                   Text("text") + Text("a") + Number(3) + "xyz" + Text("a") + Text("a") +
                   Number(5) + Text("a") + Number(6));
    EXPECT_EQ(ReadStatus(), (Status{1, 0, 0, 5, 0, 0, 0, 6, 0}));
    EXPECT_EQ(log.Count("ARG ERROR 1 "), 3);
    EXPECT_EQ(log.Count("ARG ERROR 3 "), 4);
}

TEST_F(HTML5VideoClientTest, LoadResetsTheStatusButNotSizeAndBytes)
{
    const RawPeer peer = ConnectedPlayer();
    Push(peer, Integers({1, 2, 3, 4, 5, 6, 7, 1, 0, 8, 0, 9}));
    EXPECT_EQ(html5_video_client_load("x"), 0);  // nobody listens: still 0
    EXPECT_EQ(ReadStatus(), (Status{0, 0, 100, 0, 0, 8, 9, 6, 7}));
    EXPECT_EQ(HTML5VideoClient::GetInstance()->GetStatus().statusValue3, 0);
    EXPECT_EQ(log.Count("Call Failure, IPCChannel is not activated HTML5 Video Socket"), 1);
}

TEST_F(HTML5VideoClientTest, AnyFirstCallStartsTheClientAndInitServesTheNextPlayer)
{
    html5_video_client_play();
    html5_video_client_reconnect();  // with no player it asks for no second one
    for (int life = 1; life <= 2; ++life) {
        RawPeer peer = RawPeer::Connect(kStatusPort);
        Push(peer, Integers({life}));
        html5_video_client_init();
        EXPECT_EQ(log.Count("Start Failure"), life) << "it changes nothing";
        Push(peer, Integers({life + 10}));
        peer.Close();
        EXPECT_EQ(PlayTime(), life + 10);
        ASSERT_TRUE(WaitUntil([&] { return !Channel().IsRunning(); }));
        html5_video_client_init();
    }
}

TEST_F(HTML5VideoClientTest, TakesItsAddressesFromTheEnvironment)
{
    setenv("HBB_SYSTEM_IP", "127.0.0.2", 1);
    setenv("HBB_BROWSER_IP", "127.0.0.3", 1);
    html5_video_client_init();
    EXPECT_EQ(log.Count("HTML5 Video Socket aSendAddress = 127.0.0.2:56911, "
                        "aRecvAddress = 127.0.0.3:56910"),
              1);
    EXPECT_EQ(log.Count("is no IPv4 address"), 0);
    const RawPeer peer = RawPeer::Connect({kStatusPort, "127.0.0.3"});
    Push(peer, Integers({4}));
    EXPECT_EQ(PlayTime(), 4);
}

TEST_F(HTML5VideoClientTest, SaysWhichAddressOfTheEnvironmentIsNone)
{
    setenv("HBB_SYSTEM_IP", "player.local", 1);
    setenv("HBB_BROWSER_IP", "", 1);
    html5_video_client_play();
    EXPECT_EQ(log.Count("HBB_SYSTEM_IP is no IPv4 address : player.local -> "), 1);
    EXPECT_EQ(log.Count("HBB_BROWSER_IP is no IPv4 address :  -> "), 1);
    EXPECT_EQ(log.Count("255.255.255.255:56911 : "), 1);  // used as it is
}
}  // namespace
