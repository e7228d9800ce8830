// A kernel made of one scalar element function E(double, double*) -> status, for functions
// whose contiguous member is of the loop form: the loop form calls it element by element, and
// the strided member (vector form) computes every lane with it and flags the lanes that
// Fn::MayReport picks, whose statuses the companion, the same function, then gives.
// Single-precision members widen to double and round once.
#ifndef QOR_KERNELS_ELEMENT_KERNEL_H_
#define QOR_KERNELS_ELEMENT_KERNEL_H_

#include "frame/kernel_frame.h"

namespace tem {

template <class E, class Fn>
struct ElementKernel {
  using T = E;
  static constexpr int kInputs = 1, kResults = 1, kBlock = Vec<T>::kLanes;
  static constexpr bool kCanFail = Fn::kCanFail;
  static constexpr int kLanes = Vec<T>::kLanes;

  static int Element(const T (&in)[1], T (&out)[1]) {
    double r;
    const int code = Fn::Eval(in[0], &r);
    out[0] = static_cast<T>(r);
    return code;
  }
  static void Compute(const Vec<T> (&in)[1], Vec<T> (&out)[1]) {
    alignas(16) T lanes[kLanes];
    in[0].StoreAligned(lanes);
    for (T& lane : lanes) {
      double r;
      Fn::Eval(lane, &r);
      lane = static_cast<T>(r);
    }
    out[0] = Vec<T>::LoadAligned(lanes);
  }
  static int Flag(const Vec<T> (&in)[1]) {
    alignas(16) T lanes[kLanes];
    in[0].StoreAligned(lanes);
    int bits = 0;
    for (int i = 0; i < kLanes; ++i) bits |= Fn::MayReport(lanes[i]) << i;
    return bits;
  }
  static int Settle(const Vec<T> (&)[1], Vec<T> (&)[1], int bits) { return bits; }
  static int Companion(const T (&in)[1], T (&out)[1]) { return Element(in, out); }
};

}  // namespace tem

#endif  // QOR_KERNELS_ELEMENT_KERNEL_H_
