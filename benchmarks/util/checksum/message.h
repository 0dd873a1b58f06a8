// What the checksums are timed over: bytes without a pattern, the same in every run.
#ifndef BENCHMARKS_UTIL_CHECKSUM_MESSAGE_H
#define BENCHMARKS_UTIL_CHECKSUM_MESSAGE_H

#include <cstddef>
#include <random>
#include <vector>

inline std::vector<unsigned char> Message(std::size_t length)
{
    std::mt19937 random(1);
    std::vector<unsigned char> message(length);
    for (unsigned char& byte : message) {
        byte = static_cast<unsigned char>(random());
    }
    return message;
}

#endif  // BENCHMARKS_UTIL_CHECKSUM_MESSAGE_H
