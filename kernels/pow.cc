// x^y in the vector form: Pow, Powr (the exponential of y ln x, with its own special values)
// and Powx (a scalar exponent). Lanes with positive normal x, normal y and |y log2 x| clearly
// below the overflow bound run the block formula; the others go to a companion that sorts out
// the special values and otherwise reduces x in three reciprocal stages (pow_companion.h).
// The float members run a shorter formula in plain double on widened lanes and round once;
// their companion is the double one.
#include <string.h>

#include "kernels/element_kernel.h"
#include "kernels/pow3o2.h"
#include "kernels/pow_block.h"
#include "kernels/pow_companion.h"

namespace tem {
namespace power {
namespace {

using F = Vec<float>;

// 1 for an odd integer, 2 for an even integer (and every |y| >= 2^53, infinities too), 0 for
// a number that is not an integer.
inline int IntegerKind(double y) {
  const uint64_t bits = BitsOf(y);
  const int biased = static_cast<int>(bits >> 52 & 0x7FF);
  if (biased >= 1076) return 2;
  if (biased < 1023) return y == 0.0 ? 2 : 0;
  const int fraction_bits = 1075 - biased;
  const uint64_t mantissa = (bits & 0x000FFFFFFFFFFFFFull) | 0x0010000000000000ull;
  if ((mantissa & ((1ull << fraction_bits) - 1)) != 0) return 0;
  return (mantissa >> fraction_bits & 1) != 0 ? 1 : 2;
}

// Pow's special values, in their order; underflow is silent.
template <class T>
T PowScalar(double x, double y, int* status) {
  *status = TEM_STATUS_OK;
  if ((x == 1.0 && !signbit(x)) || y == 0.0) return T(1);
  if (isnan(x) || isnan(y)) return static_cast<T>(x + y);
  const int kind = IntegerKind(y);
  const double sign = signbit(x) && kind == 1 ? -1.0 : 1.0;
  if (x == 0.0) {
    if (y < 0.0) {
      *status = TEM_STATUS_ERRDOM;
      return static_cast<T>(sign / (x * x));
    }
    return static_cast<T>(x * x * sign);
  }
  if (x == -1.0 && (kind != 0 || isinf(y))) return static_cast<T>(sign);
  if (isfinite(x) && isfinite(y)) {
    if (x < 0.0 && kind == 0) {
      *status = TEM_STATUS_ERRDOM;
      return T(NAN);
    }
    return Reduce<T>(fabs(x), y, sign, TEM_STATUS_OK, status);
  }
  if (fabs(x) < 1.0) return static_cast<T>(y < 0.0 ? y * y : 0.0);
  return static_cast<T>(y < 0.0 ? 0.0 * sign : x * x * y * sign);
}

// Powr's special values: those of exp(y ln x). Underflow reports status 4.
template <class T>
T PowrScalar(double x, double y, int* status) {
  *status = TEM_STATUS_OK;
  if (isnan(x) || isnan(y)) return static_cast<T>(x + y);
  if (x == 0.0) {
    if (y == 0.0) return T(NAN);
    if (y < 0.0) {
      // The status is y's sign bit: none for -inf.
      if (!isinf(y)) *status = TEM_STATUS_ERRDOM;
      return T(INFINITY);
    }
    return T(0);
  }
  if (signbit(x)) {
    *status = TEM_STATUS_ERRDOM;
    return T(NAN);
  }
  if (x == 1.0) return isinf(y) ? T(NAN) : T(1);
  if (isinf(x)) return y == 0.0 ? T(NAN) : y > 0.0 ? T(INFINITY) : T(0);
  if (isinf(y)) return (x < 1.0) == (y < 0.0) ? T(INFINITY) : T(0);
  if (y == 0.0) return T(1);
  return Reduce<T>(x, y, 1.0, TEM_STATUS_UNDERFLOW, status);
}

template <class T>
using Scalar = T (*)(double, double, int*);

// |y log2 x| up to which the block formula runs: its result stays normal and finite.
inline constexpr double kDoubleLimit = 1020.0;
// For floats also below 2^126 and above 2^-126.
inline constexpr double kFloatLimit = 125.0;

template <Scalar<double> kCompanion>
struct DoublePow {
  using T = double;
  static constexpr int kInputs = 2, kResults = 1, kBlock = 8;
  static constexpr bool kCanFail = true, kComputeBlock = true;
  // All registers of a block step by step: their chains overlap.
  template <int kRegs>
  [[gnu::always_inline]] static void ComputeBlock(const D (&in)[kRegs][2], D (&out)[kRegs][1]) {
    PowBlock(in, out);
  }
  static int Flag(const D (&in)[2]) { return FlagPow(in[0], in[1], kDoubleLimit); }
  static int Settle(const D (&)[2], D (&)[1], int bits) { return bits; }
  static int Companion(const double (&in)[2], double (&out)[1]) {
    int status;
    out[0] = kCompanion(in[0], in[1], &status);
    return status;
  }
};

template <Scalar<float> kCompanion>
struct FloatPow {
  using T = float;
  static constexpr int kInputs = 2, kResults = 1, kBlock = 8;
  static constexpr bool kCanFail = true, kComputeBlock = true;
  // Each float register as two double registers.
  template <int kRegs>
  [[gnu::always_inline]] static void ComputeBlock(const F (&in)[kRegs][2], F (&out)[kRegs][1]) {
    D wide[2 * kRegs][2], results[2 * kRegs][1];
#pragma GCC unroll 4
    for (int r = 0; r < kRegs; ++r) {
      wide[2 * r][0] = WidenLow(in[r][0]);
      wide[2 * r][1] = WidenLow(in[r][1]);
      wide[2 * r + 1][0] = WidenHigh(in[r][0]);
      wide[2 * r + 1][1] = WidenHigh(in[r][1]);
    }
    PowSingleBlock(wide, results);
#pragma GCC unroll 4
    for (int r = 0; r < kRegs; ++r) out[r][0] = Narrow(results[2 * r][0], results[2 * r + 1][0]);
  }
  static int Flag(const F (&in)[2]) { return FlagPowSingle(in[0], in[1], kFloatLimit); }
  static int Settle(const F (&)[2], F (&)[1], int bits) { return bits; }
  static int Companion(const float (&in)[2], float (&out)[1]) {
    int status;
    out[0] = kCompanion(in[0], in[1], &status);
    return status;
  }
};

// The arrays of a Powx call seen as those of a two-input kernel whose second input holds the
// exponent in every element. A report shows the element of `a` as both arguments.
template <class Base>
struct ScalarSecond {
  using T = typename Base::T;
  Base base;
  T b;
  const T& In(int k, int i) const { return k == 0 ? base.In(0, i) : b; }
  T& Out(int k, int i) const { return base.Out(k, i); }
  Vec<T> Load(int k, int i, int count) const {
    return k == 0 ? base.Load(0, i, count) : Vec<T>::Set(b);
  }
  void Store(int k, int i, int count, Vec<T> v) const { base.Store(k, i, count, v); }
  void Report(int code, int i, const T* args, const char* name) const {
    base.Report(code, i, args, name);
  }
};

// The shape of a one-input kernel of type E, for the arrays of Powx.
template <class E>
struct OneInput {
  using T = E;
  static constexpr int kInputs = 1, kResults = 1;
};

// The element loops of Powx for the exponents 0, 1, 2 and 1.5.
template <class E>
struct PowxZero {
  using T = E;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 8;
  static constexpr bool kCanFail = false;
  static void Compute(const Vec<T> (&)[1], Vec<T> (&out)[1]) { out[0] = Vec<T>::Set(T(1)); }
};

template <class E>
struct PowxOne {
  using T = E;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 8;
  static constexpr bool kCanFail = false;
  static void Compute(const Vec<T> (&in)[1], Vec<T> (&out)[1]) { out[0] = in[0] * Vec<T>::Set(T(1)); }
};

// x * x; lanes from 2^(emax/2) up, infinities and NaNs included, check for overflow.
template <class E>
struct PowxTwo {
  using T = E;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 8;
  static constexpr bool kCanFail = true;
  static void Compute(const Vec<T> (&in)[1], Vec<T> (&out)[1]) { out[0] = in[0] * in[0]; }
  static int Flag(const Vec<T> (&in)[1]) {
    const Vec<T> big = Vec<T>::Set(sizeof(T) == 4 ? T(0x1p63) : T(0x1p511));
    const Vec<T> abs = in[0] & Vec<T>::FromBits(sizeof(T) == 4 ? 0x7FFFFFFFu : 0x7FFFFFFFFFFFFFFFull);
    return Vec<T>::Greater(abs, big).LaneBits();
  }
  static int Settle(const Vec<T> (&)[1], Vec<T> (&)[1], int bits) { return bits; }
  static int Companion(const T (&in)[1], T (&out)[1]) {
    out[0] = in[0] * in[0];
    return isinf(out[0]) && isfinite(in[0]) ? TEM_STATUS_OVERFLOW : TEM_STATUS_OK;
  }
};

// x^1.5 as Pow3o2, in the vector form, but -inf gives +inf as in Pow.
template <class E>
struct PowxThreeHalves : LaneKernel<E, roots::Pow3o2Lanes<E>> {
  static int Companion(const E (&in)[1], E (&out)[1]) {
    if (in[0] == -E(INFINITY)) return out[0] = E(INFINITY), TEM_STATUS_OK;
    return PowxThreeHalves::Element(in, out);
  }
};

template <class E>
bool SameBits(E a, E b) {
  return memcmp(&a, &b, sizeof a) == 0;
}

template <class E>
struct Kernels;
template <>
struct Kernels<double> {
  using Pow = DoublePow<PowScalar<double>>;
};
template <>
struct Kernels<float> {
  using Pow = FloatPow<PowScalar<float>>;
};

// Powx on the arrays of a one-input call: the exponents 0, 1, 2 and 1.5 run their own element
// loops, any other the general formula. The exponent's bit image decides, so that -0.0 and
// every NaN take the general path. The exponents -1 and +-0.5 go to the tables of Inv, Sqrt and
// InvSqrt before this.
template <const FunctionInfo& F, class E, class Arrays>
void RunPowx(int n, const Arrays& arrays, E b) {
  if (SameBits(b, E(0))) return Run<F, PowxZero<E>>(n, arrays);
  if (SameBits(b, E(1))) return Run<F, PowxOne<E>>(n, arrays);
  if (SameBits(b, E(2))) return Run<F, PowxTwo<E>>(n, arrays);
  if (SameBits(b, E(1.5))) return Run<F, PowxThreeHalves<E>>(n, arrays);
  Run<F, typename Kernels<E>::Pow>(n, ScalarSecond<Arrays>{arrays, b});
}

}  // namespace
}  // namespace power
}  // namespace tem

