// The error measure: a result against the exact value, in ulps of the binade of the correctly
// rounded result; results that must be exact count as infinitely wrong unless they match.
#ifndef QOR_TESTS_ACCURACY_ULP_H_
#define QOR_TESTS_ACCURACY_ULP_H_

#include <mpfr.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace accuracy {

// The exact value rounded to nearest in T, (exact - rounded) in ulps of `rounded`, and whether
// no error is allowed (a NaN, an infinity, a zero or an exact value).
template <class T>
struct Expected { T rounded; double offset; bool must_match; };

// log2 of the ulp of the binade of `y` (the subnormal ulp below the smallest normal), from the
// exponent field: the sweeps call this for every float.
template <class T>
int UlpExponent(T y) {
  using L = std::numeric_limits<T>;
  constexpr int kMantissaBits = L::digits - 1;
  uint64_t bits = 0;
  std::memcpy(&bits, &y, sizeof y);
  const int field = static_cast<int>((bits >> kMantissaBits) & (2 * L::max_exponent - 1));
  return (field == 0 ? 1 : field) - (L::max_exponent - 1) - kMantissaBits;
}

// x * 2^k for |k| up to 2200, without a call into libm.
inline double ScaleByPowerOfTwo(double x, int k) {
  auto power = [](int e) { return std::bit_cast<double>(uint64_t(e + 1023) << 52); };
  while (k > 1023) x *= power(1023), k -= 1023;
  while (k < -1022) x *= power(-1022), k += 1022;
  return x * power(k);
}

template <class T>
bool SameBits(T x, T y) { return std::memcmp(&x, &y, sizeof(T)) == 0; }

// Error of `computed` in ulps; +inf for a wrong class, sign or value where it must match.
template <class T>
double UlpError(T computed, const Expected<T>& e) {
  if (e.must_match) {
    if (std::isnan(e.rounded)) return std::isnan(computed) ? 0.0 : INFINITY;
    return SameBits(computed, e.rounded) ? 0.0 : INFINITY;
  }
  if (!std::isfinite(computed)) return INFINITY;
  // computed - rounded is exact: both lie within a few binades of each other when it matters.
  const double diff = double(computed) - e.rounded;
  return std::fabs(ScaleByPowerOfTwo(diff, -UlpExponent(e.rounded)) - e.offset);
}

inline double RoundToType(double, mpfr_srcptr x) { return mpfr_get_d(x, MPFR_RNDN); }
inline float RoundToType(float, mpfr_srcptr x) { return mpfr_get_flt(x, MPFR_RNDN); }
inline void SetFromType(mpfr_ptr r, double x) { mpfr_set_d(r, x, MPFR_RNDN); }
inline void SetFromType(mpfr_ptr r, float x) { mpfr_set_flt(r, x, MPFR_RNDN); }

// The expectation from a value at a precision well above T's and the ternary value of its
// computation (0: `exact` is the true value).
template <class T>
Expected<T> FromMpfr(mpfr_srcptr exact, int ternary) {
  if (mpfr_nan_p(exact)) return {std::numeric_limits<T>::quiet_NaN(), 0.0, true};
  const T rounded = RoundToType(T(), exact);  // rounds subnormals and overflows correctly
  if (!std::isfinite(rounded) || rounded == 0) return {rounded, 0.0, true};
  mpfr_t diff;
  mpfr_init2(diff, mpfr_get_prec(exact) + 8);
  SetFromType(diff, rounded);
  mpfr_sub(diff, exact, diff, MPFR_RNDN);
  mpfr_mul_2si(diff, diff, -UlpExponent(rounded), MPFR_RNDN);
  const double offset = mpfr_get_d(diff, MPFR_RNDN);
  mpfr_clear(diff);
  return {rounded, offset, ternary == 0 && offset == 0.0};
}

// The float expectation from a double reference close to the exact value (`exact`: equal to
// it); away from NeedsExactReference's cases its rounding is the exact value's.
inline Expected<float> FromDouble(double reference, bool exact) {
  if (std::isnan(reference)) return {NAN, 0.0, true};
  const float rounded = static_cast<float>(reference);
  if (!std::isfinite(rounded) || rounded == 0) return {rounded, 0.0, true};
  const double offset = ScaleByPowerOfTwo(reference - rounded, -UlpExponent(rounded));
  return {rounded, offset, exact && offset == 0.0};
}

// True when a double reference, a few double ulps off, lies so close to a float or a midpoint
// between floats that only the exact value tells how it rounds or whether it is exact.
inline bool NeedsExactReference(double reference, bool exact) {
  if (exact || !std::isfinite(reference) || reference == 0) return false;
  const float rounded = static_cast<float>(reference);
  // Above the largest float, measure against it: the overflow midpoint sits half an ulp up.
  const float base = std::isinf(rounded) ? std::copysign(std::numeric_limits<float>::max(), rounded)
                                         : rounded;
  const double t = std::fabs(ScaleByPowerOfTwo(reference - base, -UlpExponent(base)));
  constexpr double kMargin = 0x1p-20;
  // A non-zero reference stands for a non-zero value: next to zero only the midpoint counts.
  return (t < kMargin && rounded != 0) || std::fabs(t - 0.5) < kMargin;
}

}  // namespace accuracy

#endif  // QOR_TESTS_ACCURACY_ULP_H_
