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
    std::atomic<bool> late{false};
    Serve([&late](const RawPeer& connection) {
        connection.ReceiveFrame();
        const std::string first = IntegerReply(1);
        connection.Send(first.substr(0, 10));  // in time, but not whole
        test::WaitUntil([&] { return late.load(); });
        connection.Send(first.substr(10));
        connection.ReceiveFrame();
        connection.Send(IntegerReply(2));
    });
    EXPECT_EQ(Ask(), -1);
    late = true;
    EXPECT_EQ(Ask(), 2);
    peer.join();
}

TEST_F(IPCCalls, WaitsForASlowDripOnlyUntilTheTimeOut)
{
    channel.SetReplyTimeout(150);
    Serve([](const RawPeer& connection) {
        connection.ReceiveFrame();
        for (const char byte : IntegerReply(1)) {
            connection.Send(std::string(1, byte));
            std::this_thread::sleep_for(std::chrono::milliseconds(60));
        }
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Ask(), -1);
    // A time-out that began anew with each byte would take the whole drip, 1.2 s.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1000));
    peer.join();
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

class IPCPair : public testing::Test
{
protected:
    void SetUp() override
    {
        Logger::GetLogger(2)->SetLevel(Logger::kError + 1);
        server.Register("same", Same);
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
