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

// As whole registers: the shifter 1.5 * 2^23, 1/pi and 2/pi in single precision.
constexpr Splat<float> kShifterF{12582912.0f}, kInvPiF{0.31830987334251404f},
    kTwoOverPiF{0.6366197466850281f}, kHalfF{0.5f}, kAbsMaskF{__builtin_bit_cast(float, 0x7FFFFFFFu)};
// pi in 35 + 53 bits: (2n + 1) pi_hi / 2 is exact for |n| below 2^17.
constexpr Splat<double> kPiHigh{3.1415926535846666}, kPiLow{5.126688303189038e-12},
    kHalfPiHigh{3.1415926535846666 / 2}, kHalfPiLow{5.126688303189038e-12 / 2};
constexpr Splat<double> kMinusZero{-0.0};
// 0x461C4000: 10000.0, the end of the single-precision reduction.
constexpr uint32_t kLimitBits = 0x461C4000;

// sin r on |r| <= pi/2, relative error below 2^-29.
constexpr Splat<double> kSin3{-0.1666665955042783}, kSin5{0.00833306624608569},
    kSin7{-0.00019809602902257352}, kSin9{2.605780638722852e-06};
[[gnu::always_inline]] inline D SinPoly(D r) {
  const D u = r * r;
  return r + (r * u) * Estrin4(u, u * u, kSin3(), kSin5(), kSin7(), kSin9());
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

// x = (n + offset) pi + r, n = round(x / pi - offset), offset 1/2 for cos and 0 for sin:
// sin r, with the sign flipped for odd n (sin) or even n (cos).
template <bool kCos>
[[gnu::always_inline]] inline F SinOfRest(F x) {
  const F t = kCos ? (x * kInvPiF() - kHalfF()) + kShifterF() : x * kInvPiF() + kShifterF();
  // n + 1/2 is exact in single precision.
  const F m4 = kCos ? (t - kShifterF()) + kHalfF() : t - kShifterF();
  D y[2];
#pragma GCC unroll 2
  for (int k = 0; k < 2; ++k) {
    const D m = Widen(m4, k);
    const D r = (Widen(x, k) - m * kPiHigh()) - m * kPiLow();
    y[k] = SinPoly(r);
  }
  __m128i parity = _mm_slli_epi32(t.Image(), 31);
  if (kCos) parity = _mm_xor_si128(parity, _mm_set1_epi32(static_cast<int>(0x80000000u)));
  return {_mm_xor_ps(Narrow(y[0], y[1]).raw, _mm_castsi128_ps(parity))};
}

// x = n pi/2 + r, |r| <= pi/4: tan r for even n, -1 / tan r for odd n.
[[gnu::always_inline]] inline F TanOfRest(F x) {
  const F t = x * kTwoOverPiF() + kShifterF();
  const F n = t - kShifterF();
  const __m128i odd = _mm_sub_epi32(_mm_setzero_si128(),
                                    _mm_and_si128(t.Image(), _mm_set1_epi32(1)));
  D y[2];
#pragma GCC unroll 2
  for (int k = 0; k < 2; ++k) {
    const D m = Widen(n, k);
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
    // On |x|, so that Cos is even and Sin and Tan odd exactly, zeros included.
    const F ax = in[0] & kAbsMaskF();
    const __m128i sign = _mm_andnot_si128(ax.Image(), in[0].Image());
    auto odd = [&](F y) { return F{_mm_xor_ps(y.raw, _mm_castsi128_ps(sign))}; };
    if constexpr (kOp == Op::kSin || kOp == Op::kSinCos) out[0] = odd(SinOfRest<false>(ax));
    if constexpr (kOp == Op::kCos) out[0] = SinOfRest<true>(ax);
    if constexpr (kOp == Op::kSinCos) out[1] = SinOfRest<true>(ax);
    if constexpr (kOp == Op::kTan) out[0] = odd(TanOfRest(ax));
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
