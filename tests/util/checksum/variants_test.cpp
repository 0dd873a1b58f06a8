// Every form of the CRC that this processor can run, against the plain one.
#include <gtest/gtest.h>

#include "tests/util/checksum/bytes.h"
#include "util/checksum/Crc32Portable.h"
#include "util/checksum/Crc32X86.h"

using test::Bytes;
using test::RandomBytes;
using test::ReferenceCrc32;

namespace {
using Crc32Function = std::uint32_t (*)(std::uint32_t, const unsigned char*, std::size_t);

std::vector<Crc32Function> Crc32Variants()
{
    std::vector<Crc32Function> variants = {Crc32Portable};
#if CHECKSUM_X86
    if (X86HasCarrylessMultiply()) {
        variants.push_back(Crc32X86);
    }
#endif
    return variants;
}
}  // namespace

TEST(Crc32Variants, GoOnFromAnyRegisterOverAnySplit)
{
    std::mt19937 random(1);
    const Bytes bytes = RandomBytes(random, 4096 + 64);
    for (const Crc32Function variant : Crc32Variants()) {
        for (std::size_t length = 0; length < 4096; length += 1 + length / 100) {
            const unsigned char* const data = bytes.data() + random() % 64;
            const std::uint32_t start = static_cast<std::uint32_t>(random());
            const std::size_t split = random() % (length + 1);
            const std::uint32_t expected = ReferenceCrc32(start, data, length);
            EXPECT_EQ(variant(start, data, length), expected) << length;
            EXPECT_EQ(variant(variant(start, data, split), data + split, length - split), expected)
                << length << " split at " << split;
        }
    }
}
