// A scalar inverse error function in double by Newton's method on libm's erf and erfc: the
// reference of the single-precision sweep, the starting point of the MPFR reference, and the
// scalar peer of the benchmark. Accurate to a few ulps; no table.
#ifndef QOR_TOOLS_ERFINV_NEWTON_H_
#define QOR_TOOLS_ERFINV_NEWTON_H_

#include <cmath>
#include <limits>

namespace erfinv_reference {

// 2 / sqrt(pi), the derivative of erf at 0.
constexpr double kTwoOverSqrtPi = 1.1283791670955126;

// y with erfc(y) = w, for w in (0, 0.5]. erfc(y) ~ exp(-y^2) / (y sqrt(pi)) gives the start
// y^2 ~ L - log(L)/2 - log(pi)/2, L = -log(w); erfc is convex, so the steps rise to the root.
inline double ErfcInvNewton(double w) {
  const double l = -std::log(w);
  double y = std::sqrt(std::fmax(l - 0.5 * std::log(l) - 0.5723649429247001, 0.25));
  for (int k = 0; k < 12; ++k) {
    const double dy = (std::erfc(y) - w) / (kTwoOverSqrtPi * std::exp(-y * y));
    y += dy;
    if (std::fabs(dy) <= 0x1p-52 * y) break;
  }
  return y;
}

// erfinv(x) for |x| < 1. Below 0.5 the residual is erf(y) - x; above, erfc(y) - (1 - |x|), where
// 1 - |x| is exact, so that the tails keep their relative accuracy.
inline double ErfInvNewton(double x) {
  if (std::isnan(x)) return x + x;
  const double a = std::fabs(x);
  if (a > 1.0) return std::numeric_limits<double>::quiet_NaN();
  if (a == 1.0) return std::copysign(std::numeric_limits<double>::infinity(), x);
  if (a == 0.0) return x;
  double y;
  if (a <= 0.5) {
    // erfinv(a) = a sqrt(pi)/2 (1 + pi/12 a^2 + ...).
    y = a / kTwoOverSqrtPi * (1.0 + 0.2617993877991494 * a * a);
    if (a < 0x1p-27) return std::copysign(y, x);
    for (int k = 0; k < 8; ++k) {
      const double dy = (std::erf(y) - a) / (kTwoOverSqrtPi * std::exp(-y * y));
      y -= dy;
      if (std::fabs(dy) <= 0x1p-52 * y) break;
    }
  } else {
    y = ErfcInvNewton(1.0 - a);
  }
  return std::copysign(y, x);
}

}  // namespace erfinv_reference

#endif  // QOR_TOOLS_ERFINV_NEWTON_H_
