// ln(1 + x): the pair 1 + x through the block reduction of dLn on one lane, the block
// polynomial alone near 0. NaN, infinities and x <= -1 are off the main path.
#include "kernels/element_kernel.h"
#include "kernels/log_block.h"
#include "kernels/log_core.h"

namespace tem {

namespace {

// |x| up to this takes the polynomial alone: the block polynomial holds on |r| <= 2^-10.
constexpr double kShortPath = 0.0009765625;

// ln(1 + x) for a double -1 < x < +infinity, |x| > kShortPath: 1 + x is a pair and r is kept
// in two parts.
inline double Log1pMain(double x) {
  const Pair s = TwoSum(1.0, x);
  const uint64_t bits = BitsOf(s.hi);
  const int n = static_cast<int>(bits >> 52);  // biased, s.hi is positive and normal
  const double m = DoubleOf((bits & 0x000FFFFFFFFFFFFFull) | 0x3F50000000000000ull);
  const double c = (1.0 / m + 6755399441055744.0) - 6755399441055744.0;
  const double* row = kLnBlockTable[(BitsOf(c) >> 43) - 0x81000];
  const double sh = n * LnBase::kLog2Hi + row[0];  // exact
  const double low = n * LnBase::kLog2Lo + row[1];
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

// ln(1 + x) for a float x, -1 < x, |x| > kShortPath: 1 + x is exact in double (its rounding
// beyond 2^29 is negligible), the row of the 128-row core table comes from the leading bits of
// the mantissa with no division, and ln(1 + r) - r on |r| <= 2^-6.5 to r^5 is ample for a
// result rounded to single. e ln2 + hi is exact, so that it cancels without error near x = 0.
inline double Log1pFloat(double x) {
  const uint64_t bits = BitsOf(1.0 + x);
  const int e = static_cast<int>(bits >> 52) - 1023;
  const double m = DoubleOf((bits & 0x000FFFFFFFFFFFFFull) | 0x3FF0000000000000ull);
  // Row j = round(64 (m - 1)), from the low bits of m + 2^46 + 1 (spacing 2^-6).
  const double* row = kLnCoreTable[BitsOf(m + 70368744177665.0) & 0x7F];
  const double r = m * row[0] - 1.0;
  const double r2 = r * r;
  const double tail = ((0.2 * r - 0.25) * r2 + (r * (1.0 / 3) - 0.5)) * r2;
  return (e * LnBase::kLog2Hi + row[1]) + ((e * LnBase::kLog2Lo + row[2]) + (r + tail));
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
    if (__builtin_fabs(x) <= kShortPath) {
      *r = x + LnBlockTail(x);
    } else {
      *r = sizeof(T) == sizeof(float) ? Log1pFloat(x) : Log1pMain(x);
    }
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
