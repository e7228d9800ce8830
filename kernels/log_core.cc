// The scalar core of the logarithm family and the elements built on it: asinh, acosh and
// atanh, each as ln of a double-double pair.
#include "kernels/log_core.h"

namespace tem {

#include "kernels/log_tables.inc"

namespace {

// ln 2 = kLn2Hi + kLn2Lo; kLn2Hi has 42 bits, so n * kLn2Hi is exact for |n| < 2^11.
constexpr double kLn2Hi = 0.6931471805598903;
constexpr double kLn2Lo = 5.497923018708371e-14;
// |x - 1| up to this takes the polynomial alone.
constexpr double kShortPath = 0.009765625;
// Below 2^-14 the odd series of asinh and atanh to x^5 is exact to 2^-58 relative.
constexpr double kTiny = 0x1p-14;
// Above 2^28, sqrt(x^2 +- 1) rounds to x: asinh and acosh are ln(2x).
constexpr double kHuge = 0x1p28;

}  // namespace

double LnCore(double hi, double lo, int extra) {
  if (lo == 0 && extra == 0 && __builtin_fabs(hi - 1.0) <= kShortPath) {
    const double d = hi - 1.0;
    return d + LnPolyTail(d);
  }
  // hi = 2^e * m, m in [1, 2); the pair is scaled with it.
  const uint64_t bits = BitsOf(hi);
  const int e = static_cast<int>(bits >> 52) - 1023;
  const double m = DoubleOf((bits & 0x000FFFFFFFFFFFFFull) | 0x3FF0000000000000ull);
  // lo * 2^-e as (lo / 2) * 2^(1 - e): both factors stay normal for every e of a double.
  const double lm = (lo * 0.5) * DoubleOf(static_cast<uint64_t>(1024 - e) << 52);
  // Row j = round(64 (m - 1)), from the low bits of m + 2^46 + 1 (spacing 2^-6).
  const int j = static_cast<int>(BitsOf(m + 70368744177665.0) & 0x7F);
  const double* row = kLnCoreTable[j];
  // mh has 31 fraction bits and rcp 9 bits, so mh * rcp and mh * rcp - 1 are exact.
  const double mh = (m + 2097152.0) - 2097152.0;
  const double rh = mh * row[0] - 1.0;
  const double rl = ((m - mh) + lm) * row[0];
  const double r = rh + rl;
  const double n = e + extra;
  const double a = row[1] + n * kLn2Hi;  // exact
  const double b = row[2] + n * kLn2Lo;
  const Pair t = TwoSum(a, rh);
  return t.hi + (((t.lo + rl) + b) + LnPolyTail(r));
}

int AsinhElement(double x, double* r) {
  const double a = __builtin_fabs(x);
  double y;
  if (!(a < __builtin_inf())) {
    y = x + x;  // NaN quieted, or the infinity
    *r = y;
    return 0;
  }
  if (a < kTiny) {
    // asinh a = a - a^3/6 + 3a^5/40 - ...
    const double a2 = a * a;
    y = a + a * (a2 * (-1.0 / 6.0 + a2 * (3.0 / 40.0)));
  } else if (a > kHuge) {
    y = LnCore(a, 0, 1);
  } else {
    // t = a + sqrt(a^2 + 1) as a pair.
    const Pair sq = TwoProd(a, a);
    const Pair q = TwoSum(sq.hi, 1.0);
    const Pair s = SqrtPair(Normalize(q.hi, q.lo + sq.lo));
    const Pair t = TwoSum(a, s.hi);
    const Pair tn = Normalize(t.hi, t.lo + s.lo);
    y = LnCore(tn.hi, tn.lo, 0);
  }
  *r = __builtin_copysign(y, x);  // the sign of a zero too
  return 0;
}

int AcoshElement(double x, double* r) {
  if (x != x) {
    *r = x + x;
    return 0;
  }
  if (x < 1.0) {
    *r = DoubleOf(kQuietNaNBits);
    return 1;
  }
  if (x == 1.0) {
    *r = 0.0;
    return 0;
  }
  if (x == __builtin_inf()) {
    *r = x;
    return 0;
  }
  if (x > kHuge) {
    *r = LnCore(x, 0, 1);
    return 0;
  }
  // t = x + sqrt(x^2 - 1) as a pair; x^2 - 1 is exact as a pair near 1 (Sterbenz).
  const Pair sq = TwoProd(x, x);
  const Pair q = TwoSum(sq.hi, -1.0);
  const Pair s = SqrtPair(Normalize(q.hi, q.lo + sq.lo));
  const Pair t = TwoSum(x, s.hi);
  const Pair tn = Normalize(t.hi, t.lo + s.lo);
  *r = LnCore(tn.hi, tn.lo, 0);
  return 0;
}

int AtanhElement(double x, double* r, int status_at_one) {
  const double a = __builtin_fabs(x);
  if (!(a < 1.0)) {
    if (a == 1.0) {
      *r = x * __builtin_inf();
      return status_at_one;
    }
    if (x != x) {
      *r = x + x;
      return 0;
    }
    *r = DoubleOf(kQuietNaNBits);
    return 1;
  }
  double y;
  if (a < kTiny) {
    // atanh a = a + a^3/3 + a^5/5 + ...
    const double a2 = a * a;
    y = a + a * (a2 * (1.0 / 3.0 + a2 * 0.2));
  } else {
    // atanh a = ln((1 + a) / (1 - a)) / 2, the quotient as a pair.
    const Pair num = TwoSum(1.0, a);
    const Pair den = TwoSum(1.0, -a);
    const Pair q = DivPair(num, den);
    y = 0.5 * LnCore(q.hi, q.lo, 0);
  }
  *r = __builtin_copysign(y, x);
  return 0;
}

}  // namespace tem
