// Helpers of the kernel tests: bit images, the full sweep switch, sampled inputs, MPFR values.
#ifndef QOR_TESTS_KERNELS_EXACT_SUPPORT_H_
#define QOR_TESTS_KERNELS_EXACT_SUPPORT_H_

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

#include "tools/mpfr_number.h"

namespace exact {

template <class T>
using BitsOf = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;

template <class T>
BitsOf<T> Bits(T x) { return std::bit_cast<BitsOf<T>>(x); }
template <class T>
T FromBits(BitsOf<T> b) { return std::bit_cast<T>(b); }

// Same bits, or both NaN.
template <class T>
bool Same(T a, T b) {
  return Bits(a) == Bits(b) || (std::isnan(a) && std::isnan(b));
}

inline bool FullSweep() {
  const char* v = getenv("QOR_EXACT_SWEEP");
  return v != nullptr && v[0] == '1';
}

// Both signs of: every exponent with the mantissas 0, 1, 2, one half, and all ones less 0, 1;
// and n.5, n +- 0.25 for n around every power of two up to the type's last fraction bit.
template <class T>
std::vector<T> EdgeValues() {
  using B = BitsOf<T>;
  constexpr int kM = sizeof(T) == 4 ? 23 : 52;
  constexpr B kMantissa = (B{1} << kM) - 1;
  constexpr int kExponents = sizeof(T) == 4 ? 256 : 2048;
  std::vector<T> v;
  for (B e = 0; e < B(kExponents); ++e) {
    for (B m :
         {B{0}, B{1}, B{2}, B{1} << (kM - 1), (B{1} << (kM - 1)) + 1, kMantissa - 1, kMantissa}) {
      const B bits = (e << kM) | m;
      v.push_back(FromBits<T>(bits));
      v.push_back(FromBits<T>(bits | (B{1} << (8 * sizeof(T) - 1))));
    }
  }
  for (int k = 0; k <= kM + 1; ++k) {
    const T p = std::ldexp(T(1), k);
    for (T d : {T(-1.5), T(-1), T(-0.75), T(-0.5), T(-0.25), T(0.25), T(0.5), T(0.75), T(1.5)}) {
      v.push_back(p + d);
      v.push_back(-(p + d));
    }
  }
  return v;
}

// Bit patterns: half uniform over all patterns, half with magnitudes in [2^-3, 2^(M+2)), where
// the rounding functions do their work.
template <class T>
std::vector<T> SampledValues(size_t count, uint64_t seed) {
  using B = BitsOf<T>;
  constexpr int kM = sizeof(T) == 4 ? 23 : 52;
  constexpr B kBias = sizeof(T) == 4 ? 127 : 1023;
  std::mt19937_64 rng(seed);
  std::vector<T> v(count);
  for (size_t i = 0; i < count; ++i) {
    B bits = static_cast<B>(rng());
    if (i % 2) {
      const B e = kBias - 3 + static_cast<B>(rng() % (kM + 5));
      bits = (bits & ~(((B{1} << (sizeof(T) == 4 ? 8 : 11)) - 1) << kM)) | (e << kM);
    }
    v[i] = FromBits<T>(bits);
  }
  return v;
}

// f(x) in MPFR.
inline Big Of(int (*f)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t), const Big& x) {
  Big r;
  f(r.get(), x.get(), MPFR_RNDN);
  return r;
}

}  // namespace exact

#endif  // QOR_TESTS_KERNELS_EXACT_SUPPORT_H_
