// x^(2/3), x^(3/2) and hypot(x, y): the loop form in their contiguous members, the vector form
// with a scalar element in their strided members. Each is a root of a double-double value:
// cbrt(x * x), x * sqrt(x) and sqrt(a * a + b * b), with the products split by 2^27 + 1.
#include <math.h>

#include "kernels/cbrt_block.h"
#include "kernels/element_kernel.h"
#include "kernels/pow3o2.h"

namespace tem {
namespace roots {
namespace {

// x^(2/3) = cbrt(hi + lo) = cbrt(hi) (1 + lo/hi)^(1/3), the last factor as 1 + lo/(3 hi) in the
// series. |x| is scaled by 2^-+600 so that x * x stays normal; its cube root 2^-+400 comes off.
struct Pow2o3Fn {
  static constexpr bool kCanFail = false;
  static int Eval(double x, double* r) {
    double a = fabs(x);
    if (!(a < INFINITY) || a == 0.0) return *r = a * a, TEM_STATUS_OK;
    double post = 1.0;
    if (a < 0x1p-500) {
      a *= 0x1p600;
      post = 0x1p-400;
    } else if (a > 0x1p500) {
      a *= 0x1p-600;
      post = 0x1p400;
    }
    double hi, lo;
    TwoProduct(a, a, &hi, &lo);
    *r = CbrtBlock<false>(D::Set(hi), D::Set(lo / (3.0 * hi))).Lane0() * post;
    return TEM_STATUS_OK;
  }
};

// hypot in double: a = max(|x|, |y|) and b are scaled by a power of two that brings a into
// [2, 4), a^2 + b^2 is summed in double-double, and its root corrected once. An infinity wins
// over a NaN. Reports nothing.
inline double HypotDouble(double x, double y) {
  double a = fabs(x), b = fabs(y);
  if (a == INFINITY || b == INFINITY) return INFINITY;
  if (isnan(a) || isnan(b)) return x + y;
  if (a < b) {
    const double t = a;
    a = b;
    b = t;
  }
  if (a == 0.0) return 0.0;
  double post = 1.0;
  if (a < 0x1p-900) {
    a *= 0x1p600;
    b *= 0x1p600;
    post = 0x1p-600;
  }
  const uint64_t biased = BitsOf(a) >> 52;
  const double scale = DoubleOf((2047 - biased) << 52);  // 2^(1024 - E)
  const double unscale = DoubleOf((biased - 1) << 52);   // 2^(E - 1024)
  const double sa = a * scale, sb = b * scale;
  double aa, aa_lo, bb, bb_lo;
  TwoProduct(sa, sa, &aa, &aa_lo);
  TwoProduct(sb, sb, &bb, &bb_lo);
  const double sum = aa + bb;
  const double sum_lo = (((aa - sum) + bb) + aa_lo) + bb_lo;
  const double root = sqrt(sum);
  double rr, rr_lo;
  TwoProduct(root, root, &rr, &rr_lo);
  const double corrected = root + (((sum - rr) - rr_lo) + sum_lo) / (2.0 * root);
  return corrected * unscale * post;
}

template <class E>
struct Hypot {
  using T = E;
  static constexpr int kInputs = 2, kResults = 1, kBlock = Vec<T>::kLanes;
  static constexpr bool kCanFail = false;
  static constexpr int kLanes = Vec<T>::kLanes;
  static T Of(T x, T y) {
    if constexpr (sizeof(T) == 4) {
      // Exact squares and a sum rounded once in double; the root rounds twice, far below a
      // float ulp.
      const double dx = x, dy = y;
      if (isinf(dx) || isinf(dy)) return INFINITY;
      return static_cast<float>(sqrt(dx * dx + dy * dy));
    } else {
      return HypotDouble(x, y);
    }
  }
  static int Element(const T (&in)[2], T (&out)[1]) {
    out[0] = Of(in[0], in[1]);
    return TEM_STATUS_OK;
  }
  static void Compute(const Vec<T> (&in)[2], Vec<T> (&out)[1]) {
    alignas(16) T x[kLanes], y[kLanes];
    in[0].StoreAligned(x);
    in[1].StoreAligned(y);
    for (int i = 0; i < kLanes; ++i) x[i] = Of(x[i], y[i]);
    out[0] = Vec<T>::LoadAligned(x);
  }
};

using DoublePow2o3 = ElementKernel<double, Pow2o3Fn>;
using FloatPow2o3 = ElementKernel<float, Pow2o3Fn>;
using DoublePow3o2 = ElementKernel<double, Pow3o2Fn<double>>;
using FloatPow3o2 = ElementKernel<float, Pow3o2Fn<float>>;

}  // namespace
}  // namespace roots
}  // namespace tem

TEM_ENTRIES_A_R(d, Pow2o3, tem::roots::DoublePow2o3)
TEM_ENTRIES_A_R(s, Pow2o3, tem::roots::FloatPow2o3)
TEM_ENTRIES_A_R(d, Pow3o2, tem::roots::DoublePow3o2)
TEM_ENTRIES_A_R(s, Pow3o2, tem::roots::FloatPow3o2)
TEM_ENTRIES_A_AB_R(d, Hypot, tem::roots::Hypot<double>)
TEM_ENTRIES_A_AB_R(s, Hypot, tem::roots::Hypot<float>)
