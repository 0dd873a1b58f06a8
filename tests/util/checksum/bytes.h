// Messages for the tests of checksums.
#ifndef TESTS_UTIL_CHECKSUM_BYTES_H
#define TESTS_UTIL_CHECKSUM_BYTES_H

#include <cstddef>
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
}  // namespace test

#endif  // TESTS_UTIL_CHECKSUM_BYTES_H
