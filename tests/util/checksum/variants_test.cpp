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
    if (X86HasCarrylessMultiply512()) {
        variants.push_back(Crc32X86Wide);
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

#if CHECKSUM_X86
namespace {
// Whether the upper halves of the vector registers are in use, as the processor itself tells.
bool UpperHalvesInUse()
{
    unsigned int low = 0;
    unsigned int high = 0;
    asm volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(1));
    return (low & 4) != 0;
}
}  // namespace

// Dirty upper halves make each SSE instruction that follows wait for the whole register.
TEST(Crc32Variants, LeaveTheUpperHalvesOfVectorRegistersClean)
{
    if (!X86HasCarrylessMultiply512()) {
        GTEST_SKIP() << "this processor has no carry-less multiplication of 512 bits";
    }
    const Bytes bytes(4096);
    asm volatile("vzeroupper\n\tvpcmpeqd %%ymm0, %%ymm0, %%ymm0" : : : "xmm0");
    const bool tellsDirty = UpperHalvesInUse();
    asm volatile("vzeroupper");
    if (!tellsDirty || UpperHalvesInUse()) {
        GTEST_SKIP() << "this processor does not tell";
    }
    Crc32X86Wide(0, bytes.data(), bytes.size());
    EXPECT_FALSE(UpperHalvesInUse());
}
#endif
