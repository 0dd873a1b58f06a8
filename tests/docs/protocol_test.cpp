// Reads the byte blocks of docs/protocol.md and compares each with what the library sends.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/html5_video/player.h"
#include "tests/support/RawPeer.h"
#include "tests/support/support.h"
#include "util/ipc/IPCChannel.h"
#include "util/ipc/IPCChannelMgr.h"
#include "util/ipc/IPCParam.h"

namespace {
using test::RawListener;
using test::RawPeer;

// The page's blocks by the words behind "bytes".
std::map<std::string, std::string> BlocksOf(const std::string& page)
{
    std::map<std::string, std::string> blocks;
    const std::regex fence("```bytes ([^\n]*)\n([^`]*)```");
    for (std::sregex_iterator it(page.begin(), page.end(), fence), end; it != end; ++it) {
        blocks[(*it)[1]] = test::Hex((*it)[2]);
    }
    return blocks;
}

// The frame that a command sends.
std::string FrameOf(const RawListener& listener, const std::function<void()>& command)
{
    std::string frame;
    std::thread player([&] {
        const RawPeer connection = listener.Accept();
        frame = connection.ReceiveFrame();
        connection.Send(test::Number(0));
    });
    command();
    player.join();
    IPCChannelMgr::GetInstance()->GetIPCChannel("HTML5 Video Socket")->Reopen();
    return frame;
}

// What the library answers to a request.
std::string ReplyTo(const RawPeer& peer, const std::string& request)
{
    peer.Send(request);
    return peer.ReceiveFrame();
}

std::string EncodedEveryType()
{
    const unsigned char block[] = {1, 2, 3};
    IPCParam record;
    record.Add("pos", 5);
    record.Add("url", "ab");
    record.Add("d", block, 3);
    record.Add("n", static_cast<const char*>(nullptr));
    std::string bytes(static_cast<std::size_t>(record.GetSeiralizedLength()), '\0');
    record.Serialize(reinterpret_cast<unsigned char*>(&bytes[0]));
    return bytes;
}

TEST(Protocol, EveryBlockOfThePageIsWhatTheLibraryDoes)
{
    test::UsePrivateNetwork();
    auto blocks = BlocksOf(test::ReadFile(TEST_SOURCE_DIR "/docs/protocol.md"));
    const test::CapturedStderr log;
    html5_video_client_init();
    const RawListener listener(test::kCommandPort);
    const RawPeer peer = RawPeer::Connect(test::kStatusPort);
    const std::string status = "SetStatus 1000 60000 100 7 2 640 360 1 0 5000 0 2500";
    const std::map<std::string, std::function<std::string()>> actual = {
        {"call play", [&] { return FrameOf(listener, [] { html5_video_client_play(); }); }},
        {"call load http://a/b.mp4",
         [&] { return FrameOf(listener, [] { html5_video_client_load("http://a/b.mp4"); }); }},
        {"call load null",
         [&] { return FrameOf(listener, [] { html5_video_client_load(nullptr); }); }},
        {"call seek 1.5", [&] { return FrameOf(listener, [] { html5_video_client_seek(1.5F); }); }},
        {"call setSize 1280 720",
         [&] { return FrameOf(listener, [] { html5_video_client_setSize(1280, 720); }); }},
        {"record every type", EncodedEveryType},
        {"reply none", [&] { return ReplyTo(peer, test::Frame("unknown", test::EmptyRecord())); }},
        {"reply empty", [&] { return ReplyTo(peer, blocks[status]); }},
    };
    for (const auto& [name, bytes] : actual) {
        ASSERT_EQ(blocks.count(name), 1u) << name;
        EXPECT_EQ(bytes(), blocks[name]) << name;
    }
    EXPECT_EQ(blocks.size(), actual.size() + 1);
    // The frame of the page arrived as its words say.
    EXPECT_TRUE(log.WaitFor("7 1000 60000 100 2 inSeek 1 5000 2500"));
    EXPECT_EQ(test::ReadStatus(), (test::Status{1000, 60000, 100, 2, 1, 5000, 2500, 640, 360}));
}

// A line of the session, with its continuations: a word, an arrow or none, and what follows.
struct Step
{
    std::string who;
    char arrow;
    std::string text;
};

std::vector<Step> StepsOf(const std::string& page)
{
    std::smatch session;
    std::regex_search(page, session, std::regex("```session\n([^`]*)```"));
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
    ~SessionPlayer() { Finish(); }

    void Play(const Step& step)
    {
        SCOPED_TRACE(step.who + ' ' + step.arrow + ' ' + step.text);
        if (step.who == "call") {
            Finish();
            ASSERT_EQ(mCalls.count(step.text), 1u);
            mCall = std::thread(mCalls.at(step.text));
        } else if (step.who == "status") {
            EXPECT_TRUE(test::WaitUntil([&] { return Status() == step.text; })) << Status();
        } else {
            Serve(step, step.who == "state" ? mState : mCommands);
        }
    }

private:
    static std::string Status()
    {
        const test::Status status = test::ReadStatus();
        return std::to_string(status[0]) + " of " + std::to_string(status[1]) +
               " ms, media status " + std::to_string(status[3]);
    }

    // As a host does that has noticed.
    static void Reconnect()
    {
        test::WaitUntil([] { return html5_video_client_is_connected() == 0; });
        html5_video_client_reconnect();
    }

    // The player asks over the state connection and is asked over the other one.
    void Serve(const Step& step, RawPeer& connection)
    {
        const bool isState = step.who == "state";
        const std::string bytes = test::Hex(step.text);
        if (step.text == "open") {
            connection = isState ? RawPeer::Connect(test::kStatusPort) : mListener.Accept();
        } else if (step.text == "close") {
            connection.Close();
        } else if (isState == (step.arrow == '>')) {
            EXPECT_TRUE(connection.Send(bytes));
        } else {
            EXPECT_EQ(connection.Receive(bytes.size()), bytes);
        }
    }

    // Waits for the call that is under way.
    void Finish()
    {
        if (mCall.joinable()) {
            mCall.join();
        }
    }

    const std::map<std::string, std::function<void()>> mCalls = {
        {"html5_video_client_init()", [] { html5_video_client_init(); }},
        {"html5_video_client_load(\"clock:1\")", [] { html5_video_client_load("clock:1"); }},
        {"html5_video_client_play()", [] { html5_video_client_play(); }},
        {"html5_video_client_reconnect()", Reconnect},
    };
    const RawListener mListener{test::kCommandPort};
    RawPeer mState{-1};
    RawPeer mCommands{-1};
    std::thread mCall;
};

TEST(Protocol, TheSessionOfThePageIsHowTheLibraryBehaves)
{
    test::UsePrivateNetwork();
    const test::CapturedStderr log;
    const std::vector<Step> steps = StepsOf(test::ReadFile(TEST_SOURCE_DIR "/docs/protocol.md"));
    ASSERT_GT(steps.size(), 30u);
    SessionPlayer player;
    for (const Step& step : steps) {
        player.Play(step);
    }
}
}  // namespace
