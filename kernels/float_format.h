// The binary formats of float and double as integers: field widths, masks and the few
// constants shared by the bit-level kernels (rounding, selections, remainders).
#ifndef QOR_KERNELS_FLOAT_FORMAT_H_
#define QOR_KERNELS_FLOAT_FORMAT_H_

#include <stdint.h>
#include <string.h>

namespace tem {

// The bits of a double or a float as an unsigned integer, and a double from its bits.
inline uint64_t BitsOf(double x) {
  uint64_t b;
  memcpy(&b, &x, sizeof b);
  return b;
}
inline double DoubleOf(uint64_t b) {
  double x;
  memcpy(&x, &b, sizeof x);
  return x;
}
inline uint32_t BitsOf(float x) {
  uint32_t b;
  memcpy(&b, &x, sizeof b);
  return b;
}

// Splits a double into its top 26 bits and a rest of 27: products of two tops, and of a top
// and a rest, are exact.
inline constexpr uint64_t kSplitMask = 0xFFFFFFFFF8000000ull;

template <class T>
struct Format;

template <>
struct Format<float> {
  using Bits = uint32_t;
  static constexpr int kMantissaBits = 23;
  static constexpr Bits kExponentMax = 0xFF;
  static constexpr Bits kBias = 127;
  static constexpr float kShifter = 12582912.0f;  // 1.5 * 2^23
  static constexpr Bits kDefaultNaN = 0x7FC00000u;
};

template <>
struct Format<double> {
  using Bits = uint64_t;
  static constexpr int kMantissaBits = 52;
  static constexpr Bits kExponentMax = 0x7FF;
  static constexpr Bits kBias = 1023;
  static constexpr double kShifter = 6755399441055744.0;  // 1.5 * 2^52
  static constexpr Bits kDefaultNaN = 0x7FF8000000000000ull;
};

// Derived fields, the same for both types.
template <class T>
struct Fields : Format<T> {
  using typename Format<T>::Bits;
  using Format<T>::kMantissaBits;
  using Format<T>::kBias;
  static constexpr Bits kSign = Bits{1} << (8 * sizeof(T) - 1);
  static constexpr Bits kMagnitude = ~kSign;
  static constexpr Bits kImplicit = Bits{1} << kMantissaBits;
  static constexpr Bits kMantissa = kImplicit - 1;
  static constexpr Bits kInfinity = Format<T>::kExponentMax << kMantissaBits;
  static constexpr Bits kOne = kBias << kMantissaBits;
  static constexpr Bits kHalf = (kBias - 1) << kMantissaBits;

  static Bits ToBits(T x) { return BitsOf(x); }
  static T FromBits(Bits b) {
    T x;
    memcpy(&x, &b, sizeof x);
    return x;
  }
  // The biased exponent field, sign excluded.
  static int Exponent(Bits b) { return static_cast<int>((b & kMagnitude) >> kMantissaBits); }
  static T WithSignOf(T magnitude, Bits sign_source) {
    return FromBits(ToBits(magnitude) | (sign_source & kSign));
  }
};

// x * 1, which quiets a signalling NaN; the barrier keeps the compiler from folding it to x.
template <class T>
inline T QuietedByOne(T x) {
  T one = T(1);
  __asm__("" : "+x"(one));
  return x * one;
}

}  // namespace tem

#endif  // QOR_KERNELS_FLOAT_FORMAT_H_
