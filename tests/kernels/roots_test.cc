// The cube-root tables, sampled rows against MPFR, and exact square roots of exact squares.
#include <mpfr.h>

#include <cmath>
#include <vector>

#include "gtest/gtest.h"
#include "qor/tem.h"

namespace generated {
#include "kernels/root_tables.inc"
}  // namespace generated

namespace {

TEST(Roots, DoubleSquareRootsOfSquaresAreExact) {
  for (int e : {-40, -1060, 1010}) {
    std::vector<double> squares, roots(64);
    for (int k = 1; k <= 64; ++k) squares.push_back(std::ldexp(double(k) * k, e));
    _temdSqrt(64, squares.data(), roots.data());
    for (int k = 1; k <= 64; ++k) EXPECT_EQ(roots[k - 1], std::ldexp(k, e / 2)) << k << " " << e;
  }
}

// Every fifth row of the cube-root tables, recomputed: hi + lo is cbrt(2^j c) or its
// reciprocal to 100 bits (the float rows to 46), with c the centre of the row's mantissa
// interval.
TEST(RootTables, SampledRowsAreCubeRoots) {
  mpfr_t exact, sum;
  mpfr_inits2(256, exact, sum, static_cast<mpfr_ptr>(nullptr));
  auto relative_error = [&](double hi, double lo) {
    mpfr_set_d(sum, hi, MPFR_RNDN);
    mpfr_add_d(sum, sum, lo, MPFR_RNDN);
    mpfr_sub(sum, sum, exact, MPFR_RNDN);
    mpfr_div(sum, sum, exact, MPFR_RNDN);
    return std::fabs(mpfr_get_d(sum, MPFR_RNDN));
  };
  for (int row = 0; row < 96; row += 5) {
    const double c = 1.0 + (2 * (row % 32) + 1) / 64.0;
    const double* centre = generated::kCbrtCentres[row % 32];
    EXPECT_TRUE(centre[0] == c && centre[1] == 1.0 / c) << row;
    for (bool reciprocal : {false, true}) {
      mpfr_set_d(exact, std::ldexp(c, row / 32), MPFR_RNDN);
      mpfr_cbrt(exact, exact, MPFR_RNDN);
      if (reciprocal) mpfr_ui_div(exact, 1, exact, MPFR_RNDN);
      const double* pair = (reciprocal ? generated::kInvCbrtRows : generated::kCbrtRows)[row];
      EXPECT_LT(relative_error(pair[0], pair[1]), 0x1p-100) << row << " " << reciprocal;
      // The float row: the same centre, 1/c rounded, and a float pair within 2^-46.
      const float* single =
          (reciprocal ? generated::kInvCbrtRowsSingle : generated::kCbrtRowsSingle)[row];
      EXPECT_TRUE(single[0] == c && single[1] == static_cast<float>(1.0 / c)) << row;
      EXPECT_LT(relative_error(single[2], single[3]), 0x1p-46) << row << " " << reciprocal;
    }
  }
  mpfr_clears(exact, sum, static_cast<mpfr_ptr>(nullptr));
}

}  // namespace
