// Rounding to integers on the bits: Ceil, Floor, Trunc, Round, Rint and NearbyInt, and the
// splits Modf and Frac. Exact in every rounding direction; nothing is reported.
#include <type_traits>

#include "frame/kernel_frame.h"
#include "kernels/float_format.h"
#include "kernels/lane_ops.h"

namespace tem {

namespace {

template <class T>
struct RoundingBase : Fields<T> {
  using F = Fields<T>;
  using typename F::Bits;
  static constexpr int kM = F::kMantissaBits;
  // Biased exponent from which numbers are spaced by one half (2^(M-1) <= |x| < 2^M).
  static constexpr int kHalfSpacing = static_cast<int>(F::kBias) + kM - 1;
  // Magnitudes m with m - kOne below this are in [1, 2^M): fraction bits to clear.
  static constexpr Bits kFractionRange = Bits{kM} << kM;

  static T Signed(T magnitude, Bits sign_source) {
    return F::FromBits((F::ToBits(magnitude) & F::kMagnitude) | (sign_source & F::kSign));
  }
  // Infinities stay, a NaN is quieted.
  static T Special(T x) { return x + x; }
  // t + step when `add`, else t (non-zero): a masked step, since the condition is as good as
  // random on real data and a branch on it would be mispredicted half the time.
  static T AddIf(T t, T step, bool add) {
    return t + F::FromBits(F::ToBits(step) & (Bits{0} - static_cast<Bits>(add)));
  }
  // The number of fraction bits of |x| in [1, 2^M), from 1 to M.
  static int FractionBits(Bits m) {
    return kM - (static_cast<int>(m >> kM) - static_cast<int>(F::kBias));
  }
};

// Ceil (kUp) and Floor. From 1 to 2^(M-1) the shifter rounds in the caller's direction and the
// correction tests the actual result, so any direction gives the right answer.
template <class T, bool kUp>
struct CeilFloor : RoundingBase<T> {
  using B = RoundingBase<T>;
  static constexpr T kStep = kUp ? T(1) : T(-1);
  static constexpr T kHalfStep = kUp ? T(0.5) : T(-0.5);
  // Results below 1 in magnitude, by the sign bit.
  static constexpr T kBelowOne[2] = {kUp ? T(1) : T(0), kUp ? T(-0.0) : T(-1)};

