// The calling side of a channel against a server made of plain system calls, and against another
// channel.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>
#include <vector>

#include "tests/support/Background.h"
#include "tests/support/RawPeer.h"
#include "tests/support/Records.h"
#include "util/ipc/IPCSocketChannel.h"

namespace {
using namespace test;

// A reply with one integer, and with a block behind it.
std::string IntegerReply(int value)
{
    return Reply(Integers({value}));
}

std::string LargeReply(int value, int block)
{
    return Reply(Hex("00 00 00 48 69 62 00 00 | 61 00 00 00") + Number(value) + Text("b") +
                 Number(block) + std::string(static_cast<std::size_t>(block), 'b'));
}

// Bytes of which none can stand in another's place unnoticed.
std::string Pattern(std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t at = 0; at < size; ++at) {
        bytes[at] = static_cast<char>(at * 7 + at / 251);
    }
    return bytes;
}

// A record of integers, a text and blocks of these sizes, in turn.
std::unique_ptr<IPCParam> Blocks(const std::vector<std::size_t>& sizes)
{
    auto record = std::make_unique<IPCParam>();
    record->Add("text", "between");
    for (const std::size_t size : sizes) {
        record->Add("block", Pattern(size).data(), static_cast<int>(size));
        record->Add("n", static_cast<int>(size));
    }
    return record;
}

// Of frames that are built in one piece, in several, and with more large blocks than one system
// call takes; the last is the largest that a peer takes from a method of four letters.
const std::vector<std::size_t> kBlockSizes[] = {
    {0, 4095},
    {4096},
    {5000, 3, 4096, 4097, 65536, 1},
    std::vector<std::size_t>(12, 4099),
    {1048576, 524288, 100001},
    {2097152 - 56},
};

// Takes all the connections of a listener's backlog, of 5 and one more.
std::vector<RawPeer> FillBacklog(const Address& place)
{
    std::vector<RawPeer> peers;
    while (peers.size() < 6) {
        peers.push_back(RawPeer::Connect(place));
    }
    return peers;
}

class IPCCalls : public testing::Test
{
protected:
    void SetUp() override { channel.Open(); }

    // Serves the channel's next connection on a thread, when the last one was served.
    void Serve(std::function<void(const RawPeer&)> conversation)
    {
        if (server == nullptr) {
            server = std::make_unique<RawListener>(port);
        }
        peer.emplace([this, conversation] { conversation(server->Accept()); });
    }

    // Answers one request with these bytes and closes.
    void Answer(const std::string& reply)
    {
        Serve([reply](const RawPeer& connection) {
            connection.ReceiveFrame();
            connection.Send(reply);
        });
    }

    const CapturedLog log;
    const int port = FreePort();
    IPCSocketChannel channel{"tv", port, FreePort()};
    std::unique_ptr<RawListener> server;
    std::optional<Background> peer;
};

TEST_F(IPCCalls, WritesTheRequestAndReadsTheReplyToTheByte)
{
    Serve([](const RawPeer& connection) {
        const std::pair<std::string, std::string> frames[] = {
            {Hex("14 00 00 00 | 00 00 00 47 | 70 6C 61 79 00 00 00 00 | 00 00 00 48 00 00 00 00"),
             EmptyReply()},
            {Frame("abc", Hex("00 00 00 48 69 00 00 00 | 6D 73 00 00 | DC 05 00 00")),
             IntegerReply(77)},
            {Frame(std::string(63, 'm'), EmptyRecord()), Number(0)},
            {Frame("play", EmptyRecord()), Number(-5)},
        };
        for (const auto& [request, reply] : frames) {
            EXPECT_EQ(connection.ReceiveFrame(), request);
            connection.Send(reply);
        }
    });
    EXPECT_EQ(Ask(channel), 0);
    EXPECT_EQ(log.Count("No Arguments in IPCParam"), 1);
    IPCParam request;
    request.Add("ms", 1500);
    EXPECT_EQ(channel.Call("abc", &request, nullptr), 0);
    EXPECT_EQ(log.Count("No Returned Param"), 1);
    EXPECT_EQ(Ask(channel, std::string(70, 'm').c_str()), 0);
    EXPECT_EQ(Ask(channel), 0);
}

