// erfinv in MPFR, by Newton's method from the double reference: the exact reference of the
// accuracy tests and of the table fits. MPFR has no inverse error function of its own.
#ifndef QOR_TOOLS_MPFR_ERFINV_H_
#define QOR_TOOLS_MPFR_ERFINV_H_

#include <mpfr.h>

#include "tools/erfinv_newton.h"

namespace erfinv_reference {

// r = erfinv(x) correctly rounded in `rnd` (to the last bits of a working precision 64 bits above
// r's): NaN beyond [-1, 1], infinities at +-1, the zero itself at zero.
inline int MpfrErfInv(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) {
  if (mpfr_nan_p(x) || mpfr_cmpabs_ui(x, 1) > 0) return mpfr_set_nan(r), 0;
  if (mpfr_cmpabs_ui(x, 1) == 0) return mpfr_set_inf(r, mpfr_sgn(x)), 0;
  if (mpfr_zero_p(x)) return mpfr_set(r, x, rnd);
  const mpfr_prec_t prec = mpfr_get_prec(r) + 64;
  mpfr_t a, w, y, f, d, c;
  mpfr_inits2(prec, a, w, y, f, d, c, static_cast<mpfr_ptr>(nullptr));
  mpfr_abs(a, x, MPFR_RNDN);
  const bool tail = mpfr_cmp_d(a, 0.5) > 0;
  mpfr_ui_sub(w, 1, a, MPFR_RNDN);  // exact: prec exceeds the input's by 64 bits
  if (mpfr_cmp_d(a, 0x1p-64) < 0 || mpfr_get_exp(a) < -1000) {
    // a sqrt(pi)/2 (1 + pi/12 a^2): the next term is below 2^-250 of the value.
    mpfr_const_pi(f, MPFR_RNDN);
    mpfr_sqrt(d, f, MPFR_RNDN);
    mpfr_mul(y, a, d, MPFR_RNDN);
    mpfr_div_2ui(y, y, 1, MPFR_RNDN);
    mpfr_mul(d, a, a, MPFR_RNDN);
    mpfr_mul(d, d, f, MPFR_RNDN);
    mpfr_div_ui(d, d, 12, MPFR_RNDN);
    mpfr_add_ui(d, d, 1, MPFR_RNDN);
    mpfr_mul(y, y, d, MPFR_RNDN);
  } else {
    // The double start has a few ulps; each step doubles the correct bits.
    mpfr_set_d(y, tail ? ErfcInvNewton(mpfr_get_d(w, MPFR_RNDN))
                       : ErfInvNewton(mpfr_get_d(a, MPFR_RNDN)), MPFR_RNDN);
    // c = 2 / sqrt(pi).
    mpfr_const_pi(c, MPFR_RNDN);
    mpfr_rec_sqrt(c, c, MPFR_RNDN);
    mpfr_mul_2ui(c, c, 1, MPFR_RNDN);
    for (int k = 0; k < 20; ++k) {
      // Residual over the derivative 2/sqrt(pi) exp(-y^2); erfc falls where erf rises.
      if (tail) {
        mpfr_erfc(f, y, MPFR_RNDN);
        mpfr_sub(f, f, w, MPFR_RNDN);
      } else {
        mpfr_erf(f, y, MPFR_RNDN);
        mpfr_sub(f, a, f, MPFR_RNDN);
      }
      mpfr_sqr(d, y, MPFR_RNDN);
      mpfr_neg(d, d, MPFR_RNDN);
      mpfr_exp(d, d, MPFR_RNDN);
      mpfr_mul(d, d, c, MPFR_RNDN);
      mpfr_div(d, f, d, MPFR_RNDN);
      mpfr_add(y, y, d, MPFR_RNDN);
      // The error after a step is about y d^2: a step below half the precision is the last.
      if (mpfr_zero_p(d) || mpfr_get_exp(d) < mpfr_get_exp(y) - prec / 2 - 8) break;
    }
  }
  if (mpfr_sgn(x) < 0) mpfr_neg(y, y, MPFR_RNDN);
  const int ternary = mpfr_set(r, y, rnd);
  mpfr_clears(a, w, y, f, d, c, static_cast<mpfr_ptr>(nullptr));
  return ternary;
}

}  // namespace erfinv_reference

#endif  // QOR_TOOLS_MPFR_ERFINV_H_
