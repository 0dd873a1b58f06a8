// What a client sends to the console's server. Whatever it is, the next client is served.

#include <algorithm>
#include <iterator>
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
        const std::uint8_t kind = input.TakeByte();
        const std::string text = input.TakeBytes(input.TakeByte());
        if (kind % 4 == 0) {
            bytes += text;
        } else if (kind % 4 == 1) {
            bytes += "TAVI" + test::Number(input.TakeShort() * 0x101) + text;
        } else {
            bytes += Frame(text);
        }
    }
    return bytes;
}

// Lines that would keep the server busy for long.
bool IsSlow(const std::string& bytes)
{
    const char* const words[] = {"FOR", "WHILE", "SLEEP"};
    return std::any_of(std::begin(words), std::end(words), [&bytes](const char* word) {
        return bytes.find(word) != std::string::npos;
    });
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool started = [] {
        CmdMgr* const console = CmdMgr::GetInstance(kPort);
        console->SetAddress("127.0.0.1");
        console->SetTolerant(true);
        return console->Start() == 0;
    }();
    fuzz::Require(started, "the console does not start");
    fuzz::Input input(data, size);
    const bool opens = input.TakeByte() % 4 != 0;
    const std::string bytes = BytesOf(input);
    if (!IsSlow(bytes)) {
        Converse((opens ? Frame("START") : "") + bytes);
        fuzz::Require(Converse(Frame("START") + Frame("") + Frame("quit")) == kPrompt + kPrompt,
                      "the next client is not served");
    }
    return 0;
}
