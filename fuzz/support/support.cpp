#include "fuzz/support/support.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "util/os_linux/Logger.h"

namespace fuzz {
void Require(bool condition, const char* text)
{
    if (!condition) {
        std::fprintf(stderr, "broken: %s\n", text);
        std::abort();
    }
}

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*arguments*/)
{
    char line[] = "outpath=/dev/null";
    Logger::GetLogger(1)->ParseConfig(line);
    Logger::ChangeMode(2);
    Require(std::freopen("/dev/null", "w", stdout) != nullptr, "no /dev/null");
    return 0;
}

std::uint8_t Input::TakeByte()
{
    const std::string byte = TakeBytes(1);
    return byte.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(byte[0]);
}

std::uint16_t Input::TakeShort()
{
    const unsigned low = TakeByte();
    return static_cast<std::uint16_t>(low | static_cast<unsigned>(TakeByte()) << 8);
}

std::string Input::TakeBytes(std::size_t length)
{
    const std::size_t taken = std::min(length, mSize);
    std::string bytes(reinterpret_cast<const char*>(mData), taken);
    mData += taken;
    mSize -= taken;
    return bytes;
}

std::string ReceiveAll(const test::RawPeer& peer)
{
    const std::string bytes = peer.Receive(std::string::npos);
    Require(peer.WaitClosed(), "the peer is silent");
    return bytes;
}
}  // namespace fuzz
