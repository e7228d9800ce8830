// Sin, Cos, SinCos and Tan of floats: n from x / pi (Tan: 2x / pi) in single precision, the
// rest r = x - n pi in double with pi in two parts, and a polynomial in double, narrowed once.
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
constexpr Splat<double> kMinusZero{-0.0};
// 0x461C4000: 10000.0, the end of the single-precision reduction.
constexpr uint32_t kLimitBits = 0x461C4000;

// sin r on |r| <= pi/2, relative error below 2^-29: r + r u P(u) with
// P(u) = (c3 + c5 u) + u^2 (c7 + c9 u), u = r^2, the two halves side by side. kZeroSign takes
// r (1 + u P(u)), whose last step, a product with r, keeps the sign of a zero r, for one more
// step of latency.
constexpr Splat<double> kSin3{-0.1666665955042783}, kSin5{0.00833306624608569},
    kSin7{-0.00019809602902257352}, kSin9{2.605780638722852e-06};
template <bool kZeroSign>
[[gnu::always_inline]] inline D SinPoly(D r) {
  const D u = r * r;
  const D p = (kSin3() + kSin5() * u) + (u * u) * (kSin7() + kSin9() * u);
  return kZeroSign ? r * (kOne() + u * p) : r + (r * u) * p;
}

// tan r = r P(u) / Q(u), u = r^2, the [5/6] Pade approximant of tan: relative error below
// 2^-33.9 on |r| <= pi/4. Its integer coefficients are exact.
constexpr Splat<double> kTanP0{10395.0}, kTanP1{-1260.0}, kTanP2{21.0}, kTanQ0{10395.0},
    kTanQ1{-4725.0}, kTanQ2{210.0};

// The 64-bit lane masks of the low (k = 0) or high (k = 1) two 32-bit lanes of a mask.
[[gnu::always_inline]] inline __m128i WidenMask(__m128i m, int k) {
  return k == 0 ? _mm_unpacklo_epi32(m, m) : _mm_unpackhi_epi32(m, m);
}
[[gnu::always_inline]] inline D Widen(F v, int k) { return k == 0 ? WidenLow(v) : WidenHigh(v); }
// The low (k = 0) or high (k = 1) two 32-bit integers as doubles.
[[gnu::always_inline]] inline D WidenInt(__m128i v, int k) {
  return {_mm_cvtepi32_pd(k == 0 ? v : _mm_shuffle_epi32(v, _MM_SHUFFLE(3, 2, 3, 2)))};
}

// x as x = m pi + r, |r| <= pi/2: for sin m = n = round(x / pi), for cos (x >= 0) m = n + 1/2
// with 2n + 1 = floor(2x / pi) | 1, the quotients rounded to single first. sin r, with the
// sign flipped for odd n (sin) or even n (cos). Rounding to nearest is odd, and so are r and
// the polynomial: sin(-x) is -sin(x) bit for bit.
template <bool kCos>
[[gnu::always_inline]] inline F SinOfRest(F x) {
  // sin: n; cos: 2n + 1, whose bit 1 is the parity of n.
  const __m128i k = kCos ? _mm_or_si128(_mm_cvttps_epi32((x * kTwoOverPiF()).raw), _mm_set1_epi32(1))
                         : _mm_cvtps_epi32((x * kInvPiF()).raw);
  D s[2];
#pragma GCC unroll 2
  for (int h = 0; h < 2; ++h) {
    // cos: m pi = k pi / 2, exact in the high part.
    const D m = WidenInt(k, h);
    const D r = kCos ? (Widen(x, h) - m * kHalfPiHigh()) - m * kHalfPiLow()
                     : (Widen(x, h) - m * kPiHigh()) - m * kPiLow();
    s[h] = SinPoly<!kCos>(r);
  }
  const __m128i flip =
      kCos ? _mm_andnot_si128(_mm_slli_epi32(k, 30), _mm_set1_epi32(static_cast<int>(0x80000000u)))
           : _mm_slli_epi32(k, 31);
  return {_mm_xor_ps(Narrow(s[0], s[1]).raw, _mm_castsi128_ps(flip))};
}

// x as x = n pi/2 + r, |r| <= pi/4: tan r for even n, -1 / tan r for odd n. As for sin, each
// step is odd in x, so that tan(-x) is -tan(x) bit for bit.
[[gnu::always_inline]] inline F TanOfRest(F x) {
  const __m128i n = _mm_cvtps_epi32((x * kTwoOverPiF()).raw);
  const __m128i odd = _mm_sub_epi32(_mm_setzero_si128(), _mm_and_si128(n, _mm_set1_epi32(1)));
  D y[2];
#pragma GCC unroll 2
  for (int k = 0; k < 2; ++k) {
    const D m = WidenInt(n, k);
    const D r = (Widen(x, k) - m * kHalfPiHigh()) - m * kHalfPiLow();
    const D u = r * r;
    const D p = r * ((kTanP2() * u + kTanP1()) * u + kTanP0());
    const D q = ((kTanQ2() - u) * u + kTanQ1()) * u + kTanQ0();
    // The swap by XOR: d is p ^ q in swapped lanes and 0 elsewhere.
    const D swap = D::FromImage(WidenMask(odd, k));
    const D d = Xor(p, q) & swap;
    y[k] = Xor(Xor(p, d), swap & kMinusZero()) / Xor(q, d);
  }
  return Narrow(y[0], y[1]);
}

template <Op kOp>
struct SingleKernel {
  using T = float;
  static constexpr int kInputs = 1, kResults = ResultsOf(kOp), kBlock = 8 / kResults;
  static constexpr bool kCanFail = true;

  [[gnu::always_inline]] static void Compute(const F (&in)[1], F (&out)[kResults]) {
    // Cos on |x|, so that it is even exactly; Sin and Tan on x.
    if constexpr (kOp == Op::kSin || kOp == Op::kSinCos) out[0] = SinOfRest<false>(in[0]);
    if constexpr (kOp == Op::kCos || kOp == Op::kSinCos) {
      out[kResults - 1] = SinOfRest<true>(in[0] & kAbsMaskF());
    }
    if constexpr (kOp == Op::kTan) out[0] = TanOfRest(in[0]);
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
