#include "util/ipc/IPCChannel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <thread>

#include "tests/support/support.h"
#include "util/ipc/IPCChannelMgr.h"
#include "util/ipc/IPCParam.h"
#include "util/ipc/IPCSocketChannel.h"
#include "util/os_linux/ThreadList.h"

namespace {
IPCParam* First(IPCParam*)
{
    return nullptr;
}

IPCParam* Second(IPCParam*)
{
    return nullptr;
}

// A channel without a transport.
class NoChannel : public IPCChannel
{
public:
    using IPCChannel::FindMethod;
    using IPCChannel::IPCChannel;
    int Open() override { return -1; }
    int Close() override { return -1; }
    void Start() override {}
    void Bind() override {}
    void Run() override {}
    void Quit() override {}
    int Call(const char*, IPCParam*, IPCParam*) override { return -1; }
    int SendRaw(unsigned char*, int length) override { return length; }
    int CallWithoutReturn(const char*, IPCParam*) override { return -1; }
};

TEST(StringHashFunction, HashesBytesAsUnsigned)
{
    StringHashFunction function;
    const std::pair<const char*, unsigned> cases[] = {
        {"", 0},      {"a", 97}, {"play", 3443508}, {"load", 3327206}, {"SetStatus", 2592884436},
        {"\xFF", 255}};
    for (const auto& [text, hash] : cases) {
        const char* key = text;
        EXPECT_EQ(function.Hash(key), hash) << text;
    }
}

TEST(IPCChannel, FindsTheFirstOfTwoMethodsByExactNameCutTo63Characters)
{
    const std::string longName(80, 'n');
    NoChannel channel(longName.c_str());
    EXPECT_EQ(channel.GetName(), std::string(63, 'n'));
    channel.Register("SetStatus", First);
    channel.Register("SetStatus", Second);
    channel.Register(longName.c_str(), First);
    ASSERT_NE(channel.FindMethod("SetStatus"), nullptr);
    EXPECT_EQ(channel.FindMethod("SetStatus")->mHandler, First);
    EXPECT_EQ(channel.FindMethod("setStatus"), nullptr);
    EXPECT_NE(channel.FindMethod(std::string(63, 'n').c_str()), nullptr);
    EXPECT_EQ(channel.Reopen(), 0);
    EXPECT_EQ(channel.ReceiveRaw(nullptr, 0), 0);
    const unsigned char data[3] = {};
    EXPECT_EQ(channel.SendRawBytes(data, 3), 3);
}

TEST(IPCChannel, RegistrationsDoNotDisturbLookups)
{
    NoChannel channel("busy");
    channel.Register("SetStatus", First);
    std::atomic<bool> done{false};
    std::thread lookups([&] {
        while (!done) {
            EXPECT_EQ(channel.FindMethod("SetStatus")->mHandler, First);
            channel.FindMethod("method7");
        }
    });
    test::InThreads(2, [&](int) {
        for (int index = 0; index < 1000; ++index) {
            channel.Register(
                index % 2 == 0 ? "SetStatus" : ("method" + std::to_string(index)).c_str(), Second);
        }
    });
    done = true;
    lookups.join();
    EXPECT_NE(channel.FindMethod("method999"), nullptr);
}

TEST(IPCChannelMgr, GivesOneChannelPerNameWhateverTheEndpoints)
{
    const test::CapturedLog log;
    IPCChannelMgr* const manager = IPCChannelMgr::GetInstance();
    EXPECT_EQ(manager->GetIPCChannel("tv"), nullptr);
    IPCChannel* const channel = manager->GetIPCChannel("tv", "127.0.0.1", "127.0.0.1", 1, 2);
    ASSERT_NE(channel, nullptr);
    EXPECT_EQ(manager->GetIPCChannel("tv"), channel);
    EXPECT_EQ(manager->GetIPCChannel("tv", "a", "b"), channel);
    EXPECT_EQ(test::Count(log.Text(), "Name Found tv"), 0);
    EXPECT_EQ(manager->GetIPCChannel("tv", 5, 6), channel);
    EXPECT_EQ(manager->GetIPCChannelWithPriority("tv", 5, 6, 7), channel);
    EXPECT_EQ(test::Count(log.Text(), "Name Found tv"), 2);
    EXPECT_EQ(manager->GetIPCChannel("TV"), nullptr);
    const std::string longName(70, 'l');
    EXPECT_EQ(manager->GetIPCChannel(longName.c_str(), 1, 2),
              manager->GetIPCChannel(longName.c_str(), 1, 2));
}

TEST(IPCChannelMgr, MakesEveryKindOfChannel)
{
    const test::CapturedLog log;
    IPCChannelMgr* const manager = IPCChannelMgr::GetInstance();
    manager->GetIPCChannel("paths", "./s", "./r");
    manager->GetIPCChannel("ports", 3, 4);
    manager->GetIPCChannelWithPriority("urgent", 5, 6, 7);
    manager->GetIPCChannel("any", nullptr, "127.0.0.2", 8, 9);
    ThreadList::GetInstance()->ShowThread();
    for (const char* const line :
         {"aSendSocketPath =./s, aRecvSocketPath = ./r -> ",
          "ports aSendAddress = 127.0.0.1:3, aRecvAddress = 127.0.0.1:4 -> ",
          "urgent aSendAddress = 127.0.0.1:5, aRecvAddress = 127.0.0.1:6 -> ",
          "any aSendAddress = :8, aRecvAddress = 127.0.0.2:9 -> ",
          "Thread[ports Thread] Priority = 0, ", "Thread[urgent Thread] Priority = 7, "}) {
        EXPECT_EQ(test::Count(log.Text(), line), 1) << line;
    }
    delete new IPCSocketChannel("never started", 10, 11);
    EXPECT_EQ(test::Count(log.Text(), "can not join"), 0);
}

TEST(IPCChannelMgr, GivesOneChannelToConcurrentFirstRequests)
{
    IPCChannel* found[8] = {};
    test::InThreads(
        8, [&](int id) { found[id] = IPCChannelMgr::GetInstance()->GetIPCChannel("one", 1, 2); });
    EXPECT_EQ(std::count(found, found + 8, found[0]), 8);
}
}  // namespace
