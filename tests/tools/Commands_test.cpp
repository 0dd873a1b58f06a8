// The player's methods, called over a channel as a browser does, with an engine that writes down
// what it is told.
#include "tools/player/Commands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "tests/support/support.h"
#include "tools/player/Engine.h"
#include "tools/player/Player.h"
#include "util/ipc/IPCParam.h"
#include "util/ipc/IPCSocketChannel.h"
#include "util/os_linux/Logger.h"

namespace {
using testing::ElementsAre;

class Notes
{
public:
    void Add(const std::string& note)
    {
        const std::lock_guard<std::mutex> hold(mMutex);
        mNotes.push_back(note);
    }
    std::vector<std::string> Get()
    {
        const std::lock_guard<std::mutex> hold(mMutex);
        return mNotes;
    }

private:
    std::mutex mMutex;
    std::vector<std::string> mNotes;
};

class NotingEngine : public Engine
{
public:
    explicit NotingEngine(Notes& notes) : mNotes(notes) {}

    void Load(const std::string& address) override { mNotes.Add("load " + address); }
    void CancelLoad() override { mNotes.Add("cancel"); }
    void Play() override { mNotes.Add("play"); }
    void Pause() override { mNotes.Add("pause"); }
    void Seek(int milliseconds) override { mNotes.Add("seek " + std::to_string(milliseconds)); }
    void SetSpeed(int speed) override { mNotes.Add("speed " + std::to_string(speed)); }
    void SetVolume(int volume) override { mNotes.Add("volume " + std::to_string(volume)); }
    void SetMuted(bool muted) override { mNotes.Add(muted ? "muted" : "loud"); }
    void SetSize(int width, int height) override
    {
        mNotes.Add("size " + std::to_string(width) + " " + std::to_string(height));
    }
    PlaybackState Update() override { return PlaybackState(); }

private:
    Notes& mNotes;
};

class CommandsTest : public testing::Test
{
protected:
    CommandsTest()
        : mPort(test::FreePort()),
          mOtherPort(test::FreePort()),
          mServer("player", mOtherPort, mPort),
          mBrowser("browser", mPort, mOtherPort),
          mPlayer(
              [this](const std::function<void()>&) {
                  return std::make_unique<NotingEngine>(mNotes);
              },
              [](const PlaybackState&) {})
    {
        Logger::ChangeMode(1);
        RegisterCommands(mServer, mPlayer);
        mServer.Start();
        mBrowser.Open();
    }
    ~CommandsTest() override { mServer.Quit(); }

    int Call(
        const char* method, const std::function<void(IPCParam&)>& fill = [](IPCParam&) {})
    {
        IPCParam request;
        fill(request);
        return mBrowser.Call(method, &request, nullptr);
    }

    // What reached the engine, once a last call did.
    std::vector<std::string> NotesBefore(const char* last)
    {
        EXPECT_TRUE(
            test::WaitUntil([&] { return !mNotes.Get().empty() && mNotes.Get().back() == last; }));
        return mNotes.Get();
    }

    const test::CapturedStderr mLog;
    const int mPort;
    const int mOtherPort;
    Notes mNotes;
    IPCSocketChannel mServer;
    IPCSocketChannel mBrowser;
    Player mPlayer;
};

TEST_F(CommandsTest, EachReachesTheEngineWithItsArguments)
{
    EXPECT_EQ(Call("load", [](IPCParam& p) { p.Add("url", "http://host/a.webm"); }), 0);
    Call("setRate", [](IPCParam& p) { p.Add("speed", -150); });
    Call("setVolume", [](IPCParam& p) { p.Add("v", 70); });
    Call("setSize", [](IPCParam& p) {
        p.Add("w", 1280);
        p.Add("h", 720);
    });
    Call("setMuted", [](IPCParam& p) { p.Add("m", 1); });
    Call("setMuted", [](IPCParam& p) { p.Add("m", 0); });
    Call("seek", [](IPCParam& p) { p.Add("ms", 1500); });
    Call("pause");
    Call("load", [](IPCParam& p) { p.Add("url", static_cast<const char*>(nullptr)); });
    Call("cancelLoad");
    Call("play");
    EXPECT_THAT(NotesBefore("play"),
                ElementsAre("load http://host/a.webm", "speed -150", "volume 70", "size 1280 720",
                            "muted", "loud", "seek 1500", "pause", "cancel", "cancel", "play"));
    EXPECT_EQ(test::Count(mLog.Text(), "No Returned Param"), 0) << "an answer nobody asked for";
}

TEST_F(CommandsTest, ValuesOutOfAllReasonAreMovedToTheNearest)
{
    Call("setRate", [](IPCParam& p) { p.Add("speed", 2147483647); });
    Call("setRate", [](IPCParam& p) { p.Add("speed", -2147483647 - 1); });
    Call("setVolume", [](IPCParam& p) { p.Add("v", -1); });
    Call("setVolume", [](IPCParam& p) { p.Add("v", 2147483647); });
    Call("setSize", [](IPCParam& p) {
        p.Add("w", 0);
        p.Add("h", 2147483647);
    });
    Call("play");
    EXPECT_THAT(NotesBefore("play"), ElementsAre("speed 1600", "speed -1600", "volume 0",
                                                 "volume 100", "size 1 16384", "play"));
}

TEST_F(CommandsTest, MissingAndMistypedArgumentsAreRefusedWithALogLine)
{
    const struct
    {
        const char* method;
        std::function<void(IPCParam&)> fill;
        const char* log;
    } cases[] = {
        {"load", [](IPCParam&) {}, "load refused"},
        {"load", [](IPCParam& p) { p.Add("url", 7); }, "load refused"},
        {"load", [](IPCParam& p) { p.Add("url", "abcd", 4); }, "load refused"},
        {"load", [](IPCParam& p) { p.Add("url", "a\033[2Jb"); }, "load refused"},
        {"load", [](IPCParam& p) { p.Add("link", "a"); }, "load refused"},
        {"seek", [](IPCParam&) {}, "seek refused"},
        {"seek", [](IPCParam& p) { p.Add("ms", "1500"); }, "seek refused"},
        {"seek", [](IPCParam& p) { p.Add("ms", "abcd", 4); }, "seek refused"},
        {"setRate", [](IPCParam& p) { p.Add("ms", 1); }, "setRate refused"},
        {"setVolume", [](IPCParam&) {}, "setVolume refused"},
        {"setSize", [](IPCParam& p) { p.Add("w", 1); }, "setSize refused"},
        {"setSize", [](IPCParam& p) { p.Add("h", 1); }, "setSize refused"},
        {"setMuted", [](IPCParam& p) { p.Add("m", ""); }, "setMuted refused"},
        {"selfDestruct", [](IPCParam&) {}, "[selfDestruct] is Not Registered"},
    };
    for (const auto& bad : cases) {
        const int before = test::Count(mLog.Text(), bad.log);
        Call(bad.method, bad.fill);
        EXPECT_EQ(test::Count(mLog.Text(), bad.log), before + 1) << bad.method;
    }
    Call("play");
    EXPECT_THAT(NotesBefore("play"), ElementsAre("play"));
}
}  // namespace