// Kernel symbols of the two-input power functions and of Powx, whose strided form with unit
// strides is the contiguous one, and whose exponents -1, 0.5 and -0.5 go through the tables of
// Inv, Sqrt and InvSqrt.
TEM_ENTRIES_A_AB_R(d, Pow, tem::power::DoublePow<tem::power::PowScalar<double>>)
TEM_ENTRIES_A_AB_R(s, Pow, tem::power::FloatPow<tem::power::PowScalar<float>>)
TEM_ENTRIES_A_AB_R(d, Powr, tem::power::DoublePow<tem::power::PowrScalar<double>>)
TEM_ENTRIES_A_AB_R(s, Powr, tem::power::FloatPow<tem::power::PowrScalar<float>>)

#define TEM_POWX_ENTRIES(t, E)                                                                  \
  extern "C" void tem_kernel_##t##Powx(int n, const E* a, E b, E* r) {                          \
    using Arrays = tem::Contiguous<tem::power::OneInput<E>>;                                    \
    if (tem::power::SameBits(b, E(-1))) {                                                       \
      return tem::Slot<decltype(&tem_kernel_##t##Inv)>(tem_ttab_##t##Inv, 1)(n, a, r);          \
    }                                                                                           \
    if (tem::power::SameBits(b, E(0.5))) {                                                      \
      return tem::Slot<decltype(&tem_kernel_##t##Sqrt)>(tem_ttab_##t##Sqrt, 1)(n, a, r);        \
    }                                                                                           \
    if (tem::power::SameBits(b, E(-0.5))) {                                                     \
      return tem::Slot<decltype(&tem_kernel_##t##InvSqrt)>(tem_ttab_##t##InvSqrt, 1)(n, a, r);  \
    }                                                                                           \
    tem::power::RunPowx<tem::fn::t##Powx>(n, Arrays{{a}, {r}}, b);                              \
  }                                                                                             \
  extern "C" void tem_kernel_##t##PowxI(int n, const E* a, int inca, E b, E* r, int incr) {     \
    if (inca == 1 && incr == 1) {                                                               \
      return tem::Slot<decltype(&tem_kernel_##t##Powx)>(tem_ttab_##t##Powx, 1)(n, a, b, r);     \
    }                                                                                           \
    if (tem::power::SameBits(b, E(-1))) {                                                       \
      return tem::Slot<decltype(&tem_kernel_##t##InvI)>(tem_ttab_##t##InvI, 1)(n, a, inca, r,   \
                                                                               incr);           \
    }                                                                                           \
    if (tem::power::SameBits(b, E(0.5))) {                                                      \
      return tem::Slot<decltype(&tem_kernel_##t##SqrtI)>(tem_ttab_##t##SqrtI, 1)(n, a, inca, r, \
                                                                                 incr);         \
    }                                                                                           \
    if (tem::power::SameBits(b, E(-0.5))) {                                                     \
      return tem::Slot<decltype(&tem_kernel_##t##InvSqrtI)>(tem_ttab_##t##InvSqrtI, 1)(        \
          n, a, inca, r, incr);                                                                 \
    }                                                                                           \
    using Arrays = tem::Strided<tem::power::OneInput<E>>;                                       \
    tem::power::RunPowx<tem::fn::t##PowxI>(n, Arrays{{a}, {inca}, {r}, {incr}}, b);             \
  }

TEM_POWX_ENTRIES(d, double)
TEM_POWX_ENTRIES(s, float)