  static T Round(T x) {
    const typename B::Bits b = B::ToBits(x);
    const int e = B::Exponent(b);
    if (e >= B::kHalfSpacing) {
      if (e == static_cast<int>(B::kExponentMax)) return B::Special(x);
      // Between 2^(M-1) and 2^M the only fraction is one half, in the lowest bit.
      if (e == B::kHalfSpacing && (b & 1) != 0) return x + kHalfStep;
      return x;
    }
    if (e >= static_cast<int>(B::kBias)) {
      const T t = (x + B::kShifter) - B::kShifter;
      return B::AddIf(t, kStep, kUp ? t < x : x < t);
    }
    if ((b & B::kMagnitude) == 0) return x;
    return kBelowOne[b >> (8 * sizeof(T) - 1)];
  }
};

template <class T>
struct Trunc : RoundingBase<T> {
  using B = RoundingBase<T>;
  static T Round(T x) {
    const typename B::Bits b = B::ToBits(x), m = b & B::kMagnitude;
    if (m - B::kOne < B::kFractionRange) {
      const int s = B::FractionBits(m);
      return B::FromBits((b >> s) << s);
    }
    if (m < B::kOne) return B::FromBits(b & B::kSign);
    return B::Exponent(b) == static_cast<int>(B::kExponentMax) ? B::Special(x) : x;
  }
};

// Halves away from zero: the first cleared fraction bit decides.
template <class T>
struct RoundHalfAway : RoundingBase<T> {
  using B = RoundingBase<T>;
  static T Round(T x) {
    const typename B::Bits b = B::ToBits(x), m = b & B::kMagnitude;
    if (m - B::kOne < B::kFractionRange) {
      const int s = B::FractionBits(m);
      const T t = B::FromBits((b >> s) << s);
      return B::AddIf(t, B::Signed(T(1), b), ((b >> (s - 1)) & 1) != 0);
    }
    if (m < B::kOne) return B::Signed(m >= B::kHalf ? T(1) : T(0), b);
    return B::Exponent(b) == static_cast<int>(B::kExponentMax) ? B::Special(x) : x + T(0);
  }
};

enum Direction { kToNearest = 0, kDownward = 1, kUpward = 2, kTowardZero = 3 };

// The caller's rounding direction from three sums around 2^52, without reading MXCSR. The
// operands are volatile so that no compiler folds the sums.
int ProbeRoundingDirection() {
  volatile double s = 0x1p52, c125 = 1.25, c05 = -0.5, c075 = -0.75;
  const double p = (c125 + s) - s;
  const double q = ((c05 - s) + s) + p;
  const double v = ((-s + c075) + s) + q;
  return -static_cast<int>(v) & 3;
}

// Rint and NearbyInt in one direction, on the integer and fraction bits of |x| < 2^M.
template <class T, int kDirection>
struct Rint : RoundingBase<T> {
  using B = RoundingBase<T>;
  using typename B::Bits;
  static T Round(T x) {
    const Bits b = B::ToBits(x), m = b & B::kMagnitude;
    const bool negative = (b & B::kSign) != 0;
    const int e = B::Exponent(b);
    if (e > B::kHalfSpacing) return e == static_cast<int>(B::kExponentMax) ? B::Special(x) : x;
    if (e >= static_cast<int>(B::kBias)) {
      const int s = B::FractionBits(m);
      const Bits fraction = b & ((Bits{1} << s) - 1), half = Bits{1} << (s - 1);
      const T t = B::FromBits(b - fraction);
      bool away;
      if constexpr (kDirection == kToNearest) {
        const Bits odd = (((b & B::kMantissa) | B::kImplicit) >> s) & 1;
        away = (fraction > half) | ((fraction == half) & (odd != 0));
      } else if constexpr (kDirection == kDownward) {
        away = negative & (fraction != 0);
      } else if constexpr (kDirection == kUpward) {
        away = !negative & (fraction != 0);
      } else {
        away = false;
      }
      return B::AddIf(t, B::Signed(T(1), b), away);
    }
    if (m == 0) return x;
    bool one;
    if constexpr (kDirection == kToNearest) {
      one = m > B::kHalf;
    } else if constexpr (kDirection == kDownward) {
      one = negative;
    } else if constexpr (kDirection == kUpward) {
      one = !negative;
    } else {
      one = false;
    }
    return B::Signed(one ? T(1) : T(0), b);
  }
};

// x - trunc(x) with the sign of x; +-0 for infinities, as modf gives. Below 1 it is x itself,
// taken as bits so that a caller's denormals-are-zero does not touch subnormals.
template <class T>
T Fraction(T x, T truncated) {
  using B = RoundingBase<T>;
  const typename B::Bits b = B::ToBits(x);
  if ((b & B::kMagnitude) < B::kOne) return x;
  if (B::Exponent(b) == static_cast<int>(B::kExponentMax)) {
    return (b & B::kMagnitude) == B::kInfinity ? B::Signed(T(0), b) : B::Special(x);
  }
  return B::Signed(x - truncated, b);
}

// One rounding rule as a kernel: the loop form runs it per element; the strided vector form
// runs it per gathered lane.
template <class E, class Rule>
struct Rounding {
  using T = E;
  static constexpr int kInputs = 1, kResults = 1, kBlock = Vec<T>::kLanes;
  static constexpr bool kCanFail = false;
  static int Element(const T (&in)[1], T (&out)[1]) {
    out[0] = Rule::Round(in[0]);
    return TEM_STATUS_OK;
  }
  static void Compute(const Vec<T> (&in)[1], Vec<T> (&out)[1]) {
    alignas(16) T lanes[Vec<T>::kLanes];
    in[0].StoreAligned(lanes);
    for (T& lane : lanes) lane = Rule::Round(lane);
    out[0] = Vec<T>::LoadAligned(lanes);
  }
};

template <class T>
using CeilKernel = Rounding<T, CeilFloor<T, true>>;
template <class T>
using FloorKernel = Rounding<T, CeilFloor<T, false>>;
template <class T>
using TruncKernel = Rounding<T, Trunc<T>>;
template <class T>
using RoundKernel = Rounding<T, RoundHalfAway<T>>;
template <class T, int kDirection>
using RintKernel = Rounding<T, Rint<T, kDirection>>;

// Rint and NearbyInt, contiguous: the loop form keeps the caller's direction, probed once per
// call after the frame has masked the exceptions.
template <const FunctionInfo& F, class T>
void RintLoop(int n, const T* a, T* r) {
  FpFrame frame = FpFrame::ForLoop();
  if (n <= 0) return;
  auto walk = [&](auto direction) {
    using K = RintKernel<T, decltype(direction)::value>;
    WalkLoop<K>(n, Contiguous<K>{{a}, {r}}, F.error_name);
  };
  switch (ProbeRoundingDirection()) {
    case kToNearest:
      return walk(std::integral_constant<int, kToNearest>{});
    case kDownward:
      return walk(std::integral_constant<int, kDownward>{});
    case kUpward:
      return walk(std::integral_constant<int, kUpward>{});
    default:
      return walk(std::integral_constant<int, kTowardZero>{});
  }
}

// Modf: the truncated value and the fraction.
template <class E>
struct Modf {
  using T = E;
  static constexpr int kInputs = 1, kResults = 2, kBlock = Vec<T>::kLanes;
  static constexpr bool kCanFail = false;
  static int Element(const T (&in)[1], T (&out)[2]) {
    out[0] = Trunc<T>::Round(in[0]);
    out[1] = Fraction(in[0], out[0]);
    return TEM_STATUS_OK;
  }
  static void Compute(const Vec<T> (&in)[1], Vec<T> (&out)[2]) {
    alignas(16) T x[Vec<T>::kLanes], whole[Vec<T>::kLanes], part[Vec<T>::kLanes];
    in[0].StoreAligned(x);
    for (int i = 0; i < Vec<T>::kLanes; ++i) {
      whole[i] = Trunc<T>::Round(x[i]);
      part[i] = Fraction(x[i], whole[i]);
    }
    out[0] = Vec<T>::LoadAligned(whole);
    out[1] = Vec<T>::LoadAligned(part);
  }
};

// Frac in registers, under the vector form's round to nearest: below 2^M, |x| + 2^M - 2^M is
// |x| rounded to nearest, less one if that went up; the difference is exact. Larger and
// infinite lanes give +-0 and take no part in the sums, NaN lanes x + x.
template <class E>
struct Frac {
  using T = E;
  using V = Vec<T>;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 2 * V::kLanes;
  static constexpr bool kCanFail = false;
  static void Compute(const V (&in)[1], V (&out)[1]) {
    const V x = in[0], sign = V::FromBits(Fields<T>::kSign);
    const V ax = AndNot(sign, x), big = V::Set(Fields<T>::kShifter / T(1.5));
    const V small = V::Less(ax, big);
    const V y = ax & small;
    V t = (y + big) - big;
    t = t - (V::Greater(t, y) & V::Set(T(1)));
    const V part = (y - t) | (x & sign);
    out[0] = V::Select(Unordered(x, x), x + x, part);
  }
};

}  // namespace

}  // namespace tem

