#include "util/checksum/Sha1Portable.h"

#include <cstring>
#include <utility>

#include "util/checksum/BigEndian.h"

namespace {
std::uint32_t RotateLeft(std::uint32_t value, int bits)
{
    return value << bits | value >> (32 - bits);
}

// The message schedule: word t of 80, kept in a ring of the last sixteen.
template <std::size_t t>
inline std::uint32_t ScheduleWord(std::uint32_t (&w)[16], const unsigned char* block)
{
    if constexpr (t < 16) {
        w[t] = LoadBigEndian32(block + 4 * t);
    } else {
        w[t % 16] = RotateLeft(w[(t - 3) % 16] ^ w[(t - 8) % 16] ^ w[(t - 14) % 16] ^ w[t % 16], 1);
    }
    return w[t % 16];
}

// The function and constant of round t added to e. Where a function is the sum of two terms that
// share no bit, they are added one by one, which shortens the chain of dependent operations.
template <std::size_t t>
inline std::uint32_t Mix(std::uint32_t e, std::uint32_t b, std::uint32_t c, std::uint32_t d)
{
    if constexpr (t < 20) {
        return e + 0x5A827999 + (d ^ (b & (c ^ d)));
    } else if constexpr (t < 40) {
        return e + 0x6ED9EBA1 + (b ^ c ^ d);
    } else if constexpr (t < 60) {
        return e + 0x8F1BBCDC + (c & d) + (b & (c ^ d));
    } else {
        return e + 0xCA62C1D6 + (b ^ c ^ d);
    }
}

// Round t. The five variables stay where they are and change their roles instead: a of round t is
// v[(80 - t) % 5].
template <std::size_t t>
inline void Round(std::uint32_t (&v)[5], std::uint32_t (&w)[16], const unsigned char* block)
{
    constexpr std::size_t a = (80 - t) % 5;
    std::uint32_t& b = v[(a + 1) % 5];
    std::uint32_t& e = v[(a + 4) % 5];
    e = Mix<t>(e + ScheduleWord<t>(w, block), b, v[(a + 2) % 5], v[(a + 3) % 5]) +
        RotateLeft(v[a], 5);
    b = RotateLeft(b, 30);
}

template <std::size_t... t>
inline void AllRounds(std::uint32_t (&v)[5], std::uint32_t (&w)[16], const unsigned char* block,
                      std::index_sequence<t...>)
{
    (Round<t>(v, w, block), ...);
}
}  // namespace

void Sha1BlocksPortable(std::uint32_t* state, const unsigned char* blocks, std::size_t count)
{
    std::uint32_t w[16];
    for (; count != 0; --count, blocks += 64) {
        std::uint32_t v[5] = {state[0], state[1], state[2], state[3], state[4]};
        AllRounds(v, w, blocks, std::make_index_sequence<80>());
        for (int i = 0; i < 5; ++i) {
            state[i] += v[i];
        }
    }
    explicit_bzero(w, sizeof(w));
}
