// CRC-32/MPEG-2 one bit at a time, straight from its shift register.
#ifndef TESTS_UTIL_CHECKSUM_CRC32_REFERENCE_H
#define TESTS_UTIL_CHECKSUM_CRC32_REFERENCE_H

#include <cstddef>
#include <cstdint>

namespace test {
inline std::uint32_t ReferenceCrc32(std::uint32_t crc, const unsigned char* data,
                                    std::size_t length)
{
    for (std::size_t bit = 0; bit < 8 * length; ++bit) {
        const std::uint32_t in = data[bit / 8] >> (7 - bit % 8) & 1u;
        const bool subtract = (crc >> 31 ^ in) != 0;
        crc <<= 1;
        if (subtract) {
            crc ^= 0x04C11DB7;
        }
    }
    return crc;
}
}  // namespace test

#endif  // TESTS_UTIL_CHECKSUM_CRC32_REFERENCE_H
