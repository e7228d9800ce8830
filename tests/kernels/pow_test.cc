// The companion of Pow against the exact power, and Powx against Pow.
#include <mpfr.h>

#include <cmath>
#include <random>
#include <vector>

#include "tests/kernels/special_cases.h"

namespace {

using exact::Same;

// Inputs that reach the companion's reduction: x near 1 with a large y, subnormal x, and
// results beyond the block's range up to the overflow bound and down into the subnormals.
// Each result must lie within 0.51 ulp of the exact power (the subnormal ulp below 2^-1022).
TEST(Pow, CompanionIsCloseToTheExactPower) {
  const double near_one = 1.0 + 0x1p-40, below_one = 1.0 - 0x1p-45;
  const double cases[][2] = {
      {near_one, 1023.5 / std::log2(near_one)},   {near_one, -1050.25 / std::log2(near_one)},
      {below_one, 1000.75 / std::log2(below_one)}, {below_one, -1073.2 / std::log2(below_one)},
      {3 * 0x1p-1074, 0.75}, {0x1.234p-1030, -0.9}, {0x1.fffffffffffffp-1, -0x1p62},
      {0.5, 1074.4},         {2.0, -1022.5},        {10.0, 307.9},  {10.0, -320.3},
      {1.5, 1750.0},         {-3.0, 645.0},         {-3.0, -677.0}, {0x1.8p+1023, 1.0}};
  mpfr_t x, y, exact;
  mpfr_inits2(256, x, y, exact, static_cast<mpfr_ptr>(nullptr));
  for (const auto& c : cases) {
    double r;
    _temdPow(1, &c[0], &c[1], &r);
    mpfr_set_d(x, c[0], MPFR_RNDN);
    mpfr_set_d(y, c[1], MPFR_RNDN);
    mpfr_pow(exact, x, y, MPFR_RNDN);
    const double rounded = mpfr_get_d(exact, MPFR_RNDN);
    const double ulp =
        std::fabs(rounded) < 0x1p-1022 ? 0x1p-1074 : std::ldexp(1.0, std::ilogb(rounded) - 52);
    mpfr_sub_d(exact, exact, r, MPFR_RNDN);
    EXPECT_LT(std::fabs(mpfr_get_d(exact, MPFR_RNDN)) / ulp, 0.51) << c[0] << "^" << c[1];
  }
  mpfr_clears(x, y, exact, static_cast<mpfr_ptr>(nullptr));
}

// Powx gives Pow's results bit for bit, block and tail alike, for special values too, on its
// general path and in its loops for the exponents 0, 1 and 2.
TEST(Pow, PowxIsPowWithAFixedExponent) {
  using special_cases::kInf;
  using special_cases::kNaN;
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> base(-3.0, 40.0);
  std::vector<double> x(1001), r(1001), expected(1001);
  for (double& v : x) v = base(random);
  const double specials[] = {0.0, -0.0, 1.0, -1.0, 0.5, -0.5, -8.0, kInf, -kInf, kNaN, 0x1p-1074};
  std::copy(std::begin(specials), std::end(specials), x.begin() + 500);
  for (double b : {3.0, -2.5, 0.3, 100.0, -0.0, 1.5000000000000002, 0.0, 1.0, 2.0, -3.0, 0.25,
                   kInf, -kInf, kNaN}) {
    const std::vector<double> y(x.size(), b);
    _temdPow(1001, x.data(), y.data(), expected.data());
    _temdPowx(1001, x.data(), b, r.data());
    for (size_t i = 0; i < x.size(); ++i)
      EXPECT_TRUE(Same(r[i], expected[i])) << x[i] << "^" << b;
  }
}

}  // namespace
