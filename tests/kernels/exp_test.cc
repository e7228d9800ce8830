// The exponential tables (published rows, sampled rows by their rule) and the subnormal results
// of dExp and dExp2, rounded once, against MPFR.
#include <mpfr.h>

#include <cmath>
#include <vector>

#include "gtest/gtest.h"
#include "qor/tem.h"

namespace generated {
#include "kernels/exp_fits.inc"
#include "kernels/exp_tables.inc"
}  // namespace generated

namespace {

TEST(ExpTables, TellingRowsOfTheDExpTable) {
  const double rows[][3] = {{0, 1.0, 0.0},
                            {1, 1.0108892860517005, -1.5234778603368577e-17},
                            {32, 1.4142135623730951, -9.667293313452913e-17},
                            {63, 1.978456026387951, 4.0388753109278167e-17}};
  for (const auto& row : rows) {
    const int i = static_cast<int>(row[0]);
    EXPECT_EQ(generated::kExp64[i][0], row[1]) << i;
    EXPECT_EQ(generated::kExp64[i][1], row[2]) << i;
    EXPECT_EQ(generated::kExp64Relative[i][0], row[1]) << i;
  }
}

// Every seventh row: hi is 2^(i/N) rounded, hi + lo is 2^(i/N) to 106 bits; and the
// hyperbolic powers 2^(j/16) / 2.
TEST(ExpTables, SampledRowsAreTwoToTheFraction) {
  const struct { const double (*table)[2]; int rows; } tables[] = {{generated::kExp64, 64},
                                                                    {generated::kExp128, 128}};
  mpfr_t v, sum;
  mpfr_inits2(300, v, sum, static_cast<mpfr_ptr>(nullptr));
  for (const auto& t : tables) {
    for (int i = 0; i < t.rows; i += 7) {
      mpfr_set_si(v, i, MPFR_RNDN);
      mpfr_div_si(v, v, t.rows, MPFR_RNDN);
      mpfr_exp2(v, v, MPFR_RNDN);
      EXPECT_EQ(t.table[i][0], mpfr_get_d(v, MPFR_RNDN)) << t.rows << " " << i;
      mpfr_sub_d(sum, v, t.table[i][0], MPFR_RNDN);
      EXPECT_EQ(t.table[i][1], mpfr_get_d(sum, MPFR_RNDN)) << t.rows << " " << i;
    }
  }
  for (int j = 0; j < 16; j += 5) {
    mpfr_set_si(v, j - 16, MPFR_RNDN);
    mpfr_div_si(v, v, 16, MPFR_RNDN);
    mpfr_exp2(v, v, MPFR_RNDN);
    EXPECT_EQ(generated::kHyperbolicPowers[j][0], mpfr_get_d(v, MPFR_RNDN)) << j;
  }
  mpfr_clears(v, sum, static_cast<mpfr_ptr>(nullptr));
}

// f(x) rounded once onto the subnormal grid by MPFR.
double SubnormalReference(int (*f)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t), double x) {
  mpfr_t a, r;
  mpfr_inits2(200, a, r, static_cast<mpfr_ptr>(nullptr));
  mpfr_set_d(a, x, MPFR_RNDN);
  f(r, a, MPFR_RNDN);
  mpfr_prec_round(r, 53, MPFR_RNDN);
  mpfr_set_emin(-1073);
  mpfr_set_emax(1024);
  mpfr_subnormalize(r, mpfr_check_range(r, 0, MPFR_RNDN), MPFR_RNDN);
  mpfr_set_emin(mpfr_get_emin_min());
  mpfr_set_emax(mpfr_get_emax_max());
  const double y = mpfr_get_d(r, MPFR_RNDN);
  mpfr_clears(a, r, static_cast<mpfr_ptr>(nullptr));
  return y;
}

// Results below 2^-1022 lie within one subnormal step of the correctly rounded value, and are
// it at -720, where a second rounding would show.
TEST(ExpFamilyDouble, SubnormalResultsAreRoundedOnce) {
  const struct {
    void (*f)(int, const double*, double*);
    int (*reference)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
    double from, span;
  } cases[] = {{_temdExp, mpfr_exp, -708.4, 36.7}, {_temdExp2, mpfr_exp2, -1022.0, 52.9}};
  for (const auto& c : cases) {
    std::vector<double> x, r(401);
    for (int i = 0; i < 400; ++i) x.push_back(c.from - c.span * i / 400.0);
    x.push_back(-720.0);
    c.f(401, x.data(), r.data());
    for (int i = 0; i < 401; ++i)
      EXPECT_LE(std::fabs(r[i] - SubnormalReference(c.reference, x[i])), 0x1p-1074) << x[i];
  }
  double r, x = -720.0;
  _temdExp(1, &x, &r);
  EXPECT_EQ(r, SubnormalReference(mpfr_exp, -720.0));
  EXPECT_TRUE(r > 0 && r < 0x1p-1022);
}

}  // namespace
