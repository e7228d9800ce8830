// Cube root and reciprocal cube root in the vector form. |x| = m 2^(E - 1023) with the biased
// exponent E = 3q + j split by a multiplication by 0x1556 and a shift; the row 32 j + i, with
// i the top five mantissa bits, gives cbrt(2^j c) for the interval's centre c, and
// r = (m - c) / c, exact but for the last rounding, runs the binomial series. The sign of x
// comes back at the end. Zeros, subnormals, infinities and NaNs go to the companion; the float
// members run the double formula on widened lanes.
#include "kernels/cbrt_block.h"

namespace tem {
namespace roots {
namespace {

// Lane bits of the double lanes whose magnitude is zero, subnormal, infinite or NaN.
inline int FlagNotNormal(D x) {
  const __m128i magnitude = _mm_and_si128(x.Image(), _mm_set1_epi64x(0x7FFFFFFFFFFFFFFFll));
  const __m128i biased = _mm_add_epi32(magnitude, _mm_set1_epi64x(0x7FF0000000000000ll));
  const __m128i above =
      _mm_cmpgt_epi32(biased, _mm_set1_epi64x(static_cast<long long>(0xFFDFFFFFull << 32)));
  return _mm_movemask_pd(_mm_castsi128_pd(above));
}

// Lane bits of the float lanes whose magnitude is zero, infinite or NaN (float subnormals are
// normal doubles).
inline int FlagFloatZeroOrNonFinite(F x) {
  const __m128i magnitude = _mm_and_si128(x.Image(), _mm_set1_epi32(0x7FFFFFFF));
  const __m128i shifted = _mm_xor_si128(_mm_sub_epi32(magnitude, _mm_set1_epi32(1)),
                                        _mm_set1_epi32(static_cast<int>(0x80000000u)));
  const __m128i above =
      _mm_cmpgt_epi32(shifted, _mm_set1_epi32(static_cast<int>(0x7F7FFFFEu ^ 0x80000000u)));
  return _mm_movemask_ps(_mm_castsi128_ps(above));
}

// The values that need no formula: cbrt keeps zeros and infinities, 1/cbrt turns a zero into
// the infinity of its sign (singularity) and an infinity into the zero of its sign. Returns -1
// for a finite non-zero x.
template <bool kReciprocal, class T>
inline int CbrtSpecial(T x, T* r) {
  if (isnan(x)) return *r = x + x, TEM_STATUS_OK;
  if (x == T(0)) {
    if (!kReciprocal) return *r = x, TEM_STATUS_OK;
    return *r = copysign(T(INFINITY), x), TEM_STATUS_SING;
  }
  if (isinf(x)) return *r = kReciprocal ? copysign(T(0), x) : x, TEM_STATUS_OK;
  return -1;
}

template <bool kReciprocal>
struct DoubleCbrt {
  using T = double;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 8;
  static constexpr bool kCanFail = true;
  static void Compute(const D (&in)[1], D (&out)[1]) { out[0] = CbrtBlock<kReciprocal>(in[0]); }
  static int Flag(const D (&in)[1]) { return FlagNotNormal(in[0]); }
  static int Settle(const D (&)[1], D (&)[1], int bits) { return bits; }
  // A subnormal is scaled by 2^54, whose cube root 2^18 comes off the result.
  static int Companion(const double (&in)[1], double (&out)[1]) {
    const int code = CbrtSpecial<kReciprocal>(in[0], &out[0]);
    if (code >= 0) return code;
    out[0] = CbrtBlock<kReciprocal>(D::Set(in[0] * 0x1p54)).Lane0() *
             (kReciprocal ? 0x1p18 : 0x1p-18);
    return TEM_STATUS_OK;
  }
};

template <bool kReciprocal>
struct FloatCbrt {
  using T = float;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 8;
  static constexpr bool kCanFail = true;
  static void Compute(const F (&in)[1], F (&out)[1]) {
    out[0] = Narrow(CbrtBlock<kReciprocal>(WidenLow(in[0])),
                    CbrtBlock<kReciprocal>(WidenHigh(in[0])));
  }
  static int Flag(const F (&in)[1]) { return FlagFloatZeroOrNonFinite(in[0]); }
  static int Settle(const F (&)[1], F (&)[1], int bits) { return bits; }
  static int Companion(const float (&in)[1], float (&out)[1]) {
    const int code = CbrtSpecial<kReciprocal>(in[0], &out[0]);
    return code >= 0 ? code : TEM_STATUS_OK;
  }
};

}  // namespace
}  // namespace roots
}  // namespace tem

TEM_ENTRIES_A_R(d, Cbrt, tem::roots::DoubleCbrt<false>)
TEM_ENTRIES_A_R(d, InvCbrt, tem::roots::DoubleCbrt<true>)
TEM_ENTRIES_A_R(s, Cbrt, tem::roots::FloatCbrt<false>)
TEM_ENTRIES_A_R(s, InvCbrt, tem::roots::FloatCbrt<true>)
