// Reads the byte blocks of docs/protocol.md and compares each with what the library sends.
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <regex>
#include <sstream>

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
    char arrow;
    std::string text;
};

std::vector<Step> Steps()
{
    std::smatch session;
    std::regex_search(kPage, session, std::regex("```session\n([^`]*)```"));
    std::vector<Step> steps;
    const std::regex start("^(\\w+) *([<>]?) *(.*)$");
    std::istringstream lines(session[1]);
    for (std::string line; std::getline(lines, line);) {
        std::smatch part;
        if (std::regex_match(line, part, start)) {
            steps.push_back({part[1], part[2].length() == 1 ? *part[2].first : ' ', part[3]});
        } else {
            steps.back().text += line;
        }
    }
    return steps;
}

// The player of the session: sends what the page has it send, and compares what the library does.
class SessionPlayer
{
public:
    void Play(const Step& step)
    {
        SCOPED_TRACE(step.who + ' ' + step.arrow + ' ' + step.text);
        if (step.who == "call") {
            ASSERT_EQ(mCalls.count(step.text), 1u);
            mCall.emplace(mCalls.at(step.text));  // when the last one has ended
        } else if (step.who == "status") {
            EXPECT_TRUE(WaitUntil([&] { return StatusText() == step.text; })) << StatusText();
        } else {
            Serve(step, step.who == "state" ? mState : mCommands);
        }
    }

private:
    static std::string StatusText()
    {
        const Status now = ReadStatus();
        return std::to_string(now[0]) + " of " + std::to_string(now[1]) + " ms, media status " +
               std::to_string(now[3]);
    }

    // As a host does that has noticed.
    static void Reconnect()
    {
        WaitUntil([] { return html5_video_client_is_connected() == 0; });
        html5_video_client_reconnect();
    }

    // The player asks over the state connection and is asked over the other one.
    void Serve(const Step& step, RawPeer& connection)
    {
        const bool isState = step.who == "state";
        if (step.text == "open") {
            connection = isState ? RawPeer::Connect(kStatusPort) : mListener.Accept();
        } else if (step.text == "close") {
            connection.Close();
        } else if (isState == (step.arrow == '>')) {
            EXPECT_TRUE(connection.Send(Hex(step.text)));
        } else {
            EXPECT_EQ(connection.ReceiveFrame(), Hex(step.text));
        }
    }

    const std::map<std::string, std::function<void()>> mCalls = {
        {"html5_video_client_init()", html5_video_client_init},
        {"html5_video_client_load(\"clock:1\")", [] { html5_video_client_load("clock:1"); }},
        {"html5_video_client_play()", html5_video_client_play},
        {"html5_video_client_reconnect()", Reconnect},
    };
    const RawListener mListener{kCommandPort};
    RawPeer mState{-1};
    RawPeer mCommands{-1};
    std::optional<Background> mCall;
};

TEST(Protocol, TheSessionOfThePageIsHowTheLibraryBehaves)
{
    const CapturedStderr log;
    const std::vector<Step> steps = Steps();
    ASSERT_GT(steps.size(), 30u);
    SessionPlayer player;
    for (const Step& step : steps) {
        player.Play(step);
    }
}
}  // namespace
