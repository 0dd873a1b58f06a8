// What a client sends to the console's server. Whatever it is, the next client is served.

#include <string>

#include "fuzz/support/support.h"
#include "util/console/CmdMgr.h"

namespace {
constexpr int kPort = 28299;

std::string Frame(const std::string& text)
{
    return "TAVI" + test::Number(static_cast<std::int32_t>(text.size())) + text;
}

const std::string kPrompt = std::string("tavi\5\0\0\0\nCMD>", 13);

// Everything the server sends to a client that sends these bytes and then no more.
std::string Converse(const std::string& bytes)
{
    const test::RawPeer client = test::RawPeer::Connect(kPort);
    client.Send(bytes);
    client.EndSending();
    return fuzz::ReceiveAll(client);
}

std::string BytesOf(fuzz::Input& input)
{
    std::string bytes;
    while (!input.IsEmpty()) {
        const std::uint8_t kind = input.TakeByte() % 4;
        const std::string text = input.TakeBytes(input.TakeByte());
        bytes += kind == 0   ? text
                 : kind == 1 ? "TAVI" + test::Number(input.TakeShort() * 0x101) + text
                             : Frame(text);
    }
    return bytes;
}
}  // namespace

void fuzz::Run(const std::string& data)
{
    static const bool started = [] {
        CmdMgr* const console = CmdMgr::GetInstance(kPort);
        console->SetAddress("127.0.0.1");
        console->SetTolerant(true);
        return console->Start() == 0;
    }();
    Require(started, "the console does not start");
    Input input(data);
    const std::string opening = input.TakeByte() % 4 != 0 ? Frame("START") : "";
    const std::string bytes = BytesOf(input);
    for (const char* slow : {"FOR", "WHILE", "SLEEP"}) {
        if (bytes.find(slow) != std::string::npos) {
            return;  // it would keep the server busy for long
        }
    }
    Converse(opening + bytes);
    Require(Converse(Frame("START") + Frame("") + Frame("quit")) == kPrompt + kPrompt,
            "the next client is not served");
}
