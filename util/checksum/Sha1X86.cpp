#include "util/checksum/Sha1X86.h"

#if CHECKSUM_X86
#include <immintrin.h>

#include <utility>

#define TARGET __attribute__((target("sha,ssse3,sse4.1")))
#define TARGET_INLINE __attribute__((target("sha,ssse3,sse4.1"), always_inline)) inline

namespace {
// The variables of the rounds: a in the highest lane of abcd, and the abcd of four rounds ago,
// whose a is what e comes from.
struct Variables
{
    __m128i abcd;
    __m128i earlier;
};

// Words 4g to 4g+3 of the message schedule, the earliest in the highest lane; w is a ring of the
// last sixteen words.
template <std::size_t g>
TARGET_INLINE __m128i ScheduleWords(__m128i (&w)[4], const unsigned char* block)
{
    if constexpr (g < 4) {
        const __m128i reversed = _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
        w[g] = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(block + 16 * g)),
                                reversed);
    } else {
        const __m128i sum =
            _mm_xor_si128(_mm_sha1msg1_epu32(w[g % 4], w[(g + 1) % 4]), w[(g + 2) % 4]);
        w[g % 4] = _mm_sha1msg2_epu32(sum, w[(g + 3) % 4]);
    }
    return w[g % 4];
}

// Rounds 4g to 4g+3. In the first four e is its own lane, later the rotated a of four rounds ago.
template <std::size_t g>
TARGET_INLINE void FourRounds(Variables& v, __m128i (&w)[4], const unsigned char* block)
{
    const __m128i words = ScheduleWords<g>(w, block);
    const __m128i e =
        g == 0 ? _mm_add_epi32(v.earlier, words) : _mm_sha1nexte_epu32(v.earlier, words);
    v.earlier = v.abcd;
    v.abcd = _mm_sha1rnds4_epu32(v.abcd, e, int{g / 5});
}

template <std::size_t... g>
TARGET_INLINE void AllRounds(Variables& v, __m128i (&w)[4], const unsigned char* block,
                             std::index_sequence<g...>)
{
    (FourRounds<g>(v, w, block), ...);
}
}  // namespace

TARGET void Sha1BlocksX86(std::uint32_t* state, const unsigned char* blocks, std::size_t count)
{
    const int reversed = 0x1B;
    __m128i* const stateVector = reinterpret_cast<__m128i*>(state);
    __m128i abcd = _mm_shuffle_epi32(_mm_loadu_si128(stateVector), reversed);
    __m128i e = _mm_set_epi32(static_cast<int>(state[4]), 0, 0, 0);
    for (; count != 0; --count, blocks += 64) {
        Variables v = {abcd, e};
        __m128i w[4];
        AllRounds(v, w, blocks, std::make_index_sequence<20>());
        abcd = _mm_add_epi32(abcd, v.abcd);
        e = _mm_sha1nexte_epu32(v.earlier, e);
    }
    _mm_storeu_si128(stateVector, _mm_shuffle_epi32(abcd, reversed));
    state[4] = static_cast<std::uint32_t>(_mm_extract_epi32(e, 3));
}
#endif
