// Public. The CRC of MPEG-2 transport stream sections (ISO/IEC 13818-1, annex A), catalogued as
// CRC-32/MPEG-2: polynomial 0x04C11DB7, most significant bit first, initial register 0xFFFFFFFF,
// no final inversion. It is not the CRC-32 of zip files. Safe from any thread; nothing allocates,
// locks or fails.
#ifndef UTIL_CHECKSUM_CRC32_H
#define UTIL_CHECKSUM_CRC32_H

#include <cstdint>

#include "util/Export.h"

// Entry i is the register i * 2^24 after eight shifts, for programs that run the CRC byte by byte:
//     register = (register << 8) ^ crc_table[(register >> 24) ^ byte]
// Read-only data, made by the compiler.
extern HTML5_VIDEO_API const std::uint32_t crc_table[256];

// The CRC of one buffer. Over a section with its last four bytes, which are the CRC of the bytes
// before them, it is 0.
class HTML5_VIDEO_API MCrc32
{
public:
    // Reads len bytes. A negative len or null data counts as an empty buffer, whose CRC is
    // 0xFFFFFFFF.
    MCrc32(const unsigned char* data, int len);

    std::uint32_t mCrc;  // the result
};

#endif  // UTIL_CHECKSUM_CRC32_H
