#include "fuzz/support/support.h"

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

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Run(std::string(reinterpret_cast<const char*>(data), size));
    return 0;
}

std::uint8_t Input::TakeByte()
{
    return static_cast<std::uint8_t>(TakeBytes(1)[0]);  // the text's own zero at the end
}

std::uint16_t Input::TakeShort()
{
    const int low = TakeByte();
    return static_cast<std::uint16_t>(low | TakeByte() << 8);
}

std::string Input::TakeBytes(std::size_t length)
{
    const std::string bytes = mRest.substr(0, length);
    mRest.erase(0, length);
    return bytes;
}

std::string ReceiveAll(const test::RawPeer& peer)
{
    const std::string bytes = peer.Receive(std::string::npos);
    Require(peer.WaitClosed(), "the peer is silent");
    return bytes;
}
}  // namespace fuzz
