// The calling side of a channel against a server made of plain system calls, and against another
// channel.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/RawPeer.h"
#include "tests/support/support.h"
#include "util/ipc/IPCParam.h"
#include "util/ipc/IPCSocketChannel.h"
#include "util/os_linux/Logger.h"

namespace {
using test::EmptyRecord;
using test::Frame;
using test::Hex;
using test::Number;
using test::RawListener;
using test::RawPeer;

const std::string kEmptyReply = test::EmptyReply();

// A reply record with one integer.
std::string IntegerReply(int value)
{
    return Number(16) + Hex("00 00 00 48 69 00 00 00 | 61 00 00 00") + Number(value);
}

// The same and a block behind it.
std::string LargeReply(int value, int block)
{
    return Number(16 + 8 + block) + Hex("00 00 00 48 69 62 00 00 | 61 00 00 00") + Number(value) +
           Hex("62 00 00 00") + Number(block) + std::string(static_cast<std::size_t>(block), 'b');
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

std::string Encoded(IPCParam& record)
{
    std::string bytes(static_cast<std::size_t>(record.GetSeiralizedLength()), '?');
    record.Serialize(reinterpret_cast<unsigned char*>(&bytes[0]));
    return bytes;
}

// Integers, a text and blocks of these sizes, in turn.
void AddBlocks(IPCParam& record, const std::vector<std::size_t>& sizes)
{
    record.Add("text", "between");
    for (const std::size_t size : sizes) {
        record.Add("block", Pattern(size).data(), static_cast<int>(size));
        record.Add("n", static_cast<int>(size));
    }
}

// Of frames that are built in one piece, in several, and with more large blocks than one system
// call takes; the last is the largest that a peer takes from a method of four letters.
const std::vector<std::size_t> kBlockSizes[] = {
    {0, 4095},
    {4096},
    {5000, 3, 4096, 4097, 65536, 1},
    std::vector<std::size_t>(12, 4099),
    {1048576, 524288, 100001},
    {2097152 - 92},
};

class IPCCalls : public testing::Test
{
protected:
    void SetUp() override { channel.Open(); }

    // Serves the channel's next connection on a thread.
    void Serve(const std::function<void(const RawPeer&)>& conversation)
    {
        if (server == nullptr) {
            server = std::make_unique<RawListener>(port);
        }
        peer = std::thread([this, conversation] { conversation(server->Accept()); });
    }

    // Answers one request with these bytes and closes.
    void Answer(const std::string& reply)
    {
        Serve([reply](const RawPeer& connection) {
            connection.ReceiveFrame();
            connection.Send(reply);
        });
    }

    // One call with an empty request; the integer of its reply, -1 when it failed, 0 without one.
    int Ask(const char* method = "play")
    {
        IPCParam request;
        IPCParam reply;
        const int result = channel.Call(method, &request, &reply);
        return result != 0 ? -1 : reply.GetCount() == 0 ? 0 : AsInt(reply);
    }

    static int AsInt(IPCParam& record) { return static_cast<int>(record.GetArg(0)->mValue); }

    const test::CapturedLog log;
    const int port = test::FreePort();
    IPCSocketChannel channel{"tv", port, test::FreePort()};
    std::unique_ptr<RawListener> server;
    std::thread peer;
};

TEST_F(IPCCalls, WritesTheRequestAndReadsTheReplyToTheByte)
{
    Serve([](const RawPeer& connection) {
        EXPECT_EQ(
            connection.ReceiveFrame(),
            Hex("14 00 00 00 | 00 00 00 47 | 70 6C 61 79 00 00 00 00 | 00 00 00 48 00 00 00 00"));
        connection.Send(kEmptyReply);
        EXPECT_EQ(connection.ReceiveFrame(),
                  Frame("abc", Hex("00 00 00 48 69 00 00 00 | 6D 73 00 00 | DC 05 00 00")));
        connection.Send(IntegerReply(77));
        EXPECT_EQ(connection.ReceiveFrame(), Frame(std::string(63, 'm'), EmptyRecord()));
        connection.Send(Number(0));
        connection.ReceiveFrame();
        connection.Send(Number(-5));
    });
    EXPECT_EQ(Ask(), 0);
    EXPECT_EQ(test::Count(log.Text(), "No Arguments in IPCParam"), 1);
    IPCParam request;
    request.Add("ms", 1500);
    EXPECT_EQ(channel.Call("abc", &request, nullptr), 0);
    EXPECT_EQ(test::Count(log.Text(), "No Returned Param"), 1);
    EXPECT_EQ(Ask(std::string(70, 'm').c_str()), 0);
    EXPECT_EQ(Ask(), 0);
    peer.join();
}

TEST_F(IPCCalls, FailsWithoutAPeerAndConnectsWhenThereIsOne)
{
    EXPECT_EQ(Ask(), -1);
    unsigned char byte = 0;
    EXPECT_EQ(channel.ReceiveRaw(&byte, 1), -1);
    EXPECT_EQ(channel.SendRaw(&byte, 1), -1);
    EXPECT_EQ(test::Count(log.Text(), "Call Failure, IPCChannel is not activated tv"), 3);
    EXPECT_EQ(
        test::Count(log.Text(), "127.0.0.1:" + std::to_string(port) + " : Connection refused"), 3);
    Answer(IntegerReply(5));
    EXPECT_EQ(Ask(), 5);
    peer.join();
}

TEST_F(IPCCalls, FailsWhenTheServerDiesAtAnyOffsetOfTheReply)
{
    const std::string reply = IntegerReply(9);
    for (std::size_t offset = 0; offset < reply.size(); ++offset) {
        Answer(reply.substr(0, offset));
        EXPECT_EQ(Ask(), -1) << offset;
        EXPECT_EQ(Ask(), -1) << "fails at once until Reopen";
        peer.join();
        EXPECT_EQ(channel.Reopen(), 0);
    }
    EXPECT_EQ(test::Count(log.Text(), "Read Failed"), 20);
    Answer(reply);
    EXPECT_EQ(Ask(), 9);
    peer.join();
}

TEST_F(IPCCalls, NeverTakesALateReplyForTheNext)
{
    channel.SetReplyTimeout(100);
    std::atomic<int> late{0};
    const std::pair<std::string, std::size_t> cut[] = {
        {IntegerReply(1), 10}, {LargeReply(1, 300000), 10}, {LargeReply(1, 300000), 200000}};
    Serve([&](const RawPeer& connection) {
        for (const auto& [first, offset] : cut) {
            connection.ReceiveFrame();
            connection.Send(first.substr(0, offset));  // in time, but not whole
            test::WaitUntil([&] { return late-- > 0; });
            connection.Send(first.substr(offset));
            connection.ReceiveFrame();
            connection.Send(LargeReply(2, 100000));
        }
    });
    for (std::size_t round = 0; round < std::size(cut); ++round) {
        EXPECT_EQ(Ask(), -1);
        late = 1;
        channel.SetReplyTimeout(30000);
        EXPECT_EQ(Ask(), 2);
        channel.SetReplyTimeout(100);
    }
    peer.join();
}

TEST_F(IPCCalls, WaitsForASlowDripOnlyUntilTheTimeOut)
{
    channel.SetReplyTimeout(150);
    for (const std::string& reply : {IntegerReply(1), LargeReply(1, 40000)}) {
        const std::size_t drop = reply.size() / 20;
        Serve([&](const RawPeer& connection) {
            connection.ReceiveFrame();
            for (std::size_t at = 0; at < reply.size(); at += drop) {
                connection.Send(reply.substr(at, drop));
                std::this_thread::sleep_for(std::chrono::milliseconds(60));
            }
        });
        // A time-out that began anew with each drop would take the whole drip, 1.2 s.
        EXPECT_LT(test::Milliseconds([&] { EXPECT_EQ(Ask(), -1); }), 1000);
        peer.join();
        channel.Reopen();
    }
}

TEST_F(IPCCalls, ShutsDownAConnectionWithAnAbsurdReplyLength)
{
    Serve([](const RawPeer& connection) {
        connection.ReceiveFrame();
        connection.Send(Number(2097153));
        EXPECT_TRUE(connection.WaitClosed());
    });
    EXPECT_EQ(Ask(), -1);
    peer.join();
    EXPECT_EQ(test::Count(log.Text(), "Too big reply length ( > 2 MB ): 2097153"), 1);
    EXPECT_EQ(Ask(), -1);
    EXPECT_EQ(test::Count(log.Text(), "Write Failed"), 1);
}

TEST_F(IPCCalls, TakesTheLargestReply)
{
    const std::size_t size = 2097152 - 16;  // the block of a record of 2 MB
    const std::string record = Hex("00 00 00 48 62 00 00 00 | 64 00 00 00") +
                               Number(static_cast<std::int32_t>(size)) + std::string(size, 'b');
    Answer(Number(static_cast<std::int32_t>(record.size())) + record);
    IPCParam request;
    IPCParam reply;
    EXPECT_EQ(channel.Call("get", &request, &reply), 0);
    peer.join();
    ASSERT_EQ(reply.GetCount(), 1);
    EXPECT_EQ(reply.GetArg(0)->mLen, static_cast<int>(size));
}

// Over a UNIX-domain socket, whose buffer takes the largest in parts.
TEST_F(IPCCalls, SendsLargeBlocksAsTheRecordEncodesThem)
{
    server = std::make_unique<RawListener>("./large");
    Serve([](const RawPeer& connection) {
        for (const auto& sizes : kBlockSizes) {
            IPCParam request;
            AddBlocks(request, sizes);
            EXPECT_TRUE(connection.ReceiveFrame() == Frame("echo", Encoded(request)));
            connection.Send(kEmptyReply);
        }
    });
    IPCSocketChannel local("local", "./large", "./unused");
    local.Open();
    for (const auto& sizes : kBlockSizes) {
        IPCParam request;
        AddBlocks(request, sizes);
        IPCParam reply;
        EXPECT_EQ(local.Call("echo", &request, &reply), 0);
    }
    const unsigned char nothing = 0;
    EXPECT_EQ(local.SendRawBytes(&nothing, 0), 0);
    peer.join();
}

TEST_F(IPCCalls, RefusesARequestThatNoPeerWouldAnswer)
{
    const RawListener listener(port);
    const std::string block(2097152, 'b');
    IPCParam request;
    request.Add("d", block.data(), static_cast<int>(block.size()));
    EXPECT_EQ(channel.Call("play", &request, nullptr), -1);
    EXPECT_EQ(test::Count(log.Text(), "Too big length ( > 2 MB )"), 1);
    // Of a record that contradicts itself only the length word is sent.
    IPCParam wrong;
    wrong.Add("a", 1);
    wrong.GetArg(0)->mType = '?';
    EXPECT_EQ(channel.Call("play", &wrong, nullptr), -1);
    EXPECT_EQ(test::Count(log.Text(), "Serialization Failure"), 1);
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
    EXPECT_EQ(test::Count(log.Text(), "Write Failed"), 1);
}

TEST_F(IPCCalls, MovesRawBytes)
{
    const RawListener listener(port);
    const unsigned char data[] = {1, 2, 3};
    EXPECT_EQ(channel.SendRawBytes(data, 3), 0);
    const RawPeer connection = listener.Accept();
    EXPECT_EQ(connection.Receive(3), Hex("01 02 03"));
    connection.Send("abc");
    unsigned char buffer[3] = {};
    EXPECT_EQ(channel.ReceiveRaw(buffer, 3), 3);
    EXPECT_EQ(buffer[2], 'c');
    EXPECT_EQ(test::Count(log.Text(), "SetServerOption returns"), 0);
}

TEST_F(IPCCalls, CountsTheRepliesThatRawReceivesTake)
{
    const int taken[] = {12, 2, 4, 6, 12 + 7, 0};
    Serve([&taken](const RawPeer& connection) {
        for (const int length : taken) {
            connection.ReceiveFrame();
            connection.Send(kEmptyReply + (length > 12 ? "raw too" : ""));
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
        EXPECT_EQ(Ask(), length == 0 ? 0 : length);
    }
    EXPECT_EQ(test::Count(log.Text(), "SetServerOption returns"), 1) << "when it connected";
    unsigned char buffer[3] = {1, 2, 3};
    EXPECT_EQ(channel.ReceiveRaw(buffer, 3), 1);
    EXPECT_EQ(std::string(buffer, buffer + 3), std::string("x\0\0", 3));
    peer.join();
}

TEST_F(IPCCalls, StartAndQuitDoNotWaitForACall)
{
    const RawListener listener(port);
    std::thread caller([&] { EXPECT_EQ(Ask(), -1); });
    const RawPeer connection = listener.Accept();
    connection.ReceiveFrame();
    EXPECT_LT(test::Milliseconds([&] {
                  channel.Start();
                  channel.Start();
                  EXPECT_EQ(channel.Open(), -1);
                  channel.Quit();
              }),
              2000);
    EXPECT_EQ(test::Count(log.Text(), "Read Failed"), 0);  // it still waits
    channel.Close();
    caller.join();
}

TEST_F(IPCCalls, TakeNoLongerThanTheReplyTimeOutConnectIncluded)
{
    const RawListener listener("./busy");
    std::vector<RawPeer> others;
    for (int count = 0; count < 6; ++count) {  // the backlog of 5 and one more
        others.push_back(RawPeer::Connect("./busy"));
    }
    IPCSocketChannel late("late", "./busy", "./receive");
    late.Open();
    late.SetReplyTimeout(2000);
    std::thread makesRoom([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        others.push_back(listener.Accept());
    });
    test::InThreads(2, [&](int) {  // the second one waits for the first
        EXPECT_LT(test::Milliseconds([&] {
                      IPCParam request;
                      EXPECT_EQ(late.Call("play", &request, nullptr), -1);
                  }),
                  2900);
    });
    makesRoom.join();
    EXPECT_EQ(test::Count(log.Text(), "Read Failed"), 2);
}

TEST_F(IPCCalls, ReopenEndsACallThatWaits)
{
    const RawListener listener(port);
    std::thread caller([&] { EXPECT_EQ(Ask(), -1); });
    const RawPeer connection = listener.Accept();
    connection.ReceiveFrame();
    EXPECT_EQ(channel.Reopen(), 0);
    caller.join();
}

TEST_F(IPCCalls, ReopenEndsTheCallThatConnectsAndThoseBehindIt)
{
    const RawListener listener(port);
    std::vector<RawPeer> others;
    for (int count = 0; count < 6; ++count) {  // the backlog of 5 and one more
        others.push_back(RawPeer::Connect(port));
    }
    std::atomic<bool> done{false};
    std::atomic<int> left{3};
    std::vector<std::thread> callers;
    for (int count = left; count > 0; --count) {
        callers.emplace_back([&] {
            while (!done) {
                Ask();
            }
            --left;
        });
    }
    ASSERT_TRUE(log.WaitFor("Call - play"));
    EXPECT_LT(test::Milliseconds([&] {
                  for (int round = 0; round < 3; ++round) {
                      channel.Reopen();
                  }
                  done = true;
                  test::WaitUntil([&] { return channel.Reopen() == 0 && left == 0; });
              }),
              10000);
    for (std::thread& caller : callers) {
        caller.join();
    }
}

// A pair of channels whose server answers with the number it was asked for.
IPCParam* Same(IPCParam* request)
{
    IPCParam* const reply = new IPCParam;
    reply->Add("n", static_cast<int>(request->GetArg(0)->mValue));
    if (request->GetCount() > 1) {
        const std::string ballast(static_cast<std::size_t>(request->GetArg(1)->mValue), 'b');
        reply->Add("b", ballast.data(), static_cast<int>(ballast.size()));
    }
    return reply;
}

// Answers with the arguments that it was sent.
IPCParam* Echo(IPCParam* request)
{
    const std::string record = Encoded(*request);
    IPCParam* const reply = new IPCParam;
    reply->DeSerialize(reinterpret_cast<const unsigned char*>(record.data()),
                       static_cast<int>(record.size()));
    return reply;
}

class IPCPair : public testing::Test
{
protected:
    void SetUp() override
    {
        Logger::GetLogger(2)->SetLevel(Logger::kError + 1);
        server.Register("same", Same);
        server.Register("echo", Echo);
        server.Start();
        client.Open();
    }

    bool AskFor(int number)
    {
        IPCParam request;
        request.Add("n", number);
        IPCParam reply;
        return client.Call("same", &request, &reply) == 0 && reply.GetCount() == 1 &&
               reply.GetArg(0)->mValue == number;
    }

    const int clientPort = test::FreePort();
    const int serverPort = test::FreePort();
    IPCSocketChannel server{"server", clientPort, serverPort};
    IPCSocketChannel client{"client", serverPort, clientPort};
};

TEST_F(IPCPair, MixedCallsFromManyThreadsStayInStep)
{
    std::atomic<int> wrong{0};
    test::InThreads(4, [&](int id) {
        for (int index = 0; index < 50; ++index) {
            const int number = id * 1000 + index;
            IPCParam request;
            request.Add("n", -number);
            wrong += client.CallWithoutReturn("same", &request) == 0 ? 0 : 1;
            wrong += AskFor(number) ? 0 : 1;
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST_F(IPCPair, BlocksTravelThereAndBackToTheByte)
{
    for (int round = 0; round < 2; ++round) {
        for (const auto& sizes : kBlockSizes) {
            IPCParam request;
            AddBlocks(request, sizes);
            IPCParam reply;
            ASSERT_EQ(client.Call("echo", &request, &reply), 0);
            EXPECT_EQ(Encoded(reply), Encoded(request));
        }
    }
}

TEST_F(IPCPair, EachSideKeepsOneFrameUntilItsConnectionEnds)
{
    if (test::kSanitized) {
        GTEST_SKIP() << "the sanitizers have an allocator of their own";
    }
    constexpr std::size_t kFrame = 1048576;
    constexpr std::size_t kSlack = 65536;
    ASSERT_TRUE(AskFor(1));
    const std::size_t before = test::AllocatedBytes();
    // The server still has its records when the client has the reply.
    const auto settlesAt = [&](std::size_t frames) {
        return test::WaitUntil(
            [&] { return test::AllocatedBytes() < before + frames * kFrame + kSlack; });
    };
    const auto call = [&] {
        IPCParam request;
        AddBlocks(request, {kFrame});
        IPCParam reply;
        return client.Call("echo", &request, &reply) == 0;
    };
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(call());
        EXPECT_TRUE(settlesAt(2));
        EXPECT_GT(test::AllocatedBytes(), before + kFrame);
    }
    // The server's connection ends, upon which the client's does in the next call.
    server.Quit();
    EXPECT_TRUE(settlesAt(1));
    EXPECT_FALSE(AskFor(2));
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
    request.Add("n", 1);
    request.Add("size", 100000);
    request.Add("ballast", ballast.data(), static_cast<int>(ballast.size()));
    for (int index = 0; index < 300; ++index) {
        ASSERT_EQ(client.CallWithoutReturn("same", &request), 0) << index;
    }
    EXPECT_TRUE(AskFor(7));
}
}  // namespace
