// The serving side of a channel against a peer made of plain system calls.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/RawPeer.h"
#include "tests/support/support.h"
#include "util/ipc/IPCParam.h"
#include "util/ipc/IPCSocketChannel.h"
#include "util/os_linux/Logger.h"
#include "util/os_linux/Thread.h"

namespace {
using test::EmptyRecord;
using test::Frame;
using test::Hex;
using test::Milliseconds;
using test::Number;
using test::RawListener;
using test::RawPeer;

std::atomic<int> gHandled{0};
std::atomic<bool> gHold{false};

// Answers with the integers it was sent, under the names it was sent.
IPCParam* Echo(IPCParam* request)
{
    ++gHandled;
    IPCParam* const reply = new IPCParam;
    for (int index = 0; index < request->GetCount(); ++index) {
        const IPCParam::Arg& argument = *request->GetArg(index);
        reply->Add(argument.mName, argument.mType == 'i' ? static_cast<int>(argument.mValue) : -7);
    }
    return reply;
}

IPCParam* Nothing(IPCParam*)
{
    return nullptr;
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
    test::WaitUntil([] { return !gHold; });
    return nullptr;
}

const std::string kRecord = Hex("00 00 00 48 69 00 00 00 | 61 00 00 00 | 2A 00 00 00");
const std::string kEchoed = Hex("10 00 00 00") + kRecord;
const std::string kNoRecord = Hex("00 00 00 00");

void ExpectEcho(const RawPeer& peer)
{
    ASSERT_TRUE(peer.Send(Frame("echo", kRecord)));
    EXPECT_EQ(peer.ReceiveFrame(), kEchoed);
}

class IPCServing : public testing::Test
{
protected:
    void SetUp() override
    {
        channel = std::make_unique<IPCSocketChannel>("tv", test::FreePort(), port);
        channel->Register("echo", Echo);
        channel->Register("nothing", Nothing);
        channel->Register("hold", Hold);
        channel->Register("huge", Huge);
        channel->Register("wrong", Wrong);
        gHandled = 0;
        channel->Start();
    }

    // Serves the next connection when the last one has ended.
    void Restart()
    {
        ASSERT_TRUE(test::WaitUntil([&] { return !channel->IsRunning(); }));
        channel->Start();
    }

    // That a well-behaved peer is served on the next connection.
    void ExpectServed()
    {
        Restart();
        ExpectEcho(RawPeer::Connect(port));
    }

    const test::CapturedLog log;
    const int port = test::FreePort();
    std::unique_ptr<IPCSocketChannel> channel;
};

TEST_F(IPCServing, AnswersEveryKindOfRequestToTheByte)
{
    const RawPeer peer = RawPeer::Connect(port);
    const std::pair<std::string, std::string> cases[] = {
        {Frame("echo", EmptyRecord()), Hex("08 00 00 00 | 00 00 00 48 00 00 00 00")},
        {Frame("echo", kRecord), kEchoed},
        {Frame("nothing", kRecord), kNoRecord},
        {Frame("unknown", kRecord), kNoRecord},
        {Frame("huge", kRecord), kNoRecord},
        {Frame("wrong", kRecord), kNoRecord},
        {Frame(std::string(80, 'u'), kRecord), kNoRecord},
        {Frame("echo", "no record"), Hex("08 00 00 00") + EmptyRecord()},  // the call goes ahead
        {Frame("echo", ""), Hex("08 00 00 00") + EmptyRecord()},
    };
    for (const auto& [request, reply] : cases) {
        ASSERT_TRUE(peer.Send(request));
        EXPECT_EQ(peer.ReceiveFrame(), reply);
    }
    EXPECT_EQ(test::Count(log.Text(), "Method [unknown] is Not Registered"), 1);
    EXPECT_EQ(test::Count(log.Text(), "Too big reply ( > 2 MB ): 2097168"), 1);
    EXPECT_EQ(test::Count(log.Text(), "length = 28 length2 = 28"), 5);
}

TEST_F(IPCServing, SurvivesAPeerThatDiesAtEveryOffset)
{
    const std::string request = Frame("echo", kRecord);
    for (std::size_t offset = 0; offset <= request.size(); ++offset) {
        {
            const RawPeer peer = RawPeer::Connect(port);
            ASSERT_TRUE(offset == 0 || peer.Send(request.substr(0, offset)));
        }
        Restart();
    }
    ExpectEcho(RawPeer::Connect(port));
}

TEST_F(IPCServing, SkipsWhatItCannotUseAndServesTheNextFrame)
{
    const RawPeer peer = RawPeer::Connect(port);
    const std::string skipped[] = {
        Number(3) + "abc",
        Number(8) + Hex("00 00 00 48 00 00 00 00"),
        Number(0),
        Number(2097153) + std::string(2097153, 'x'),
        Number(5000000) + std::string(5000000, '\0'),
    };
    for (const std::string& frame : skipped) {
        ASSERT_TRUE(peer.Send(frame + Frame("echo", kRecord)));
        EXPECT_EQ(peer.ReceiveFrame(), kEchoed);
    }
    const std::string text = log.Text();
    EXPECT_EQ(test::Count(text, "Wrong Method Code : 61 62 63 00"), 1);
    EXPECT_EQ(test::Count(text, "Wrong Method Code : 00 00 00 48"), 1);
    EXPECT_EQ(test::Count(text, "Too big length ( > 2 MB ): 2097153"), 1);
    EXPECT_EQ(test::Count(text, "Too big length ( > 2 MB ): 5000000"), 1);
}

TEST_F(IPCServing, ServesTheLargestFrame)
{
    const RawPeer peer = RawPeer::Connect(port);
    const std::string head = Hex("00 00 00 48 62 00 00 00 | 64 00 00 00");
    const std::size_t block = 2097152 - 4 - 8 - head.size() - 4;
    const std::string record =
        head + Number(static_cast<std::int32_t>(block)) + std::string(block, 'b');
    std::thread sender([&] { peer.Send(Frame("echo", record)); });
    EXPECT_EQ(peer.ReceiveFrame(),
              Hex("10 00 00 00 | 00 00 00 48 69 00 00 00 | 64 00 00 00 | F9 FF FF FF"));
    sender.join();
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
        {
            const RawPeer peer = RawPeer::Connect(port);
            ASSERT_TRUE(peer.Send(bytes));
            EXPECT_TRUE(peer.WaitClosed());
        }
        EXPECT_TRUE(log.WaitFor(line)) << line;
        Restart();
    }
    {
        const RawPeer peer = RawPeer::Connect(port);
        ASSERT_TRUE(peer.Send(Number(100) + "cut"));
    }
    EXPECT_TRUE(log.WaitFor("Payload Cut : 3 of 100"));
    ExpectServed();
}

