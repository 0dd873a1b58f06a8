// The serving side of a channel against a peer made of plain system calls.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <memory>

#include "tests/support/Background.h"
#include "tests/support/RawPeer.h"
#include "tests/support/Records.h"
#include "util/ipc/IPCSocketChannel.h"
#include "util/os_linux/Thread.h"

namespace {
using namespace test;

std::atomic<int> gHandled{0};
std::atomic<bool> gHold{false};

IPCParam* CountedEcho(IPCParam* request)
{
    ++gHandled;
    return Echo(request);
}

// More than a peer takes for a reply.
IPCParam* Huge(IPCParam*)
{
    static const std::string block(2097152, 'b');
    IPCParam* const reply = new IPCParam;
    reply->Add("d", block.data(), static_cast<int>(block.size()));
    return reply;
}

// A record that contradicts itself: its length and its bytes do not agree.
IPCParam* Wrong(IPCParam*)
{
    IPCParam* const reply = new IPCParam;
    reply->Add("a", 1);
    reply->GetArg(0)->mType = '?';
    return reply;
}

IPCParam* Hold(IPCParam*)
{
    gHold = true;
    WaitUntil([] { return !gHold; });
    return nullptr;
}

const std::string kRecord = Integers({42});
const std::string kNoRecord = Number(0);

void ExpectEcho(const RawPeer& peer)
{
    ASSERT_TRUE(peer.Send(Frame("echo", kRecord)));
    EXPECT_EQ(peer.ReceiveFrame(), Reply(kRecord));
}

class IPCServing : public testing::Test
{
protected:
    void SetUp() override
    {
        channel = std::make_unique<IPCSocketChannel>("tv", FreePort(), port);
        channel->Register("echo", CountedEcho);
        channel->Register("nothing", [](IPCParam*) -> IPCParam* { return nullptr; });
        channel->Register("hold", Hold);
        channel->Register("huge", Huge);
        channel->Register("wrong", Wrong);
        channel->Start();
    }

    // Serves the next connection when the last one has ended.
    void Restart()
    {
        ASSERT_TRUE(WaitUntil([&] { return !channel->IsRunning(); }));
        channel->Start();
    }

