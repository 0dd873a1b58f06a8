// Internal. Crc32Portable with carry-less multiplication on x86-64, equal bit for bit.
#ifndef UTIL_CHECKSUM_CRC32X86_H
#define UTIL_CHECKSUM_CRC32X86_H

#include <cstddef>
#include <cstdint>

#include "util/checksum/X86.h"

#if CHECKSUM_X86
// REQUIRES: X86HasCarrylessMultiply().
std::uint32_t Crc32X86(std::uint32_t crc, const unsigned char* data, std::size_t length);
#endif

#endif  // UTIL_CHECKSUM_CRC32X86_H
