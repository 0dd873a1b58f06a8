// A caller that gets arbitrary bytes for replies. Calls must end, and after Reopen a well-behaved
// server must be understood.
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "fuzz/support/support.h"
#include "util/ipc/IPCParam.h"
#include "util/ipc/IPCSocketChannel.h"

namespace {
// Accepts one connection, answers every first byte with the bytes and closes.
void ServeOnce(int listener, const std::string& bytes)
{
    const int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    char buffer[256];
    static_cast<void>(recv(connection, buffer, sizeof(buffer), 0));
    fuzz::Send(connection, bytes);
    shutdown(connection, SHUT_WR);
    fuzz::ReceiveAll(connection);
    close(connection);
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

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const int listener = (fuzz::QuietLog(), fuzz::Listen("./fuzz.server"));
    static IPCSocketChannel* const channel = [] {
        auto* const made = new IPCSocketChannel("fuzz", "./fuzz.server", "./fuzz.unused");
        made->Open();
        return made;
    }();
    fuzz::Input input(data, size);
    const std::uint8_t kinds = input.TakeByte();
    const std::string bytes = input.TakeRest();
    std::thread hostile(ServeOnce, listener, bytes);
    CallAround(*channel, kinds);
    channel->Reopen();
    hostile.join();
    const std::string reply = std::string("\0\0\0Hi\0\0\0a\0\0\0\x2A\0\0\0", 16);
    std::thread friendly(ServeOnce, listener, fuzz::Number(16) + reply);
    IPCParam request;
    IPCParam answer;
    fuzz::Require(channel->Call("ask", &request, &answer) == 0 && answer.GetCount() == 1 &&
                      answer.GetArg(0)->mValue == 42,
                  "a well-behaved server is not understood");
    channel->Reopen();
    friendly.join();
    return 0;
}
