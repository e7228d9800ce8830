// Sin, Cos, SinCos and Tan of floats: n from x / pi (Tan: 2x / pi) in single precision, the
// rest r = x - n pi in double with pi in two parts, and a polynomial in double, narrowed once.
// Past 10000 a lane goes to the companion, which runs the double reduction of both stages.
#include <math.h>

#include "frame/kernel_frame.h"
#include "kernels/trig_reduction.h"

namespace tem {
namespace trig {
namespace {

using F = Vec<float>;

constexpr float kShifterF = 12582912.0f;  // 1.5 * 2^23
constexpr float kInvPiF = 0.31830987334251404f;
constexpr float kTwoOverPiF = 0.6366197466850281f;
// pi in 35 + 53 bits: (2n + 1) pi_hi / 2 is exact for |n| below 2^17.
constexpr double kPiHigh = 3.1415926535846666, kPiLow = 5.126688303189038e-12;
// 0x461C4000: 10000.0, the end of the single-precision reduction.
constexpr uint32_t kLimitBits = 0x461C4000;

// sin r on |r| <= pi/2, relative error below 2^-29.
D SinPoly(D r) {
  const D u = r * r;
  return r + r * u * (D::Set(-0.1666665955042783) +
                      u * (D::Set(0.00833306624608569) +
                           u * (D::Set(-0.00019809602902257352) + u * D::Set(2.605780638722852e-06))));
}

// sin r and cos r on |r| <= pi/4 by their series to r^11 and r^12: errors below 2^-40.
D SinSeries(D r) {
  const D u = r * r;
  return r + r * u * (D::Set(-1.0 / 6) + u * (D::Set(1.0 / 120) + u * (D::Set(-1.0 / 5040) +
                      u * (D::Set(1.0 / 362880) + u * D::Set(-1.0 / 39916800)))));
}
D CosSeries(D r) {
  const D u = r * r;
  return D::Set(1.0) + u * (D::Set(-0.5) + u * (D::Set(1.0 / 24) + u * (D::Set(-1.0 / 720) +
                      u * (D::Set(1.0 / 40320) + u * (D::Set(-1.0 / 3628800) +
                      u * D::Set(1.0 / 479001600))))));
}

// The 64-bit lane masks of the low (k = 0) or high (k = 1) two 32-bit lanes of a mask.
__m128i WidenMask(__m128i m, int k) {
  return k == 0 ? _mm_unpacklo_epi32(m, m) : _mm_unpackhi_epi32(m, m);
}
D Widen(F v, int k) { return k == 0 ? WidenLow(v) : WidenHigh(v); }

// x = (n + offset) pi + r, n = round(x / pi - offset): sin r, with n's parity in the sign
// mask as the single lanes' sign bits (flipped when `flip_even`).
F SinOfRest(F x, float offset, bool flip_even) {
  const F t = (x * F::Set(kInvPiF) - F::Set(offset)) + F::Set(kShifterF);
  const F n = t - F::Set(kShifterF);
  D y[2];
  for (int k = 0; k < 2; ++k) {
    const D m = Widen(n, k) + D::Set(offset);
    const D r = (Widen(x, k) - m * D::Set(kPiHigh)) - m * D::Set(kPiLow);
    y[k] = SinPoly(r);
  }
  __m128i parity = _mm_slli_epi32(t.Image(), 31);
  if (flip_even) parity = _mm_xor_si128(parity, _mm_set1_epi32(static_cast<int>(0x80000000u)));
  return {_mm_xor_ps(Narrow(y[0], y[1]).raw, _mm_castsi128_ps(parity))};
}

// x = n pi/2 + r, |r| <= pi/4: tan r for even n, -1 / tan r for odd n.
F TanOfRest(F x) {
  const F t = x * F::Set(kTwoOverPiF) + F::Set(kShifterF);
  const F n = t - F::Set(kShifterF);
  const __m128i odd = _mm_sub_epi32(_mm_setzero_si128(),
                                    _mm_and_si128(t.Image(), _mm_set1_epi32(1)));
  D y[2];
  for (int k = 0; k < 2; ++k) {
    const D m = Widen(n, k);
    const D r = (Widen(x, k) - m * D::Set(kPiHigh / 2)) - m * D::Set(kPiLow / 2);
    const D s = SinSeries(r), c = CosSeries(r);
    const D swap = D::FromImage(WidenMask(odd, k));
    y[k] = D::Select(swap, Xor(c, D::Set(-0.0)), s) / D::Select(swap, s, c);
  }
  return Narrow(y[0], y[1]);
}

template <Op kOp>
struct SingleKernel {
  using T = float;
  static constexpr int kInputs = 1, kResults = ResultsOf(kOp), kBlock = 8;
  static constexpr bool kCanFail = true;

  static void Compute(const F (&in)[1], F (&out)[kResults]) {
    // On |x|, so that Cos is even and Sin and Tan odd exactly, zeros included.
    const F ax = in[0] & F::FromBits(0x7FFFFFFF);
    const __m128i sign = _mm_andnot_si128(ax.Image(), in[0].Image());
    auto odd = [&](F y) { return F{_mm_xor_ps(y.raw, _mm_castsi128_ps(sign))}; };
    if constexpr (kOp == Op::kSin || kOp == Op::kSinCos) out[0] = odd(SinOfRest(ax, 0.0f, false));
    if constexpr (kOp == Op::kCos) out[0] = SinOfRest(ax, 0.5f, true);
    if constexpr (kOp == Op::kSinCos) out[1] = SinOfRest(ax, 0.5f, true);
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
TEM_ENTRIES_A_RR(s, SinCos, tem::trig::SingleKernel<tem::trig::Op::kSinCos>)
TEM_ENTRIES_A_R(s, Tan, tem::trig::SingleKernel<tem::trig::Op::kTan>)
