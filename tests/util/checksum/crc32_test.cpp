#include <gtest/gtest.h>

#include "tests/util/checksum/bytes.h"
#include "tests/util/checksum/crc32_reference.h"
#include "util/checksum/Crc32.h"

using test::Bytes;
using test::RandomBytes;
using test::ReferenceCrc32;

TEST(Crc32, GivesTheCataloguedCheckValue)
{
    EXPECT_EQ(MCrc32(reinterpret_cast<const unsigned char*>("123456789"), 9).mCrc, 0x0376E6E7u);
    EXPECT_EQ(MCrc32(reinterpret_cast<const unsigned char*>("\0"), 1).mCrc, 0x4E08BFB4u);
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

TEST(Crc32, IsZeroOverAMessageWithItsCrc)
{
    std::mt19937 random(2);
    for (std::size_t length = 0; length < 1100; length += 1 + length / 16) {
        Bytes message = RandomBytes(random, length);
        const std::uint32_t crc = MCrc32(message.data(), static_cast<int>(length)).mCrc;
        for (int shift = 24; shift >= 0; shift -= 8) {
            message.push_back(static_cast<unsigned char>(crc >> shift));
        }
        EXPECT_EQ(MCrc32(message.data(), static_cast<int>(length) + 4).mCrc, 0u);
        message[random() % message.size()] ^= static_cast<unsigned char>(1u << random() % 8);
        EXPECT_NE(MCrc32(message.data(), static_cast<int>(length) + 4).mCrc, 0u);
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
