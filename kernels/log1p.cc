// ln(1 + x): the pair 1 + x through the block reduction of dLn on one lane, the block
// polynomial alone near 0. NaN, infinities and x <= -1 are off the main path.
#include "kernels/element_kernel.h"
#include "kernels/log_block.h"
#include "kernels/log_core.h"

namespace tem {

namespace {

// |x| up to this takes the polynomial alone: the block polynomial holds on |r| <= 2^-10.
constexpr double kShortPath = 0.0009765625;

// ln(1 + x) for -1 < x < +infinity, |x| > kShortPath. In double, 1 + x is a pair and r is
// kept in two parts; for a float x, 1 + x is exact in double up to 2^53 (and its rest
// negligible beyond), and r rounded once is ample for a result rounded to single.
template <class T>
inline double Log1pMain(double x) {
  constexpr bool kExtra = sizeof(T) == sizeof(double);
  const Pair s = kExtra ? TwoSum(1.0, x) : Pair{1.0 + x, 0.0};
  const uint64_t bits = BitsOf(s.hi);
  const int n = static_cast<int>(bits >> 52);  // biased, s.hi is positive and normal
  const double m = DoubleOf((bits & 0x000FFFFFFFFFFFFFull) | 0x3F50000000000000ull);
  const double c = (1.0 / m + 6755399441055744.0) - 6755399441055744.0;
  const double* row = kLnBlockTable[(BitsOf(c) >> 43) - 0x81000];
  const double sh = n * LnBase::kLog2Hi + row[0];  // exact
  const double low = n * LnBase::kLog2Lo + row[1];
  if constexpr (!kExtra) {
    const double r = m * c - 1.0;
    return sh + (low + (r + LnBlockTail(r)));
  }
  const double mh = DoubleOf(BitsOf(m) & 0x3F5FFFFFFC000000ull);
  const double rh = mh * c - 1.0;  // exact
  // s.lo in units of m is s.lo * 2^(1013 - n); 2^(1023 - n) becomes 0 at n = 2046, where
  // s.lo is far below the last bit of the result.
  const double lm = s.lo * DoubleOf(static_cast<uint64_t>(2046 - n) << 52) * 0x1p-10;
  const double rl = ((m - mh) + lm) * c;
  const double r = rh + rl;
  const double w = sh + rh;
  const double err = (sh - w) + rh;
  return w + (((err + low) + rl) + LnBlockTail(r));
}

// NaN (quieted, status 0), +infinity (itself), -1 (-infinity, status 2), below -1 (NaN,
// status 1).
int Log1pSpecial(double x, double* r) {
  if (x != x || x > -1.0) {
    *r = x + x;
    return 0;
  }
  *r = x == -1.0 ? -__builtin_inf() : DoubleOf(kQuietNaNBits);
  return x == -1.0 ? 2 : 1;
}

template <class T>
struct Log1pFn {
  static constexpr bool kCanFail = true;
  static int Eval(double x, double* r) {
    if (__builtin_expect(!(x > -1.0 && x < __builtin_inf()), 0)) return Log1pSpecial(x, r);
    // x + tail keeps the sign of a zero.
    *r = __builtin_fabs(x) <= kShortPath ? x + LnBlockTail(x) : Log1pMain<T>(x);
    return 0;
  }
  // -1 and below report; NaN is caught too.
  static bool MayReport(double x) { return !(x > -1.0); }
};
using Log1pSingle = ElementKernel<float, Log1pFn<float>>;
using Log1pDouble = ElementKernel<double, Log1pFn<double>>;

}  // namespace

}  // namespace tem

TEM_ENTRIES_A_R(s, Log1p, tem::Log1pSingle)
TEM_ENTRIES_A_R(d, Log1p, tem::Log1pDouble)
