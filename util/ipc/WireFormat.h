// Internal. The numbers and paddings of the wire: one place writes them and one reads them, byte
// by byte, so neither alignment nor the processor's byte order matters.
#ifndef UTIL_IPC_WIREFORMAT_H
#define UTIL_IPC_WIREFORMAT_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace wire {
// The first four bytes of an encoded record, and of a request's payload.
constexpr unsigned char kStartCode[4] = {0x00, 0x00, 0x00, 0x48};
constexpr unsigned char kMethodCode[4] = {0x00, 0x00, 0x00, 0x47};
constexpr std::size_t kCodeSize = 4;

// Length words are signed 32-bit; no payload and no reply above this is accepted.
constexpr std::size_t kLengthSize = 4;
constexpr int kMaxLength = 2097152;

// A text's length with its NUL and zero padding: always at least one NUL, a multiple of 4.
constexpr std::size_t Pad4(std::size_t length)
{
    return (length / 4 + 1) * 4;
}

inline unsigned char* Store32(unsigned char* to, std::int32_t value)
{
    const auto bits = static_cast<std::uint32_t>(value);
    to[0] = static_cast<unsigned char>(bits);
    to[1] = static_cast<unsigned char>(bits >> 8);
    to[2] = static_cast<unsigned char>(bits >> 16);
    to[3] = static_cast<unsigned char>(bits >> 24);
    return to + 4;
}

inline std::int32_t Load32(const unsigned char* from)
{
    return static_cast<std::int32_t>(
        static_cast<std::uint32_t>(from[0]) | static_cast<std::uint32_t>(from[1]) << 8 |
        static_cast<std::uint32_t>(from[2]) << 16 | static_cast<std::uint32_t>(from[3]) << 24);
}

// Copies a short multiple of 4 bytes, such as a padded name: a call of memcpy, or what compilers
// put in its place when they know the bound, takes longer than the copy.
inline void CopyWords(unsigned char* to, const char* from, std::size_t length)
{
    for (std::size_t at = 0; at < length; at += 4) {
        std::memcpy(to + at, from + at, 4);
    }
}

// The text and its padding; returns the position behind them.
inline unsigned char* StoreText(unsigned char* to, const char* text, std::size_t length)
{
    unsigned char* const end = to + Pad4(length);
    std::memset(end - 4, 0, 4);
    std::memcpy(to, text, length);
    return end;
}

inline unsigned char* StoreCode(unsigned char* to, const unsigned char (&code)[kCodeSize])
{
    std::memcpy(to, code, kCodeSize);
    return to + kCodeSize;
}
}  // namespace wire

#endif  // UTIL_IPC_WIREFORMAT_H
