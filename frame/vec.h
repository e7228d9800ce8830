// Vec<T>: one SSE2 register of float or double lanes, with unaligned, partial and strided
// loads and stores. No fused multiply-add: SSE2 has none.
#ifndef QOR_FRAME_VEC_H_
#define QOR_FRAME_VEC_H_

#include <emmintrin.h>
#include <stddef.h>
#include <stdint.h>

namespace tem {

template <class T>
struct Vec;

// Lane-wise access shared by both element types.
template <class T>
struct VecBase {
  static constexpr int kLanes = 16 / sizeof(T);

  // Lanes past `count` are not read; they hold `pad`.
  static Vec<T> LoadPartial(const T* p, int count, T pad) { return Gather(p, 1, count, pad); }
  static Vec<T> Gather(const T* p, ptrdiff_t inc, int count, T pad) {
    alignas(16) T lanes[kLanes];
    for (int i = 0; i < kLanes; ++i) lanes[i] = i < count ? p[i * inc] : pad;
    return Vec<T>::LoadAligned(lanes);
  }
  void StorePartial(T* p, int count) const { Scatter(p, 1, count); }
  void Scatter(T* p, ptrdiff_t inc, int count) const {
    alignas(16) T lanes[kLanes];
    static_cast<const Vec<T>*>(this)->StoreAligned(lanes);
    for (int i = 0; i < count; ++i) p[i * inc] = lanes[i];
  }
};

template <>
struct Vec<float> : VecBase<float> {
  __m128 raw;
  Vec() = default;
  Vec(__m128 r) : raw(r) {}  // NOLINT: implicit, so that intrinsics' results convert
  static Vec Load(const float* p) { return {_mm_loadu_ps(p)}; }
  static Vec LoadAligned(const float* p) { return {_mm_load_ps(p)}; }
  static Vec FromBits(uint32_t bits) { return {_mm_castsi128_ps(_mm_set1_epi32(bits))}; }
  void Store(float* p) const { _mm_storeu_ps(p, raw); }
  void StoreAligned(float* p) const { _mm_store_ps(p, raw); }
  static Vec Set(float v) { return {_mm_set1_ps(v)}; }
  static Vec FromImage(__m128i i) { return {_mm_castsi128_ps(i)}; }
  __m128i Image() const { return _mm_castps_si128(raw); }
  friend Vec operator+(Vec a, Vec b) { return {_mm_add_ps(a.raw, b.raw)}; }
  friend Vec operator-(Vec a, Vec b) { return {_mm_sub_ps(a.raw, b.raw)}; }
  friend Vec operator*(Vec a, Vec b) { return {_mm_mul_ps(a.raw, b.raw)}; }
  friend Vec operator/(Vec a, Vec b) { return {_mm_div_ps(a.raw, b.raw)}; }
  friend Vec operator&(Vec a, Vec b) { return {_mm_and_ps(a.raw, b.raw)}; }
  friend Vec operator|(Vec a, Vec b) { return {_mm_or_ps(a.raw, b.raw)}; }
  static Vec Select(Vec mask, Vec a, Vec b) {
    return {_mm_or_ps(_mm_and_ps(mask.raw, a.raw), _mm_andnot_ps(mask.raw, b.raw))};
  }
  static Vec Greater(Vec a, Vec b) { return {_mm_cmpgt_ps(a.raw, b.raw)}; }
  static Vec Less(Vec a, Vec b) { return {_mm_cmplt_ps(a.raw, b.raw)}; }
  int LaneBits() const { return _mm_movemask_ps(raw); }
  // Lanes whose magnitude's bits, as signed integers after `and_mask`, exceed `limit`.
  int MagnitudeAbove(uint32_t limit, uint32_t and_mask = 0x7FFFFFFF) const {
    __m128i bits = _mm_and_si128(Image(), _mm_set1_epi32(static_cast<int>(and_mask)));
    return _mm_movemask_ps(_mm_castsi128_ps(_mm_cmpgt_epi32(bits, _mm_set1_epi32(limit))));
  }
};

template <>
struct Vec<double> : VecBase<double> {
  __m128d raw;
  Vec() = default;
  Vec(__m128d r) : raw(r) {}  // NOLINT: implicit, so that intrinsics' results convert
  // Both lanes `v`: lets one formula template serve a register and a scalar double.
  explicit Vec(double v) : raw(_mm_set1_pd(v)) {}
  static Vec Load(const double* p) { return {_mm_loadu_pd(p)}; }
  static Vec LoadAligned(const double* p) { return {_mm_load_pd(p)}; }
  static Vec FromBits(uint64_t bits) {
    return {_mm_castsi128_pd(_mm_set1_epi64x(static_cast<long long>(bits)))};
  }
  void Store(double* p) const { _mm_storeu_pd(p, raw); }
  void StoreAligned(double* p) const { _mm_store_pd(p, raw); }
  static Vec Set(double v) { return {_mm_set1_pd(v)}; }
  static Vec FromImage(__m128i i) { return {_mm_castsi128_pd(i)}; }
  __m128i Image() const { return _mm_castpd_si128(raw); }
  double Lane0() const { return _mm_cvtsd_f64(raw); }
  friend Vec operator+(Vec a, Vec b) { return {_mm_add_pd(a.raw, b.raw)}; }
  friend Vec operator-(Vec a, Vec b) { return {_mm_sub_pd(a.raw, b.raw)}; }
  friend Vec operator*(Vec a, Vec b) { return {_mm_mul_pd(a.raw, b.raw)}; }
  friend Vec operator/(Vec a, Vec b) { return {_mm_div_pd(a.raw, b.raw)}; }
  friend Vec operator&(Vec a, Vec b) { return {_mm_and_pd(a.raw, b.raw)}; }
  friend Vec operator|(Vec a, Vec b) { return {_mm_or_pd(a.raw, b.raw)}; }
  // Lanes of `mask` (all ones or zero) take `a`, the others `b`.
  static Vec Select(Vec mask, Vec a, Vec b) {
    return {_mm_or_pd(_mm_and_pd(mask.raw, a.raw), _mm_andnot_pd(mask.raw, b.raw))};
  }
  static Vec Greater(Vec a, Vec b) { return {_mm_cmpgt_pd(a.raw, b.raw)}; }
  static Vec Less(Vec a, Vec b) { return {_mm_cmplt_pd(a.raw, b.raw)}; }
  // a where a < b, else b (so b where either is NaN).
  static Vec Min(Vec a, Vec b) { return {_mm_min_pd(a.raw, b.raw)}; }
  int LaneBits() const { return _mm_movemask_pd(raw); }
  // Lanes whose magnitude's high word exceeds `limit` as a signed integer: infinities and
  // NaNs lie above every finite limit.
  int HighWordAbove(uint32_t limit) const { return Vec{HighWordsAbove(limit)}.LaneBits(); }
  // All ones in the lanes whose high word, sign cleared, is above `limit`; its sign bit is what
  // HighWordAbove reads.
  __m128d HighWordsAbove(uint32_t limit) const {
    __m128i high = _mm_and_si128(Image(), _mm_set1_epi64x(0x7FFFFFFF00000000ll));
    __m128i above = _mm_cmpgt_epi32(high, _mm_set1_epi64x(static_cast<long long>(limit) << 32));
    return _mm_castsi128_pd(above);
  }
  // Adds k * 2^52 to each lane's image, k being the bits of `n` from bit `index_bits` up:
  // a scaling by 2^k with no multiplication, valid while the result stays normal.
  template <int kIndexBits>
  Vec AddToExponent(__m128i n) const {
    __m128i field = _mm_and_si128(_mm_slli_epi64(n, 52 - kIndexBits),
                                  _mm_set1_epi64x(static_cast<long long>(0xFFF0000000000000ull)));
    return {_mm_castsi128_pd(_mm_add_epi64(Image(), field))};
  }
  // Lane 0 from *lane0 and lane 1 from *lane1.
  static Vec FromLanes(const double* lane0, const double* lane1) {
    return {_mm_loadh_pd(_mm_load_sd(lane0), lane1)};
  }
  // Rows i and j of a table of pairs: the first members to `a`, the second to `b`.
  static void GatherPairs(const double (*table)[2], int i, int j, Vec& a, Vec& b) {
    __m128d row_i = _mm_load_pd(table[i]), row_j = _mm_load_pd(table[j]);
    a = {_mm_unpacklo_pd(row_i, row_j)};
    b = {_mm_unpackhi_pd(row_i, row_j)};
  }
  // The low 32 bits of each lane's image, as signed integers.
  static void LowWords(__m128i image, int& lane0, int& lane1) {
    lane0 = _mm_cvtsi128_si32(image);
    lane1 = _mm_cvtsi128_si32(_mm_unpackhi_epi64(image, image));
  }
};

// A constant in every lane, kept as one aligned 16-byte value and loaded whole. GCC builds a
// constant _mm_set1 with a scalar load and a shuffle, two instructions where one load does;
// the empty asm keeps the whole load.
template <class T>
struct alignas(16) Splat {
  T v[16 / sizeof(T)];
  constexpr explicit Splat(T x) : v{} {
    for (T& lane : v) lane = x;
  }
  Vec<T> operator()() const {
    __m128i bits = _mm_load_si128(reinterpret_cast<const __m128i*>(v));
    __asm__("" : "+x"(bits));
    return Vec<T>::FromImage(bits);
  }
};

// 1.0 in both double lanes, which many formulas share.
inline constexpr Splat<double> kOne{1.0};

// The 64-bit pattern `bits` in both lanes, loaded whole for the same reason as Splat.
[[gnu::always_inline]] inline __m128i WholeBits64(uint64_t bits) {
  __m128i v = _mm_set1_epi64x(static_cast<long long>(bits));
  __asm__("" : "+x"(v));
  return v;
}
// The 32-bit pattern `bits` in all four lanes, and a float constant, loaded whole likewise.
[[gnu::always_inline]] inline __m128i WholeBits32(uint32_t bits) {
  __m128i v = _mm_set1_epi32(static_cast<int>(bits));
  __asm__("" : "+x"(v));
  return v;
}
[[gnu::always_inline]] inline __m128 WholeFloat(float c) {
  return _mm_castsi128_ps(WholeBits32(__builtin_bit_cast(uint32_t, c)));
}

// Single lanes widened to two double registers and narrowed back.
inline Vec<double> WidenLow(Vec<float> v) { return {_mm_cvtps_pd(v.raw)}; }
inline Vec<double> WidenHigh(Vec<float> v) { return {_mm_cvtps_pd(_mm_movehl_ps(v.raw, v.raw))}; }
inline Vec<float> Narrow(Vec<double> low, Vec<double> high) {
  return {_mm_movelh_ps(_mm_cvtpd_ps(low.raw), _mm_cvtpd_ps(high.raw))};
}

}  // namespace tem

#endif  // QOR_FRAME_VEC_H_
