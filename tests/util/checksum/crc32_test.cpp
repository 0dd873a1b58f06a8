#include "util/checksum/Crc32.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string>

#include "tests/support/RawPeer.h"

namespace {
std::uint32_t Crc(const std::string& bytes)
{
    return MCrc32(reinterpret_cast<const unsigned char*>(bytes.data()),
                  static_cast<int>(bytes.size()))
        .mCrc;
}

// CRC-32/MPEG-2 one bit at a time, straight from its shift register.
std::uint32_t ReferenceCrc32(std::uint32_t crc, const unsigned char* data, int length)
{
    for (int bit = 0; bit < 8 * length; ++bit) {
        const std::uint32_t in = data[bit / 8] >> (7 - bit % 8) & 1U;
        crc = crc << 1 ^ ((crc >> 31 ^ in) != 0 ? 0x04C11DB7U : 0U);
    }
    return crc;
}
}  // namespace

TEST(Crc32, GivesPublishedValues)
{
    const std::string section = test::Hex("00 B0 0D 00 01 C1 00 00 00 01 F0 00");
    EXPECT_EQ(Crc("123456789"), 0x0376E6E7U) << "the catalogued check value";
    EXPECT_EQ(Crc(section), 0x2AB104B2U) << "of a transport stream";
    EXPECT_EQ(Crc(section + test::Hex("2A B1 04 B2")), 0U);
    const unsigned char byte = 0;
    for (const int length : {0, -1, -2147483647 - 1}) {
        EXPECT_EQ(MCrc32(&byte, length).mCrc, 0xFFFFFFFFU) << "empty";
    }
    EXPECT_EQ(MCrc32(nullptr, 4).mCrc, 0xFFFFFFFFU);
}

TEST(Crc32, EqualsAShiftRegisterOverAnyLengthAndAlignment)
{
    std::mt19937 random(1);
    unsigned char bytes[8192];
    std::generate(bytes, bytes + sizeof(bytes), std::ref(random));
    for (int round = 0; round < 900; ++round) {
        const int length = round < 700 ? round : static_cast<int>(random() % 8000);
        const unsigned char* const data = bytes + random() % 192;
        EXPECT_EQ(MCrc32(data, length).mCrc, ReferenceCrc32(0xFFFFFFFF, data, length)) << length;
    }
    for (unsigned int i = 0; i < 256; ++i) {
        const unsigned char byte = static_cast<unsigned char>(i);
        EXPECT_EQ(crc_table[i], ReferenceCrc32(0, &byte, 1)) << i;
    }
}
