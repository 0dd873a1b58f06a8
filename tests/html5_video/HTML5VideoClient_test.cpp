// The C functions against a player made of plain system calls.
#include "html5_video/HTML5VideoClient.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "html5_video/html5_video_client.h"
#include "tests/support/RawPeer.h"
#include "tests/support/support.h"
#include "util/ipc/IPCChannel.h"
#include "util/ipc/IPCChannelMgr.h"

namespace {
using test::EmptyRecord;
using test::Frame;
using test::Hex;
using test::Number;
using test::RawListener;
using test::RawPeer;
using test::Text;

constexpr int kCommandPort = 56911;
constexpr int kStatusPort = 56910;
const std::string kEmptyReply = Hex("08 00 00 00") + EmptyRecord();

struct Status
{
    int playTime, endTime, speed, mediaStatus, inSeek;
    unsigned long long total, offset;
    int width, height;
};

Status ReadStatus()
{
    Status s = {};
    EXPECT_EQ(html5_video_get_status(&s.playTime, &s.endTime, &s.speed, &s.mediaStatus, &s.inSeek,
                                     &s.total, &s.offset),
              0);
    EXPECT_EQ(html5_video_get_video_dimension(&s.width, &s.height), 0);
    return s;
}

// An encoded record of integers named a.
std::string Integers(const std::vector<int>& values)
{
    std::string record = Hex("00 00 00 48") + Text(std::string(values.size(), 'i'));
    for (const int value : values) {
        record += Text("a") + Number(value);
    }
    return record;
}

class HTML5VideoClientTest : public testing::Test
{
protected:
    static void SetUpTestSuite() { test::UsePrivateNetwork(); }

