// The scalar core of the logarithm family: ln of a positive number given as a double-double
// pair, with the 128-row reciprocal table; double-double helpers; the special inputs shared by
// Ln, Log2 and Log10; the block reduction tables.
#ifndef QOR_KERNELS_LOG_CORE_H_
#define QOR_KERNELS_LOG_CORE_H_

#include <emmintrin.h>
#include <stdint.h>
#include <string.h>

#include "kernels/float_format.h"

namespace tem {

// -log_b(c) - 1013 log_b(2) for the integer reciprocals c = 512..1024, as {hi, lo}.
extern const double kLnBlockTable[513][2];
extern const double kLog2BlockTable[513][2];
extern const double kLog10BlockTable[513][2];
// {rcp, hi, lo}: rcp ~ 1 / (1 + j / 64), hi + lo = -ln(rcp).
extern const double kLnCoreTable[128][3];

// Quiet NaN with a clear sign (0x7FF8...), the result of a domain error.
inline constexpr uint64_t kQuietNaNBits = 0x7FF8000000000000ull;

// sqrtsd directly: no errno path.
inline double Sqrt(double x) { return _mm_cvtsd_f64(_mm_sqrt_sd(_mm_set_sd(x), _mm_set_sd(x))); }

// Double-double pair hi + lo, |lo| <= ulp(hi) / 2.
struct Pair {
  double hi, lo;
};

// a + b exactly.
inline Pair TwoSum(double a, double b) {
  const double s = a + b;
  const double bb = s - a;
  return {s, (a - (s - bb)) + (b - bb)};
}
// a * b exactly, by Dekker's split with 2^27 + 1.
inline Pair TwoProd(double a, double b) {
  constexpr double kSplit = 134217729.0;
  const double p = a * b;
  const double ta = kSplit * a, tb = kSplit * b;
  const double ah = ta - (ta - a), bh = tb - (tb - b);
  const double al = a - ah, bl = b - bh;
  return {p, ((ah * bh - p) + ah * bl + al * bh) + al * bl};
}
inline Pair Normalize(double hi, double lo) {
  const double s = hi + lo;
  return {s, lo - (s - hi)};
}
// sqrt(a) for a positive pair, to about 2^-104 relative.
inline Pair SqrtPair(Pair a) {
  const double s = Sqrt(a.hi);
  const Pair sq = TwoProd(s, s);
  return Normalize(s, ((a.hi - sq.hi) - sq.lo + a.lo) / (2.0 * s));
}
// a / b for positive pairs, to about 2^-104 relative.
inline Pair DivPair(Pair a, Pair b) {
  const double q = a.hi / b.hi;
  const Pair qb = TwoProd(q, b.hi);
  return Normalize(q, (((a.hi - qb.hi) - qb.lo) + a.lo - q * b.lo) / b.hi);
}

// ln(1 + d) - d for |d| <= 2^-6.5: the shared polynomial, d^2 times
// -0.5 + c3 d + ... + c8 d^6.
inline double LnPolyTail(double d) {
  double p = -0.1250214602960357;
  p = p * d + 0.1428756883852146;
  p = p * d + -0.1666666651884978;
  p = p * d + 0.19999999911565072;
  p = p * d + -0.25000000000003386;
  p = p * d + 0.33333333333334386;
  p = p * d + -0.5;
  return d * d * p;
}

// ln(2^extra * (hi + lo)) for a positive normal finite hi, |lo| <= ulp(hi).
double LnCore(double hi, double lo, int extra);

// Results of the special inputs of a logarithm: NaN (quieted, status 0), +inf (+inf, 0),
// zero (-inf, 2), negative or -inf (NaN, 1). Returns -1 when x is positive and finite.
template <class T>
int LogSpecial(T x, T* r) {
  if (x != x) {
    *r = x + x;
    return 0;
  }
  if (x == T(0)) {
    *r = -__builtin_inf();
    return 2;
  }
  if (x < T(0)) {
    *r = static_cast<T>(DoubleOf(kQuietNaNBits));
    return 1;
  }
  if (x == __builtin_inf()) {
    *r = x;
    return 0;
  }
  return -1;
}

// One element of asinh, acosh, atanh in double, with its status. Atanh of +-1 reports
// `status_at_one`.
int AsinhElement(double x, double* r);
int AcoshElement(double x, double* r);
int AtanhElement(double x, double* r, int status_at_one);

}  // namespace tem

#endif  // QOR_KERNELS_LOG_CORE_H_
