// Square root and reciprocal square root in the vector form. Double lanes avoid the slow double
// hardware root: a 13-bit single-precision estimate u of 1/sqrt(x) is corrected by the series
// of (1 - e)^(-1/2) with e = 1 - u^2 x. sSqrt is the hardware root; sInvSqrt corrects the same
// estimate in double and rounds once.
#include <math.h>

#include "kernels/root_common.h"

namespace tem {
namespace roots {
namespace {

// sqrt x = u x (1 - e)^(-1/2) = u xh + (u xl + u x c).
[[gnu::always_inline]] inline D SqrtBlock(D x, D y0) {
  const SqrtSeed s(x, y0);
  const D c = InvSqrtSeries(s.e);
  return s.uxh + (s.uxl + s.u * x * c);
}

// 1/sqrt x = u (1 - e)^(-1/2) = u + u c.
[[gnu::always_inline]] inline D InvSqrtBlock(D x, D y0) {
  const SqrtSeed s(x, y0);
  return s.u + s.u * InvSqrtSeries(s.e);
}

template <D (*Block)(D, D), int (*Special)(double, double*), int kSign>
struct DoubleRoot {
  using T = double;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 16;
  static constexpr bool kCanFail = true, kComputeBlock = true;
  template <int kRegs>
  [[gnu::always_inline]] static void ComputeBlock(const D (&in)[kRegs][1], D (&out)[kRegs][1]) {
    RootBlock<Block>(in, out);
  }
  static int Flag(const D (&in)[1]) { return FlagOutsideSeedRange(in[0]); }
  // Nothing settles by select: every flagged lane takes its value from the companion.
  static int Settle(const D (&)[1], D (&)[1], int bits) { return bits; }
  // Subnormals and the top binade are scaled into the seed's range by an even power of two.
  static int Companion(const double (&in)[1], double (&out)[1]) {
    const int code = Special(in[0], &out[0]);
    if (code >= 0) return code;
    const EvenScaled scaled(in[0]);
    const D x[1][1] = {{D::Set(scaled.x)}};
    D y[1][1];
    RootBlock<Block>(x, y);
    out[0] = y[0][0].Lane0() * ldexp(1.0, kSign * scaled.k);
    return TEM_STATUS_OK;
  }
};

// sSqrt: the hardware root is exact; only lanes with the sign bit set (negatives, -0, -NaN)
// need the companion.
struct FloatSqrt {
  using T = float;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 8;
  static constexpr bool kCanFail = true;
  static void Compute(const F (&in)[1], F (&out)[1]) { out[0] = {_mm_sqrt_ps(in[0].raw)}; }
  static int Flag(const F (&in)[1]) { return in[0].LaneBits(); }
  static int Settle(const F (&)[1], F (&)[1], int bits) { return bits; }
  static int Companion(const float (&in)[1], float (&out)[1]) {
    const int code = SqrtSpecial(in[0], &out[0]);
    return code >= 0 ? code : TEM_STATUS_OK;
  }
};

// 1/sqrt of four positive floats (subnormals too): the float estimate u is exact in double, so
// is u^2 x, and the series finishes in double.
inline __m128d InvSqrtHalf(__m128 x, __m128 u) {
  const D xd = {_mm_cvtps_pd(x)}, ud = {_mm_cvtps_pd(u)};
  const D e = kOne() - ud * xd * ud;
  return (ud + ud * InvSqrtSeries(e)).raw;
}

struct FloatInvSqrt {
  using T = float;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 8;
  static constexpr bool kCanFail = true;
  static void Compute(const F (&in)[1], F (&out)[1]) {
    const __m128 x = in[0].raw;
    const __m128 u = SeedInvSqrtFloat(x);
    const __m128d lo = InvSqrtHalf(x, u);
    const __m128d hi = InvSqrtHalf(_mm_movehl_ps(x, x), _mm_movehl_ps(u, u));
    out[0] = {_mm_movelh_ps(_mm_cvtpd_ps(lo), _mm_cvtpd_ps(hi))};
  }
  static int Flag(const F (&in)[1]) { return FlagFloatNotPositiveFinite(in[0]); }
  static int Settle(const F (&)[1], F (&)[1], int bits) { return bits; }
  static int Companion(const float (&in)[1], float (&out)[1]) {
    const int code = InvSqrtSpecial(in[0], &out[0]);
    return code >= 0 ? code : TEM_STATUS_OK;
  }
};

using DoubleSqrt = DoubleRoot<SqrtBlock, SqrtSpecial<double>, 1>;
using DoubleInvSqrt = DoubleRoot<InvSqrtBlock, InvSqrtSpecial<double>, -1>;

}  // namespace
}  // namespace roots
}  // namespace tem

TEM_ENTRIES_A_R(d, Sqrt, tem::roots::DoubleSqrt)
TEM_ENTRIES_A_R(d, InvSqrt, tem::roots::DoubleInvSqrt)
TEM_ENTRIES_A_R(s, Sqrt, tem::roots::FloatSqrt)
TEM_ENTRIES_A_R(s, InvSqrt, tem::roots::FloatInvSqrt)
