#include "util/checksum/Crc32X86.h"

#if CHECKSUM_X86
#include <immintrin.h>

#include "util/checksum/Crc32Portable.h"
#include "util/checksum/Crc32Register.h"

// The message is a polynomial of which only the remainder modulo P counts, so a block of 128 bits
// may be replaced by anything that is congruent to it: here it is multiplied by a power of x
// modulo P and added to a block further on. Blocks are loaded so that their first bit is the
// highest coefficient. The method is Gopal and others, "Fast CRC Computation for Generic
// Polynomials Using PCLMULQDQ Instruction", Intel, 2009.

#define TARGET __attribute__((target("pclmul,ssse3,sse4.1")))

namespace {
constexpr std::size_t kBlock = 16;
constexpr std::size_t kRow = 4 * kBlock;

// Four blocks in the order of the message.
struct Row
{
    __m128i a, b, c, d;
};

// x^exponent modulo P.
constexpr long long Power(int exponent)
{
    return ShiftCrc32(1, exponent);
}

// The quotient of x^64 divided by P.
constexpr long long InversePolynomial()
{
    std::uint64_t quotient = 0;
    std::uint32_t remainder = 1;
    for (int i = 0; i < 64; ++i) {
        quotient = quotient << 1 | remainder >> 31;
        remainder = ShiftCrc32(remainder, 1);
    }
    return static_cast<long long>(quotient);
}

TARGET inline __m128i LoadBlock(const unsigned char* data)
{
    const __m128i reversed = _mm_set_epi64x(0x0001020304050607, 0x08090A0B0C0D0E0F);
    return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(data)), reversed);
}

// Reads by table what keeps the length from being a multiple of kBlock.
inline void SkipHead(std::uint32_t& crc, const unsigned char*& data, std::size_t& length)
{
    const std::size_t head = length % kBlock;
    crc = Crc32Portable(crc, data, head);
    data += head;
    length -= head;
}

// A register in front of the first 32 bits of a block.
TARGET inline __m128i AtFront(std::uint32_t crc)
{
    return _mm_set_epi32(static_cast<int>(crc), 0, 0, 0);
}

// The block folded over so many bytes onto a block further on: its halves times their powers.
template <std::size_t bytes>
TARGET inline __m128i Fold(__m128i block, __m128i onto)
{
    const __m128i powers = _mm_set_epi64x(Power(8 * bytes + 64), Power(8 * bytes));
    const __m128i high = _mm_clmulepi64_si128(block, powers, 0x11);
    const __m128i low = _mm_clmulepi64_si128(block, powers, 0x00);
    return _mm_xor_si128(_mm_xor_si128(high, low), onto);
}

// The register after the block: the block times x^32 modulo P.
TARGET std::uint32_t Reduce(__m128i block)
{
    const __m128i powers = _mm_set_epi64x(Power(64), Power(96));
    const __m128i division = _mm_set_epi64x(kCrc32Polynomial, InversePolynomial());
    // To 96 bits, then to 64.
    __m128i rest = _mm_xor_si128(_mm_clmulepi64_si128(block, powers, 0x01),
                                 _mm_slli_si128(_mm_move_epi64(block), 4));
    rest = _mm_xor_si128(_mm_clmulepi64_si128(rest, powers, 0x11), rest);
    // Barrett: the quotient by P from the upper 32 bits, then what it leaves of the lower ones.
    const __m128i upper = _mm_srli_epi64(rest, 32);
    const __m128i quotient = _mm_srli_epi64(_mm_clmulepi64_si128(upper, division, 0x00), 32);
    rest = _mm_xor_si128(_mm_clmulepi64_si128(quotient, division, 0x10), rest);
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(rest));
}

// The register after a block and what follows it; length is a multiple of kBlock.
TARGET inline std::uint32_t ReadBlocks(__m128i block, const unsigned char* data, std::size_t length)
{
    for (; length != 0; data += kBlock, length -= kBlock) {
        block = Fold<kBlock>(block, LoadBlock(data));
    }
    return Reduce(block);
}

// The register after a row and what follows it; length is a multiple of kBlock.
TARGET std::uint32_t ReadRows(const Row& first, const unsigned char* data, std::size_t length)
{
    Row row = first;
    for (; length >= kRow; data += kRow, length -= kRow) {
        row.a = Fold<kRow>(row.a, LoadBlock(data));
        row.b = Fold<kRow>(row.b, LoadBlock(data + kBlock));
        row.c = Fold<kRow>(row.c, LoadBlock(data + 2 * kBlock));
        row.d = Fold<kRow>(row.d, LoadBlock(data + 3 * kBlock));
    }
    const __m128i last = Fold<kBlock>(row.c, row.d);
    return ReadBlocks(Fold<3 * kBlock>(row.a, Fold<2 * kBlock>(row.b, last)), data, length);
}
}  // namespace

TARGET std::uint32_t Crc32X86(std::uint32_t crc, const unsigned char* data, std::size_t length)
{
    if (length < 2 * kBlock) {
        return Crc32Portable(crc, data, length);
    }
    SkipHead(crc, data, length);
    const __m128i first = _mm_xor_si128(LoadBlock(data), AtFront(crc));
    if (length < kRow) {
        return ReadBlocks(first, data + kBlock, length - kBlock);
    }
    const Row row = {first, LoadBlock(data + kBlock), LoadBlock(data + 2 * kBlock),
                     LoadBlock(data + 3 * kBlock)};
    return ReadRows(row, data + kRow, length - kRow);
}
#endif
