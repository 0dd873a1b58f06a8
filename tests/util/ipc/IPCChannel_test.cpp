#include "util/ipc/IPCChannel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

#include "tests/support/Background.h"
#include "util/ipc/IPCChannelMgr.h"
#include "util/ipc/IPCSocketChannel.h"
#include "util/os_linux/ThreadList.h"

namespace {
using namespace test;

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

    const std::size_t before = AllocatedBytes();
    for (int round = 0; round < 300; ++round) {
        NoChannel("brief").Register("play", First);
    }
    EXPECT_LT(AllocatedBytes(), before + 5000) << "a channel takes its methods with it";
}

TEST(IPCChannel, RegistrationsDoNotDisturbLookups)
{
    NoChannel channel("busy");
    channel.Register("SetStatus", First);
    std::atomic<bool> done{false};
    const Background lookups([&] {
        while (!done) {
            EXPECT_EQ(channel.FindMethod("SetStatus")->mHandler, First);
            channel.FindMethod("method7");
        }
    });
    const auto name = [](int number) { return "method" + std::to_string(number); };
    InThreads(2, [&](int id) {
        for (int number = id; number < 1000; number += 2) {
            channel.Register("SetStatus", Second);
            channel.Register(name(number).c_str(), Second);
        }
    });
    done = true;
    for (int number = 0; number < 1000; ++number) {
        EXPECT_NE(channel.FindMethod(name(number).c_str()), nullptr) << number;
    }
}

TEST(IPCChannelMgr, GivesOneChannelPerNameWhateverTheEndpoints)
{
    const CapturedLog log;
    IPCChannelMgr* const manager = IPCChannelMgr::GetInstance();
    EXPECT_EQ(manager->GetIPCChannel("tv"), nullptr);
    IPCChannel* const channel = manager->GetIPCChannel("tv", "127.0.0.1", "127.0.0.1", 1, 2);
    ASSERT_NE(channel, nullptr);
    EXPECT_EQ(manager->GetIPCChannel("tv"), channel);
    EXPECT_EQ(manager->GetIPCChannel("tv", "a", "b"), channel);
    EXPECT_EQ(log.Count("Name Found tv"), 0);
    EXPECT_EQ(manager->GetIPCChannel("tv", 5, 6), channel);
    EXPECT_EQ(manager->GetIPCChannelWithPriority("tv", 5, 6, 7), channel);
    EXPECT_EQ(log.Count("Name Found tv"), 2);
    EXPECT_EQ(manager->GetIPCChannel("TV"), nullptr);
    const std::string longName(70, 'l');
    EXPECT_EQ(manager->GetIPCChannel(longName.c_str(), 1, 2),
              manager->GetIPCChannel(longName.c_str(), 1, 2));
}

TEST(IPCChannelMgr, MakesEveryKindOfChannel)
{
    const CapturedLog log;
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
          "Thread[ports Thread] Priority = 0, ", "Thread[any Thread] Priority = 0, ",
          "Thread[urgent Thread] Priority = 7, "}) {
        EXPECT_EQ(log.Count(line), 1) << line;
    }
    delete new IPCSocketChannel("never started", 10, 11);
    EXPECT_EQ(log.Count("can not join"), 0);
}

TEST(IPCChannelMgr, GivesOneChannelToConcurrentFirstRequests)
{
    IPCChannel* found[8] = {};
    InThreads(
        8, [&](int id) { found[id] = IPCChannelMgr::GetInstance()->GetIPCChannel("one", 1, 2); });
    EXPECT_EQ(std::count(found, found + 8, found[0]), 8);
}
}  // namespace
