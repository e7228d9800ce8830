// The exponential tables: the published rows, and a sample of rows re-derived by their rule.
#include <mpfr.h>

#include "gtest/gtest.h"

namespace generated {
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

}  // namespace
