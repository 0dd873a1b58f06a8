// Messages for the tests of checksums, and a CRC to compare with.
#ifndef TESTS_UTIL_CHECKSUM_BYTES_H
#define TESTS_UTIL_CHECKSUM_BYTES_H

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace test {
using Bytes = std::vector<unsigned char>;

// Bytes of a generator that the test seeds, so that a failure comes again.
inline Bytes RandomBytes(std::mt19937& random, std::size_t length)
{
    Bytes bytes(length);
    for (unsigned char& byte : bytes) {
        byte = static_cast<unsigned char>(random());
    }
    return bytes;
}

inline std::string Hex(const unsigned char* bytes, std::size_t length)
{
    std::string text;
    for (std::size_t i = 0; i < length; ++i) {
        text += "0123456789abcdef"[bytes[i] >> 4];
        text += "0123456789abcdef"[bytes[i] & 15];
    }
    return text;
}

// CRC-32/MPEG-2 one bit at a time, straight from its shift register.
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

#endif  // TESTS_UTIL_CHECKSUM_BYTES_H