TEST_F(IPCCalls, FailsWithoutAPeerAndConnectsWhenThereIsOne)
{
    unsigned char byte = 0;
    EXPECT_EQ(Ask(channel), -1);
    EXPECT_EQ(channel.ReceiveRaw(&byte, 1), -1);
    EXPECT_EQ(channel.SendRaw(&byte, 1), -1);
    EXPECT_EQ(log.Count("Call Failure, IPCChannel is not activated tv"), 3);
    EXPECT_EQ(log.Count("127.0.0.1:" + std::to_string(port) + " : Connection refused"), 3);
    Answer(IntegerReply(5) + IntegerReply(6));
    EXPECT_EQ(Ask(channel), 5);
    channel.Reopen();
    Answer(IntegerReply(7));
    EXPECT_EQ(Ask(channel), 7) << "nothing is left of the former connection";
}

TEST_F(IPCCalls, FailsWhenTheServerDiesAtAnyOffsetOfTheReply)
{
    const std::string reply = IntegerReply(9);
    for (std::size_t offset = 0; offset < reply.size(); ++offset) {
        Answer(reply.substr(0, offset));
        EXPECT_EQ(Ask(channel), -1) << offset;
        EXPECT_EQ(Ask(channel), -1) << "fails at once until Reopen";
        EXPECT_EQ(channel.Reopen(), 0);
    }
    EXPECT_EQ(log.Count("Read Failed"), 20);
    Answer(reply);
    EXPECT_EQ(Ask(channel), 9);
}

TEST_F(IPCCalls, NeverTakesALateReplyForTheNext)
{
    std::atomic<int> late{0};
    static const std::pair<std::string, std::size_t> cut[] = {
        {IntegerReply(1), 10}, {LargeReply(1, 300000), 10}, {LargeReply(1, 300000), 200000}};
    Serve([&](const RawPeer& connection) {
        for (const auto& [first, offset] : cut) {
            connection.ReceiveFrame();
            connection.Send(first.substr(0, offset));  // in time, but not whole
            WaitUntil([&] { return late-- > 0; });
            connection.Send(first.substr(offset));
            connection.ReceiveFrame();
            connection.Send(LargeReply(2, 100000));
        }
    });
    for (std::size_t round = 0; round < std::size(cut); ++round) {
        channel.SetReplyTimeout(100);
        EXPECT_EQ(Ask(channel), -1);
        late = 1;
        channel.SetReplyTimeout(kPatience);
        EXPECT_EQ(Ask(channel), 2);
    }
}

// A time-out that began anew with each drop would take the whole drip, 4 seconds.
TEST_F(IPCCalls, WaitsForASlowDripOnlyUntilTheTimeOut)
{
    channel.SetReplyTimeout(150);
    for (const std::string& reply : {IntegerReply(1), LargeReply(1, 40000)}) {
        Serve([reply](const RawPeer& connection) {
            connection.ReceiveFrame();
            const std::size_t drop = reply.size() / 20;
            for (std::size_t at = 0; at < reply.size() && !connection.HasInput(200); at += drop) {
                connection.Send(reply.substr(at, drop));
            }
        });
        EXPECT_LT(Milliseconds([&] { EXPECT_EQ(Ask(channel), -1); }), 2000);
        channel.Reopen();
    }
}

TEST_F(IPCCalls, TakesTheLargestReplyAndShutsDownWhereALongerOneComes)
{
    const int size = 2097152 - 16;  // the block of a record of 2 MB
    Serve([size](const RawPeer& connection) {
        connection.ReceiveFrame();
        connection.Send(Reply(Hex("00 00 00 48 62 00 00 00 | 64 00 00 00") + Number(size) +
                              std::string(static_cast<std::size_t>(size), 'b')));
        connection.ReceiveFrame();
        connection.Send(Number(2097153));
        EXPECT_TRUE(connection.WaitClosed());
    });
    IPCParam request;
    IPCParam reply;
    EXPECT_EQ(channel.Call("get", &request, &reply), 0);
    ASSERT_EQ(reply.GetCount(), 1);
    EXPECT_EQ(reply.GetArg(0)->mLen, size);
    EXPECT_EQ(Ask(channel), -1);
    peer.reset();
    EXPECT_EQ(log.Count("Too big reply length ( > 2 MB ): 2097153"), 1);
    EXPECT_EQ(Ask(channel), -1);
    EXPECT_EQ(log.Count("Write Failed"), 1);
}

