// What a host does beside playing: noticing, recovering, waiting for news, being quiet.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <tuple>

#include "tests/html5_video/player.h"
#include "tests/support/Background.h"
#include "tests/support/program.h"

namespace {
using namespace test;

bool IsConnected()
{
    return html5_video_client_is_connected() == 1;
}

class RecoveryTest : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(html5_video_client_set_log(0, 3), 0); }
};

TEST_F(RecoveryTest, ACommandThatWaitsEndsAndTheNextOneConnectsAnew)
{
    const RawListener player(kCommandPort);
    html5_video_client_init();
    {
        const Background command([] {
            html5_video_client_play();
            EXPECT_EQ(html5_video_client_get_last_result(), -1);
        });
        const RawPeer silent = player.Accept();
        EXPECT_FALSE(silent.ReceiveFrame().empty());
        html5_video_client_reconnect();
        EXPECT_TRUE(command.Returns(10000)) << "of 30 seconds";
        EXPECT_TRUE(silent.WaitClosed());
        EXPECT_EQ(html5_video_client_get_last_result(), 0) << "of this thread";
    }
    const Background next(html5_video_client_pause);
    const RawPeer answering = player.Accept();
    EXPECT_EQ(answering.ReceiveFrame(), Frame("pause", EmptyRecord()));
    answering.Send(EmptyReply());
}

TEST_F(RecoveryTest, AHealthyPlayerKeepsBothConnections)
{
    constexpr int kTurns = 1000;
    const RawListener player(kCommandPort);
    const RawPeer state = ConnectedPlayer();
    Push(state, Integers({1}));
    const Background commands([] {
        for (int number = 0; number < kTurns; ++number) {
            html5_video_client_reconnect();
            html5_video_client_play();
            EXPECT_EQ(html5_video_client_get_last_result(), 0);
        }
    });
    const RawPeer connection = player.Accept();
    for (int number = 0; number < kTurns; ++number) {
        ASSERT_FALSE(connection.ReceiveFrame().empty());
        html5_video_client_reconnect();
        ASSERT_TRUE(connection.Send(EmptyReply()));
        Push(state, Integers({number}));
    }
    EXPECT_TRUE(IsConnected());
}

// The request of a host that noticed too early, or called for nothing, is not lost.
TEST_F(RecoveryTest, AsksForThePlayerAfterTheOneThatIsServed)
{
    RawPeer first = ConnectedPlayer();
    const int serving = CountThreads();
    Push(first, Integers({1}));
    html5_video_client_reconnect();
    first.Close();
    RawPeer second = RawPeer::Connect(kStatusPort);
    Push(second, Integers({2}));
    EXPECT_EQ(PlayTime(), 2);
    second.Close();
    EXPECT_TRUE(WaitUntil([&] { return CountThreads() < serving; })) << "one request, one player";
}

// What has happened since the last look, or why none is told.
int Events()
{
    std::uint64_t count = 0;
    const int descriptor = html5_video_client_get_event_fd();
    return read(descriptor, &count, sizeof(count)) == 8 ? static_cast<int>(count) : -errno;
}

TEST_F(RecoveryTest, TheDescriptorIsQuietUntilSomethingHappens)
{
    EXPECT_EQ(Events(), -EAGAIN);
}

// One for each report, which is therefore one update.
TEST_F(RecoveryTest, TheDescriptorCountsOneForEachReport)
{
    const RawPeer peer = ConnectedPlayer();
    ASSERT_TRUE(WaitUntil(IsConnected));
    EXPECT_GE(Events(), 1) << "the connection, from before";
    for (int number = 1; number <= 5; ++number) {
        Push(peer, Integers({number}));
    }
    EXPECT_EQ(Events(), 5);
    EXPECT_EQ(Events(), -EAGAIN) << "does not block";
    html5_video_client_load("x");
    EXPECT_EQ(Events(), 1) << "the status was reset";
}

TEST_F(RecoveryTest, AReplyTimeOutHoldsForTheNextCommand)
{
    const RawListener player(kCommandPort);
    EXPECT_EQ(html5_video_client_set_reply_timeout(50), 0);
    html5_video_client_play();  // the backlog takes it, nobody answers
    EXPECT_EQ(html5_video_client_get_last_result(), -1);
    EXPECT_EQ(html5_video_client_set_reply_timeout(-1), -1);
    EXPECT_EQ(html5_video_client_set_reply_timeout(kPatience), 0);
    const Background command([] {
        html5_video_client_pause();
        EXPECT_EQ(html5_video_client_get_last_result(), 0);
    });
    const RawPeer connection = player.Accept();
    connection.ReceiveFrame();
    connection.Send(EmptyReply());  // late, of the play
    connection.ReceiveFrame();
    usleep(100000);  // too long for the former time-out
    connection.Send(EmptyReply());
}

TEST_F(RecoveryTest, ManyThreadsLookWhilePlayersComeAndGo)
{
    constexpr int kLives = 200;
    html5_video_client_init();
    std::atomic<bool> done{false};
    const Background lookers([&done] {
        InThreads(100, [&done](int) {
            for (long long last = 0; !done; usleep(1000)) {
                const long long time = PlayTime();
                EXPECT_GE(time, last);
                EXPECT_EQ(html5_video_client_get_last_result(), 0);
                last = time;
                html5_video_client_is_connected();
            }
        });
    });
    for (int life = 1; life <= kLives; ++life) {
        RawPeer peer = RawPeer::Connect(kStatusPort);
        Push(peer, Integers({life}));
        EXPECT_TRUE(IsConnected());
        html5_video_client_reconnect();  // for nothing
        peer.Close();
        EXPECT_TRUE(WaitUntil([] { return !IsConnected(); }));
        html5_video_client_reconnect();
    }
    done = true;
}

// A program in C that calls every function, without a player; its two outputs to the byte.
TEST(LogOfAHost, IsAsQuietAsItAsksFor)
{
    const std::string atLoad = "mode=0\nkmsg=0\nserverip=\nport=0\noutpath=./log.txt\n";
    WriteFile("logger.conf", "outpath=./log.txt\n");
    const auto run = [](const std::string& arguments) {
        int status = -1;
        const std::string command = Program("tests/c_header_test ") + arguments;
        const std::string output = OutputOf(command + " 2>stderr.txt", &status);
        EXPECT_EQ(status, 0) << "a result of its functions was wrong";
        return output;
    };
    const auto count = [](const char* file) {
        const std::string text = ReadFile(file);
        return std::tuple(Count(text, "[LOG]: "), Count(text, "[LOG-WARN]:"),
                          Count(text, "[[LOG-ERROR]]:"), Count(text, " load 186\n"));
    };
    for (const char* const silent : {"0 0", "1 3", "2 3", "-1 0"}) {
        EXPECT_EQ(run(silent), atLoad) << silent;
        EXPECT_EQ(ReadFile("stderr.txt"), "") << silent;
    }
    EXPECT_EQ(run("1 2"), atLoad);
    EXPECT_EQ(count("stderr.txt"), std::tuple(0, 0, 18, 1));
    EXPECT_EQ(run("2 1"), atLoad);
    EXPECT_EQ(count("stderr.txt"), std::tuple(0, 0, 0, 1));
    EXPECT_EQ(count("log.txt"), std::tuple(0, 1, 18, 0));
    WriteFile("logger.conf", "mode=2\noutpath=./log.txt\n");
    run("-1 2");
    EXPECT_EQ(count("log.txt"), std::tuple(0, 0, 18, 0));
}
}  // namespace
