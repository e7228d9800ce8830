// Element-wise arithmetic: absolute value, the four operations, square, inverse and the linear
// fraction. Only a zero divisor of Inv and Div is reported.
#include "frame/kernel_frame.h"
#include "kernels/float_format.h"
#include "kernels/lane_ops.h"

namespace tem {

namespace {

// Operations written once for a register and a scalar.
struct AbsOp {
  // |x| by clearing the sign bit with an integer mask: a NaN keeps its payload and stays quiet
  // or signalling as it was.
  template <class T>
  static Vec<T> Apply(Vec<T> x) {
    return x & Vec<T>::FromBits(Fields<T>::kMagnitude);
  }
  template <class T>
  static T Apply(T x) {
    return Fields<T>::FromBits(Fields<T>::ToBits(x) & Fields<T>::kMagnitude);
  }
};
struct AddOp {
  template <class V>
  static V Apply(V a, V b) {
    return a + b;
  }
};
struct SubOp {
  template <class V>
  static V Apply(V a, V b) {
    return a - b;
  }
};
struct MulOp {
  template <class V>
  static V Apply(V a, V b) {
    return a * b;
  }
};
struct SqrOp {
  template <class V>
  static V Apply(V x) {
    return x * x;
  }
};
struct DivOp {
  template <class V>
  static V Apply(V a, V b) {
    return a / b;
  }
};
struct InvOp {
  template <class T>
  static Vec<T> Apply(Vec<T> x) {
    return Vec<T>::Set(T(1)) / x;
  }
  template <class T>
  static T Apply(T x) {
    return T(1) / x;
  }
};

// The plain hardware operation on each element, with no lane test and no report: an overflow
// is silent.
template <class E, class Op, int kArity>
struct Plain {
  using T = E;
  static constexpr int kInputs = kArity, kResults = 1, kBlock = 8;
  static constexpr bool kCanFail = false;

  template <class V>
  static V Call(const V (&in)[kArity]) {
    if constexpr (kArity == 1) {
      return Op::Apply(in[0]);
    } else {
      return Op::Apply(in[0], in[1]);
    }
  }
  static void Compute(const Vec<T> (&in)[kArity], Vec<T> (&out)[1]) { out[0] = Call(in); }
  static int Element(const T (&in)[kArity], T (&out)[1]) {
    out[0] = Call(in);
    return TEM_STATUS_OK;
  }
};

// A hardware division whose divisor, the last input, is flagged when its bits apart from the
// sign are all zero: status 2 whatever the dividend, so 0/0 too is a singularity. The result
// is the hardware one in every case, so the no-error loop settles every flagged lane as it is.
template <class E, class Op, int kArity>
struct Quotient : Plain<E, Op, kArity> {
  using T = E;
  using Base = Plain<E, Op, kArity>;
  static constexpr bool kCanFail = true;

  static int Flag(const Vec<T> (&in)[kArity]) {
    return Equal(in[kArity - 1], Vec<T>::Set(T(0))).LaneBits();
  }
  static int Settle(const Vec<T> (&)[kArity], Vec<T> (&)[1], int) { return 0; }
  static int Element(const T (&in)[kArity], T (&out)[1]) {
    out[0] = Base::Call(in);
    const bool zero = (Fields<T>::ToBits(in[kArity - 1]) & Fields<T>::kMagnitude) == 0;
    return zero ? TEM_STATUS_SING : TEM_STATUS_OK;
  }
  static int Companion(const T (&in)[kArity], T (&out)[1]) { return Element(in, out); }
};

template <class T>
using AbsKernel = Plain<T, AbsOp, 1>;
template <class T>
using AddKernel = Plain<T, AddOp, 2>;
template <class T>
using SubKernel = Plain<T, SubOp, 2>;
template <class T>
using MulKernel = Plain<T, MulOp, 2>;
template <class T>
using SqrKernel = Plain<T, SqrOp, 1>;
template <class T>
using InvKernel = Quotient<T, InvOp, 1>;
template <class T>
using DivKernel = Quotient<T, DivOp, 2>;

// (scalea * a + shifta) / (scaleb * b + shiftb): no lane test and no report.
template <class T>
struct LinearFraction {
  T scalea, shifta, scaleb, shiftb;

