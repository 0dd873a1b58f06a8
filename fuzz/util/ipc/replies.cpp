// A caller that gets arbitrary bytes for replies. Calls must end, and after Reopen a well-behaved
// server must be understood.

#include <string>
#include <thread>

#include "fuzz/support/support.h"
#include "tests/support/Records.h"
#include "util/ipc/IPCSocketChannel.h"

namespace {
// Accepts one connection, answers its first byte with the bytes and closes.
void ServeOnce(const test::RawListener& listener, const std::string& bytes)
{
    const test::RawPeer connection = listener.Accept();
    connection.Receive(1);
    connection.Send(bytes);
    connection.EndSending();
    fuzz::ReceiveAll(connection);
}

// The results of a row of calls of both kinds on one connection.
void CallAround(IPCSocketChannel& channel, std::uint8_t kinds)
{
    IPCParam request;
    for (int index = 0; index < 4; ++index) {
        IPCParam reply;
        if ((kinds >> index & 1) != 0) {
            channel.CallWithoutReturn("ask", &request);
        } else {
            channel.Call("ask", &request, (kinds >> index & 16) != 0 ? nullptr : &reply);
        }
    }
}
}  // namespace

void fuzz::Run(const std::string& data)
{
    static const test::RawListener listener("./fuzz.server");
    static IPCSocketChannel* const channel = [] {
        auto* const made = new IPCSocketChannel("fuzz", "./fuzz.server", "./fuzz.unused");
        made->Open();
        return made;
    }();
    Input input(data);
    const std::uint8_t kinds = input.TakeByte();
    const std::string bytes = input.TakeRest();
    std::thread hostile([&bytes] { ServeOnce(listener, bytes); });
    CallAround(*channel, kinds);
    channel->Reopen();
    hostile.join();
    std::thread friendly([] { ServeOnce(listener, test::Reply(test::Integers({42}))); });
    Require(test::Ask(*channel) == 42, "a well-behaved server is not understood");
    channel->Reopen();
    friendly.join();
}
