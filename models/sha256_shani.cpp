// SHA-256 compression with the x86 SHA extensions; built with -msha -msse4.1 and called only
// after the CPU has been checked for them.
#include <immintrin.h>

#include "models/sha256_blocks.h"

namespace velko::models {

// The SHA instructions keep the state as two halves, ABEF and CDGH; each sha256rnds2 runs two
// rounds, and sha256msg1/msg2 extend the message schedule four words at a time.
void sha256BlocksShaNi(uint32_t state[8], const unsigned char* data, size_t blockCount) {
  const __m128i byteSwap = _mm_set_epi64x(0x0c0d0e0f08090a0bULL, 0x0405060700010203ULL);
  const __m128i* roundConstants = reinterpret_cast<const __m128i*>(kSha256RoundConstants);

  __m128i abcd = _mm_loadu_si128(reinterpret_cast<const __m128i*>(state));
  __m128i efgh = _mm_loadu_si128(reinterpret_cast<const __m128i*>(state + 4));
  abcd = _mm_shuffle_epi32(abcd, 0xB1);              // B A D C
  efgh = _mm_shuffle_epi32(efgh, 0x1B);              // H G F E
  __m128i abef = _mm_alignr_epi8(abcd, efgh, 8);     // lanes F E B A
  __m128i cdgh = _mm_blend_epi16(efgh, abcd, 0xF0);  // lanes H G D C

  for (; blockCount > 0; --blockCount, data += 64) {
    const __m128i abefBefore = abef;
    const __m128i cdghBefore = cdgh;
    __m128i w[4];
    for (int i = 0; i < 4; ++i) {
      w[i] = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(data + 16 * i)),
                              byteSwap);
    }
#pragma GCC unroll 16
    for (int i = 0; i < 16; ++i) {
      // From the fifth group on, w[i % 4] holds W[t-16..t-13] and becomes W[t..t+3].
      if (i >= 4) {
        const __m128i w16 = w[i % 4], w12 = w[(i + 1) % 4], w8 = w[(i + 2) % 4],
                      w4 = w[(i + 3) % 4];
        const __m128i partial =
            _mm_add_epi32(_mm_sha256msg1_epu32(w16, w12), _mm_alignr_epi8(w4, w8, 4));
        w[i % 4] = _mm_sha256msg2_epu32(partial, w4);
      }
      __m128i k = _mm_add_epi32(w[i % 4], _mm_loadu_si128(roundConstants + i));
      cdgh = _mm_sha256rnds2_epu32(cdgh, abef, k);
      k = _mm_shuffle_epi32(k, 0x0E);
      abef = _mm_sha256rnds2_epu32(abef, cdgh, k);
    }
    abef = _mm_add_epi32(abef, abefBefore);
    cdgh = _mm_add_epi32(cdgh, cdghBefore);
  }

  const __m128i feba = _mm_shuffle_epi32(abef, 0x1B);  // lanes A B E F
  const __m128i dchg = _mm_shuffle_epi32(cdgh, 0xB1);  // lanes G H C D
  _mm_storeu_si128(reinterpret_cast<__m128i*>(state), _mm_blend_epi16(feba, dchg, 0xF0));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(state + 4), _mm_alignr_epi8(dchg, feba, 8));
}

}  // namespace velko::models