TEST_F(IPCServing, EndsAConnectionAtThe101stZeroLengthInARow)
{
    {
        const RawPeer peer = RawPeer::Connect(port);
        std::string zeros(100 * 4, '\0');
        ASSERT_TRUE(peer.Send(zeros + Frame("echo", kRecord)));
        EXPECT_EQ(peer.ReceiveFrame(), kEchoed);  // starts the count again
        ASSERT_TRUE(peer.Send(zeros + Number(0)));
        EXPECT_TRUE(peer.WaitClosed());
    }
    EXPECT_TRUE(log.WaitFor("Trigger Force Quit tv"));
    EXPECT_EQ(test::Count(log.Text(), "Zero Length Method !!! tv 99"), 2);
    EXPECT_EQ(test::Count(log.Text(), "Zero Length Method !!! tv 100"), 1);
    Restart();
    const RawPeer next = RawPeer::Connect(port);
    ASSERT_TRUE(next.Send(Number(0)));
    ExpectEcho(next);
    EXPECT_EQ(test::Count(log.Text(), "Zero Length Method !!! tv 0 "), 3) << "the next one's first";
}

TEST_F(IPCServing, PromisesCostNoMemory)
{
    if (test::kSanitized) {
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
        const std::size_t before = test::AllocatedBytes() - kept;
        const std::size_t arrived = kept + 300000;
        ASSERT_TRUE(peer.Send(Number(2097152) + bytes.substr(0, arrived)));
        EXPECT_TRUE(test::WaitUntil([&] { return test::AllocatedBytes() >= before + arrived; }));
        EXPECT_LE(test::AllocatedBytes(), before + arrived + kAhead);
        peer.EndSending();
        Restart();
    }
    EXPECT_EQ(test::Count(log.Text(), "Payload Cut : 300000 of 2097152"), 1);
    EXPECT_EQ(test::Count(log.Text(), "Payload Cut : 1300000 of 2097152"), 1);
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
    ASSERT_TRUE(test::WaitUntil([] { return gHold.load(); }));
    std::thread quitter([&] { channel->Quit(); });
    EXPECT_TRUE(log.WaitFor("Waiting for exit"));
    EXPECT_TRUE(channel->IsRunning());
    gHold = false;
    quitter.join();
    // Blocked in a reply that the peer does not read.
    channel->Start();
    const RawPeer deaf = RawPeer::Connect(port);
    std::atomic<int> tid{0};
    std::thread flood([&] {
        tid = Thread::GetTid();
        while (deaf.Send(Frame("echo", kRecord))) {}
    });
    int handled = 0;
    EXPECT_TRUE(test::WaitUntil([&] {  // neither goes on any more
        const int before = std::exchange(handled, gHandled.load());
        return tid != 0 && test::IsAsleep(tid) && handled == before;
    }));
    EXPECT_LT(Milliseconds([&] { channel->Quit(); }), 1000);
    flood.join();
    ExpectServed();
}

TEST_F(IPCServing, ServesAsSoonAsItsPortIsFree)
{
    IPCSocketChannel second("second", test::FreePort(), port);
    second.Register("echo", Echo);
    second.Start();
    ASSERT_TRUE(log.WaitFor("127.0.0.1:" + std::to_string(port) + " : Address already in use"));
    std::this_thread::sleep_for(std::chrono::milliseconds(300));  // one more attempt, no report
    EXPECT_EQ(test::Count(log.Text(), "Bind Failed Address already in use"), 1);
    EXPECT_EQ(test::Count(log.Text(), "Socket Bind() Failed"), 1);
    EXPECT_LT(Milliseconds([&] { second.Quit(); }), 1000);
    ExpectEcho(RawPeer::Connect(port));  // by the first, undisturbed
    second.Start();
    channel.reset();
    ASSERT_TRUE(
        test::WaitUntil([this] { return test::Count(log.Text(), "Waiting For Connection") == 2; }));
    ExpectEcho(RawPeer::Connect(port));
}

