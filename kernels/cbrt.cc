// Cube root and reciprocal cube root in the vector form. |x| = m 2^(E - 1023) with the biased
// exponent E = 3q + j split by a multiplication by 0x1556 and a shift; the row 32 j + i, with
// i the top five mantissa bits, gives cbrt(2^j c) for the interval's centre c, and
// r = (m - c) / c, exact but for the last rounding, runs the binomial series. The sign of x
// comes back at the end. Zeros, subnormals, infinities and NaNs go to the companion. The float
// members run the same steps on four float lanes with float rows, and send float subnormals
// to the double formula.
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

// Lane bits of the float lanes whose magnitude is zero, subnormal, infinite or NaN.
inline int FlagFloatNotNormal(F x) {
  const __m128i magnitude = _mm_and_si128(x.Image(), _mm_set1_epi32(0x7FFFFFFF));
  return _mm_movemask_ps(_mm_castsi128_ps(Outside<0x00800000, 0x7F800000>(magnitude)));
}

// cbrt or 1/cbrt of four normal floats in single precision. E + 2 = 3q + j for the biased
// exponent E, split by a multiplication by 171 and a shift; r = (m - c) (1/c) with m - c exact,
// off by 2^-30 at most, the series to r^4 (2^-33), and hi + (hi p + lo): about 0.53 ulp.
template <bool kReciprocal>
inline F CbrtBlockSingle(F x) {
  const __m128i image = x.Image();
  const __m128i magnitude = _mm_and_si128(image, _mm_set1_epi32(0x7FFFFFFF));
  const __m128i biased = _mm_add_epi32(_mm_srli_epi32(magnitude, 23), _mm_set1_epi32(2));
  // q = floor(b / 3) for b below 512; b * 171 fits the low 16 bits of the lane.
  const __m128i q = _mm_srli_epi32(_mm_mullo_epi16(biased, _mm_set1_epi32(171)), 9);
  const __m128i j = _mm_sub_epi32(biased, _mm_add_epi32(q, _mm_add_epi32(q, q)));
  const __m128i i = _mm_and_si128(_mm_srli_epi32(magnitude, 18), _mm_set1_epi32(31));
  const __m128i row = _mm_add_epi32(_mm_slli_epi32(j, 5), i);
  const auto& rows = kReciprocal ? kInvCbrtRowsSingle : kCbrtRowsSingle;
  __m128 c = _mm_load_ps(rows[_mm_cvtsi128_si32(row)]);
  __m128 rc = _mm_load_ps(rows[_mm_cvtsi128_si32(_mm_shuffle_epi32(row, 1))]);
  __m128 hi = _mm_load_ps(rows[_mm_cvtsi128_si32(_mm_shuffle_epi32(row, 2))]);
  __m128 lo = _mm_load_ps(rows[_mm_cvtsi128_si32(_mm_shuffle_epi32(row, 3))]);
  _MM_TRANSPOSE4_PS(c, rc, hi, lo);
  const F m = F::FromImage(_mm_or_si128(_mm_and_si128(image, _mm_set1_epi32(0x007FFFFF)),
                                        _mm_set1_epi32(0x3F800000)));
  const F r = (m - F(c)) * F(rc);
  // (1 + r)^(-+1/3) - 1 to r^4.
  const F p = kReciprocal ? (((F::Set(35.0f / 243) * r + F::Set(-14.0f / 81)) * r +
                              F::Set(2.0f / 9)) * r + F::Set(-1.0f / 3)) * r
                          : (((F::Set(-10.0f / 243) * r + F::Set(5.0f / 81)) * r +
                              F::Set(-1.0f / 9)) * r + F::Set(1.0f / 3)) * r;
  const F y = F(hi) + (F(hi) * p + F(lo));
  // 2^(E - 127) = 2^(3(q - 43) + j): q - 43 goes into the exponent field.
  const __m128i k = _mm_slli_epi32(_mm_sub_epi32(q, _mm_set1_epi32(43)), 23);
  const __m128i scaled = kReciprocal ? _mm_sub_epi32(y.Image(), k) : _mm_add_epi32(y.Image(), k);
  const __m128i sign = _mm_andnot_si128(_mm_set1_epi32(0x7FFFFFFF), image);
  return F::FromImage(_mm_or_si128(scaled, sign));
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
  static constexpr int kInputs = 1, kResults = 1, kBlock = 16;
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
    out[0] = CbrtBlockSingle<kReciprocal>(in[0]);
  }
  static int Flag(const F (&in)[1]) { return FlagFloatNotNormal(in[0]); }
  static int Settle(const F (&)[1], F (&)[1], int bits) { return bits; }
  // A subnormal float is a normal double.
  static int Companion(const float (&in)[1], float (&out)[1]) {
    const int code = CbrtSpecial<kReciprocal>(in[0], &out[0]);
    if (code >= 0) return code;
    out[0] = static_cast<float>(CbrtBlock<kReciprocal>(D::Set(in[0])).Lane0());
    return TEM_STATUS_OK;
  }
};

}  // namespace
}  // namespace roots
}  // namespace tem

TEM_ENTRIES_A_R(d, Cbrt, tem::roots::DoubleCbrt<false>)
TEM_ENTRIES_A_R(d, InvCbrt, tem::roots::DoubleCbrt<true>)
TEM_ENTRIES_A_R(s, Cbrt, tem::roots::FloatCbrt<false>)
TEM_ENTRIES_A_R(s, InvCbrt, tem::roots::FloatCbrt<true>)
