// Exact element-wise arithmetic: absolute value and addition. No lane can fail.
#include <string.h>

#include "frame/kernel_frame.h"

namespace tem {

namespace {

template <class E>
struct SignBit;
template <>
struct SignBit<float> {
  using Bits = uint32_t;
  static constexpr Bits kMask = 0x80000000u;
};
template <>
struct SignBit<double> {
  using Bits = uint64_t;
  static constexpr Bits kMask = 0x8000000000000000ull;
};

// |x| by clearing the sign bit with an integer mask: a NaN keeps its payload and stays quiet
// or signalling as it was.
template <class E>
struct Abs {
  using T = E;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 8;
  static constexpr bool kCanFail = false;
  static void Compute(const Vec<T> (&in)[1], Vec<T> (&out)[1]) {
    out[0] = in[0] & Vec<T>::FromBits(~SignBit<T>::kMask);
  }
  static int Element(const T (&in)[1], T (&out)[1]) {
    typename SignBit<T>::Bits bits;
    memcpy(&bits, &in[0], sizeof bits);
    bits &= ~SignBit<T>::kMask;
    memcpy(&out[0], &bits, sizeof bits);
    return TEM_STATUS_OK;
  }
};

// a + b, the plain hardware addition; an overflow is silent.
template <class E>
struct Add {
  using T = E;
  static constexpr int kInputs = 2, kResults = 1, kBlock = 8;
  static constexpr bool kCanFail = false;
  static void Compute(const Vec<T> (&in)[2], Vec<T> (&out)[1]) { out[0] = in[0] + in[1]; }
  static int Element(const T (&in)[2], T (&out)[1]) {
    out[0] = in[0] + in[1];
    return TEM_STATUS_OK;
  }
};

}  // namespace

}  // namespace tem

TEM_ENTRIES_A_R(s, Abs, tem::Abs<float>)
TEM_ENTRIES_A_AB_R(d, Add, tem::Add<double>)