TEST_F(IPCCalls, RefusesARequestThatNoPeerWouldAnswer)
{
    const RawListener listener(port);
    const std::string block(2097152, 'b');
    IPCParam request;
    request.Add("d", block.data(), static_cast<int>(block.size()));
    EXPECT_EQ(channel.Call("play", &request, nullptr), -1);
    EXPECT_EQ(log.Count("Too big length ( > 2 MB )"), 1);
    // Of a record that contradicts itself only the length word is sent.
    IPCParam wrong;
    wrong.Add("a", 1);
    wrong.GetArg(0)->mType = '?';
    EXPECT_EQ(channel.Call("play", &wrong, nullptr), -1);
    EXPECT_EQ(log.Count("Serialization Failure"), 1);
    EXPECT_EQ(listener.Accept().Receive(100), Number(4 + 8 + 16));
}

TEST_F(IPCCalls, ARequestThatNobodyReadsEndsAtTheTimeOut)
{
    channel.SetReplyTimeout(200);
    const RawListener listener(port);
    const std::string block(1000000, 'b');
    IPCParam request;
    EXPECT_EQ(channel.CallWithoutReturn("play", &request), 0);
    const RawPeer connection = listener.Accept();
    connection.Send(Number(8).substr(0, 2));  // of its reply no more comes
    request.Add("d", block.data(), static_cast<int>(block.size()));
    int sent = 0;  // what fits into the system's buffers
    while (channel.CallWithoutReturn("put", &request) == 0 && sent < 100) {
        ++sent;
    }
    EXPECT_LT(sent, 100);
    EXPECT_EQ(log.Count("Write Failed"), 1);
}

TEST_F(IPCCalls, MovesRawBytes)
{
    const RawListener listener(port);
    unsigned char data[] = {1, 2, 3};
    EXPECT_EQ(channel.SendRawBytes(data, 0), 0);
    EXPECT_EQ(channel.SendRawBytes(data, 3), 0);
    const RawPeer connection = listener.Accept();
    EXPECT_EQ(connection.Receive(3), Hex("01 02 03"));
    connection.Send("abc");
    EXPECT_EQ(channel.ReceiveRaw(data, 3), 3);
    EXPECT_EQ(data[2], 'c');
    EXPECT_EQ(log.Count("SetServerOption returns"), 0);
}

TEST_F(IPCCalls, CountsTheRepliesThatRawReceivesTake)
{
    const std::vector<int> taken = {12, 2, 4, 6, 12 + 7, 0};
    Serve([taken](const RawPeer& connection) {
        for (const int length : taken) {
            connection.ReceiveFrame();
            connection.Send(EmptyReply() + (length > 12 ? "raw too" : ""));
            connection.ReceiveFrame();
            connection.Send(IntegerReply(length));
        }
        connection.Send("x");
    });
    for (const int length : taken) {
        IPCParam request;
        ASSERT_EQ(channel.CallWithoutReturn("play", &request), 0);
        unsigned char buffer[20];
        ASSERT_EQ(channel.ReceiveRaw(buffer, length), length);
        EXPECT_EQ(Ask(channel), length);
    }
    EXPECT_EQ(log.Count("SetServerOption returns"), 1) << "when it connected";
    unsigned char buffer[3] = {1, 2, 3};
    EXPECT_EQ(channel.ReceiveRaw(buffer, 3), 1);
    EXPECT_EQ(std::string(buffer, buffer + 3), std::string("x\0\0", 3));
}

// Reopen and Close end it.
TEST_F(IPCCalls, StartAndQuitDoNotWaitForACall)
{
    const RawListener listener(port);
    for (const auto end : {&IPCSocketChannel::Reopen, &IPCSocketChannel::Close}) {
        const Background caller([this] { EXPECT_EQ(Ask(channel), -1); });
        const RawPeer connection = listener.Accept();
        connection.ReceiveFrame();
        EXPECT_LT(Milliseconds([this] {
                      channel.Start();
                      channel.Start();
                      EXPECT_EQ(channel.Open(), -1);
                      channel.Quit();
                  }),
                  2000);
        EXPECT_FALSE(caller.Returns(0));
        EXPECT_EQ((channel.*end)(), 0);
    }
}

TEST_F(IPCCalls, TakeNoLongerThanTheReplyTimeOutConnectIncluded)
{
    const RawListener listener("./busy");
    std::vector<RawPeer> others = FillBacklog("./busy");
    IPCSocketChannel late("late", "./busy", "./receive");
    late.Open();
    late.SetReplyTimeout(2000);
    const Background makesRoom([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        others.push_back(listener.Accept());
    });
    InThreads(2, [&](int) {  // the second one waits for the first
        EXPECT_LT(Milliseconds([&] { EXPECT_EQ(Ask(late), -1); }), 2900);
    });
    EXPECT_EQ(log.Count("Read Failed"), 2);
}

