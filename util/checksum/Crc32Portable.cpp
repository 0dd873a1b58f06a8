#include "util/checksum/Crc32Portable.h"

#include <endian.h>

#include <array>
#include <cstring>

#include "util/checksum/Crc32Register.h"

// The register is kept byte-reversed here: its next byte to leave is the lowest one, where a word
// loaded in little-endian order has its first byte. No step then swaps bytes, which makes the long
// loop an eighth faster.
//
// Long buffers run as four interleaved braids: braid k takes word k of each row of four and keeps a
// register of its own, so that the look-ups of four words overlap instead of waiting for each
// other. The registers are merged while the last row is read. The idea is Kadatch and Jenkins,
// "Everything we know about CRC but afraid to forget", 2010.

namespace {
using Word = std::size_t;
constexpr std::size_t kBraids = 4;
constexpr std::size_t kRow = kBraids * sizeof(Word);

using Table = std::array<std::uint32_t, 256>;
using WordTables = std::array<Table, sizeof(Word)>;

constexpr std::uint32_t ReverseBytes(std::uint32_t value)
{
    return value >> 24 | (value >> 8 & 0xFF00) | (value << 8 & 0xFF0000) | value << 24;
}

// Table k holds what each value of a byte leaves in the register once skip + k further bytes were
// read.
constexpr WordTables MakeTables(int skip)
{
    WordTables tables = {};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t crc = ShiftCrc32(byte << 24, 8 * skip);
        for (Table& table : tables) {
            crc = ShiftCrc32(crc, 8);
            table[byte] = ReverseBytes(crc);
        }
    }
    return tables;
}

constexpr WordTables kNextWord = MakeTables(0);
constexpr WordTables kNextRow = MakeTables(kRow - sizeof(Word));

inline std::uint32_t FromLittleEndian(std::uint32_t value)
{
    return le32toh(value);
}

inline std::uint64_t FromLittleEndian(std::uint64_t value)
{
    return le64toh(value);
}

// An integer's worth of bytes at any alignment, the first one lowest.
template <typename Integer>
inline Integer Load(const unsigned char* data)
{
    Integer value;
    std::memcpy(&value, data, sizeof(value));
    return FromLittleEndian(value);
}

// What the bytes of the value leave in the register.
template <typename Integer>
inline std::uint32_t LookUp(const WordTables& tables, Integer value)
{
    std::uint32_t crc = 0;
#pragma GCC unroll 8
    for (std::size_t i = 0; i < sizeof(value); ++i) {
        crc ^= tables[sizeof(value) - 1 - i][value >> 8 * i & 0xFF];
    }
    return crc;
}

// REQUIRES: two rows or more. Leaves data and length at what follows the last whole row.
std::uint32_t ReadRows(std::uint32_t crc, const unsigned char*& data, std::size_t& length)
{
    Word braids[kBraids] = {crc};
    for (; length >= 2 * kRow; data += kRow, length -= kRow) {
#pragma GCC unroll 4
        for (std::size_t k = 0; k < kBraids; ++k) {
            braids[k] = LookUp(kNextRow, braids[k] ^ Load<Word>(data + k * sizeof(Word)));
        }
    }
    crc = 0;
    for (const Word braid : braids) {
        crc = LookUp(kNextWord, crc ^ braid ^ Load<Word>(data));
        data += sizeof(Word);
    }
    length -= kRow;
    return crc;
}
}  // namespace

std::uint32_t Crc32Portable(std::uint32_t crc, const unsigned char* data, std::size_t length)
{
    crc = ReverseBytes(crc);
    if (length >= 2 * kRow) {
        crc = ReadRows(crc, data, length);
    }
    for (; length >= sizeof(Word); data += sizeof(Word), length -= sizeof(Word)) {
        crc = LookUp(kNextWord, crc ^ Load<Word>(data));
    }
    if (length >= sizeof(crc)) {
        crc = LookUp(kNextWord, crc ^ Load<std::uint32_t>(data));
        data += sizeof(crc);
        length -= sizeof(crc);
    }
    for (; length != 0; ++data, --length) {
        crc = crc >> 8 ^ kNextWord[0][(crc ^ *data) & 0xFF];
    }
    return ReverseBytes(crc);
}
