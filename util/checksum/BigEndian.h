// Internal. Numbers in memory, most significant byte first, at any alignment. Compilers make one
// load or store and one byte swap of each.
#ifndef UTIL_CHECKSUM_BIGENDIAN_H
#define UTIL_CHECKSUM_BIGENDIAN_H

#include <cstddef>
#include <cstdint>

inline std::uint32_t LoadBigEndian32(const unsigned char* bytes)
{
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 |
           std::uint32_t{bytes[2]} << 8 | std::uint32_t{bytes[3]};
}

inline void StoreBigEndian32(unsigned char* bytes, std::uint32_t value)
{
    bytes[0] = static_cast<unsigned char>(value >> 24);
    bytes[1] = static_cast<unsigned char>(value >> 16);
    bytes[2] = static_cast<unsigned char>(value >> 8);
    bytes[3] = static_cast<unsigned char>(value);
}

#endif  // UTIL_CHECKSUM_BIGENDIAN_H
