// An MPFR value rounded to nearest with a given number of significant bits, as a double: the
// split parts of the generated tables, and the tests that re-derive their rows.
#ifndef QOR_TOOLS_MPFR_ROUND_H_
#define QOR_TOOLS_MPFR_ROUND_H_

#include <mpfr.h>

inline double RoundToBits(mpfr_srcptr x, int bits) {
  mpfr_t t;
  mpfr_init2(t, bits);
  mpfr_set(t, x, MPFR_RNDN);
  const double d = mpfr_get_d(t, MPFR_RNDN);
  mpfr_clear(t);
  return d;
}

#endif  // QOR_TOOLS_MPFR_ROUND_H_
