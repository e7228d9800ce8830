// Kernels made of element functions, for functions whose contiguous member is of the loop
// form. LaneKernel: a vector common path in double lanes, run on whole registers by both forms,
// with the scalar element Fn::Eval(double, double*) -> status for the flagged lanes.
// Single-precision members widen to double and round once.
#ifndef QOR_KERNELS_ELEMENT_KERNEL_H_
#define QOR_KERNELS_ELEMENT_KERNEL_H_

#include "frame/kernel_frame.h"

namespace tem {

TEM_OPTIONAL_FLAG(LanePairs, kPairs)

// A kernel of the loop form (and its strided member, of the vector form) with a vector common
// path: Fn::Lanes(x) computes two double lanes, Fn::Flag(x) picks the lanes that need the
// scalar element Fn::Eval; Fn::kPairs (optional) asks for two registers a step. Single members
// widen and round once.
template <class E, class Fn>
struct LaneKernel {
  using T = E;
  static constexpr int kInputs = 1, kResults = 1, kBlock = Vec<T>::kLanes;
  static constexpr bool kCanFail = true, kLoopBlocks = true;
  static __m128 Narrowed(__m128d x) { return _mm_cvtpd_ps(Fn::Lanes(x)); }
  [[gnu::always_inline]] static void Compute(const Vec<T> (&in)[1], Vec<T> (&out)[1]) {
    if constexpr (sizeof(T) == 4) {
      const __m128 x = in[0].raw;
      out[0] = _mm_movelh_ps(Narrowed(_mm_cvtps_pd(x)), Narrowed(_mm_cvtps_pd(_mm_movehl_ps(x, x))));
    } else {
      out[0] = Fn::Lanes(in[0].raw);
    }
  }
  // With Fn::kPairs, the loop form takes two double registers in one body, so that they share
  // the constants and their chains overlap.
  static constexpr bool kLoopPairs = sizeof(T) == 8 && LanePairs<Fn>::value;
  static int Flag(const Vec<T> (&in)[1]) {
    if constexpr (sizeof(T) == 4) {
      const __m128 x = in[0].raw;
      return Fn::Flag(_mm_cvtps_pd(x)) | Fn::Flag(_mm_cvtps_pd(_mm_movehl_ps(x, x))) << 2;
    } else {
      return Fn::Flag(in[0].raw);
    }
  }
  static int Settle(const Vec<T> (&)[1], Vec<T> (&)[1], int bits) { return bits; }
  static int Element(const T (&in)[1], T (&out)[1]) {
    if (ElementByCompute<LaneKernel>(in, out)) return 0;
    double r;
    const int code = Fn::Eval(in[0], &r);
    out[0] = static_cast<T>(r);
    return code;
  }
  static int Companion(const T (&in)[1], T (&out)[1]) { return Element(in, out); }
};

}  // namespace tem

#endif  // QOR_KERNELS_ELEMENT_KERNEL_H_
