// The reduction and evaluation shared by the double members of the trigonometric family, and by
// the single members for their huge arguments: x = k 2pi + j step + (r - excess), with the step
// pi/256 for sin and cos and pi/512 for tan, |r| at most half a step (a little more past the
// medium limit) and the excess of r below 2^-50, then sin and cos, or tan, of the table angle
// j step combined with short series in r.
#ifndef QOR_KERNELS_TRIG_REDUCTION_H_
#define QOR_KERNELS_TRIG_REDUCTION_H_

#include <stdint.h>

#include "frame/vec.h"
#include "kernels/float_format.h"

namespace tem {
namespace trig {

#include "kernels/trig_tables.inc"

using D = Vec<double>;

// The reduction takes rows of 2pi / 2^kRowBits: 9 bits for sin and cos (j pi/256), 10 for tan
// (j pi/512). The constants below are those of 9 bits; the finer rows halve the parts of the
// step and the medium limit, and double 1 / step, all exactly.
//
// 0x40F000000E4DB24C: n = round(|x| 256/pi) stays below 2^53 / 2^30.65, so that n times either
// of the first two parts of pi/256 is exact.
inline constexpr double kMediumLimit = 65536.00349206588;
inline constexpr double kK = 81.48733086305042;       // 256 / pi
inline constexpr double kShifter = 6755399441055744.0;  // 1.5 * 2^52

// 2^(kRowBits - 9), the refinement of the rows over those of the constants.
template <int kRowBits>
inline constexpr double kRefine = kRowBits == 9 ? 1.0 : 2.0;

using S = Splat<double>;
inline constexpr S kAbsMask{__builtin_bit_cast(double, 0x7FFFFFFFFFFFFFFFull)};
inline constexpr S kSignMask{-0.0}, kTop26{__builtin_bit_cast(double, kSplitMask)};
inline D Abs(D x) { return x & kAbsMask(); }
inline D SignOf(D x) { return x & kSignMask(); }
inline D Xor(D a, D b) { return {_mm_xor_pd(a.raw, b.raw)}; }

// The reduced argument x - n step = r - excess: the table row n in the low bits of each lane
// of j. The excess of r is kept rather than its error, so that it is +0 for x = -0, and
// a series minus the excess keeps the sign of a zero.
struct Reduced {
  D r, excess;
  __m128i j;
};

// Medium stage, |x| <= kMediumLimit / kRefine, x of either sign: r - excess =
// x - n (P1 + P2 + P3), with h = x - n P1 and m = n P2 both exact. (r - h) + m is the exact
// excess of r = h - m: a fast two-sum where |h| >= |m|; where |h| < |m| (below 2^-18.9 /
// kRefine), h is a multiple of 2^-59 and m of 2^-70 (over kRefine), so that r is exact and its
// excess comes out 0.
template <int kRowBits>
[[gnu::always_inline]] inline Reduced ReduceMedium(D x) {
  static constexpr double kFiner = kRefine<kRowBits>;
  static constexpr S k{kK * kFiner}, shifter{kShifter}, p1{kPiOver256Parts[0] / kFiner},
      p2{kPiOver256Parts[1] / kFiner}, p3{kPiOver256Parts[2] / kFiner};
  const D t = x * k() + shifter();
  const D n = t - shifter();
  const D h = x - n * p1();
  const D m = n * p2();
  const D r = h - m;
  const D excess = ((r - h) + m) + n * p3();
  return {r, excess, t.Image()};
}

// 52 low bits of each lane, as an exact double.
inline D FromInteger52(__m128i v) {
  return D::FromImage(_mm_or_si128(v, _mm_set1_epi64x(0x4330000000000000ll))) - D::Set(0x1p52);
}

// Big stage, any finite |x|: frac(|x| / 2pi) from the integer product of the 53-bit mantissa M
// with the row of the exponent, M * row mod 2^192 (the integer part of the turn falls off the
// top word). Row j is its top kRowBits bits rounded; the signed rest, 128 bits of it, becomes a
// double-double in turns, then in radians.
template <int kRowBits>
[[gnu::noinline]] Reduced ReduceBig(D ax) {
  const __m128i bits = ax.Image();
  const __m128i exponent = _mm_srli_epi64(bits, 52);
  const int e0 = _mm_cvtsi128_si32(exponent);
  const int e1 = _mm_cvtsi128_si32(_mm_unpackhi_epi64(exponent, exponent));
  auto word = [&](int k) {
    return _mm_unpacklo_epi64(
        _mm_loadl_epi64(reinterpret_cast<const __m128i*>(&kTwoOverPiRows[e0][k])),
        _mm_loadl_epi64(reinterpret_cast<const __m128i*>(&kTwoOverPiRows[e1][k])));
  };
  const __m128i w0 = word(0), w1 = word(1), w2 = word(2);
  // 32-bit digits, least significant first, in the low half of each lane.
  const __m128i d[6] = {w2, _mm_srli_epi64(w2, 32), w1, _mm_srli_epi64(w1, 32),
                        w0, _mm_srli_epi64(w0, 32)};
  const __m128i a0 = bits;
  const __m128i a1 = _mm_or_si128(
      _mm_and_si128(_mm_srli_epi64(bits, 32), _mm_set1_epi64x(0xFFFFF)),
      _mm_set1_epi64x(0x100000));
  const __m128i low = _mm_set1_epi64x(0xFFFFFFFFll);
  auto lo = [&](__m128i p) { return _mm_and_si128(p, low); };
  auto hi = [](__m128i p) { return _mm_srli_epi64(p, 32); };
  auto add = [](__m128i a, __m128i b) { return _mm_add_epi64(a, b); };
  __m128i p0[6], p1[5];
  for (int k = 0; k < 6; ++k) p0[k] = _mm_mul_epu32(a0, d[k]);
  for (int k = 0; k < 5; ++k) p1[k] = _mm_mul_epu32(a1, d[k]);
  // Column c sums the low halves of the products of weight c and the high halves of weight
  // c - 1, with the carry of column c - 1.
  __m128i column = add(add(lo(p0[1]), lo(p1[0])), hi(p0[0]));
  __m128i digit[6];
  for (int c = 2; c < 6; ++c) {
    column = add(add(add(lo(p0[c]), lo(p1[c - 1])), add(hi(p0[c - 1]), hi(p1[c - 2]))),
                 hi(column));
    digit[c] = lo(column);
  }
  const __m128i top = _mm_or_si128(_mm_slli_epi64(digit[5], 32), digit[4]);
  const __m128i next = _mm_or_si128(_mm_slli_epi64(digit[3], 32), digit[2]);
  // Rounded row in the top kRowBits bits; q = rest + 2^(kRest - 1) in [0, 2^kRest), in units
  // of 2^-64 turns. Its top 52 bits make t1, its low kLow bits and the top of `next` t2, the
  // rest of `next` t3.
  constexpr int kRest = 64 - kRowBits, kLow = kRest - 52;
  constexpr double kT1Unit = 1.0 / static_cast<double>(1ull << (64 - kLow));
  const __m128i biased = _mm_add_epi64(top, _mm_set1_epi64x(1ll << (kRest - 1)));
  const __m128i j = _mm_srli_epi64(biased, kRest);
  const __m128i q = _mm_and_si128(biased, _mm_set1_epi64x((1ll << kRest) - 1));
  const D t1 = (FromInteger52(_mm_srli_epi64(q, kLow)) - D::Set(0x1p51)) *
               D::Set(kT1Unit);
  const __m128i q_low = _mm_and_si128(q, _mm_set1_epi64x((1ll << kLow) - 1));
  const D t2 = FromInteger52(_mm_or_si128(_mm_slli_epi64(q_low, 52 - kLow),
                                          _mm_srli_epi64(next, 12 + kLow))) *
               D::Set(kT1Unit * 0x1p-52);
  const D t3 = FromInteger52(_mm_and_si128(next, _mm_set1_epi64x((1ll << (12 + kLow)) - 1))) *
               D::Set(0x1p-128);
  // t1 is a multiple of 2^(kLow - 64) and 0 <= t2 < 2^(kLow - 64): a fast two-sum.
  const D s = t1 + t2;
  const D s_rest = (t2 - (s - t1)) + t3;
  // Radians: s 2pi exactly as r + err (Veltkamp split of s, 2pi in 27 + 26 bits).
  const D r = s * D::Set(kTwoPi);
  const D g = s * D::Set(134217729.0);
  const D sh = g - (g - s);
  const D sl = s - sh;
  const D excess = ((((r - sh * D::Set(kTwoPiHigh)) - sh * D::Set(kTwoPiLow)) -
                     sl * D::Set(kTwoPiHigh)) - sl * D::Set(kTwoPiLow)) -
                   (s * D::Set(kTwoPiRest) + s_rest * D::Set(kTwoPi));
  return {r, excess, j};
}

// Lanes of x whose reduction to the row j: x = j step + r - excess, takes one of two ways.
[[gnu::always_inline]] inline Reduced SelectLanes(D lanes, const Reduced& a, const Reduced& b) {
  const __m128i m = _mm_castpd_si128(lanes.raw);
  return {D::Select(lanes, a.r, b.r), D::Select(lanes, a.excess, b.excess),
          _mm_or_si128(_mm_and_si128(m, a.j), _mm_andnot_si128(m, b.j))};
}

// The big stage on |x|, whose r, excess and row change sign for a negative x.
template <int kRowBits>
[[gnu::always_inline]] inline Reduced ReduceBigSigned(D x) {
  Reduced big = ReduceBig<kRowBits>(Abs(x));
  const D sign = SignOf(x);
  big.r = Xor(big.r, sign);
  big.excess = Xor(big.excess, sign);
  // All ones in the lanes of a negative x: -j = (j ^ negative) - negative.
  const __m128i negative = _mm_srai_epi32(_mm_shuffle_epi32(x.Image(), 0xF5), 31);
  big.j = _mm_sub_epi64(_mm_xor_si128(big.j, negative), negative);
  return big;
}

// The reduction of x beyond the medium limit, for the out-of-line block. The rows of 10 bits
// take, up to the medium limit of 9 bits, the medium reduction to rows of 9 bits, each split in
// two: r itself reduced to rows of 10 bits (its row s in {-1, 0, 1}) makes j = 2 n + s, and
// the two excesses add. Lanes above that take the big stage.
template <int kRowBits>
[[gnu::always_inline]] inline Reduced ReduceBeyond(D x) {
  if constexpr (kRowBits == 10) {
    static constexpr S medium{kMediumLimit};
    const Reduced coarse = ReduceMedium<9>(x);
    const Reduced split = ReduceMedium<10>(coarse.r);
    const Reduced fine = {split.r, coarse.excess + split.excess,
                          _mm_add_epi64(_mm_slli_epi64(coarse.j, 1), split.j)};
    const D big = D::Greater(Abs(x), medium());
    return big.LaneBits() == 0 ? fine : SelectLanes(big, ReduceBigSigned<kRowBits>(x), fine);
  } else {
    return ReduceBigSigned<kRowBits>(x);
  }
}

// Both stages by lane: the medium one, and where kAnySize (the out-of-line block) the rest for
// the lanes above the medium limit.
template <int kRowBits, bool kAnySize>
[[gnu::always_inline]] inline Reduced Reduce(D x) {
  static constexpr S medium{kMediumLimit / kRefine<kRowBits>};
  const Reduced red = ReduceMedium<kRowBits>(x);
  const D beyond = D::Greater(Abs(x), medium());
  if (kAnySize && beyond.LaneBits() != 0) {
    return SelectLanes(beyond, ReduceBeyond<kRowBits>(x), red);
  }
  return red;
}

// A value as an unrounded sum hi + lo.
struct Parts {
  D hi, lo;
  D Value() const { return hi + lo; }
};

// Row j & kMask of `table` for each lane, its four fields as four registers.
template <int kMask>
[[gnu::always_inline]] inline void GatherRows(const double (*table)[4], __m128i j, D (&field)[4]) {
  const int j0 = _mm_cvtsi128_si32(j) & kMask;
  const int j1 = _mm_cvtsi128_si32(_mm_unpackhi_epi64(j, j)) & kMask;
  for (int k = 0; k < 4; k += 2) {
    const __m128d row0 = _mm_load_pd(&table[j0][k]), row1 = _mm_load_pd(&table[j1][k]);
    field[k] = _mm_unpacklo_pd(row0, row1);
    field[k + 1] = _mm_unpackhi_pd(row0, row1);
  }
}

// sin and cos of |x| from its reduction: the row's cos C = c + cm1 and sin S = s + sl, with
// e = -excess, sin(a + r + e) = S cos r + C sin r + e C and
// cos(a + r + e) = C cos r - S sin r - e S (e reaches 2^-50 near the medium limit, so C and S
// are whole there). The products c r and s r are exact where their sums cancel, since c or s
// is +-1 or 0 there; the rounding error of the first addition is kept.
template <bool kSin, bool kCos>
[[gnu::always_inline]] inline void Evaluate(const Reduced& red, Parts* sin_parts,
                                            Parts* cos_parts) {
  D row[4];
  GatherRows<0x1FF>(kSinTable, red.j, row);
  const D cm1 = row[0], c = row[1], s = row[2], sl = row[3];
  const D r = red.r, excess = red.excess;
  const D u = r * r;
  // sin r - r and cos r - 1 on |r| <= pi/512.
  static constexpr S s5{0.008333322932609515}, s3{0.1666666666665455}, c2{-0.5},
      c4{0.041666666666651524}, c6{0.0013888875887985619};
  // The small terms are summed in the order they become ready, the series' last.
  const D ps = r * u * (s5() * u - s3());
  const D pc = u * c2() + (u * u) * (c4() - u * c6());
  const D sin_r = r + ps;
  const D C = c + cm1, S = s + sl;
  if constexpr (kSin) {
    const D cr = c * r;
    const D hi = s + cr;
    const D small = ((sl - excess * C) + cm1 * sin_r) + (S * pc + c * ps);
    *sin_parts = {hi, ((s - hi) + cr) + small};
  }
  if constexpr (kCos) {
    const D sr = s * r;
    const D hi = c - sr;
    const D small = ((cm1 + excess * S) - sl * sin_r) + (C * pc - s * ps);
    *cos_parts = {hi, ((c - hi) - sr) + small};
  }
}

// tan of x as num / den, from the row's A / B = tan a (a = j pi/512) and t = tan(r - excess),
// the latter by r + r^3 (t3 + t5 r^2), the excess entering with derivative -1:
// num = A + B t and den = B - A t. One of A and B is 1, the other at most 1 in magnitude, so
// that A + B r and B - A r are fast two-sums: where the product is not exact, the factor 1 is
// the larger term (|r| < tan(pi/512) <= |A|, |B| unless the one is 0). The rounding errors of
// the inexact products, and the products of the table's low parts with r, stay below 2^-60 of
// num and den. den.hi keeps the top 26 bits of B - A r for the quotient; B - den.hi is exact,
// as the two are within a factor 2.
[[gnu::always_inline]] inline void EvaluateTan(const Reduced& red, Parts* num, Parts* den) {
  D row[4];
  GatherRows<0x1FF>(kTanTable, red.j, row);
  const D a = row[0], al = row[1], b = row[2], bl = row[3];
  // The least relative error of this form for tan r on |r| <= pi/1024: 2^-59.0 (a Remez fit;
  // the Taylor coefficients 1/3 and 2/15 give 2^-54.3).
  static constexpr S t3{0x1.555555554c466p-2}, t5{0x1.11116ffe13715p-3};
  const D r = red.r, u = r * r;
  const D pt = r * u * (t3() + u * t5()) - red.excess;
  const D br = b * r, ar = a * r;
  const D num_hi = a + br, den_hi = (b - ar) & kTop26();
  *num = {num_hi, (br - (num_hi - a)) + (al + b * pt)};
  *den = {den_hi, ((b - den_hi) - ar) + (bl - a * pt)};
}

// num / den as qh + (num - qh den) / den, for den.hi of at most 26 significant bits, with qh
// the top 26 bits of num.hi / den, which leaves num.lo (below 2^-14 of num) to the remainder
// and takes an addition off the chain before the product: qh den.hi is exact, and so is
// num.hi - qh den.hi, as num.hi and den.hi are within 2^-14 of num and den; den.lo enters by a
// plain product, rounded near 2^-60 of num. The remainder, below 2^-13 of num, is divided by a
// plain product with 1 / den.
[[gnu::always_inline]] inline D Quotient(const Parts& num, const Parts& den) {
  const D y = kOne() / den.Value();
  const D qh = (num.hi * y) & kTop26();
  // The remainder's negation, subtracted: num = -0 then gives -0.
  const D minus_rest = ((qh * den.hi - num.hi) - num.lo) + qh * den.lo;
  return qh - minus_rest * y;
}

enum class Op { kSin, kCos, kSinCos, kTan };
inline constexpr int ResultsOf(Op op) { return op == Op::kSinCos ? 2 : 1; }
inline constexpr int RowBitsOf(Op op) { return op == Op::kTan ? 10 : 9; }

// The double formula of each member on a block of registers, one step at a time across the
// block: the reductions, then the series (and for tan the quotients), so that the registers'
// chains overlap. Sin takes the sign of x at the end, cos is even, tan is odd by its rows.
// SinCos gives the sine first. Without kAnySize every |x| is within the medium limit.
template <Op kOp, int kRegs, bool kAnySize>
[[gnu::always_inline]] inline void ComputeBlockOf(const D (&x)[kRegs][1],
                                                  D (&out)[kRegs][ResultsOf(kOp)]) {
  Reduced red[kRegs];
  // tan reduces x itself, its table and formulas being odd; sin and cos reduce |x|.
#pragma GCC unroll 16
  for (int k = 0; k < kRegs; ++k) {
    red[k] = Reduce<RowBitsOf(kOp), kAnySize>(kOp == Op::kTan ? x[k][0] : Abs(x[k][0]));
  }
  if constexpr (kOp == Op::kTan) {
    Parts num[kRegs], den[kRegs];
#pragma GCC unroll 16
    for (int k = 0; k < kRegs; ++k) EvaluateTan(red[k], &num[k], &den[k]);
#pragma GCC unroll 16
    for (int k = 0; k < kRegs; ++k) out[k][0] = Quotient(num[k], den[k]);
  } else {
#pragma GCC unroll 16
    for (int k = 0; k < kRegs; ++k) {
      Parts sin_parts, cos_parts;
      Evaluate<kOp != Op::kCos, kOp != Op::kSin>(red[k], &sin_parts, &cos_parts);
      if constexpr (kOp == Op::kCos) {
        out[k][0] = cos_parts.Value();
      } else {
        out[k][0] = Xor(sin_parts.Value(), SignOf(x[k][0]));
      }
      if constexpr (kOp == Op::kSinCos) out[k][1] = cos_parts.Value();
    }
  }
}

// A block with a lane above the medium limit, out of line, so that the common block holds no call.
template <Op kOp, int kRegs>
[[gnu::noinline]] void ComputeBlockAnySize(const D (&x)[kRegs][1],
                                           D (&out)[kRegs][ResultsOf(kOp)]) {
  ComputeBlockOf<kOp, kRegs, true>(x, out);
}

// The formula of each member on a block of registers of any finite x, with one test of the
// block's magnitudes: a high word up to 0x40EFFFFF is a magnitude below 2^16 <= kMediumLimit,
// one up to 0x40DFFFFF below 2^15 for the finer rows.
template <Op kOp, int kRegs>
[[gnu::always_inline]] inline void ComputeBlock(const D (&x)[kRegs][1],
                                                D (&out)[kRegs][ResultsOf(kOp)]) {
  constexpr uint32_t kLimit = RowBitsOf(kOp) == 9 ? 0x40EFFFFF : 0x40DFFFFF;
  D big = x[0][0].HighWordsAbove(kLimit);
#pragma GCC unroll 16
  for (int k = 1; k < kRegs; ++k) big = big | D{x[k][0].HighWordsAbove(kLimit)};
  if (big.LaneBits() != 0) {
    ComputeBlockAnySize<kOp, kRegs>(x, out);
  } else {
    ComputeBlockOf<kOp, kRegs, false>(x, out);
  }
}

// ComputeBlock on one register.
template <Op kOp>
[[gnu::always_inline]] inline void Compute(D x, D (&out)[ResultsOf(kOp)]) {
  const D in[1][1] = {{x}};
  D results[1][ResultsOf(kOp)];
  ComputeBlock<kOp, 1>(in, results);
  for (int k = 0; k < ResultsOf(kOp); ++k) out[k] = results[0][k];
}

}  // namespace trig
}  // namespace tem

#endif  // QOR_KERNELS_TRIG_REDUCTION_H_
