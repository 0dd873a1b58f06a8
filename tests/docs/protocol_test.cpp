// Reads the byte blocks of docs/protocol.md and compares each with what the library sends.
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <regex>

#include "tests/html5_video/player.h"
#include "tests/support/Background.h"
#include "tests/support/Records.h"

namespace {
using namespace test;

const std::string kPage = ReadFile(TEST_SOURCE_DIR "/docs/protocol.md");

// The page's blocks by the words behind "bytes".
std::map<std::string, std::string> Blocks()
{
    std::map<std::string, std::string> blocks;
    const std::regex fence("```bytes ([^\n]*)\n([^`]*)```");
    for (std::sregex_iterator it(kPage.begin(), kPage.end(), fence), end; it != end; ++it) {
        blocks[(*it)[1]] = Hex((*it)[2]);
    }
    return blocks;
}

TEST(Protocol, EveryBlockOfThePageIsWhatTheLibraryDoes)
{
    const CapturedStderr log;
    html5_video_client_init();
    const RawListener listener(kCommandPort);
    const RawPeer peer = RawPeer::Connect(kStatusPort);
    RawPeer player(-1);
    auto blocks = Blocks();
    const std::map<std::string, std::function<void()>> calls = {
        {"call play", html5_video_client_play},
        {"call load http://a/b.mp4", [] { html5_video_client_load("http://a/b.mp4"); }},
        {"call load null", [] { html5_video_client_load(nullptr); }},
        {"call seek 1.5", [] { html5_video_client_seek(1.5F); }},
        {"call setSize 1280 720", [] { html5_video_client_setSize(1280, 720); }},
    };
    for (const auto& [name, call] : calls) {
        const Background command(call);
        if (!player.IsOpen()) {
            player = listener.Accept();
        }
        EXPECT_EQ(player.ReceiveFrame(), blocks[name]) << name;
        player.Send(Number(0));
    }
    IPCParam record;
    record.Add("pos", 5);
    record.Add("url", "ab");
    record.Add("d", "\1\2\3", 3);
    record.Add("n", static_cast<const char*>(nullptr));
    EXPECT_EQ(Encoded(record), blocks["record every type"]);
    peer.Send(Frame("unknown", EmptyRecord()));
    EXPECT_EQ(peer.ReceiveFrame(), blocks["reply none"]);
    peer.Send(blocks["SetStatus 1000 60000 100 7 2 640 360 1 0 5000 0 2500"]);
    EXPECT_EQ(peer.ReceiveFrame(), blocks["reply empty"]);
    EXPECT_EQ(ReadStatus(), (Status{1000, 60000, 100, 2, 1, 5000, 2500, 640, 360}));
    EXPECT_TRUE(log.WaitFor("7 1000 60000 100 2 inSeek 1 5000 2500"));
    EXPECT_EQ(blocks.size(), calls.size() + 4);
}

// A line of the session, with its continuations: a word, an arrow or none, and what follows.
struct Step
{
    std::string who;
    std::string arrow;
    std::string text;
};

std::vector<Step> Steps()
{
    std::smatch session;
    std::regex_search(kPage, session, std::regex("```session\n([^`]*)```"));
    std::vector<Step> steps;
    const std::regex line("(\\w+) *([<>]?) *([^\n]*(?:\n +[^\n]*)*)\n");
    for (std::sregex_iterator it(session[1].first, session[1].second, line), end; it != end; ++it) {
        steps.push_back({(*it)[1], (*it)[2], (*it)[3]});
    }
    return steps;
}

std::string StatusText()
{
    const Status now = ReadStatus();
    return std::to_string(now[0]) + " of " + std::to_string(now[1]) + " ms, media status " +
           std::to_string(now[3]);
}

// As a host does that has noticed.
void Reconnect()
{
    WaitUntil([] { return html5_video_client_is_connected() == 0; });
    html5_video_client_reconnect();
}

// Sends what the page has the player send, and compares what the library does. The player asks over
// the state connection and is asked over the other one.
TEST(Protocol, TheSessionOfThePageIsHowTheLibraryBehaves)
{
    const CapturedStderr log;
    const std::map<std::string, std::function<void()>> calls = {
        {"html5_video_client_init()", html5_video_client_init},
        {"html5_video_client_load(\"clock:1\")", [] { html5_video_client_load("clock:1"); }},
        {"html5_video_client_play()", html5_video_client_play},
        {"html5_video_client_reconnect()", Reconnect},
    };
    const RawListener listener(kCommandPort);
    RawPeer state(-1);
    RawPeer commands(-1);
    std::optional<Background> call;
    const std::vector<Step> steps = Steps();
    ASSERT_GT(steps.size(), 30u);
    for (const auto& [who, arrow, text] : steps) {
        SCOPED_TRACE(who + arrow + text);
        const bool isState = who == "state";
        RawPeer& connection = isState ? state : commands;
        if (who == "call") {
            call.emplace(calls.at(text));  // when the last one has ended
        } else if (who == "status") {
            EXPECT_TRUE(WaitUntil([wanted = text] { return StatusText() == wanted; }))
                << StatusText();
        } else if (text == "open") {
            connection = isState ? RawPeer::Connect(kStatusPort) : listener.Accept();
        } else if (text == "close") {
            connection.Close();
        } else if (isState == (arrow == ">")) {
            EXPECT_TRUE(connection.Send(Hex(text)));
        } else {
            EXPECT_EQ(connection.ReceiveFrame(), Hex(text));
        }
    }
}
}  // namespace