    const CapturedLog log;
    const int port = FreePort();
    std::unique_ptr<IPCSocketChannel> channel;
};

// Or passes over it; the next frame is served in any case.
TEST_F(IPCServing, AnswersEveryKindOfRequestToTheByte)
{
    const RawPeer peer = RawPeer::Connect(port);
    const std::pair<std::string, std::string> cases[] = {
        {Frame("echo", EmptyRecord()), EmptyReply()},
        {Frame("echo", kRecord), Reply(kRecord)},
        {Frame("nothing", kRecord), kNoRecord},
        {Frame("unknown", kRecord), kNoRecord},
        {Frame("huge", kRecord), kNoRecord},
        {Frame("wrong", kRecord), kNoRecord},
        {Frame(std::string(80, 'u'), kRecord), kNoRecord},
        {Frame("echo", "no record"), EmptyReply()},  // the call goes ahead
        {Frame("echo", ""), EmptyReply()},
        {Reply("abc"), ""},
        {Reply(EmptyRecord()), ""},
        {Reply(""), ""},
        {Reply(std::string(2097153, 'x')), ""},
        {Reply(std::string(5000000, '\0')), ""},
    };
    for (const auto& [request, reply] : cases) {
        ASSERT_TRUE(peer.Send(request + Frame("echo", kRecord)));
        const std::string expected = reply + Reply(kRecord);
        EXPECT_EQ(peer.Receive(expected.size()), expected);
    }
    for (const char* const line :
         {"Method [unknown] is Not Registered", "Too big reply ( > 2 MB ): 2097168",
          "Wrong Method Code : 61 62 63 00", "Wrong Method Code : 00 00 00 48",
          "Too big length ( > 2 MB ): 2097153", "Too big length ( > 2 MB ): 5000000"}) {
        EXPECT_EQ(log.Count(line), 1) << line;
    }
    EXPECT_EQ(log.Count("length = 28 length2 = 28"), 5 + std::size(cases));
}

TEST_F(IPCServing, SurvivesAPeerThatDiesAtEveryOffset)
{
    const std::string request = Frame("echo", kRecord);
    ASSERT_TRUE(log.WaitFor("Waiting For Connection"));
    const std::size_t before = AllocatedBytes();
    for (std::size_t offset = 0; offset <= request.size(); ++offset) {
        RawPeer peer = RawPeer::Connect(port);
        ASSERT_TRUE(offset == 0 || peer.Send(request.substr(0, offset)));
        peer.Close();
        Restart();
    }
    EXPECT_LT(AllocatedBytes(), before + 10000) << "nothing is left of a connection";
    EXPECT_EQ(log.Count("Payload Cut : 3 of 28"), 1);
    ExpectEcho(RawPeer::Connect(port));
}

TEST_F(IPCServing, EndsAConnectionThatCannotBeTrusted)
{
    const std::pair<std::string, std::string> cases[] = {
        {Number(-1), "Negative length : -1"},
        {Number(-2147483647 - 1), "Negative length : -2147483648"},
        {Number(8) + Hex("00 00 00 47") + "echo", "Method Name Without End in 8 Bytes"},
        {Number(4) + Hex("00 00 00 47"), "Method Name Without End in 4 Bytes"},
    };
    for (const auto& [bytes, line] : cases) {
        const RawPeer peer = RawPeer::Connect(port);
        ASSERT_TRUE(peer.Send(bytes));
        EXPECT_TRUE(peer.WaitClosed());
        EXPECT_TRUE(log.WaitFor(line)) << line;
        Restart();
    }
    channel->Quit();
    channel->Close();
    channel->Start();  // on a port that still holds what is left of the connections it ended
    ExpectEcho(RawPeer::Connect(port));
}

TEST_F(IPCServing, EndsAConnectionAtThe101stZeroLengthInARow)
{
    const RawPeer peer = RawPeer::Connect(port);
    const std::string zeros(100 * 4, '\0');
    ASSERT_TRUE(peer.Send(zeros));
    ExpectEcho(peer);  // starts the count again
    ASSERT_TRUE(peer.Send(zeros + Number(0)));
    EXPECT_TRUE(peer.WaitClosed());
    EXPECT_TRUE(log.WaitFor("Trigger Force Quit tv"));
    EXPECT_EQ(log.Count("Zero Length Method !!! tv 99"), 2);
    EXPECT_EQ(log.Count("Zero Length Method !!! tv 100"), 1);
    Restart();
    const RawPeer next = RawPeer::Connect(port);
    ASSERT_TRUE(next.Send(Number(0)));
    ExpectEcho(next);
    EXPECT_EQ(log.Count("Zero Length Method !!! tv 0 "), 3) << "the next one's first";
}

TEST_F(IPCServing, PromisesCostNoMemory)
{
    if (kSanitized) {
        GTEST_SKIP() << "the sanitizers have an allocator of their own";
    }
    constexpr std::size_t kAhead = 65536 + 16384;  // made ahead of what has arrived, and some slack
    const std::string bytes(2097152, 'x');
    // Without and with memory that an earlier frame of the connection has left.
    for (const std::size_t kept : {0, 1000000}) {
        const RawPeer peer = RawPeer::Connect(port);
        if (kept > 0) {
            ASSERT_TRUE(peer.Send(Number(static_cast<int>(kept)) + bytes.substr(0, kept)));
        }
        ExpectEcho(peer);
        const std::size_t before = AllocatedBytes() - kept;
        const std::size_t arrived = kept + 300000;
        ASSERT_TRUE(peer.Send(Number(2097152) + bytes.substr(0, arrived)));
        EXPECT_TRUE(WaitUntil([&] { return AllocatedBytes() >= before + arrived; }));
        EXPECT_LE(AllocatedBytes(), before + arrived + kAhead);
        peer.EndSending();
        Restart();
    }
    EXPECT_EQ(log.Count("Payload Cut : 300000 of 2097152"), 1);
    EXPECT_EQ(log.Count("Payload Cut : 1300000 of 2097152"), 1);
}

TEST_F(IPCServing, QuitsWithinASecondInEveryState)
{
    // Waiting in accept.
    EXPECT_LT(Milliseconds([&] { channel->Quit(); }), 1000);
    EXPECT_FALSE(channel->IsRunning());
    // Connected and idle, and in the middle of a frame.
    for (const std::string& bytes : {std::string(), Number(100) + "part"}) {
        channel->Start();
        const RawPeer peer = RawPeer::Connect(port);
        ExpectEcho(peer);
        ASSERT_TRUE(bytes.empty() || (peer.Send(bytes) && log.WaitFor("length = 100 ")));
        EXPECT_LT(Milliseconds([&] { channel->Quit(); }), 1000);
        EXPECT_TRUE(peer.WaitClosed());
    }
    // A handler runs: when it ends.
    channel->Start();
    const RawPeer peer = RawPeer::Connect(port);
    ASSERT_TRUE(peer.Send(Frame("hold", EmptyRecord())));
    ASSERT_TRUE(WaitUntil([] { return gHold.load(); }));
    {
        const Background quitter([this] { channel->Quit(); });
        EXPECT_TRUE(log.WaitFor("Waiting for exit"));
        EXPECT_TRUE(channel->IsRunning());
        gHold = false;
    }
    // Blocked in a reply that the peer does not read.
    channel->Start();
    const RawPeer deaf = RawPeer::Connect(port);
    const Background flood([&deaf] {
        const std::string block = Number(100000) + std::string(100000, 'b');
        while (deaf.Send(Frame("echo", Hex("00 00 00 48 62 00 00 00 | 62 00 00 00") + block))) {}
    });
    int handled = -1;
    EXPECT_TRUE(WaitUntil([&] {  // neither goes on any more
        const int before = std::exchange(handled, gHandled.load());
        return flood.Waits() && handled == before;
    }));
    EXPECT_LT(Milliseconds([&] { channel->Quit(); }), 1000);
    Restart();
    ExpectEcho(RawPeer::Connect(port));
}

TEST_F(IPCServing, ServesAsSoonAsItsPortIsFree)
{
    IPCSocketChannel second("second", FreePort(), port);
    second.Register("echo", Echo);
    second.Start();
    ASSERT_TRUE(log.WaitFor("127.0.0.1:" + std::to_string(port) + " : Address already in use"));
    std::this_thread::sleep_for(std::chrono::milliseconds(300));  // one more attempt, no report
    EXPECT_EQ(log.Count("Bind Failed Address already in use"), 1);
    EXPECT_EQ(log.Count("Socket Bind() Failed"), 1);
    EXPECT_LT(Milliseconds([&] { second.Quit(); }), 1000);
    ExpectEcho(RawPeer::Connect(port));  // by the first, undisturbed
    second.Start();
    channel.reset();
    ASSERT_TRUE(WaitUntil([this] { return log.Count("Waiting For Connection") == 2; }));
    ExpectEcho(RawPeer::Connect(port));
}

TEST_F(IPCServing, IsClosedAndOpenedWhileItServes)
{
    InThreads(2, [this](int id) {
        for (int round = 0; round < 50; ++round) {
            channel->Close();
            channel->Open();
            if (id == 0) {
                channel->Bind();
            }
        }
    });
    channel->Close();
    channel->Open();
    ExpectEcho(RawPeer::Connect(port));
}

TEST_F(IPCServing, StartsAndRunsOnlyOnce)
{
    const int threads = CountThreads();
    channel->Start();
    channel->Run();
    EXPECT_EQ(CountThreads(), threads);
    EXPECT_EQ(log.Count("Start Failure"), 2);
    EXPECT_EQ(channel->Open(), -1);
    EXPECT_EQ(log.Count("Socket Channel is Already Opened tv"), 1);
    channel->Quit();
    EXPECT_EQ(channel->Close(), 0);
    for (const auto& [call, count] :
         {std::pair("Start", 2), {"Open", 2}, {"Quit", 1}, {"Close", 1}}) {
        const std::string line = "[LOG]:  -> " + std::string(call) + " in (/IPCSocketChannel";
        EXPECT_EQ(log.Count(line), count) << call;
    }
}

TEST(IPCSocketChannel, RunNeedsAnOpenAndBoundChannel)
{
    const CapturedLog log;
    const int port = FreePort();
    IPCSocketChannel channel("tv", FreePort(), port);
    channel.Register("echo", Echo);
    EXPECT_EQ(channel.Close(), -1);
    channel.Run();
    EXPECT_EQ(channel.Open(), 0);
    channel.Run();
    EXPECT_EQ(log.Count("Not Opened!!"), 1);
    EXPECT_EQ(log.Count("Not Binded!!"), 1);
    channel.Bind();
    {
        const Background caller([&] { channel.Run(); });
        ExpectEcho(RawPeer::Connect(port));
    }  // when the peer has gone
    EXPECT_EQ(channel.Close(), 0);
    EXPECT_EQ(log.Count("Socket is Closed"), 3);
}

// Quit's and the destructor's usual way, a connection to the own address, does not lead here.
TEST(IPCSocketChannel, QuitsWhateverBecameOfItsAddress)
{
    const CapturedLog log;
    auto channel = std::make_unique<IPCSocketChannel>("tv", "./send", "./receive");
    channel->Start();
    ASSERT_TRUE(log.WaitFor("Waiting For Connection"));
    unlink("./receive");
    EXPECT_LT(Milliseconds([&] { channel->Quit(); }), 1000);
    channel = std::make_unique<IPCSocketChannel>("tv", "./send", "./receive");
    channel->Start();
    const RawListener other("./receive");
    EXPECT_LT(Milliseconds([&] { channel.reset(); }), 1000);
    EXPECT_FALSE(other.SomebodyConnected());
}

TEST(IPCSocketChannel, QuitsWithoutANetwork)
{
    if (!UsePrivateNetwork()) {
        GTEST_SKIP() << "no network of its own";
    }
    const CapturedLog log;
    IPCSocketChannel channel("tv", FreePort(), FreePort());
    channel.Start();
    ASSERT_TRUE(log.WaitFor("Waiting For Connection"));
    SetLoopback(false);
    EXPECT_LT(Milliseconds([&] { channel.Quit(); }), 1000);
    SetLoopback(true);
}

TEST(IPCSocketChannel, ServesAgainAfterItsThreadWasCancelled)
{
    const CapturedLog log;
    const int port = FreePort();
    IPCSocketChannel channel("tv", FreePort(), port);
    channel.Register("echo", Echo);
    channel.Open();
    channel.Bind();
    const auto run = [](void* served) -> void* {
        static_cast<IPCSocketChannel*>(served)->Run();
        return nullptr;
    };
    for (const bool connected : {false, true}) {
        Thread runner("runner", run, false, 0);
        ASSERT_EQ(runner.Start(&channel), 0);
        ASSERT_TRUE(WaitUntil([&] { return channel.IsRunning(); }));
        const RawPeer peer = connected ? RawPeer::Connect(port) : RawPeer(-1);
        if (connected) {
            ExpectEcho(peer);
        }
        ASSERT_TRUE(WaitUntil([&] { return runner.Kill() == 0; }));
        EXPECT_EQ(runner.Join(), 0);
        EXPECT_FALSE(channel.IsRunning() || channel.IsConnected());
        EXPECT_LT(Milliseconds([&] { channel.Quit(); }), 1000);
    }
    channel.Start();
    ExpectEcho(RawPeer::Connect(port));
}

TEST(IPCSocketChannel, AUnixChannelLetsInWhomItsFileModeNames)
{
    IPCSocketChannel server("server", "./server.send", "./server.receive", 0600);
    server.Register("echo", Echo);
    static std::atomic<int> changes{0};
    server.SetConnectionHandler([](void* count) { changes += count == &changes; }, &changes);
    for (int round = 1; round <= 2; ++round) {  // its second start keeps the bound socket
        server.Start();
        struct stat file = {};
        EXPECT_EQ(lstat("./server.receive", &file), 0);
        EXPECT_EQ(file.st_mode & 0777, 0600U);
        IPCSocketChannel client("client", "./server.receive", "./client.receive");
        client.Open();
        EXPECT_EQ(Ask(client, "echo", {42}), 42);
        client.Close();
        ASSERT_TRUE(WaitUntil([&] { return changes == 2 * round && !server.IsRunning(); }));
    }
}

TEST(IPCSocketChannel, AUnixChannelServesAsSoonAsItsPathIsOne)
{
    const CapturedLog log;
    IPCSocketChannel server("server", "./d/send", "./d/receive");
    server.Register("echo", Echo);
    server.Start();
    ASSERT_TRUE(log.WaitFor("Bind Failed No such file or directory"));
    EXPECT_EQ(log.Count("Bind to ./d/receive"), 1);
    ASSERT_EQ(mkdir("./d", 0700), 0);
    ExpectEcho(RawPeer::Connect("./d/receive"));
    EXPECT_EQ(log.Count("Bind to ./d/receive"), 1);
    EXPECT_EQ(log.Count("Bind Failed"), 1);
}
}  // namespace
