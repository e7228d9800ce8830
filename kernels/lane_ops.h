// Lane operations of the bit-level kernels that Vec<T> leaves out: ordered and unordered
// compares, the hardware maximum and minimum, and and-not, for both element types; unsigned
// range tests of 32-bit lanes and of the high words of doubles; magnitudes of double registers.
#ifndef QOR_KERNELS_LANE_OPS_H_
#define QOR_KERNELS_LANE_OPS_H_

#include <stdint.h>

#include "frame/vec.h"

namespace tem {

inline Vec<float> Equal(Vec<float> a, Vec<float> b) { return {_mm_cmpeq_ps(a.raw, b.raw)}; }
inline Vec<double> Equal(Vec<double> a, Vec<double> b) { return {_mm_cmpeq_pd(a.raw, b.raw)}; }
inline Vec<float> LessOrEqual(Vec<float> a, Vec<float> b) { return {_mm_cmple_ps(a.raw, b.raw)}; }
inline Vec<double> LessOrEqual(Vec<double> a, Vec<double> b) {
  return {_mm_cmple_pd(a.raw, b.raw)};
}
inline Vec<float> Unordered(Vec<float> a, Vec<float> b) { return {_mm_cmpunord_ps(a.raw, b.raw)}; }
inline Vec<double> Unordered(Vec<double> a, Vec<double> b) {
  return {_mm_cmpunord_pd(a.raw, b.raw)};
}
// The hardware maximum and minimum: the second operand where either is a NaN or both are zeros.
inline Vec<float> HardwareMax(Vec<float> a, Vec<float> b) { return {_mm_max_ps(a.raw, b.raw)}; }
inline Vec<double> HardwareMax(Vec<double> a, Vec<double> b) { return {_mm_max_pd(a.raw, b.raw)}; }
inline Vec<float> HardwareMin(Vec<float> a, Vec<float> b) { return {_mm_min_ps(a.raw, b.raw)}; }
inline Vec<double> HardwareMin(Vec<double> a, Vec<double> b) { return {_mm_min_pd(a.raw, b.raw)}; }
inline float HardwareMax(float a, float b) {
  return _mm_cvtss_f32(_mm_max_ss(_mm_set_ss(a), _mm_set_ss(b)));
}
inline double HardwareMax(double a, double b) {
  return _mm_cvtsd_f64(_mm_max_sd(_mm_set_sd(a), _mm_set_sd(b)));
}
inline float HardwareMin(float a, float b) {
  return _mm_cvtss_f32(_mm_min_ss(_mm_set_ss(a), _mm_set_ss(b)));
}
inline double HardwareMin(double a, double b) {
  return _mm_cvtsd_f64(_mm_min_sd(_mm_set_sd(a), _mm_set_sd(b)));
}
// ~a & b.
inline Vec<float> AndNot(Vec<float> a, Vec<float> b) { return {_mm_andnot_ps(a.raw, b.raw)}; }
inline Vec<double> AndNot(Vec<double> a, Vec<double> b) { return {_mm_andnot_pd(a.raw, b.raw)}; }

// Lanes whose exponent field is all ones (infinities and NaNs), from the high 32 bits of each
// lane as integers.
inline int NonFiniteLanes(Vec<float> x) {
  __m128i m = _mm_and_si128(x.Image(), _mm_set1_epi32(0x7FFFFFFF));
  return _mm_movemask_ps(_mm_castsi128_ps(_mm_cmpgt_epi32(m, _mm_set1_epi32(0x7F7FFFFF))));
}
inline int NonFiniteLanes(Vec<double> x) { return x.HighWordAbove(0x7FEFFFFF); }

// All ones in the 32-bit lanes of v that lie outside [kLo, kHi) as unsigned numbers: v - kLo
// above kHi - kLo - 1, an unsigned compare, is a signed one after adding 0x80000000.
template <uint32_t kLo, uint32_t kHi>
[[gnu::always_inline]] inline __m128i Outside(__m128i v) {
  const __m128i biased = _mm_add_epi32(v, WholeBits32(0x80000000u - kLo));
  return _mm_cmpgt_epi32(biased, WholeBits32(kHi - kLo - 1 + 0x80000000u));
}
// The same of the high words of a double register (negative lanes are always outside).
template <uint32_t kLo, uint32_t kHi>
[[gnu::always_inline]] inline __m128i HighOutside(__m128d x) {
  return Outside<kLo, kHi>(_mm_shuffle_epi32(_mm_castpd_si128(x), _MM_SHUFFLE(3, 3, 1, 1)));
}
// Their lane bits.
template <uint32_t kLo, uint32_t kHi>
inline int FlagHighOutside(__m128d x) {
  return _mm_movemask_pd(_mm_castsi128_pd(HighOutside<kLo, kHi>(x)));
}

// |x| of both lanes.
inline __m128d Magnitude(__m128d x) {
  return _mm_and_pd(x, _mm_castsi128_pd(WholeBits64(0x7FFFFFFFFFFFFFFFull)));
}

}  // namespace tem

#endif  // QOR_KERNELS_LANE_OPS_H_
