// Pieces shared by the roots: the single-precision seed of the reciprocal square
// root and its correcting series, and the special values of the square roots, written once for
// float and double.
#ifndef QOR_KERNELS_ROOT_COMMON_H_
#define QOR_KERNELS_ROOT_COMMON_H_

#include <math.h>
#include <stdint.h>
#include <string.h>

#include "frame/kernel_frame.h"
#include "kernels/float_format.h"
#include "kernels/lane_ops.h"

namespace tem {
namespace roots {

using D = Vec<double>;
using F = Vec<float>;

// Clears the low 11 bits of a float: the seed keeps 13 significant bits.
inline constexpr uint32_t kSeedMask = 0xFFFFF800u;

// (1 - e)^(-1/2) - 1, fitted, by Horner's rule from the highest power down. e is below 2^-12,
// so that the order of the sum does not matter to the result, and the block's registers run
// their chains side by side.
inline constexpr Splat<double> kSeries1{0.49999999999997785}, kSeries2{0.37500000000001366},
    kSeries3{0.31250016501874495}, kSeries4{0.27343754675366555};
[[gnu::always_inline]] inline D InvSqrtSeries(D e) {
  return (((kSeries4() * e + kSeries3()) * e + kSeries2()) * e + kSeries1()) * e;
}

// 1/sqrt of four floats, rounded to 13 significant bits.
inline __m128 SeedInvSqrtFloat(__m128 f) {
  const __m128 y = _mm_div_ps(_mm_set1_ps(1.0f), _mm_sqrt_ps(f));
  return _mm_and_ps(y, _mm_castsi128_ps(_mm_set1_epi32(static_cast<int>(kSeedMask))));
}

// The estimates of kRegs registers of x in [2^-1022, 2^1022), widened; one float root and
// division serve two registers. The estimate's input is x's top 23 mantissa bits with the
// exponent 0 or -1 by the parity of x's exponent, so that it is normal for every x: bit 23 of
// the image shifted by 29 is the exponent's lowest bit, which makes the field 127 for an even
// unbiased exponent and 126 for an odd one.
template <int kRegs>
[[gnu::always_inline]] inline void SeedEstimates(const D (&x)[kRegs][1], D (&y0)[kRegs]) {
  const auto estimate = [](__m128 shifted) {
    const __m128i f = _mm_or_si128(_mm_and_si128(_mm_castps_si128(shifted), _mm_set1_epi32(0x00FFFFFF)),
                                   _mm_set1_epi32(0x3F000000));
    return SeedInvSqrtFloat(_mm_castsi128_ps(f));
  };
  const auto shifted = [&](int r) { return _mm_castsi128_ps(_mm_srli_epi64(x[r][0].Image(), 29)); };
#pragma GCC unroll 8
  for (int r = 0; r + 1 < kRegs; r += 2) {
    const __m128 y = estimate(_mm_shuffle_ps(shifted(r), shifted(r + 1), _MM_SHUFFLE(2, 0, 2, 0)));
    y0[r] = {_mm_cvtps_pd(y)};
    y0[r + 1] = {_mm_cvtps_pd(_mm_movehl_ps(y, y))};
  }
  if constexpr (kRegs % 2 == 1) {
    const __m128 last = shifted(kRegs - 1);
    y0[kRegs - 1] = {_mm_cvtps_pd(estimate(_mm_shuffle_ps(last, last, _MM_SHUFFLE(2, 0, 2, 0))))};
  }
}

// For x in [2^-1022, 2^1022) and its widened estimate y0: u = y0 2^-k, a power-of-two multiple
// of y0 close to 1/sqrt(x); the exact products of u with x's top 26 bits xh and the rest xl;
// and e = 1 - u^2 x from them, also exact (u has 13 bits).
struct SqrtSeed {
  D u, uxh, uxl, e;
  [[gnu::always_inline]] SqrtSeed(D x, D y0) {
    // x = f * 2^(2k) with k = (E - 1022) >> 1 = (E >> 1) - 511; u = y0 * 2^-k is made by
    // adding -k to y0's exponent field: E >> 1 in place is a shift and a mask.
    const __m128i half = _mm_and_si128(_mm_srli_epi64(x.Image(), 1), _mm_set1_epi64x(0x7FF0000000000000ll));
    u = D::FromImage(_mm_sub_epi64(_mm_add_epi64(y0.Image(), _mm_set1_epi64x(511ll << 52)), half));
    const D xh = x & D::FromBits(kSplitMask);
    uxh = u * xh;
    uxl = u * (x - xh);
    e = (kOne() - uxh * u) - uxl * u;
  }
};

// A root block of kRegs registers: Block(x, y0) per register after the shared estimates.
template <D (*Block)(D, D), int kRegs>
[[gnu::always_inline]] inline void RootBlock(const D (&x)[kRegs][1], D (&y)[kRegs][1]) {
  D y0[kRegs];
  SeedEstimates(x, y0);
#pragma GCC unroll 8
  for (int r = 0; r < kRegs; ++r) y[r][0] = Block(x[r][0], y0[r]);
}

// Lanes whose high word plus 0x7FF00000 exceeds 0xFFBFFFFF as signed: outside
// [2^-1022, 2^1022), which takes zeros, subnormals, negatives, the top binade, infinities, NaNs.
inline int FlagOutsideSeedRange(D x) {
  const __m128i biased = _mm_add_epi32(x.Image(), _mm_set1_epi64x(0x7FF0000000000000ll));
  const __m128i above = _mm_cmpgt_epi32(biased, _mm_set1_epi64x(static_cast<long long>(0xFFBFFFFFull << 32)));
  return _mm_movemask_pd(_mm_castsi128_pd(above));
}

// Lanes of a float register that are zero, negative, infinite or NaN: images outside
// [1, 0x7F800000) as unsigned.
inline int FlagFloatNotPositiveFinite(F x) {
  return _mm_movemask_ps(_mm_castsi128_ps(Outside<1, 0x7F800000>(x.Image())));
}

// Square root of the values that need no formula: NaN quieted, +-0 and +inf themselves, a
// negative number NaN with a domain error. Returns -1 for a positive finite x.
template <class T>
inline int SqrtSpecial(T x, T* r) {
  if (isnan(x)) return *r = x + x, TEM_STATUS_OK;
  if (x == T(0) || x == T(INFINITY)) return *r = x, TEM_STATUS_OK;
  if (x < T(0)) return *r = T(NAN), TEM_STATUS_ERRDOM;
  return -1;
}

// Reciprocal square root of the same values: +-0 give +-inf (singularity), +inf gives +0.
template <class T>
inline int InvSqrtSpecial(T x, T* r) {
  if (isnan(x)) return *r = x + x, TEM_STATUS_OK;
  if (x == T(0)) return *r = copysign(T(INFINITY), x), TEM_STATUS_SING;
  if (x < T(0)) return *r = T(NAN), TEM_STATUS_ERRDOM;
  if (x == T(INFINITY)) return *r = T(0), TEM_STATUS_OK;
  return -1;
}

// A double moved into the seed's range by an even power of two 2^(2k): the result of a root
// of order -1/2 or 1/2 is scaled back by 2^(-k) or 2^k.
struct EvenScaled {
  double x;
  int k;
  explicit EvenScaled(double v) : x(v), k(0) {
    if (v < 0x1p-1022) {
      x = v * 0x1p108;
      k = -54;
    } else if (v >= 0x1p1022) {
      x = v * 0x1p-2;
      k = 1;
    }
  }
};

}  // namespace roots
}  // namespace tem

#endif  // QOR_KERNELS_ROOT_COMMON_H_
