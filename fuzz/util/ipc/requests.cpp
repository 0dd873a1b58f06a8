// A channel fed arbitrary bytes on its accepted connection. The same bytes in one piece and in
// small ones must be answered alike, and the next connection must be served.
//
// The input is a row of steps, so that whole frames with flaws come up often; a step is a frame, a
// frame with another length word, or loose bytes.
#include <unistd.h>

#include <string>

#include "fuzz/support/support.h"
#include "tests/support/Records.h"
#include "util/ipc/IPCSocketChannel.h"

namespace {
class Server
{
public:
    Server() : mChannel("fuzz", "./fuzz.send", "./fuzz.receive")
    {
        mChannel.Register("echo", test::Echo);
        mChannel.Register("nothing", [](IPCParam*) -> IPCParam* { return nullptr; });
    }

    // What the channel answers to the bytes, sent in pieces of that size.
    std::string Answer(const std::string& bytes, std::size_t piece)
    {
        while (mChannel.IsRunning()) {
            usleep(50);
        }
        mChannel.Start();
        const test::RawPeer connection = test::RawPeer::Connect("./fuzz.receive");
        for (std::size_t at = 0; at < bytes.size(); at += piece) {
            connection.Send(bytes.substr(at, piece));
        }
        connection.EndSending();
        return fuzz::ReceiveAll(connection);
    }

private:
    IPCSocketChannel mChannel;
};

std::string MethodOf(std::uint8_t choice, fuzz::Input& input)
{
    const std::string methods[] = {"echo", "nothing", input.TakeBytes(choice % 4 == 2 ? choice : 0),
                                   std::string(choice, 'm')};
    return methods[choice % 4];
}

std::string StepOf(fuzz::Input& input)
{
    const std::uint8_t kind = input.TakeByte();
    if (kind % 4 == 0) {
        return input.TakeBytes(input.TakeByte());
    }
    const std::string start =
        kind % 4 == 1 ? "" : std::string("\0\0\0G", 4) + test::Text(MethodOf(kind / 4, input));
    const std::string payload = start + input.TakeBytes(input.TakeByte());
    const auto length = kind % 4 == 2 ? input.TakeShort() * 0x10001u : payload.size();
    return test::Number(static_cast<std::int32_t>(length)) + payload;
}
}  // namespace

void fuzz::Run(const std::string& data)
{
    static Server* const server = new Server;
    Input input(data);
    const std::size_t piece = 1 + input.TakeByte() % 7;
    std::string bytes;
    while (!input.IsEmpty() && bytes.size() < 4096) {
        bytes += StepOf(input);
    }
    const std::string whole = server->Answer(bytes, bytes.size() + 1);
    if (bytes.size() < 200) {
        Require(server->Answer(bytes, piece) == whole, "pieces are answered otherwise");
    }
    const std::string call = test::Frame("echo", test::EmptyRecord());
    Require(server->Answer(call, call.size()) == test::EmptyReply(),
            "the next connection is not served");
}
