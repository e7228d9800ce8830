// The formula of x^y for positive normal x, on two double lanes: log2 x in double-double from a
// 257-row reciprocal table and a series, the product with y in double-double, and 2^z from the
// 128-row table of the exponential family. Shared by Pow, Powr and Powx, block and companion.
#ifndef QOR_KERNELS_POW_BLOCK_H_
#define QOR_KERNELS_POW_BLOCK_H_

#include "kernels/exp_common.h"

namespace tem {
namespace power {

#include "kernels/pow_tables.inc"

using D = Vec<double>;
using expo::kExp128;

// Masks keeping 26 and 18 significant bits.
inline constexpr uint64_t kHead26 = 0xFFFFFFFFF8000000ull;
inline constexpr uint64_t kHead18 = 0xFFFFFFF800000000ull;
// 1.5 * 2^45: added to z, it leaves round(128 z) in the low word.
inline constexpr double kShifter = 52776558133248.0;

// a + b = s + e exactly.
[[gnu::always_inline]] inline void TwoSum(D a, D b, D& s, D& e) {
  s = a + b;
  const D bb = s - a;
  e = (a - (s - bb)) + (b - bb);
}

// The high word of 2^960: from there on the split of a factor by 2^27 + 1 may overflow.
inline constexpr int kSplitLimitHigh = 0x7BF00000;

// a * b = p + e exactly (Dekker), for factors below 2^960 and products far from overflow.
[[gnu::always_inline]] inline void TwoProduct(D a, D b, D& p, D& e) {
  const D split(134217729.0);
  const D ta = split * a, tb = split * b;
  const D ah = ta - (ta - a), bh = tb - (tb - b);
  const D al = a - ah, bl = b - bh;
  p = a * b;
  e = ((ah * bh - p) + ah * bl + al * bh) + al * bl;
}

// The unbiased exponent of a positive normal x as a double, less `extra`.
[[gnu::always_inline]] inline D Exponent(D x, D extra) {
  const __m128i biased = _mm_srli_epi64(x.Image(), 52);
  const D e = {_mm_cvtepi32_pd(_mm_shuffle_epi32(biased, _MM_SHUFFLE(3, 3, 2, 0)))};
  return e - D(1023.0) - extra;
}

// x's mantissa in [1, 2).
[[gnu::always_inline]] inline D Mantissa(D x) {
  return D::FromImage(_mm_or_si128(_mm_and_si128(x.Image(), _mm_set1_epi64x(0x000FFFFFFFFFFFFFll)),
                                   _mm_set1_epi64x(0x3FF0000000000000ll)));
}

// log2(2^-extra x) = hi + lo for positive normal x, to about 2^-66 relative. x = 2^k m, row
// i = round(256 (m - 1)), r = m rc - 1 = r1 + r2 with both parts exact (m split in 26 + 27
// bits, rc of 16 bits), |r| < 2^-8.9; log2(1 + r) = r/ln2 - r^2/(2 ln 2) + r^3 (...), the first
// two terms in double-double.
[[gnu::always_inline]] inline void Log2(D x, D extra, D& hi, D& lo) {
  const __m128i row = _mm_srli_epi64(
      _mm_add_epi64(_mm_and_si128(x.Image(), _mm_set1_epi64x(0x000FFFFFFFFFFFFFll)),
                    _mm_set1_epi64x(1ll << 43)),
      44);
  int i0, i1;
  D::LowWords(row, i0, i1);
  const auto pairs = reinterpret_cast<const double(*)[2]>(kPowLog2);
  D rc, unused, t_hi, t_lo;
  D::GatherPairs(pairs, 2 * i0, 2 * i1, rc, unused);
  D::GatherPairs(pairs, 2 * i0 + 1, 2 * i1 + 1, t_hi, t_lo);
  const D m = Mantissa(x);
  const D mh = m & D::FromBits(kHead26);
  const D r1 = mh * rc - D(1.0);
  const D r2 = (m - mh) * rc;
  const D u = r1 + r2;
  // r / ln2: r1 has at most 33 bits, so r1 * kInvLn2Head is exact.
  const D t1 = r1 * D(kInvLn2Head);
  const D t1_lo = r2 * D(kInvLn2Head) + u * D(kInvLn2Rest);
  // -r^2 / (2 ln 2): r^2 = r1h^2 + (r1l (r1h + r1) + r2 (r1 + u)), r1h^2 exact in 36 bits.
  const D r1h = r1 & D::FromBits(kHead18);
  const D r1l = r1 - r1h;
  const D square = r1h * r1h;
  const D square_rest = r1l * (r1h + r1) + r2 * (r1 + u);
  const D t2 = D(0.0) - D(kHalfInvLn2Head) * square;
  const D t2_lo = D(0.0) - (D(kHalfInvLn2Rest) * square + D(kHalfInvLn2) * square_rest);
  const D tail = u * u * u *
                 ((((D(kLog2Series[4]) * u + D(kLog2Series[3])) * u + D(kLog2Series[2])) * u +
                   D(kLog2Series[1])) * u + D(kLog2Series[0]));
  // k + t_hi is exact: t_hi lies on the grid of 2^-42.
  const D base = Exponent(x, extra) + t_hi;
  D s1, e1, s2, e2;
  TwoSum(base, t1, s1, e1);
  TwoSum(s1, t2, s2, e2);
  const D rest = ((e1 + e2) + ((t_lo + t1_lo) + t2_lo)) + tail;
  hi = s2 + rest;
  lo = rest - (hi - s2);
}

// y * (hi + lo) = zh + zl.
[[gnu::always_inline]] inline void Times(D y, D hi, D lo, D& zh, D& zl) {
  D e;
  TwoProduct(y, hi, zh, e);
  zl = e + y * lo;
}

// 2^(zh + zl) = v 2^(n >> 7), v in [1, 2), n = round(128 zh) in the low word of `n_image`;
// valid for |zh| < 2^44.
[[gnu::always_inline]] inline D Exp2(D zh, D zl, __m128i& n_image) {
  const D t = zh + D(kShifter);
  const D g = (zh - (t - D(kShifter))) + zl;
  n_image = t.Image();
  int i0, i1;
  D::LowWords(n_image, i0, i1);
  D hi, lo;
  D::GatherPairs(kExp128, i0 & 127, i1 & 127, hi, lo);
  const D p = ((((D(kExp2Series[4]) * g + D(kExp2Series[3])) * g + D(kExp2Series[2])) * g +
                D(kExp2Series[1])) * g + D(kExp2Series[0])) * g;
  return hi + (hi * p + lo);
}

// x^y for positive normal x and |y log2 x| below 1022: the result is normal.
[[gnu::always_inline]] inline D PowBlock(D x, D y) {
  D hi, lo, zh, zl;
  Log2(x, D(0.0), hi, lo);
  Times(y, hi, lo, zh, zl);
  __m128i n;
  const D v = Exp2(zh, zl, n);
  return v.AddToExponent<7>(n);
}

// x^y for the float members, in plain double: positive normal x and |y log2 x| below 126.
// log2 x = k + t + log2(1 + r) from the same rows, the series to r^5 (|r| < 2^-8.9); r is
// exact where log2 x is small (rows 0 and 256), and the rest is off by about 2^-52 absolute,
// so that z = y log2 x is off by about 2^-36 and the result, rounded once to float, by far
// less than a float ulp.
[[gnu::always_inline]] inline D PowBlockSingle(D x, D y) {
  const __m128i row = _mm_srli_epi64(
      _mm_add_epi64(_mm_and_si128(x.Image(), _mm_set1_epi64x(0x000FFFFFFFFFFFFFll)),
                    _mm_set1_epi64x(1ll << 43)),
      44);
  int i0, i1;
  D::LowWords(row, i0, i1);
  const auto pairs = reinterpret_cast<const double(*)[2]>(kPowLog2);
  D rc, unused, t_hi, t_lo;
  D::GatherPairs(pairs, 2 * i0, 2 * i1, rc, unused);
  D::GatherPairs(pairs, 2 * i0 + 1, 2 * i1 + 1, t_hi, t_lo);
  const D r = Mantissa(x) * rc - D(1.0);
  const D high = (D(kLog2Series[2]) * r + D(kLog2Series[1])) * r + D(kLog2Series[0]);
  const D series = r * (D(kInvLn2Head + kInvLn2Rest) + r * (D(-kHalfInvLn2) + r * high));
  const D z = y * ((Exponent(x, D(0.0)) + t_hi) + series);
  __m128i n;
  const D v = Exp2(z, D(0.0), n);
  return v.AddToExponent<7>(n);
}

// Lanes that the block formula cannot take: x not positive normal, y zero, subnormal, infinite,
// NaN or too large to split, or |y log2 x| possibly `limit` or more, by the bound |log2 x| <= |k + c (m - 1)| with
// c = 1/ln 2 for k >= 0 and c = 1 for k < 0.
inline int FlagPow(D x, D y, double limit) {
  const __m128i x_high = _mm_shuffle_epi32(x.Image(), _MM_SHUFFLE(3, 3, 1, 1));
  const __m128i x_out = _mm_cmpgt_epi32(_mm_add_epi32(x_high, _mm_set1_epi32(0x7FF00000)),
                                        _mm_set1_epi32(-0x200001));
  const __m128i y_high = _mm_and_si128(_mm_shuffle_epi32(y.Image(), _MM_SHUFFLE(3, 3, 1, 1)),
                                       _mm_set1_epi32(0x7FFFFFFF));
  const __m128i y_out = _mm_or_si128(
      _mm_cmpgt_epi32(_mm_add_epi32(y_high, _mm_set1_epi32(0x7FF00000)), _mm_set1_epi32(-0x200001)),
      _mm_cmpgt_epi32(y_high, _mm_set1_epi32(kSplitLimitHigh)));
  const D k = Exponent(x, D(0.0));
  const D c = D::Select(D::Less(k, D(0.0)), D(1.0), D(1.4426950408889634));
  const D bound = (k + c * (Mantissa(x) - D(1.0))) * y;
  const D abs_bound = bound & D::FromBits(0x7FFFFFFFFFFFFFFFull);
  // NaN bounds (garbage lanes) are caught by the integer tests.
  const D too_big = {_mm_cmpge_pd(abs_bound.raw, _mm_set1_pd(limit))};
  const __m128i any = _mm_or_si128(_mm_or_si128(x_out, y_out), too_big.Image());
  return _mm_movemask_pd(_mm_castsi128_pd(any));
}

}  // namespace power
}  // namespace tem

#endif  // QOR_KERNELS_POW_BLOCK_H_
