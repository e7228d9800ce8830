// The block formula of cbrt and 1/cbrt on two double lanes, for every normal x, shared by the
// cube-root kernels and Pow2o3.
#ifndef QOR_KERNELS_CBRT_BLOCK_H_
#define QOR_KERNELS_CBRT_BLOCK_H_

#include "kernels/root_common.h"

namespace tem {
namespace roots {

#include "kernels/root_tables.inc"

// (1 + r)^(1/3) - 1 and (1 + r)^(-1/3) - 1, binomial series to r^8, for |r| <= 1/65, with the
// coefficients a1..a8 summed in pairs (Estrin's scheme): four short chains in place of one of
// eight steps. Every term after the first is below 2^-7 of it, so the order of the sum does not
// matter to the result.
template <bool kReciprocal, class V>
inline V CbrtSeries(V r) {
  static constexpr double kRoot[8] = {1.0 / 3,        -1.0 / 9,        5.0 / 81,          -10.0 / 243,
                                      22.0 / 729,     -154.0 / 6561,   374.0 / 19683,     -935.0 / 59049};
  static constexpr double kInverse[8] = {-1.0 / 3,      2.0 / 9,          -14.0 / 81,        35.0 / 243,
                                         -91.0 / 729,   728.0 / 6561,     -1976.0 / 19683,   5434.0 / 59049};
  const double* a = kReciprocal ? kInverse : kRoot;
  const V r2 = r * r, r4 = r2 * r2;
  const V p12 = V(a[0]) + V(a[1]) * r, p34 = V(a[2]) + V(a[3]) * r;
  const V p56 = V(a[4]) + V(a[5]) * r, p78 = V(a[6]) + V(a[7]) * r;
  return ((p12 + p34 * r2) + (p56 + p78 * r2) * r4) * r;
}

// cbrt(x) (1 + 3 t) or 1/cbrt(x): t is a small relative term added to the series, for a root
// of a double-double argument. Lanes of zeros, subnormals, infinities and NaNs give garbage.
template <bool kReciprocal>
inline D CbrtBlock(D x, D t = D(-0.0)) {
  const __m128i image = x.Image();
  const __m128i magnitude = _mm_and_si128(image, _mm_set1_epi64x(0x7FFFFFFFFFFFFFFFll));
  const __m128i biased = _mm_srli_epi64(magnitude, 52);
  // q = floor(E / 3) for E below 8192; j = E - 3q.
  const __m128i q = _mm_srli_epi64(_mm_mul_epu32(biased, _mm_set1_epi64x(0x1556)), 14);
  const __m128i j = _mm_sub_epi64(biased, _mm_add_epi64(q, _mm_add_epi64(q, q)));
  const __m128i row = _mm_add_epi64(_mm_slli_epi64(j, 5),
                                    _mm_and_si128(_mm_srli_epi64(magnitude, 47), _mm_set1_epi64x(31)));
  int row0, row1;
  D::LowWords(row, row0, row1);
  D c, rc, hi, lo;
  D::GatherPairs(kCbrtCentres, row0 & 31, row1 & 31, c, rc);
  D::GatherPairs(kReciprocal ? kInvCbrtRows : kCbrtRows, row0, row1, hi, lo);
  const D m = D::FromImage(_mm_or_si128(_mm_and_si128(image, _mm_set1_epi64x(0x000FFFFFFFFFFFFFll)),
                                        _mm_set1_epi64x(0x3FF0000000000000ll)));
  const D r = (m - c) * rc;
  const D p = CbrtSeries<kReciprocal>(r) + t;
  const D y = hi + (hi * p + lo);
  // 2^(E - 1023) = 2^(3(q - 341) + j): q - 341 goes into the exponent field.
  const __m128i k = _mm_slli_epi64(_mm_sub_epi64(q, _mm_set1_epi64x(341)), 52);
  const __m128i scaled = kReciprocal ? _mm_sub_epi64(y.Image(), k) : _mm_add_epi64(y.Image(), k);
  const __m128i sign = _mm_andnot_si128(_mm_set1_epi64x(0x7FFFFFFFFFFFFFFFll), image);
  return D::FromImage(_mm_or_si128(scaled, sign));
}

}  // namespace roots
}  // namespace tem

#endif  // QOR_KERNELS_CBRT_BLOCK_H_
