// The block formula of x^y for positive normal x, on double lanes: log2 x in double-double from
// a 257-row reciprocal table and a series, the product with y in double-double, and 2^z from
// the 128-row table of the exponential family. Shared by Pow, Powr and Powx.
#ifndef QOR_KERNELS_POW_BLOCK_H_
#define QOR_KERNELS_POW_BLOCK_H_

#include "kernels/estrin.h"
#include "kernels/exp_common.h"
#include "kernels/float_format.h"

namespace tem {
namespace power {

#include "kernels/pow_tables.inc"

using D = Vec<double>;
using S = Splat<double>;
using expo::kExp128;

// A mask keeping 18 significant bits.
inline constexpr uint64_t kHead18 = 0xFFFFFFF800000000ull;
// 1.5 * 2^45: added to z, it leaves round(128 z) in the low word.
inline constexpr double kShifter = 52776558133248.0;

// The block's constants, each loaded whole.
namespace lanes {
inline constexpr S kHead26Mask{__builtin_bit_cast(double, kSplitMask)},
    kHead18Mask{__builtin_bit_cast(double, kHead18)}, kInvLn2H{kInvLn2Head},
    kInvLn2R{kInvLn2Rest}, kInvLn2{kInvLn2Head + kInvLn2Rest}, kMinusHalfH{-kHalfInvLn2Head},
    kMinusHalfR{-kHalfInvLn2Rest}, kHalf{kHalfInvLn2}, kMinusHalf{-kHalfInvLn2},
    kShift{kShifter}, kBias{1023.0};
inline constexpr S kLog2S[5] = {S{kLog2Series[0]}, S{kLog2Series[1]}, S{kLog2Series[2]},
                                S{kLog2Series[3]}, S{kLog2Series[4]}};
inline constexpr S kExp2S[5] = {S{kExp2Series[0]}, S{kExp2Series[1]}, S{kExp2Series[2]},
                                S{kExp2Series[3]}, S{kExp2Series[4]}};
}  // namespace lanes

// a + b = s + e exactly, for |a| >= |b| or a = 0 (Fast2Sum).
[[gnu::always_inline]] inline void FastTwoSum(D a, D b, D& s, D& e) {
  s = a + b;
  e = b - (s - a);
}

// a * b = p + e to 2^-105 of p, for products far from overflow and underflow: each factor is
// cut into its top 26 bits and an exact rest of at most 27, so that all partial products but
// the last are exact, and the last (2^-52 of p at most) rounds by 2^-53 of itself.
[[gnu::always_inline]] inline void TwoProduct(D a, D b, D& p, D& e) {
  static constexpr S head{__builtin_bit_cast(double, kSplitMask)};
  const D ah = a & head(), bh = b & head();
  const D al = a - ah, bl = b - bh;
  p = a * b;
  e = ((ah * bh - p) + ah * bl + al * bh) + al * bl;
}

// The unbiased exponent of a positive normal x as a double.
[[gnu::always_inline]] inline D Exponent(D x) {
  const __m128i biased = _mm_srli_epi64(x.Image(), 52);
  const D e = {_mm_cvtepi32_pd(_mm_shuffle_epi32(biased, _MM_SHUFFLE(3, 3, 2, 0)))};
  return e - lanes::kBias();
}

// x's mantissa in [1, 2).
[[gnu::always_inline]] inline D Mantissa(D x) {
  return D::FromImage(_mm_or_si128(_mm_and_si128(x.Image(), _mm_set1_epi64x(0x000FFFFFFFFFFFFFll)),
                                   _mm_set1_epi64x(0x3FF0000000000000ll)));
}

// The row of the logarithm table for positive normal x: i = round(256 (m - 1)), rc its
// reciprocal and t = t_hi + t_lo = -log2(rc).
struct LogRow {
  D rc, t_hi, t_lo;
};
[[gnu::always_inline]] inline LogRow ReadLogRow(D x) {
  const __m128i row = _mm_srli_epi64(
      _mm_add_epi64(_mm_and_si128(x.Image(), _mm_set1_epi64x(0x000FFFFFFFFFFFFFll)),
                    _mm_set1_epi64x(1ll << 43)),
      44);
  int i0, i1;
  D::LowWords(row, i0, i1);
  const auto pairs = reinterpret_cast<const double(*)[2]>(kPowLog2);
  LogRow r;
  D unused;
  D::GatherPairs(pairs, 2 * i0, 2 * i1, r.rc, unused);
  D::GatherPairs(pairs, 2 * i0 + 1, 2 * i1 + 1, r.t_hi, r.t_lo);
  return r;
}

// A series of five coefficients on |v| <= 2^-8.
[[gnu::always_inline]] inline D Series5(D v, D v2, const S (&c)[5]) {
  return Estrin5(v, v2, c[0](), c[1](), c[2](), c[3](), c[4]());
}

// log2 x = hi + lo for positive normal x, to about 2^-66 relative, from x's row. x = 2^k m,
// r = m rc - 1 = (mh rc - 1) + (m - mh) rc with both parts exact (m split in 26 + 27 bits, rc
// of 16 bits), |r| < 2^-8.9; log2(1 + r) = r/ln2 - r^2/(2 ln 2) + r^3 (...), the first two
// terms in double-double. Those parts may cancel to a far smaller r near x = 1, so r is split
// again into r1, the head of u = r rounded, and r2, the rest: near 1 (rc = 1 or 1/2) u is r
// exactly, and elsewhere the rounding of r2 is far below the ulp of log2 x.
[[gnu::always_inline]] inline void Log2(D x, const LogRow& row, D& hi, D& lo) {
  using namespace lanes;
  const D m = Mantissa(x);
  const D mh = m & kHead26Mask();
  const D head = mh * row.rc - kOne(), low = (m - mh) * row.rc;
  const D u = head + low, u2 = u * u;
  const D r1 = u & kHead26Mask();
  const D r2 = (head - r1) + low;
  // r / ln2: r1 has 26 bits, so r1 * kInvLn2Head is exact.
  const D t1 = r1 * kInvLn2H();
  const D t1_lo = r2 * kInvLn2H() + u * kInvLn2R();
  // -r^2 / (2 ln 2): r^2 = r1h^2 + (r1l (r1h + r1) + r2 (r1 + u)), r1h^2 exact in 36 bits.
  const D r1h = r1 & kHead18Mask();
  const D r1l = r1 - r1h;
  const D square = r1h * r1h;
  const D square_rest = r1l * (r1h + r1) + r2 * (r1 + u);
  const D t2 = kMinusHalfH() * square;
  const D t2_lo = kMinusHalfR() * square - kHalf() * square_rest;
  const D tail = u2 * u * Series5(u, u2, kLog2S);
  // k + t_hi is exact: t_hi lies on the grid of 2^-42.
  const D base = Exponent(x) + row.t_hi;
  // |base| >= 2^-8.4 > |t1| unless base is 0, and |t2| < 2^-19 is far below s1 unless s1 is
  // 0, so both sums are exact by Fast2Sum.
  D s1, e1, s2, e2;
  FastTwoSum(base, t1, s1, e1);
  FastTwoSum(s1, t2, s2, e2);
  const D rest = ((e1 + e2) + ((row.t_lo + t1_lo) + t2_lo)) + tail;
  hi = s2 + rest;
  lo = rest - (hi - s2);
}

// y * (hi + lo) = zh + zl.
[[gnu::always_inline]] inline void Times(D y, D hi, D lo, D& zh, D& zl) {
  D e;
  TwoProduct(y, hi, zh, e);
  zl = e + y * lo;
}

// 2^z = v 2^(n >> 7), v in [1, 2), n = round(128 z) in the low word of `n`; valid for
// |z| < 2^44. The first half leaves the reduced argument g and n, the second reads the row.
[[gnu::always_inline]] inline D Exp2Reduce(D zh, D zl, __m128i& n) {
  const D t = zh + lanes::kShift();
  n = t.Image();
  return (zh - (t - lanes::kShift())) + zl;
}
[[gnu::always_inline]] inline D Exp2Finish(D g, __m128i n) {
  using namespace lanes;
  int i0, i1;
  D::LowWords(n, i0, i1);
  D hi, lo;
  D::GatherPairs(kExp128, i0 & 127, i1 & 127, hi, lo);
  const D p = Series5(g, g * g, kExp2S) * g;
  return (hi + (hi * p + lo)).AddToExponent<7>(n);
}

// x^y on kRegs registers at once: z = y log2 x by `z_of(x, y, row, zh, zl)` as a pair, 2^z by
// `finish(g, n)` after the reduction. Each step runs over all registers before the next, so that
// their dependency chains overlap.
template <int kRegs, class ZOf, class Finish>
[[gnu::always_inline]] inline void PowSteps(const D (&in)[kRegs][2], D (&out)[kRegs][1], ZOf z_of,
                                            Finish finish) {
  LogRow rows[kRegs];
  D g[kRegs];
  __m128i n[kRegs];
#pragma GCC unroll 8
  for (int r = 0; r < kRegs; ++r) rows[r] = ReadLogRow(in[r][0]);
#pragma GCC unroll 8
  for (int r = 0; r < kRegs; ++r) {
    D zh, zl;
    z_of(in[r][0], in[r][1], rows[r], zh, zl);
    g[r] = Exp2Reduce(zh, zl, n[r]);
  }
#pragma GCC unroll 8
  for (int r = 0; r < kRegs; ++r) out[r][0] = finish(g[r], n[r]);
}

// x^y for positive normal x and |y log2 x| below 1022 (the result is normal).
template <int kRegs>
[[gnu::always_inline]] inline void PowBlock(const D (&in)[kRegs][2], D (&out)[kRegs][1]) {
  PowSteps(
      in, out,
      [](D x, D y, const LogRow& row, D& zh, D& zl) __attribute__((always_inline)) {
        D hi, lo;
        Log2(x, row, hi, lo);
        Times(y, hi, lo, zh, zl);
      },
      Exp2Finish);
}

// x^y for the float members, in plain double: positive normal x and |y log2 x| below 126.
// log2 x = k + t + log2(1 + r) from the same rows, the series to r^5 (|r| < 2^-8.9) in two
// chains; r is exact where log2 x is small (rows 0 and 256), and the rest is off by about 2^-52
// absolute, so that z = y log2 x is off by about 2^-36. 2^g takes the series to g^3 (|g| <=
// 2^-8, the first term left out about 2^-38.7) and the table's high part alone: the result,
// rounded once to float, is off by far less than a float ulp.
template <int kRegs>
[[gnu::always_inline]] inline void PowSingleBlock(const D (&in)[kRegs][2], D (&out)[kRegs][1]) {
  PowSteps(
      in, out,
      [](D x, D y, const LogRow& row, D& zh, D& zl) __attribute__((always_inline)) {
        using namespace lanes;
        const D u = Mantissa(x) * row.rc - kOne();
        const D u2 = u * u;
        const D low = (kInvLn2() + kMinusHalf() * u) * u;
        const D high = Estrin3(u, u2, kLog2S[0](), kLog2S[1](), kLog2S[2]());
        zh = y * ((Exponent(x) + row.t_hi) + (low + high * (u2 * u)));
        zl = D(-0.0);
      },
      [](D g, __m128i n) __attribute__((always_inline)) {
        using namespace lanes;
        int i0, i1;
        D::LowWords(n, i0, i1);
        const D hi = D::FromLanes(&kExp128[i0 & 127][0], &kExp128[i1 & 127][0]);
        const D p = Estrin3(g, g * g, kExp2S[0](), kExp2S[1](), kExp2S[2]()) * g;
        return (hi + hi * p).AddToExponent<7>(n);
      });
}

// Lanes that the block formula cannot take: x not positive normal, y zero, subnormal, infinite
// or NaN, or |y log2 x| possibly `limit` or more, by the bound |log2 x| <= |k + c (m - 1)| with
// c = 1/ln 2 for k >= 0 and c = 1 for k < 0.
inline int FlagPow(D x, D y, double limit) {
  const __m128i x_high = _mm_shuffle_epi32(x.Image(), _MM_SHUFFLE(3, 3, 1, 1));
  const __m128i x_out = _mm_cmpgt_epi32(_mm_add_epi32(x_high, _mm_set1_epi32(0x7FF00000)),
                                        _mm_set1_epi32(-0x200001));
  const __m128i y_high = _mm_and_si128(_mm_shuffle_epi32(y.Image(), _MM_SHUFFLE(3, 3, 1, 1)),
                                       _mm_set1_epi32(0x7FFFFFFF));
  const __m128i y_out =
      _mm_cmpgt_epi32(_mm_add_epi32(y_high, _mm_set1_epi32(0x7FF00000)), _mm_set1_epi32(-0x200001));
  const D k = Exponent(x);
  const D c = D::Select(D::Less(k, D(0.0)), D(1.0), D(1.4426950408889634));
  const D bound = (k + c * (Mantissa(x) - D(1.0))) * y;
  const D abs_bound = bound & D::FromBits(0x7FFFFFFFFFFFFFFFull);
  // NaN bounds (garbage lanes) are caught by the integer tests.
  const D too_big = {_mm_cmpge_pd(abs_bound.raw, _mm_set1_pd(limit))};
  const __m128i any = _mm_or_si128(_mm_or_si128(x_out, y_out), too_big.Image());
  return _mm_movemask_pd(_mm_castsi128_pd(any));
}

// FlagPow on four float lanes: x not a positive normal float, y zero, infinite or NaN (a
// float subnormal y is a normal double), or |y log2 x| possibly `limit` or more. The bound is
// |log2 x| <= |d| 2^-23 / ln 2, d = bits(x) - bits(1) = 2^23 (k + m - 1), and the compare is
// |d y| >= limit ln2 2^23 in float (the margin to 126 covers its rounding).
inline int FlagPowSingle(Vec<float> x, Vec<float> y, float limit) {
  const __m128i xb = x.Image();
  const __m128i x_out = _mm_cmpgt_epi32(_mm_add_epi32(xb, _mm_set1_epi32(0x7F800000)),
                                        _mm_set1_epi32(-0x01000001));
  const __m128i y_abs = _mm_and_si128(y.Image(), _mm_set1_epi32(0x7FFFFFFF));
  const __m128i y_out = _mm_or_si128(_mm_cmpeq_epi32(y_abs, _mm_setzero_si128()),
                                     _mm_cmpgt_epi32(y_abs, _mm_set1_epi32(0x7F7FFFFF)));
  const __m128 d = _mm_cvtepi32_ps(_mm_sub_epi32(xb, _mm_set1_epi32(0x3F800000)));
  const __m128 dy = _mm_mul_ps(_mm_and_ps(d, _mm_castsi128_ps(_mm_set1_epi32(0x7FFFFFFF))),
                               _mm_castsi128_ps(y_abs));
  const __m128 too_big = _mm_cmpge_ps(dy, _mm_set1_ps(limit * 0.6931472f * 0x1p23f));
  const __m128i any = _mm_or_si128(_mm_or_si128(x_out, y_out), _mm_castps_si128(too_big));
  return _mm_movemask_ps(_mm_castsi128_ps(any));
}

}  // namespace power
}  // namespace tem

#endif  // QOR_KERNELS_POW_BLOCK_H_
