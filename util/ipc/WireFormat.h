// Internal. The numbers and paddings of the wire: one place writes them and one reads them, and
// neither alignment nor the processor's byte order matters.
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

// Four bytes as a word, the first one lowest.
inline std::uint32_t LoadWord(const unsigned char* from)
{
    std::uint32_t word = 0;
    std::memcpy(&word, from, sizeof(word));
    return __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? word : __builtin_bswap32(word);
}

inline void StoreWord(unsigned char* to, std::uint32_t word)
{
    word = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? word : __builtin_bswap32(word);
    std::memcpy(to, &word, sizeof(word));
}

inline unsigned char* Store32(unsigned char* to, std::int32_t value)
{
    StoreWord(to, static_cast<std::uint32_t>(value));
    return to + 4;
}

inline std::int32_t Load32(const unsigned char* from)
{
    return static_cast<std::int32_t>(LoadWord(from));
}

// Copies a short multiple of 4 bytes, such as a padded name: a call of memcpy, or what compilers
// put in its place when they know the bound, takes longer than the copy.
inline void CopyWords(unsigned char* to, const char* from, std::size_t length)
{
    for (std::size_t at = 0; at < length; at += 4) {
        std::memcpy(to + at, from + at, 4);
    }
}

// The word of four bytes of a text that begin there, with zeros from its NUL on. Nothing behind the
// NUL is read.
inline std::uint32_t TextWord(const char* text)
{
    const auto byte = [text](int at) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(text[at])) << 8 * at;
    };
    if (text[0] == '\0') {
        return 0;
    }
    if (text[1] == '\0') {
        return byte(0);
    }
    if (text[2] == '\0') {
        return byte(0) | byte(1);
    }
    return byte(0) | byte(1) | byte(2) | byte(3);
}

// Where a word has NULs: the lowest bit set is the top one of the first NUL. 0 when it has none.
constexpr std::uint32_t NulsOf(std::uint32_t word)
{
    return (word - 0x01010101U) & ~word & 0x80808080U;
}

// The word with zeros from its first NUL on. REQUIRES: nuls, its NULs, are not 0.
constexpr std::uint32_t CutAtNul(std::uint32_t word, std::uint32_t nuls)
{
    return word & (nuls ^ (nuls - 1)) >> 8;
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
