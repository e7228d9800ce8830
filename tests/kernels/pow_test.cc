// The tables of Pow (sampled rows by their rule), the companion against the exact power, and
// Powx against Pow.
#include <mpfr.h>

#include <cmath>
#include <random>
#include <vector>

#include "tests/kernels/special_cases.h"

namespace generated {
#include "kernels/pow_tables.inc"
}  // namespace generated

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

// Every ninth row of the logarithm table, recomputed: rc = floor(2^16 / m) / 2^16 for
// m = 1 + i/256, and hi + lo = -log2(rc) to 2^-94 with hi on the grid of 2^-42.
TEST(PowTables, SampledRowsAreLogarithmsOfTheReciprocals) {
  mpfr_t exact, sum;
  mpfr_inits2(256, exact, sum, static_cast<mpfr_ptr>(nullptr));
  for (int i = 0; i <= 256; i += 9) {
    const double(&row)[4] = generated::kPowLog2[i];
    EXPECT_EQ(row[0], std::floor(65536.0 / (1.0 + i / 256.0)) / 65536.0) << i;
    EXPECT_EQ(std::ldexp(row[2], 42), std::nearbyint(std::ldexp(row[2], 42))) << i;
    mpfr_set_d(exact, row[0], MPFR_RNDN);
    mpfr_log2(exact, exact, MPFR_RNDN);
    mpfr_set_d(sum, row[2], MPFR_RNDN);
    mpfr_add_d(sum, sum, row[3], MPFR_RNDN);
    mpfr_add(sum, sum, exact, MPFR_RNDN);
    EXPECT_LT(std::fabs(mpfr_get_d(sum, MPFR_RNDN)), 0x1p-94) << i;
  }
  EXPECT_EQ(generated::kPowLog2[256][2], 1.0);
  mpfr_clears(exact, sum, static_cast<mpfr_ptr>(nullptr));
}

// The three stages of the companion's reduction: the rows given for each stage, and a sample
// of rows recomputed from the stage rule. Row i of a stage stands for q = 1 + i * step below
// `wrap` and for q = 1 - (rows - 1 - i) * step / 2 from there on; its factor is
// floor(2^bits * scale / q) / 2^bits, and hi + lo = -log2(factor / factor of row 0) to 2^-94
// with hi on the grid of 2^-42.
TEST(PowTables, ReductionStagesFollowTheirRules) {
  const double inv_ln2 = 1.4426950408889634;
  struct Stage {
    const double (*rows)[3];
    int count, wrap, bits;
    double step, scale;
    std::vector<double> first;
  };
  const Stage stages[] = {
      {generated::kPowStage1, 33, 33, 16, 1.0 / 32, 1.0,
       {1.0, 0.969696044921875, 0.941162109375, 0.914276123046875}},
      {generated::kPowStage2, 33, 16, 16, 1.0 / 512, 1.0, {1.0, 0.998046875, 0.99609375}},
      {generated::kPowStage3, 129, 64, 22, 0x1p-15, inv_ln2,
       {1.442694902420044, 1.4426507949829102, 1.4426069259643555}},
  };
  mpfr_t exact, sum;
  mpfr_inits2(256, exact, sum, static_cast<mpfr_ptr>(nullptr));
  for (const Stage& stage : stages) {
    for (size_t i = 0; i < stage.first.size(); ++i) EXPECT_EQ(stage.rows[i][0], stage.first[i]);
    for (int i = 0; i < stage.count; i += 5) {
      const double(&row)[3] = stage.rows[i];
      const double q = i < stage.wrap ? 1.0 + i * stage.step
                                      : 1.0 - (stage.count - 1 - i) * stage.step / 2;
      // The double quotient is close enough for the floor, except on a multiple of 2^-bits.
      const double scaled = std::ldexp(stage.scale / q, stage.bits);
      EXPECT_EQ(row[0], std::ldexp(std::floor(scaled), -stage.bits)) << i;
      EXPECT_EQ(std::ldexp(row[1], 42), std::nearbyint(std::ldexp(row[1], 42))) << i;
      mpfr_set_d(exact, row[0], MPFR_RNDN);
      mpfr_div_d(exact, exact, stage.rows[0][0], MPFR_RNDN);
      mpfr_log2(exact, exact, MPFR_RNDN);
      mpfr_set_d(sum, row[1], MPFR_RNDN);
      mpfr_add_d(sum, sum, row[2], MPFR_RNDN);
      mpfr_add(sum, sum, exact, MPFR_RNDN);
      EXPECT_LT(std::fabs(mpfr_get_d(sum, MPFR_RNDN)), 0x1p-94) << i;
    }
  }
  mpfr_clears(exact, sum, static_cast<mpfr_ptr>(nullptr));
}

}  // namespace