TEST_F(IPCCalls, ReopenEndsTheCallThatConnectsAndThoseBehindIt)
{
    const RawListener listener(port);
    const std::vector<RawPeer> others = FillBacklog(port);
    channel.SetReplyTimeout(400);
    const auto interrupted = [&] {
        const Interruptions interruptions(20000);
        EXPECT_EQ(Ask(channel), -1);
    };
    EXPECT_GE(Milliseconds(interrupted), 390);
    channel.SetReplyTimeout(30000);
    std::atomic<bool> done{false};
    const Background callers([&] {
        InThreads(3, [&](int) {
            while (!done) {
                Ask(channel);
            }
        });
    });
    EXPECT_TRUE(log.WaitFor("Call - play"));
    EXPECT_LT(Milliseconds([&] {
                  for (int round = 0; round < 3; ++round) {
                      channel.Reopen();
                  }
                  done = true;
                  WaitUntil([&] { return channel.Reopen() == 0 && callers.Returns(0); });
              }),
              10000);
}

// A pair of channels whose server answers with what it was sent, over UNIX-domain sockets, whose
// buffers take a large block in parts.
class IPCPair : public testing::Test
{
protected:
    void SetUp() override
    {
        Logger::GetLogger(2)->SetLevel(Logger::kError + 1);
        server.Register("echo", Echo);
        server.Start();
        client.Open();
    }

    IPCSocketChannel server{"server", "./back", "./there"};
    IPCSocketChannel client{"client", "./there", "./back"};
};

TEST_F(IPCPair, MixedCallsFromManyThreadsStayInStep)
{
    std::atomic<int> wrong{0};
    InThreads(4, [&](int id) {
        for (int number = id * 1000 + 1; number <= id * 1000 + 50; ++number) {
            IPCParam request;
            request.Add("n", -number);
            wrong += client.CallWithoutReturn("echo", &request) != 0;
            wrong += Ask(client, "echo", {number}) != number;
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST_F(IPCPair, BlocksTravelThereAndBackToTheByte)
{
    for (int round = 0; round < 2; ++round) {
        for (const auto& sizes : kBlockSizes) {
            const auto request = Blocks(sizes);
            IPCParam reply;
            ASSERT_EQ(client.Call("echo", request.get(), &reply), 0);
            EXPECT_TRUE(Encoded(reply) == Encoded(*request));
        }
    }
}

TEST_F(IPCPair, EachSideKeepsOneFrameUntilItsConnectionEnds)
{
    if (kSanitized) {
        GTEST_SKIP() << "the sanitizers have an allocator of their own";
    }
    constexpr std::size_t kFrame = 1048576;
    constexpr std::size_t kSlack = 65536;
    ASSERT_EQ(Ask(client, "echo", {1}), 1);
    const std::size_t before = AllocatedBytes();
    // The server still has its records when the client has the reply.
    const auto settlesAt = [&](std::size_t frames) {
        return WaitUntil([&] { return AllocatedBytes() < before + frames * kFrame + kSlack; });
    };
    const auto call = [&] {
        IPCParam reply;
        return client.Call("echo", Blocks({kFrame}).get(), &reply) == 0;
    };
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(call());
        EXPECT_TRUE(settlesAt(2));
        EXPECT_GT(AllocatedBytes(), before + kFrame);
    }
    // The server's connection ends, upon which the client's does in the next call.
    server.Quit();
    EXPECT_TRUE(settlesAt(1));
    EXPECT_EQ(Ask(client, "echo", {2}), -1);
    EXPECT_TRUE(settlesAt(0));
    // And the other way around.
    server.Start();
    client.Reopen();
    ASSERT_TRUE(call());
    client.Reopen();
    EXPECT_TRUE(settlesAt(0));
}

TEST_F(IPCPair, UnreadRepliesNeverBlockTheRequests)
{
    // Far more than any socket buffer holds, both ways: while the server waits to send a reply, the
    // client waits to send a request.
    const std::string ballast(100000, 'q');
    IPCParam request;
    request.Add("ballast", ballast.data(), static_cast<int>(ballast.size()));
    for (int index = 0; index < 300; ++index) {
        ASSERT_EQ(client.CallWithoutReturn("echo", &request), 0) << index;
    }
    EXPECT_EQ(Ask(client, "echo", {7}), 7);
}
}  // namespace
