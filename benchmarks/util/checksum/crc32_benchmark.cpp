// CRC-32/MPEG-2 next to ISA-L, which has the same code, and zlib, whose CRC has the same polynomial
// with reflected bits and no instructions of single processors. Above 1 a case is faster than zlib;
// for 188 bytes, a transport packet, there is a ratio to ISA-L too.
#include <isa-l/crc.h>
#include <zlib.h>

#include <string>

#include "benchmarks/support/interleave.h"
#include "benchmarks/util/checksum/message.h"
#include "util/checksum/Crc32.h"

namespace {
#ifdef CHECKSUM_PORTABLE_ONLY
const char kTopic[] = "crc32-portable/";
#else
const char kTopic[] = "crc32/";
#endif

std::uint32_t CrcHere(const std::vector<unsigned char>& message)
{
    return MCrc32(message.data(), static_cast<int>(message.size())).mCrc;
}

std::uint32_t CrcByIsaL(const std::vector<unsigned char>& message)
{
    return crc32_ieee(0, message.data(), message.size());
}

std::uint32_t CrcByZlib(const std::vector<unsigned char>& message)
{
    return static_cast<std::uint32_t>(
        crc32(0, message.data(), static_cast<unsigned int>(message.size())));
}

// ISA-L may leave the upper halves of vector registers dirty, which would slow down whoever comes
// after it, so it is not in the topics of zlib.
void CompareWithZlib(const std::string& size, std::size_t length)
{
    const std::vector<unsigned char> message = Message(length);
    bench::Interleave timing(kTopic + size);
    timing.Add("zlib", [&] { return CrcByZlib(message); });
    timing.Add("html5_video", [&] { return CrcHere(message); });
    timing.Run();
}

void CompareWithIsaL(const std::string& size, std::size_t length)
{
    const std::vector<unsigned char> message = Message(length);
    bench::Interleave timing(kTopic + size + "/isa-l");
    timing.Add("isa-l", [&] { return CrcByIsaL(message); });
    timing.Add("html5_video", [&] { return CrcHere(message); });
    timing.Run();
}
}  // namespace

int main()
{
    CompareWithZlib("188B", 188);
    CompareWithZlib("4KiB", 4096);
    CompareWithZlib("1MiB", 1 << 20);
    CompareWithIsaL("188B", 188);
    CompareWithIsaL("1MiB", 1 << 20);
    return 0;
}
