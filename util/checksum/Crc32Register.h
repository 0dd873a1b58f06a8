// Internal. The shift register of CRC-32/MPEG-2, from which the compiler makes every table and
// constant. A register is a polynomial over GF(2), its top bit the coefficient of x^31.
#ifndef UTIL_CHECKSUM_CRC32REGISTER_H
#define UTIL_CHECKSUM_CRC32REGISTER_H

#include <cstdint>

// x^32 + kCrc32Polynomial is the generator P of the code.
constexpr std::uint32_t kCrc32Polynomial = 0x04C11DB7;

// The register after the given number of shifts, that is its polynomial times x^bits modulo P.
constexpr std::uint32_t ShiftCrc32(std::uint32_t value, int bits)
{
    for (; bits > 0; --bits) {
        value = value << 1 ^ (value >> 31) * kCrc32Polynomial;
    }
    return value;
}

#endif  // UTIL_CHECKSUM_CRC32REGISTER_H
