// The Mersenne twister shared by MT19937 and MT2203: seeding by a key array, the block twist
// in SSE2 stretches, tempering, and the three output forms. A generator supplies its sizes,
// masks and twist constant through a traits struct:
//   kN, kM, kUpper, kTemperShift     sizes, the upper mask of the twist, the first shift;
//   State                            its record, with mt[kN] and position;
//   Parameters(const State&)         the twist constant and the two tempering masks.
#ifndef QOR_GENERATORS_MERSENNE_TWISTER_H_
#define QOR_GENERATORS_MERSENNE_TWISTER_H_

#include <emmintrin.h>
#include <stdint.h>

#include "qor/rof.h"

namespace rof::twister {

struct Parameters {
  uint32_t matrix_a, mask_b, mask_c;
};

// 2^-32 (2.3283064365386963e-10).
constexpr double kScale = 0x1p-32;

// mt[0] = 19650218 and its successors, then the key mixed in max(N, len) times, a second pass
// of N - 1, and the top bit of mt[0] set. A count of 0 or less is the key (1).
template <int kN>
void Seed(uint32_t* mt, int n, const uint32_t* key_words) {
  static const uint32_t kDefaultKey[1] = {1};
  const uint32_t* key = n > 0 ? key_words : kDefaultKey;
  const int len = n > 0 ? n : 1;
  mt[0] = 19650218u;
  for (int i = 1; i < kN; ++i)
    mt[i] = 1812433253u * (mt[i - 1] ^ (mt[i - 1] >> 30)) + static_cast<uint32_t>(i);
  int i = 1, j = 0;
  for (int k = kN > len ? kN : len; k > 0; --k) {
    mt[i] =
        (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> 30)) * 1664525u)) + key[j] + static_cast<uint32_t>(j);
    if (++i >= kN) {
      mt[0] = mt[kN - 1];
      i = 1;
    }
    if (++j >= len) j = 0;
  }
  for (int k = kN - 1; k > 0; --k) {
    mt[i] = (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> 30)) * 1566083941u)) - static_cast<uint32_t>(i);
    if (++i >= kN) {
      mt[0] = mt[kN - 1];
      i = 1;
    }
  }
  mt[0] = 0x80000000u;
}

// One word of the twist, in place: mt[i] from mt[i], mt[i + 1] and mt[i + M], mod N.
template <class T>
inline uint32_t TwistWord(const uint32_t* mt, int i, uint32_t a) {
  constexpr int kN = T::kN;
  const uint32_t next = mt[i + 1 < kN ? i + 1 : 0];
  const uint32_t y = (mt[i] & T::kUpper) | (next & ~T::kUpper);
  return mt[(i + T::kM) % kN] ^ (y >> 1) ^ ((next & 1) ? a : 0u);
}

// Four words of the twist at i; mt[i + 1 .. i + 4] are loaded before the store.
template <class T>
inline void TwistFour(uint32_t* mt, int i, int far, __m128i a) {
  const __m128i upper = _mm_set1_epi32(static_cast<int>(T::kUpper));
  const __m128i cur = _mm_loadu_si128(reinterpret_cast<const __m128i*>(mt + i));
  const __m128i next = _mm_loadu_si128(reinterpret_cast<const __m128i*>(mt + i + 1));
  const __m128i y = _mm_or_si128(_mm_and_si128(cur, upper), _mm_andnot_si128(upper, next));
  // Bit 0 of next shifted into the sign and spread: all ones for an odd word.
  const __m128i odd = _mm_srai_epi32(_mm_slli_epi32(next, 31), 31);
  const __m128i r =
      _mm_xor_si128(_mm_xor_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(mt + far)),
                                  _mm_srli_epi32(y, 1)),
                    _mm_and_si128(odd, a));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(mt + i), r);
}

// The whole block in ascending order, as the word-by-word twist does it: words 0 to N - M - 1
// read mt[i + M] before it changes, the rest read the new mt[i + M - N]; a vector of four
// stays within one stretch and never reads a word that it writes.
template <class T>
void Twist(uint32_t* mt, uint32_t a) {
  constexpr int kN = T::kN, kM = T::kM;
  static_assert(kM + 3 < kN, "the second stretch reads words already twisted");
  const __m128i va = _mm_set1_epi32(static_cast<int>(a));
  int i = 0;
  for (; i + 4 <= kN - kM; i += 4) TwistFour<T>(mt, i, i + kM, va);
  for (; i < kN - kM; ++i) mt[i] = TwistWord<T>(mt, i, a);
  for (; i + 4 <= kN - 1; i += 4) TwistFour<T>(mt, i, i + kM - kN, va);
  for (; i < kN; ++i) mt[i] = TwistWord<T>(mt, i, a);
}

inline uint32_t Temper(uint32_t y, int shift, const Parameters& p) {
  y ^= y >> shift;
  y ^= (y << 7) & p.mask_b;
  y ^= (y << 15) & p.mask_c;
  return y ^ (y >> 18);
}

