// The one-lane reduction of the power functions' companions: log2 x in double-double through
// three reciprocal stages with exact (Dekker) products, the product with y in double-double,
// and 2^z from the exponential family's table, scaled into the normal or subnormal range.
#ifndef QOR_KERNELS_POW_COMPANION_H_
#define QOR_KERNELS_POW_COMPANION_H_

#include <float.h>

#include <limits>

#include "kernels/pow_block.h"

namespace tem {
namespace power {
namespace stages {

// log2(1 + w / c0) - w = w (d + w (s2 + w (s3 + w s4))) for |w| < 2^-15, c0 the third stage's
// first factor: {s4, s3, s2, d}, fitted.
inline constexpr double kSeries[4] = {-0.08325619496470027, 0.16015105075870564,
                                      -0.3465736568077919, 9.597935033233503e-08};
// The scale of a subnormal x, 2^200.
inline constexpr double kSubnormalScale = 1.6069380442589903e+60;

inline uint32_t HighWord(double v) { return static_cast<uint32_t>(BitsOf(v) >> 32); }

// a + b = s + e exactly.
inline void TwoSum(double a, double b, double& s, double& e) {
  s = a + b;
  const double bb = s - a;
  e = (a - (s - bb)) + (b - bb);
}

// a * b = p + e exactly, both factors split by 2^27 + 1; for factors below 2^960.
inline void TwoProduct(double a, double b, double& p, double& e) {
  const double ta = 134217729.0 * a, tb = 134217729.0 * b;
  const double ah = ta - (ta - a), bh = tb - (tb - b);
  const double al = a - ah, bl = b - bh;
  p = a * b;
  e = ((ah * bh - p) + ah * bl + al * bh) + al * bl;
}

// log2(2^-extra x) = hi + lo for positive normal x, to about 2^-70 relative. Each stage
// multiplies the reduced argument by a factor read by a rounded bit field of its high word,
// so that the argument comes within 2^-6, 2^-10 and 2^-16 of 1; the fields wrap round for
// arguments just below 1. The third factor carries 1/ln 2: w = p c - c0 is log2 of the rest
// up to the series. The stages' hi lie on the grid of 2^-42, so that their sum with the
// exponent is exact.
inline void Log2(double x, double extra, double& hi, double& lo) {
  const uint64_t bits = BitsOf(x);
  const double n = static_cast<double>(static_cast<int>(bits >> 52) - 1023) - extra;
  const double m = DoubleOf((bits & 0x000FFFFFFFFFFFFFull) | 0x3FF0000000000000ull);
  const double(&s1)[3] = kPowStage1[((HighWord(m) & 0xFC000) + 16384) >> 15];
  double p1, e1;
  TwoProduct(m, s1[0], p1, e1);
  const double(&s2)[3] = kPowStage2[((HighWord(p1) & 0xFC00) + 1024) >> 11];
  double p2, e2;
  TwoProduct(p1, s2[0], p2, e2);
  e2 += e1 * s2[0];
  const double(&s3)[3] = kPowStage3[((HighWord(p2) & 0xFF0) + 16) >> 5];
  double p3, e3;
  TwoProduct(p2, s3[0], p3, e3);
  // p3 lies within a factor 2 of c0: the difference is exact.
  const double wh = p3 - kPowStage3[0][0];
  const double wl = e3 + e2 * s3[0];
  // The series on w = wh + wl rounded: its error moves the series, some 2^-31 w, by far less
  // than the last bit of log2 x.
  const double w = wh + wl;
  const double series = w * (kSeries[3] + w * (kSeries[2] + w * (kSeries[1] + w * kSeries[0])));
  const double tail = ((s1[2] + s2[2]) + s3[2]) + series;
  // base + wh + wl in double-double: near x = 1 they are all there is.
  const double base = ((n + s1[1]) + s2[1]) + s3[1];
  double s, e, t, f;
  TwoSum(base, wh, s, e);
  TwoSum(s, wl, t, f);
  const double rest = (e + f) + tail;
  hi = t + rest;
  lo = rest - (hi - t);
}

// 2^(zh + zl) for |zh| < 2^11: normal, +inf above the range, or rounded once into the
// subnormal range.
inline double Exp2(double zh, double zl) {
  const double t = zh + kShifter;
  const double g = (zh - (t - kShifter)) + zl;
  const int n = static_cast<int>(BitsOf(t));
  const double(&row)[2] = kExp128[n & 127];
  const double p =
      ((((kExp2Series[4] * g + kExp2Series[3]) * g + kExp2Series[2]) * g + kExp2Series[1]) * g +
       kExp2Series[0]) * g;
  const double v = row[0] * p + row[1];
  const int k = n >> 7;
  if (k > 1024) return 0x1p1023 * 0x1p1023;
  // From 2^-1022 up the exponent goes on directly; below, the sum rounds once to the grid.
  if (k > -1022 || (k == -1022 && row[0] + v >= 1.0)) return expo::ScaleNormal(row[0], v, k);
  return expo::ScaleSubnormal(row[0], v, k);
}

}  // namespace stages

// sign * ax^y for positive finite ax and finite non-zero y, as a T, with status 3 for an
// infinite result and `underflow_status` for one below the smallest normal T. E sums the
// exponent fields of log2 x and y: from 2057 on, |y log2 x| >= 2048 and the result overflows
// or underflows for sure; below 1985, |y log2 x| < 2^-60 and the result is sign * 1.
template <class T>
T Reduce(double ax, double y, double sign, int underflow_status, int* status) {
  double extra = 0.0;
  if (ax < DBL_MIN) {
    ax *= stages::kSubnormalScale;
    extra = 200.0;
  }
  double hi, lo;
  stages::Log2(ax, extra, hi, lo);
  const int e = static_cast<int>((BitsOf(hi) >> 52 & 0x7FF) + (BitsOf(y) >> 52 & 0x7FF));
  double r;
  if (e >= 2057) {
    const double big = (hi < 0.0) != (y < 0.0) ? 0x1p-1000 : 0x1p1000;
    r = sign * big * big;
  } else if (e >= 1985) {
    double zh, zl;
    stages::TwoProduct(y, hi, zh, zl);
    r = sign * stages::Exp2(zh, zl + y * lo);
  } else {
    r = sign * (1.0 + DBL_MIN);
  }
  const T result = static_cast<T>(r);
  if (isinf(result)) {
    *status = TEM_STATUS_OVERFLOW;
  } else if (fabs(result) < std::numeric_limits<T>::min()) {
    *status = underflow_status;
  }
  return result;
}

}  // namespace power
}  // namespace tem

#endif  // QOR_KERNELS_POW_COMPANION_H_
