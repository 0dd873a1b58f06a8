#include <gtest/gtest.h>

#include "tests/support/RawPeer.h"
#include "tests/util/checksum/bytes.h"
#include "util/checksum/Crc32.h"

using test::Bytes;
using test::RandomBytes;
using test::ReferenceCrc32;

TEST(Crc32, GivesTheCataloguedCheckValue)
{
    EXPECT_EQ(MCrc32(reinterpret_cast<const unsigned char*>("123456789"), 9).mCrc, 0x0376E6E7u);
    EXPECT_EQ(MCrc32(reinterpret_cast<const unsigned char*>("\0"), 1).mCrc, 0x4E08BFB4u);
}

TEST(Crc32, IsZeroOverATransportStreamsSection)
{
    const std::string section = test::Hex("00 B0 0D 00 01 C1 00 00 00 01 F0 00 | 2A B1 04 B2");
    const auto* const bytes = reinterpret_cast<const unsigned char*>(section.data());
    EXPECT_EQ(MCrc32(bytes, 12).mCrc, 0x2AB104B2u);
    EXPECT_EQ(MCrc32(bytes, 16).mCrc, 0u);
}

TEST(Crc32, TakesNegativeLengthsAndNullAsEmpty)
{
    const unsigned char byte = 0;
    EXPECT_EQ(MCrc32(&byte, 0).mCrc, 0xFFFFFFFFu);
    EXPECT_EQ(MCrc32(&byte, -1).mCrc, 0xFFFFFFFFu);
    EXPECT_EQ(MCrc32(&byte, -2147483647 - 1).mCrc, 0xFFFFFFFFu);
    EXPECT_EQ(MCrc32(nullptr, 4).mCrc, 0xFFFFFFFFu);
}

TEST(Crc32, EqualsAShiftRegisterOverAnyLengthAndAlignment)
{
    std::mt19937 random(1);
    const Bytes bytes = RandomBytes(random, 8192);
    for (int length = 0; length < 700; ++length) {
        const unsigned char* const data = bytes.data() + random() % 64;
        EXPECT_EQ(MCrc32(data, length).mCrc, ReferenceCrc32(0xFFFFFFFF, data, length)) << length;
    }
    for (int repeat = 0; repeat < 200; ++repeat) {
        const int length = static_cast<int>(random() % 8000);
        const unsigned char* const data = bytes.data() + random() % 192;
        EXPECT_EQ(MCrc32(data, length).mCrc, ReferenceCrc32(0xFFFFFFFF, data, length)) << length;
    }
}

TEST(CrcTable, HoldsTheRegisterOfEveryFirstByte)
{
    EXPECT_EQ(crc_table[1], 0x04C11DB7u);
    EXPECT_EQ(crc_table[255], 0xB1F740B4u);
    for (unsigned int i = 0; i < 256; ++i) {
        const unsigned char byte = static_cast<unsigned char>(i);
        EXPECT_EQ(crc_table[i], ReferenceCrc32(0, &byte, 1)) << i;
    }
}

TEST(CrcTableDeathTest, CannotBeWritten)
{
    volatile std::uint32_t* const entry = const_cast<std::uint32_t*>(&crc_table[17]);
    EXPECT_DEATH(*entry = 0, "");
}