template <int kShift>
void TemperRun(const uint32_t* mt, int count, uint32_t* out, const Parameters& p) {
  const __m128i b = _mm_set1_epi32(static_cast<int>(p.mask_b));
  const __m128i c = _mm_set1_epi32(static_cast<int>(p.mask_c));
  int i = 0;
  for (; i + 4 <= count; i += 4) {
    __m128i y = _mm_loadu_si128(reinterpret_cast<const __m128i*>(mt + i));
    y = _mm_xor_si128(y, _mm_srli_epi32(y, kShift));
    y = _mm_xor_si128(y, _mm_and_si128(_mm_slli_epi32(y, 7), b));
    y = _mm_xor_si128(y, _mm_and_si128(_mm_slli_epi32(y, 15), c));
    y = _mm_xor_si128(y, _mm_srli_epi32(y, 18));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), y);
  }
  for (; i < count; ++i) out[i] = Temper(mt[i], kShift, p);
}

// n tempered words from `position` on; the block is twisted when its last word has gone and
// another is asked for, so a call may end with position N and the block untouched.
template <class T>
void Draw(typename T::State* s, int n, uint32_t* out) {
  constexpr int kN = T::kN;
  const Parameters p = T::Parameters(*s);
  int position = s->position;
  for (int done = 0; done < n;) {
    if (position >= kN) {
      Twist<T>(s->mt, p.matrix_a);
      position = 0;
    }
    const int take = kN - position < n - done ? kN - position : n - done;
    TemperRun<T::kTemperShift>(s->mt + position, take, out + done, p);
    position += take;
    done += take;
  }
  s->position = position;
}

// Words to the interval: y * k + a with y unsigned, as (int)(y ^ 2^31) + 2^31 exactly.
inline void WordsToDoubles(const uint32_t* y, int n, double k, double a, double* r) {
  const __m128i bias = _mm_set1_epi32(static_cast<int>(0x80000000u));
  const __m128d half = _mm_set1_pd(2147483648.0), kk = _mm_set1_pd(k), aa = _mm_set1_pd(a);
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    const __m128i w = _mm_xor_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(y + i)), bias);
    const __m128d lo = _mm_add_pd(_mm_cvtepi32_pd(w), half);
    const __m128d hi = _mm_add_pd(_mm_cvtepi32_pd(_mm_unpackhi_epi64(w, w)), half);
    _mm_storeu_pd(r + i, _mm_add_pd(_mm_mul_pd(lo, kk), aa));
    _mm_storeu_pd(r + i + 2, _mm_add_pd(_mm_mul_pd(hi, kk), aa));
  }
  for (; i < n; ++i) r[i] = static_cast<double>(y[i]) * k + a;
}

// The double formula rounded to float.
inline void WordsToFloats(const uint32_t* y, int n, double k, double a, float* r) {
  constexpr int kBlock = 64;
  double d[kBlock];
  for (int i = 0; i < n; i += kBlock) {
    const int m = n - i < kBlock ? n - i : kBlock;
    WordsToDoubles(y + i, m, k, a, d);
    int j = 0;
    for (; j + 4 <= m; j += 4)
      _mm_storeu_ps(r + i + j, _mm_movelh_ps(_mm_cvtpd_ps(_mm_loadu_pd(d + j)),
                                             _mm_cvtpd_ps(_mm_loadu_pd(d + j + 2))));
    for (; j < m; ++j) r[i + j] = static_cast<float>(d[j]);
  }
}

// The real forms draw words in blocks on the stack and map them.
template <class T, class Out, class Map>
void DrawMapped(typename T::State* s, int n, Out* r, Map map) {
  constexpr int kBlock = 512;
  alignas(16) uint32_t words[kBlock];
  for (int i = 0; i < n; i += kBlock) {
    const int m = n - i < kBlock ? n - i : kBlock;
    Draw<T>(s, m, words);
    map(words, m, r + i);
  }
}

template <class T>
int Integers(void* stream, int n, void* r) {
  Draw<T>(static_cast<typename T::State*>(stream), n, static_cast<uint32_t*>(r));
  return ROF_STATUS_OK;
}

template <class T>
int Doubles(void* stream, int n, double r[], double a, double b) {
  const double k = (b - a) * kScale;
  DrawMapped<T>(static_cast<typename T::State*>(stream), n, r,
                [&](const uint32_t* y, int m, double* out) { WordsToDoubles(y, m, k, a, out); });
  return ROF_STATUS_OK;
}

// `width` is b - a as the generator forms it: in double for MT19937, in float for MT2203.
template <class T>
int Singles(void* stream, int n, float r[], double width, double a) {
  const double k = width * kScale;
  DrawMapped<T>(static_cast<typename T::State*>(stream), n, r,
                [&](const uint32_t* y, int m, float* out) { WordsToFloats(y, m, k, a, out); });
  return ROF_STATUS_OK;
}

}  // namespace rof::twister

#endif  // QOR_GENERATORS_MERSENNE_TWISTER_H_
