// What a client sends to the console's server. Whatever it is, the next client is served.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "fuzz/support/support.h"
#include "util/console/CmdMgr.h"

namespace {
constexpr int kPort = 28299;

std::string Frame(const std::string& text)
{
    return "TAVI" + fuzz::Number(static_cast<std::uint32_t>(text.size())) + text;
}

const std::string kPrompt = std::string("tavi\5\0\0\0\nCMD>", 13);

// Everything the server sends to a client that sends these bytes and then no more.
std::string Converse(const std::string& bytes)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(kPort);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    for (int tries = 0;
         connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0;
         ++tries) {
        fuzz::Require(tries < 5000, "the server does not listen");
        usleep(1000);
    }
    fuzz::Send(client, bytes);
    shutdown(client, SHUT_WR);
    const std::string answer = fuzz::ReceiveAll(client);
    close(client);
    return answer;
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
            bytes += "TAVI" + fuzz::Number(input.TakeShort() * 0x101u) + text;
        } else {
            bytes += Frame(text);
        }
    }
    return bytes;
}

// Lines that would keep the server busy for long.
bool IsSlow(const std::string& bytes)
{
    for (const char* word : {"FOR", "WHILE", "SLEEP"}) {
        if (bytes.find(word) != std::string::npos) {
            return true;
        }
    }
    return false;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool started = [] {
        fuzz::QuietLog();
        fuzz::QuietOutput();
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
