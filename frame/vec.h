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
  friend Vec operator+(Vec a, Vec b) { return {_mm_add_ps(a.raw, b.raw)}; }
  friend Vec operator&(Vec a, Vec b) { return {_mm_and_ps(a.raw, b.raw)}; }
};

template <>
struct Vec<double> : VecBase<double> {
  __m128d raw;
  Vec() = default;
  Vec(__m128d r) : raw(r) {}  // NOLINT: implicit, so that intrinsics' results convert
  static Vec Load(const double* p) { return {_mm_loadu_pd(p)}; }
  static Vec LoadAligned(const double* p) { return {_mm_load_pd(p)}; }
  static Vec FromBits(uint64_t bits) {
    return {_mm_castsi128_pd(_mm_set1_epi64x(static_cast<long long>(bits)))};
  }
  void Store(double* p) const { _mm_storeu_pd(p, raw); }
  void StoreAligned(double* p) const { _mm_store_pd(p, raw); }
  friend Vec operator+(Vec a, Vec b) { return {_mm_add_pd(a.raw, b.raw)}; }
  friend Vec operator&(Vec a, Vec b) { return {_mm_and_pd(a.raw, b.raw)}; }
};

}  // namespace tem

#endif  // QOR_FRAME_VEC_H_