TEM_ENTRIES_A_R(s, Ceil, tem::CeilKernel<float>)
TEM_ENTRIES_A_R(d, Ceil, tem::CeilKernel<double>)
TEM_ENTRIES_A_R(s, Floor, tem::FloorKernel<float>)
TEM_ENTRIES_A_R(d, Floor, tem::FloorKernel<double>)
TEM_ENTRIES_A_R(s, Trunc, tem::TruncKernel<float>)
TEM_ENTRIES_A_R(d, Trunc, tem::TruncKernel<double>)
TEM_ENTRIES_A_R(s, Round, tem::RoundKernel<float>)
TEM_ENTRIES_A_R(d, Round, tem::RoundKernel<double>)
TEM_ENTRIES_A_R2(s, Modf, tem::Modf<float>)
TEM_ENTRIES_A_R2(d, Modf, tem::Modf<double>)
TEM_ENTRIES_A_R(s, Frac, tem::Frac<float>)
TEM_ENTRIES_A_R(d, Frac, tem::Frac<double>)

// The strided forms are of the vector form, which always rounds to nearest.
#define TEM_RINT_ENTRIES(t, stem, T)                                                     \
  extern "C" void tem_kernel_##t##stem(int n, const T* a, T* r) {                        \
    tem::RintLoop<tem::fn::t##stem>(n, a, r);                                            \
  }                                                                                      \
  extern "C" void tem_kernel_##t##stem##I(int n, const T* a, int inca, T* r, int incr) { \
    using K = tem::RintKernel<T, tem::kToNearest>;                                       \
    const tem::Strided<K> io{{a}, {inca}, {r}, {incr}};                                  \
    if (tem::ForwardsToContiguous<tem::fn::t##stem##I>(io)) {                            \
      return tem::Slot<decltype(&tem_kernel_##t##stem)>(tem_ttab_##t##stem, 1)(n, a, r); \
    }                                                                                    \
    tem::Run<tem::fn::t##stem##I, K>(n, io);                                             \
  }
TEM_RINT_ENTRIES(s, Rint, float)
TEM_RINT_ENTRIES(d, Rint, double)
TEM_RINT_ENTRIES(s, NearbyInt, float)
TEM_RINT_ENTRIES(d, NearbyInt, double)