  T operator()(T a, T b) const { return (scalea * a + shifta) / (scaleb * b + shiftb); }
  Vec<T> operator()(Vec<T> a, Vec<T> b) const {
    return (Vec<T>::Set(scalea) * a + Vec<T>::Set(shifta)) /
           (Vec<T>::Set(scaleb) * b + Vec<T>::Set(shiftb));
  }

  void Contiguous(int n, const T* a, const T* b, T* r) const {
    constexpr int kLanes = Vec<T>::kLanes;
    FpFrame frame = FpFrame::ForVector();
    int i = 0;
    for (; i + kLanes <= n; i += kLanes)
      (*this)(Vec<T>::Load(a + i), Vec<T>::Load(b + i)).Store(r + i);
    for (; i < n; ++i) r[i] = (*this)(a[i], b[i]);
  }
  void Strided(int n, const T* a, int inca, const T* b, int incb, T* r, int incr) const {
    FpFrame frame = FpFrame::ForVector();
    for (int i = 0; i < n; ++i) {
      const ptrdiff_t k = i;
      r[k * incr] = (*this)(a[k * inca], b[k * incb]);
    }
  }
};

}  // namespace

}  // namespace tem

TEM_ENTRIES_A_R(s, Abs, tem::AbsKernel<float>)
TEM_ENTRIES_A_R(d, Abs, tem::AbsKernel<double>)
TEM_ENTRIES_A_R(s, Inv, tem::InvKernel<float>)
TEM_ENTRIES_A_R(d, Inv, tem::InvKernel<double>)
TEM_ENTRIES_A_AB_R(s, Div, tem::DivKernel<float>)
TEM_ENTRIES_A_AB_R(d, Div, tem::DivKernel<double>)
TEM_ENTRIES_A_AB_R(s, Add, tem::AddKernel<float>)
TEM_ENTRIES_A_AB_R(d, Add, tem::AddKernel<double>)
TEM_ENTRIES_A_AB_R(s, Sub, tem::SubKernel<float>)
TEM_ENTRIES_A_AB_R(d, Sub, tem::SubKernel<double>)
TEM_ENTRIES_A_AB_R(s, Mul, tem::MulKernel<float>)
TEM_ENTRIES_A_AB_R(d, Mul, tem::MulKernel<double>)
TEM_ENTRIES_A_R(s, Sqr, tem::SqrKernel<float>)
TEM_ENTRIES_A_R(d, Sqr, tem::SqrKernel<double>)

#define TEM_LINEAR_FRAC_ENTRIES(t, T)                                                             \
  extern "C" void tem_kernel_##t##LinearFrac(int n, const T* a, const T* b, T scalea, T shifta,   \
                                             T scaleb, T shiftb, T* r) {                          \
    tem::LinearFraction<T>{scalea, shifta, scaleb, shiftb}.Contiguous(n, a, b, r);                \
  }                                                                                               \
  extern "C" void tem_kernel_##t##LinearFracI(int n, const T* a, int inca, const T* b, int incb,  \
                                              T scalea, T shifta, T scaleb, T shiftb, T* r,       \
                                              int incr) {                                         \
    if (inca == 1 && incb == 1 && incr == 1) {                                                    \
      return tem::Slot<decltype(&tem_kernel_##t##LinearFrac)>(tem_ttab_##t##LinearFrac, 1)(       \
          n, a, b, scalea, shifta, scaleb, shiftb, r);                                            \
    }                                                                                             \
    tem::LinearFraction<T>{scalea, shifta, scaleb, shiftb}.Strided(n, a, inca, b, incb, r, incr); \
  }
TEM_LINEAR_FRAC_ENTRIES(s, float)
TEM_LINEAR_FRAC_ENTRIES(d, double)
