// Internal. CRC-32/MPEG-2 for any processor, by table. Safe from any thread.
#ifndef UTIL_CHECKSUM_CRC32PORTABLE_H
#define UTIL_CHECKSUM_CRC32PORTABLE_H

#include <cstddef>
#include <cstdint>

// The register after the length bytes, begun with the given register.
std::uint32_t Crc32Portable(std::uint32_t crc, const unsigned char* data, std::size_t length);

#endif  // UTIL_CHECKSUM_CRC32PORTABLE_H
