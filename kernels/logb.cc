// logb: the unbiased exponent as a floating-point number, read from the exponent field.
// Zeros, subnormals, infinities and NaNs (field 0 or all ones) go to the companion.
#include "frame/kernel_frame.h"
#include "kernels/log_core.h"

namespace tem {

namespace {

template <class E>
struct LogbTraits;
template <>
struct LogbTraits<double> {
  using Bits = uint64_t;
  static constexpr int kMantissaBits = 52, kBias = 1023, kFieldMax = 0x7FF;
  // A subnormal times 2^55 is normal; its field less 1023 + 55 is the exponent.
  static constexpr double kSubnormalScale = 36028797018963968.0;
  static constexpr int kSubnormalBias = 1078;
};
template <>
struct LogbTraits<float> {
  using Bits = uint32_t;
  static constexpr int kMantissaBits = 23, kBias = 127, kFieldMax = 0xFF;
  // A subnormal times 2^25 is normal; its field less 127 + 25 is the exponent.
  static constexpr float kSubnormalScale = 33554432.0f;
  static constexpr int kSubnormalBias = 152;
};

template <class E>
int ExponentField(E x) {
  typename LogbTraits<E>::Bits bits;
  memcpy(&bits, &x, sizeof bits);
  return static_cast<int>(bits >> LogbTraits<E>::kMantissaBits) & LogbTraits<E>::kFieldMax;
}

// The exponent fields of a register, one per 32-bit lane of `fields` for float, or in the
// odd 32-bit lanes for double.
inline __m128i Fields(Vec<float> x) {
  return _mm_and_si128(_mm_srli_epi32(_mm_castps_si128(x.raw), 23), _mm_set1_epi32(0xFF));
}
inline __m128i Fields(Vec<double> x) {
  const __m128i high = _mm_shuffle_epi32(_mm_castpd_si128(x.raw), _MM_SHUFFLE(3, 3, 1, 1));
  return _mm_and_si128(_mm_srli_epi32(high, 20), _mm_set1_epi32(0x7FF));
}
inline Vec<float> ToFloat(Vec<float>, __m128i e) { return {_mm_cvtepi32_ps(e)}; }
inline Vec<double> ToFloat(Vec<double>, __m128i e) {
  return {_mm_cvtepi32_pd(_mm_shuffle_epi32(e, _MM_SHUFFLE(3, 1, 2, 0)))};
}
inline int LaneBits(Vec<float>, __m128i m) { return _mm_movemask_ps(_mm_castsi128_ps(m)); }
inline int LaneBits(Vec<double>, __m128i m) { return _mm_movemask_pd(_mm_castsi128_pd(m)); }

template <class E>
struct Logb {
  using T = E;
  using Tr = LogbTraits<E>;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 16 / sizeof(E) * 2;
  static constexpr bool kCanFail = true;
  static void Compute(const Vec<T> (&in)[1], Vec<T> (&out)[1]) {
    out[0] = ToFloat(in[0], _mm_sub_epi32(Fields(in[0]), _mm_set1_epi32(Tr::kBias)));
  }
  static int Flag(const Vec<T> (&in)[1]) {
    const __m128i f = Fields(in[0]);
    const __m128i special = _mm_or_si128(_mm_cmpeq_epi32(f, _mm_setzero_si128()),
                                         _mm_cmpeq_epi32(f, _mm_set1_epi32(Tr::kFieldMax)));
    return LaneBits(in[0], special);
  }
  static int Settle(const Vec<T> (&)[1], Vec<T> (&)[1], int bits) { return bits; }
  // Zero gives -inf with status 1; infinities and NaN give |x| (a NaN quieted by x * 1).
  static int Companion(const T (&in)[1], T (&out)[1]) {
    const T v = in[0] * T(1);
    if (v == T(0)) {
      out[0] = -__builtin_inf();
      return TEM_STATUS_ERRDOM;
    }
    const int field = ExponentField(v);
    if (field == Tr::kFieldMax) {
      out[0] = __builtin_fabs(v);
    } else if (field == 0) {
      out[0] = static_cast<T>(ExponentField(static_cast<T>(v * Tr::kSubnormalScale)) -
                              Tr::kSubnormalBias);
    } else {
      out[0] = static_cast<T>(field - Tr::kBias);
    }
    return TEM_STATUS_OK;
  }
};

}  // namespace

}  // namespace tem

TEM_ENTRIES_A_R(s, Logb, tem::Logb<float>)
TEM_ENTRIES_A_R(d, Logb, tem::Logb<double>)
