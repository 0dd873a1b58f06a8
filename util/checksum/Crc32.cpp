#include "util/checksum/Crc32.h"

#include <cstddef>

#include "util/checksum/Crc32Portable.h"
#include "util/checksum/Crc32Register.h"
#include "util/checksum/Crc32X86.h"

#define ENTRY(i) ShiftCrc32(std::uint32_t{i} << 24, 8)
#define ENTRIES_4(i) ENTRY(i), ENTRY((i) + 1), ENTRY((i) + 2), ENTRY((i) + 3)
#define ENTRIES_16(i) ENTRIES_4(i), ENTRIES_4((i) + 4), ENTRIES_4((i) + 8), ENTRIES_4((i) + 12)
#define ENTRIES_64(i) \
    ENTRIES_16(i), ENTRIES_16((i) + 16), ENTRIES_16((i) + 32), ENTRIES_16((i) + 48)

// Only for others to read. The CRC has tables of its own: a program with a crc_table of another
// code, a common name, replaces this one and must not change the CRC by it.
constexpr std::uint32_t crc_table[256] = {ENTRIES_64(0), ENTRIES_64(64), ENTRIES_64(128),
                                          ENTRIES_64(192)};

namespace {
std::uint32_t Extend(std::uint32_t crc, const unsigned char* data, std::size_t length)
{
#if CHECKSUM_X86
    static const auto fastest = X86HasCarrylessMultiply() ? Crc32X86 : Crc32Portable;
    return fastest(crc, data, length);
#else
    return Crc32Portable(crc, data, length);
#endif
}

std::uint32_t crc32(const unsigned char* data, int len)
{
    const std::size_t length = data != nullptr && len > 0 ? static_cast<std::size_t>(len) : 0;
    return Extend(0xFFFFFFFF, data, length);
}
}  // namespace

MCrc32::MCrc32(const unsigned char* data, int len) : mCrc(crc32(data, len)) {}