    // The player's side: answers commands on a thread and records them.
    void ServeCommands()
    {
        listener = std::make_unique<RawListener>(kCommandPort);
        player = std::thread([this] {
            const RawPeer connection = listener->Accept();
            for (;;) {
                const std::string frame = connection.ReceiveFrame();
                if (frame.size() < 8) {
                    return;
                }
                commands.push_back(frame);
                connection.Send(kEmptyReply);
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

    // One "SetStatus" and the reply to it.
    void Push(const RawPeer& peer, const std::string& record)
    {
        ASSERT_TRUE(peer.Send(Frame("SetStatus", record)));
        EXPECT_EQ(peer.ReceiveFrame(), kEmptyReply);
    }

    const test::CapturedStderr log;
    std::unique_ptr<RawListener> listener;
    std::thread player;
    std::vector<std::string> commands;
};

TEST_F(HTML5VideoClientTest, EveryCommandIsOneFrameToTheByte)
{
    ServeCommands();
    const std::pair<std::function<int()>, std::string> cases[] = {
        {[] { return html5_video_client_load("http://a/b.mp4"); },
         "28 00 00 00 | 00 00 00 47 | 6C 6F 61 64 00 00 00 00 | 00 00 00 48 | 73 00 00 00"
         "| 75 72 6C 00 | 68 74 74 70 3A 2F 2F 61 2F 62 2E 6D 70 34 00 00"},
        {[] { return html5_video_client_load(nullptr); },
         "18 00 00 00 | 00 00 00 47 | 6C 6F 61 64 00 00 00 00 | 00 00 00 48 | 6E 00 00 00"
         "| 75 72 6C 00"},
        {[] { return html5_video_client_cancel_load(); },
         "18 00 00 00 | 00 00 00 47 | 63 61 6E 63 65 6C 4C 6F 61 64 00 00"
         "| 00 00 00 48 00 00 00 00"},
        {[] { return html5_video_client_play(); },
         "14 00 00 00 | 00 00 00 47 | 70 6C 61 79 00 00 00 00 | 00 00 00 48 00 00 00 00"},
        {[] { return html5_video_client_pause(); },
         "14 00 00 00 | 00 00 00 47 | 70 61 75 73 65 00 00 00 | 00 00 00 48 00 00 00 00"},
        {[] { return html5_video_client_seek(1.5F); },
         "1C 00 00 00 | 00 00 00 47 | 73 65 65 6B 00 00 00 00 | 00 00 00 48 | 69 00 00 00"
         "| 6D 73 00 00 | DC 05 00 00"},
        {[] { return html5_video_client_setRate(0.5F); },
         "20 00 00 00 | 00 00 00 47 | 73 65 74 52 61 74 65 00 | 00 00 00 48 | 69 00 00 00"
         "| 73 70 65 65 64 00 00 00 | 32 00 00 00"},
        {[] { return html5_video_client_setVolume(1.0F); },
         "20 00 00 00 | 00 00 00 47 | 73 65 74 56 6F 6C 75 6D 65 00 00 00 | 00 00 00 48"
         "| 69 00 00 00 | 76 00 00 00 | 64 00 00 00"},
        {[] { return html5_video_client_setSize(1280, 720); },
         "24 00 00 00 | 00 00 00 47 | 73 65 74 53 69 7A 65 00 | 00 00 00 48 | 69 69 00 00"
         "| 77 00 00 00 | 00 05 00 00 | 68 00 00 00 | D0 02 00 00"},
        {[] { return html5_video_client_setMuted(true); },
         "20 00 00 00 | 00 00 00 47 | 73 65 74 4D 75 74 65 64 00 00 00 00 | 00 00 00 48"
         "| 69 00 00 00 | 6D 00 00 00 | 01 00 00 00"},
    };
    for (const auto& [command, bytes] : cases) {
        EXPECT_EQ(command(), 0);
        ASSERT_FALSE(commands.empty());
        EXPECT_EQ(commands.back(), Hex(bytes)) << bytes;
    }
    EXPECT_EQ(commands.size(), std::size(cases));
    EXPECT_EQ(test::Count(log.Text(), "html5_video/HTML5VideoClient.cpp load 186\n"), 2);
}

TEST_F(HTML5VideoClientTest, FloatsAreCutTowardZero)
{
    ServeCommands();
    const std::pair<std::function<void()>, int> cases[] = {
        {[] { html5_video_client_seek(12.3456F); }, 12345},
        {[] { html5_video_client_seek(0.0004F); }, 0},
        {[] { html5_video_client_seek(-0.0019F); }, -1},
        {[] { html5_video_client_setRate(1.5F); }, 150},
        {[] { html5_video_client_setRate(-2.0F); }, -200},
        {[] { html5_video_client_seek(1e30F); }, std::numeric_limits<int>::max()},
        {[] { html5_video_client_seek(-1e30F); }, std::numeric_limits<int>::min()},
        {[] { html5_video_client_seek(std::nanf("")); }, 0},
        {[] { html5_video_client_setMuted(false); }, 0},
    };
    for (const auto& [command, number] : cases) {
        command();
        ASSERT_FALSE(commands.empty());
        EXPECT_EQ(commands.back().substr(commands.back().size() - 4), Number(number)) << number;
    }
}

TEST_F(HTML5VideoClientTest, ReportsWhatThePlayerPushedLast)
{
    html5_video_client_init();
    EXPECT_EQ(ReadStatus().speed, 0);  // all zeros before the first report
    const RawPeer peer = RawPeer::Connect(kStatusPort);
    Push(peer, Integers({1000, 60000, 100, 7, 2, 640, 360, 1, 0, 5000, 0, 2500}));
    Status s = ReadStatus();
    EXPECT_EQ(s.playTime, 1000);
    EXPECT_EQ(s.endTime, 60000);
    EXPECT_EQ(s.speed, 100);
    EXPECT_EQ(s.mediaStatus, 2);
    EXPECT_EQ(s.inSeek, 1);
    EXPECT_EQ(s.total, 5000u);
    EXPECT_EQ(s.offset, 2500u);
    EXPECT_EQ(s.width, 640);
    EXPECT_EQ(s.height, 360);
    EXPECT_TRUE(log.WaitFor("7 1000 60000 100 2 inSeek 1 5000 2500 -> SetStatus_IPC in "));
    Push(peer, Integers({1, 2, -100, 4, -5, 6, 7, 5, 1, 0, 0, -1}));
    s = ReadStatus();
    EXPECT_EQ(s.speed, -100);
    EXPECT_EQ(s.mediaStatus, -5);
    EXPECT_EQ(s.inSeek, 1);
    EXPECT_EQ(s.total, 4294967296u);
    EXPECT_EQ(s.offset, 4294967295u);
    // More arguments than twelve: the rest is passed over.
    Push(peer, Integers({9, 9, 9, 9, 9, 9, 9, 0, 9, 9, 9, 9, 8, 8}));
    EXPECT_EQ(ReadStatus().total, 9ull << 32 | 9);
    EXPECT_EQ(test::Count(log.Text(), "ARG ERROR"), 0);
}

TEST_F(HTML5VideoClientTest, MissingAndMistypedArgumentsCountAsZero)
{
    html5_video_client_init();
    const RawPeer peer = RawPeer::Connect(kStatusPort);
    for (int count = 0; count <= 12; ++count) {
        Push(peer, Integers(std::vector<int>(static_cast<std::size_t>(count), 3)));
        const Status s = ReadStatus();
        EXPECT_EQ(s.playTime, count > 0 ? 3 : 0) << count;
        EXPECT_EQ(s.mediaStatus, count > 4 ? 3 : 0) << count;
        EXPECT_EQ(s.inSeek, count > 7 ? 1 : 0) << count;
        EXPECT_EQ(s.offset & 0xFFFFFFFF, count > 11 ? 3u : 0u) << count;
    }
    EXPECT_EQ(test::Count(log.Text(), "ARG ERROR"), 12 * 13 / 2);
    EXPECT_EQ(test::Count(log.Text(), "ARG ERROR 11 "), 12);
    // A string, a block and a null: the null has become the integer 0.
    Push(peer, Hex("00 00 00 48") + Text("isbnii") + Text("a") + Number(1) + Text("a") +
                   Text("text") + Text("a") + Number(3) + "xyz" + Text("a") + Text("a") +
                   Number(5) + Text("a") + Number(6));
    const Status s = ReadStatus();
    EXPECT_EQ(s.playTime, 1);
    EXPECT_EQ(s.endTime, 0);
    EXPECT_EQ(s.speed, 0);
    EXPECT_EQ(s.mediaStatus, 5);
    EXPECT_EQ(s.width, 6);
    EXPECT_EQ(test::Count(log.Text(), "ARG ERROR 1 "), 3);
    EXPECT_EQ(test::Count(log.Text(), "ARG ERROR 3 "), 4);
}

TEST_F(HTML5VideoClientTest, LoadResetsTheStatusButNotSizeAndBytes)
{
    html5_video_client_init();
    const RawPeer peer = RawPeer::Connect(kStatusPort);
    Push(peer, Integers({1, 2, 3, 4, 5, 6, 7, 1, 0, 8, 0, 9}));
    EXPECT_EQ(html5_video_client_load("x"), 0);  // nobody listens: still 0
    const Status s = ReadStatus();
    EXPECT_EQ(s.playTime, 0);
    EXPECT_EQ(s.endTime, 0);
    EXPECT_EQ(s.speed, 100);
    EXPECT_EQ(s.mediaStatus, 0);
    EXPECT_EQ(s.inSeek, 0);
    EXPECT_EQ(s.width, 6);
    EXPECT_EQ(s.height, 7);
    EXPECT_EQ(s.total, 8u);
    EXPECT_EQ(s.offset, 9u);
    EXPECT_EQ(
        test::Count(log.Text(), "Call Failure, IPCChannel is not activated HTML5 Video Socket"), 1);
}

TEST_F(HTML5VideoClientTest, AnyFirstCallStartsTheClientAndInitAgainChangesNothing)
{
    html5_video_client_play();
    const RawPeer peer = RawPeer::Connect(kStatusPort);
    Push(peer, Integers({1}));
    html5_video_client_init();
    html5_video_client_init();
    EXPECT_EQ(test::Count(log.Text(), "Start Failure"), 2);
    Push(peer, Integers({2}));
    EXPECT_EQ(ReadStatus().playTime, 2);
}

TEST_F(HTML5VideoClientTest, ServesTheNextPlayerAfterInit)
{
    html5_video_client_init();
    IPCChannel* const channel = IPCChannelMgr::GetInstance()->GetIPCChannel("HTML5 Video Socket");
    for (int life = 1; life <= 5; ++life) {
        {
            const RawPeer peer = RawPeer::Connect(kStatusPort);
            Push(peer, Integers({life}));
        }
        EXPECT_EQ(ReadStatus().playTime, life);
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
    const RawPeer peer = RawPeer::Connect(kStatusPort, "127.0.0.3");
    Push(peer, Integers({4}));
    EXPECT_EQ(ReadStatus().playTime, 4);
}

TEST_F(HTML5VideoClientTest, CommandsStatusAndUpdatesFromManyThreads)
{
    ServeCommands();
    html5_video_client_init();
    std::atomic<bool> done{false};
    std::atomic<int> torn{0};
    std::vector<std::thread> threads;
    for (int caller = 0; caller < 2; ++caller) {
        threads.emplace_back([&] {
            while (!done) {
                html5_video_client_pause();
            }
        });
    }
    threads.emplace_back([&] {
        while (!done) {
            const Status s = ReadStatus();
            torn += s.endTime == s.playTime && s.total == static_cast<unsigned>(s.playTime) &&
                            s.offset == s.total
                        ? 0
                        : 1;
        }
    });
    const RawPeer peer = RawPeer::Connect(kStatusPort);
    for (int number = 1; number <= 1000; ++number) {
        Push(peer, Integers({number, number, number, 0, number, number, number, 0, 0, number, 0,
                             number}));
    }
    done = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(torn, 0);
    EXPECT_EQ(ReadStatus().playTime, 1000);
}
}  // namespace
