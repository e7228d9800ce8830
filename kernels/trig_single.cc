// Sin, Cos, SinCos and Tan of floats: n from x / pi (Tan: 2x / pi) in single precision, the
// rest r = x - n pi in double with pi in two parts, and a polynomial (Tan: a rational function)
// in double, narrowed once.
// Past 10000 a lane goes to the companion, which runs the double reduction of both stages.
#include <math.h>

#include "frame/kernel_frame.h"
#include "kernels/estrin.h"
#include "kernels/trig_reduction.h"

namespace tem {
namespace trig {
namespace {

using F = Vec<float>;

// As whole registers: 1/pi and 2/pi in single precision.
constexpr Splat<float> kInvPiF{0.31830987334251404f}, kTwoOverPiF{0.6366197466850281f},
    kAbsMaskF{__builtin_bit_cast(float, 0x7FFFFFFFu)};
// pi in 35 + 53 bits: (2n + 1) pi_hi / 2 is exact for |n| below 2^17.
constexpr Splat<double> kPiHigh{3.1415926535846666}, kPiLow{5.126688303189038e-12},
    kHalfPiHigh{3.1415926535846666 / 2}, kHalfPiLow{5.126688303189038e-12 / 2};
// 0x461C4000: 10000.0, the end of the single-precision reduction.
constexpr uint32_t kLimitBits = 0x461C4000;

// sin r on |r| <= pi/2, relative error below 2^-29: r + r u P(u), u = r^2, with P by Estrin's
// scheme. kZeroSign takes r (1 + u P(u)), whose last step, a product with r, keeps the sign of
// a zero r, for one more step of latency.
constexpr Splat<double> kSin3{-0.1666665955042783}, kSin5{0.00833306624608569},
    kSin7{-0.00019809602902257352}, kSin9{2.605780638722852e-06};
template <bool kZeroSign>
[[gnu::always_inline]] inline D SinPoly(D r) {
  const D u = r * r;
  const D p = Estrin4(u, u * u, kSin3(), kSin5(), kSin7(), kSin9());
  return kZeroSign ? r * (kOne() + u * p) : r + (r * u) * p;
}

// tan r = r P(u) / Q(u), u = r^2, P = P0 + P1 u, Q = Q0 + Q1 u + u^2: the rational function
// of this form of least relative error on |r| <= pi/4, fitted, 2^-26.07. With the rounding to
// single, the error stays below 0.74 ulp.
constexpr Splat<double> kTanP0{102.9139303490684}, kTanP1{-9.859336780964997},
    kTanQ0{102.91393180672952}, kTanQ1{-44.16404984744183};

// The 64-bit lane masks of the low (k = 0) or high (k = 1) two 32-bit lanes of a mask.
[[gnu::always_inline]] inline __m128i WidenMask(__m128i m, int k) {
  return k == 0 ? _mm_unpacklo_epi32(m, m) : _mm_unpackhi_epi32(m, m);
}
[[gnu::always_inline]] inline D Widen(F v, int k) { return k == 0 ? WidenLow(v) : WidenHigh(v); }
// The low (k = 0) or high (k = 1) two 32-bit integers as doubles.
[[gnu::always_inline]] inline D WidenInt(__m128i v, int k) {
  return {_mm_cvtepi32_pd(k == 0 ? v : _mm_shuffle_epi32(v, _MM_SHUFFLE(3, 2, 3, 2)))};
}

// x - m (high + low) on the low (h = 0) or high (h = 1) two lanes of x and of the integers k,
// m = k.
[[gnu::always_inline]] inline D Rest(F x, __m128i k, int h, D high, D low) {
  const D m = WidenInt(k, h);
  return (Widen(x, h) - m * high) - m * low;
}

// x as x = m pi + r, |r| <= pi/2: for sin m = n = round(x / pi), for cos m = n + 1/2 with
// 2n + 1 = floor(2|x| / pi) | 1, the quotients rounded to single first. sin r, with the sign
// flipped for odd n (sin) or even n (cos). Rounding to nearest is odd, and so are r and the
// polynomial: sin(-x) is -sin(x) bit for bit; cos, taken on |x|, is even exactly. The result
// goes to column `col` of `out`. Each step runs across the block's registers before the next,
// so that the registers' chains overlap.
template <bool kCos, int kRegs, int kResults>
[[gnu::always_inline]] inline void SinOfRest(const F (&in)[kRegs][1], F (&out)[kRegs][kResults],
                                             int col) {
  F x[kRegs];
  __m128i k[kRegs];
  D r[kRegs][2];
#pragma GCC unroll 4
  for (int i = 0; i < kRegs; ++i) {
    x[i] = kCos ? in[i][0] & kAbsMaskF() : in[i][0];
    // sin: n; cos: 2n + 1, whose bit 1 is the parity of n.
    k[i] = kCos ? _mm_or_si128(_mm_cvttps_epi32((x[i] * kTwoOverPiF()).raw), _mm_set1_epi32(1))
                : _mm_cvtps_epi32((x[i] * kInvPiF()).raw);
    // cos: m pi = k pi / 2.
    for (int h = 0; h < 2; ++h) {
      r[i][h] = kCos ? Rest(x[i], k[i], h, kHalfPiHigh(), kHalfPiLow())
                     : Rest(x[i], k[i], h, kPiHigh(), kPiLow());
    }
  }
#pragma GCC unroll 4
  for (int i = 0; i < kRegs; ++i) {
    const __m128i flip = kCos ? _mm_andnot_si128(_mm_slli_epi32(k[i], 30),
                                                 _mm_set1_epi32(static_cast<int>(0x80000000u)))
                              : _mm_slli_epi32(k[i], 31);
    const F s = Narrow(SinPoly<!kCos>(r[i][0]), SinPoly<!kCos>(r[i][1]));
    out[i][col] = {_mm_xor_ps(s.raw, _mm_castsi128_ps(flip))};
  }
}

// x as x = n pi/2 + r, |r| <= pi/4: tan r = p / q for even n, -1 / tan r = -q / p for odd n,
// one step at a time across the block as for sin. Each step is odd in x, and the sign of the
// odd lanes is taken from n's low bit, which x and -x share: tan(-x) is -tan(x) bit for bit.
template <int kRegs>
[[gnu::always_inline]] inline void TanOfRest(const F (&x)[kRegs][1], F (&out)[kRegs][1]) {
  __m128i sign[kRegs];
  D r[kRegs][2], num[kRegs][2], den[kRegs][2];
#pragma GCC unroll 4
  for (int k = 0; k < kRegs; ++k) {
    const __m128i n = _mm_cvtps_epi32((x[k][0] * kTwoOverPiF()).raw);
    sign[k] = _mm_slli_epi32(n, 31);
    for (int h = 0; h < 2; ++h) r[k][h] = Rest(x[k][0], n, h, kHalfPiHigh(), kHalfPiLow());
  }
#pragma GCC unroll 4
  for (int k = 0; k < kRegs; ++k) {
    const __m128i odd = _mm_srai_epi32(sign[k], 31);
    for (int h = 0; h < 2; ++h) {
      const D u = r[k][h] * r[k][h];
      const D p = r[k][h] * (kTanP1() * u + kTanP0());
      const D q = (u + kTanQ1()) * u + kTanQ0();
      // The swap by XOR: d is p ^ q in odd lanes and 0 elsewhere.
      const D d = Xor(p, q) & D::FromImage(WidenMask(odd, h));
      num[k][h] = Xor(p, d);
      den[k][h] = Xor(q, d);
    }
  }
#pragma GCC unroll 4
  for (int k = 0; k < kRegs; ++k) {
    const F y = Narrow(num[k][0] / den[k][0], num[k][1] / den[k][1]);
    out[k][0] = {_mm_xor_ps(y.raw, _mm_castsi128_ps(sign[k]))};
  }
}

template <Op kOp>
struct SingleKernel {
  using T = float;
  static constexpr int kInputs = 1, kResults = ResultsOf(kOp), kBlock = 16 / kResults;
  static constexpr bool kCanFail = true, kComputeBlock = true;

