// The sections of transport streams that other programs made.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <ostream>
#include <string>

#include "tests/support/support.h"
#include "util/checksum/Crc32.h"

namespace {
const std::size_t kPacket = 188;
const int kPatPid = 0x00;
const int kSdtPid = 0x11;
const unsigned char kPatTable = 0x00;
const unsigned char kPmtTable = 0x02;
const unsigned char kSdtTable = 0x42;

struct Muxer
{
    const char* program;
    const char* command;  // writes out.ts
    bool makesSdt;
};

// Encoders are not always installed with the muxer, so GStreamer packs bytes that only claim to be
// audio.
const Muxer kMuxers[] = {
    {"ffmpeg",
     "ffmpeg -nostdin -loglevel error -f lavfi -i testsrc=size=64x64:rate=5:duration=1 "
     "-c:v mpeg2video -f mpegts -y out.ts",
     true},
    {"gst-launch-1.0",
     "gst-launch-1.0 -q fakesrc num-buffers=20 sizetype=fixed sizemax=200 format=time "
     "datarate=20000 ! audio/mpeg,mpegversion=1,layer=2,rate=48000,channels=2,parsed=true,"
     "framed=true ! mpegtsmux ! filesink location=out.ts",
     false},
};

bool Execute(const std::string& command)
{
    return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
}

const unsigned char* Bytes(const std::string& text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

int Number16(const unsigned char* bytes)
{
    return bytes[0] << 8 | bytes[1];
}

// The first section of each PID, by PID. Sections that run on into a second packet are left out.
std::map<int, std::string> FirstSections(const std::string& stream)
{
    std::map<int, std::string> sections;
    for (std::size_t at = 0; at + kPacket <= stream.size(); at += kPacket) {
        const unsigned char* const packet = Bytes(stream) + at;
        const bool starts = (packet[1] & 0x40) != 0;
        std::size_t payload = 4;
        if ((packet[3] & 0x20) != 0) {
            payload += 1u + packet[4];  // an adaptation field
        }
        if (packet[0] != 0x47 || !starts || payload >= kPacket) {
            continue;
        }
        const std::size_t begin = payload + 1 + packet[payload];
        if (begin + 3 > kPacket) {
            continue;
        }
        const std::size_t length = 3u + (Number16(packet + begin + 1) & 0xFFF);
        if (begin + length <= kPacket) {
            sections.emplace(Number16(packet + 1) & 0x1FFF, stream.substr(at + begin, length));
        }
    }
    return sections;
}

void ExpectSection(const std::string& section, unsigned char table)
{
    ASSERT_GT(section.size(), 12u);
    const unsigned char* const bytes = Bytes(section);
    const int length = static_cast<int>(section.size());
    EXPECT_EQ(bytes[0], table);
    const unsigned char* const end = bytes + length - 4;
    const std::uint32_t stored = static_cast<std::uint32_t>(Number16(end)) << 16 |
                                 static_cast<std::uint32_t>(Number16(end + 2));
    EXPECT_EQ(MCrc32(bytes, length - 4).mCrc, stored);
    EXPECT_EQ(MCrc32(bytes, length).mCrc, 0u);
}

void PrintTo(const Muxer& muxer, std::ostream* out)
{
    *out << muxer.program;
}

class Crc32Sections : public testing::TestWithParam<Muxer>
{};
}  // namespace

TEST_P(Crc32Sections, CarryTheCrcThatIsComputedHere)
{
    if (!Execute(std::string("command -v ") + GetParam().program)) {
        GTEST_SKIP() << GetParam().program << " is not installed: no stream to look at";
    }
    ASSERT_TRUE(Execute(GetParam().command));
    std::map<int, std::string> sections = FirstSections(test::ReadFile("out.ts"));
    ExpectSection(sections[kPatPid], kPatTable);
    const int pmtPid = Number16(Bytes(sections[kPatPid]) + 10) & 0x1FFF;
    ExpectSection(sections[pmtPid], kPmtTable);
    if (GetParam().makesSdt) {
        ExpectSection(sections[kSdtPid], kSdtTable);
    }
}

INSTANTIATE_TEST_SUITE_P(Muxers, Crc32Sections, testing::ValuesIn(kMuxers));