TEST_F(IPCServing, IsClosedAndOpenedWhileItServes)
{
    test::InThreads(2, [this](int id) {
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
    const int threads = test::CountThreads();
    channel->Start();
    channel->Run();
    EXPECT_EQ(test::CountThreads(), threads);
    EXPECT_EQ(test::Count(log.Text(), "Start Failure"), 2);
    EXPECT_EQ(channel->Open(), -1);
    EXPECT_EQ(test::Count(log.Text(), "Socket Channel is Already Opened tv"), 1);
    channel->Quit();
    EXPECT_EQ(channel->Close(), 0);
    for (const auto& [call, count] :
         {std::pair("Start", 2), {"Open", 2}, {"Quit", 1}, {"Close", 1}}) {
        const std::string line = "[LOG]:  -> " + std::string(call) + " in (/IPCSocketChannel";
        EXPECT_EQ(test::Count(log.Text(), line), count) << call;
    }
}

TEST(IPCSocketChannel, RunNeedsAnOpenAndBoundChannel)
{
    const test::CapturedLog log;
    const int port = test::FreePort();
    IPCSocketChannel channel("tv", test::FreePort(), port);
    channel.Register("echo", Echo);
    EXPECT_EQ(channel.Close(), -1);
    channel.Run();
    EXPECT_EQ(channel.Open(), 0);
    channel.Run();
    EXPECT_EQ(test::Count(log.Text(), "Not Opened!!"), 1);
    EXPECT_EQ(test::Count(log.Text(), "Not Binded!!"), 1);
    channel.Bind();
    std::thread caller([&] { channel.Run(); });
    ExpectEcho(RawPeer::Connect(port));
    caller.join();  // when the peer has gone
    EXPECT_EQ(channel.Close(), 0);
    EXPECT_EQ(test::Count(log.Text(), "Socket is Closed"), 3);
}

// Quit's and the destructor's usual way, a connection to the own address, does not lead here.
TEST(IPCSocketChannel, QuitsWhateverBecameOfItsAddress)
{
    const test::CapturedLog log;
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
    if (!test::UsePrivateNetwork()) {
        GTEST_SKIP() << "no network of its own";
    }
    const test::CapturedLog log;
    IPCSocketChannel channel("tv", test::FreePort(), test::FreePort());
    channel.Start();
    ASSERT_TRUE(log.WaitFor("Waiting For Connection"));
    test::SetLoopback(false);
    EXPECT_LT(Milliseconds([&] { channel.Quit(); }), 1000);
}

TEST(IPCSocketChannel, ServesAgainAfterItsThreadWasCancelled)
{
    const test::CapturedLog log;
    const int port = test::FreePort();
    IPCSocketChannel channel("tv", test::FreePort(), port);
    channel.Register("echo", Echo);
    channel.Open();
    channel.Bind();
    for (const bool connected : {false, true}) {
        Thread runner(
            "runner",
            [](void* served) -> void* {
                static_cast<IPCSocketChannel*>(served)->Run();
                return nullptr;
            },
            false, 0);
        ASSERT_EQ(runner.Start(&channel), 0);
        ASSERT_TRUE(test::WaitUntil([&] { return channel.IsRunning(); }));
        RawPeer peer(-1);
        if (connected) {
            peer = RawPeer::Connect(port);
            ExpectEcho(peer);
        }
        ASSERT_TRUE(test::WaitUntil([&] { return runner.Kill() == 0; }));
        EXPECT_EQ(runner.Join(), 0);
        EXPECT_FALSE(channel.IsRunning());
        EXPECT_LT(Milliseconds([&] { channel.Quit(); }), 1000);
    }
    channel.Start();
    ExpectEcho(RawPeer::Connect(port));
}

TEST(IPCSocketChannel, AUnixChannelLetsInWhomItsFileModeNames)
{
    IPCSocketChannel server("server", "./server.send", "./server.receive", 0600);
    server.Register("echo", Echo);
    for (int round = 0; round < 2; ++round) {  // its second start keeps the bound socket
        server.Start();
        struct stat file = {};
        EXPECT_EQ(lstat("./server.receive", &file), 0);
        EXPECT_EQ(file.st_mode & 0777, 0600U);
        IPCSocketChannel client("client", "./server.receive", "./client.receive");
        client.Open();
        IPCParam request;
        request.Add("a", 42);
        IPCParam reply;
        EXPECT_EQ(client.Call("echo", &request, &reply), 0);
        EXPECT_EQ(reply.GetCount(), 1);
        client.Close();
        ASSERT_TRUE(test::WaitUntil([&] { return !server.IsRunning(); }));
    }
}
}  // namespace