  template <int kRegs>
  [[gnu::always_inline]] static void ComputeBlock(const F (&in)[kRegs][1],
                                                  F (&out)[kRegs][kResults]) {
    if constexpr (kOp == Op::kTan) TanOfRest<kRegs>(in, out);
    if constexpr (kOp == Op::kSin || kOp == Op::kSinCos) SinOfRest<false>(in, out, 0);
    if constexpr (kOp == Op::kCos || kOp == Op::kSinCos) SinOfRest<true>(in, out, kResults - 1);
  }
  // Past 10000, infinities and NaNs.
  static int Flag(const F (&in)[1]) { return in[0].MagnitudeAbove(kLimitBits); }
  // Infinities and NaNs by x - x; finite huge lanes are left for the companion.
  static int Settle(const F (&in)[1], F (&out)[kResults], int lanes) {
    const F nan = in[0] - in[0];
    const F special = _mm_cmpunord_ps(nan.raw, nan.raw);
    for (F& y : out) y = F::Select(special, nan, y);
    return lanes & ~special.LaneBits();
  }
  static int Companion(const float (&in)[1], float (&out)[kResults]) {
    const float x = in[0];
    if (!isfinite(x)) {
      for (float& y : out) y = isinf(x) ? x - x : x + x;
      return isinf(x) ? TEM_STATUS_ERRDOM : TEM_STATUS_OK;
    }
    D y[kResults];
    trig::Compute<kOp>(D::Set(x), y);
    for (int k = 0; k < kResults; ++k) out[k] = static_cast<float>(y[k].Lane0());
    return TEM_STATUS_OK;
  }
};

}  // namespace
}  // namespace trig
}  // namespace tem

TEM_ENTRIES_A_R(s, Sin, tem::trig::SingleKernel<tem::trig::Op::kSin>)
TEM_ENTRIES_A_R(s, Cos, tem::trig::SingleKernel<tem::trig::Op::kCos>)
TEM_ENTRIES_A_R2(s, SinCos, tem::trig::SingleKernel<tem::trig::Op::kSinCos>)
TEM_ENTRIES_A_R(s, Tan, tem::trig::SingleKernel<tem::trig::Op::kTan>)
