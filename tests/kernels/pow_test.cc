// Pow, Powr and Powx through their exported entries: the special-value matrices with their
// statuses, the exponents that Powx routes elsewhere, and Powx against Pow.
#include <mpfr.h>

#include <cmath>
#include <random>
#include <vector>

#include "tests/kernels/special_cases.h"

namespace generated {
#include "kernels/pow_tables.inc"
}  // namespace generated

namespace {

using namespace special_cases;  // NOLINT

template <class T>
Element Powx(void (*f)(int, const T*, T, T*)) {
  return [f](double a, double b) {
    std::vector<T> x(kCount, T(1.5)), r(kCount);
    x[kAt] = static_cast<T>(a);
    f(kCount, x.data(), static_cast<T>(b), r.data());
    return static_cast<double>(r[kAt]);
  };
}
template <class T>
Element PowxStrided(void (*f)(int, const T*, int, T, T*, int)) {
  return [f](double a, double b) {
    std::vector<T> x(2 * kCount, T(1.5)), r(2 * kCount);
    x[2 * kAt] = static_cast<T>(a);
    f(kCount, x.data(), 2, static_cast<T>(b), r.data(), 2);
    return static_cast<double>(r[2 * kAt]);
  };
}

const std::map<std::string, std::vector<Element>>& Entries() {
  static const std::map<std::string, std::vector<Element>> entries = {
      {"sPow", {Binary(_temsPow), BinaryStrided(_temsPowI)}},
      {"dPow", {Binary(_temdPow), BinaryStrided(_temdPowI)}},
      {"sPowr", {Binary(_temsPowr), BinaryStrided(_temsPowrI)}},
      {"dPowr", {Binary(_temdPowr), BinaryStrided(_temdPowrI)}},
      {"sPowx", {Powx(_temsPowx), PowxStrided(_temsPowxI)}},
      {"dPowx", {Powx(_temdPowx), PowxStrided(_temdPowxI)}},
  };
  return entries;
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

// The same matrix holds for Pow and for Powx on its general path.
TEST(Pow, SpecialValues) {
  for (const char* stem : {"Pow", "Powx"}) {
    RunCases(Entries(), {
        {"sd", stem, 0.0, -3.0, kInf, TEM_STATUS_ERRDOM},
        {"sd", stem, -0.0, -3.0, -kInf, TEM_STATUS_ERRDOM},
        {"sd", stem, -0.0, -4.0, kInf, TEM_STATUS_ERRDOM},
        {"sd", stem, -0.0, 3.0, -0.0, 0},
        {"sd", stem, -0.0, 0.25, 0.0, 0},
        {"sd", stem, -8.0, 1.0 / 3, kNaN, TEM_STATUS_ERRDOM},
        {"sd", stem, -8.0, 3.0, -512.0, 0},
        {"sd", stem, -2.0, -8.0, 0x1p-8, 0},
        {"sd", stem, 1.0, kNaN, 1.0, 0},
        {"sd", stem, kNaN, 0.0, 1.0, 0},
        {"sd", stem, kNaN, -0.0, 1.0, 0},
        {"sd", stem, kNaN, 1.0, kNaN, 0},
        {"sd", stem, 0.0, 0.0, 1.0, 0},
        {"sd", stem, -1.0, kInf, 1.0, 0},
        {"sd", stem, -1.0, -kInf, 1.0, 0},
        {"sd", stem, 0.5, kInf, 0.0, 0},
        {"sd", stem, -0.5, -kInf, kInf, 0},
        {"sd", stem, 2.0, kInf, kInf, 0},
        {"sd", stem, -2.0, -kInf, 0.0, 0},
        {"sd", stem, -kInf, 3.0, -kInf, 0},
        {"sd", stem, -kInf, -3.0, -0.0, 0},
        {"sd", stem, -kInf, 4.0, kInf, 0},
        {"sd", stem, kInf, -0.25, 0.0, 0},
        {"sd", stem, 4.0, 0.5, 2.0, 0},
        {"s", stem, 2.0, 128.0, kInf, TEM_STATUS_OVERFLOW},
        {"s", stem, -2.0, 129.0, -kInf, TEM_STATUS_OVERFLOW},
        {"s", stem, 2.0, -149.0, 0x1p-149, 0},
        {"s", stem, 2.0, -200.0, 0.0, 0},
        {"d", stem, 2.0, 1024.0, kInf, TEM_STATUS_OVERFLOW},
        {"d", stem, -2.0, 1025.0, -kInf, TEM_STATUS_OVERFLOW},
        {"d", stem, 2.0, -1074.0, 0x1p-1074, 0},
        {"d", stem, 2.0, -2000.0, 0.0, 0},
        {"d", stem, 0x1p-1074, 0.5, 0x1p-537, 0},
        {"d", stem, 1.5, 0x1p-1074, 1.0, 0},
    });
  }
}

TEST(Pow, PowrSpecialValues) {
  RunCases(Entries(), {
      {"sd", "Powr", -8.0, 3.0, kNaN, TEM_STATUS_ERRDOM},
      {"sd", "Powr", -kInf, 2.0, kNaN, TEM_STATUS_ERRDOM},
      {"sd", "Powr", 1.0, kNaN, kNaN, 0},
      {"sd", "Powr", kNaN, 0.0, kNaN, 0},
      {"sd", "Powr", 0.0, 0.0, kNaN, 0},
      {"sd", "Powr", -0.0, -0.0, kNaN, 0},
      {"sd", "Powr", 0.0, kInf, 0.0, 0},
      {"sd", "Powr", 0.0, -kInf, kInf, 0},
      {"sd", "Powr", -0.0, -3.0, kInf, TEM_STATUS_ERRDOM},
      {"sd", "Powr", -0.0, 3.0, 0.0, 0},
      {"sd", "Powr", 1.0, kInf, kNaN, 0},
      {"sd", "Powr", 1.0, -5.0, 1.0, 0},
      {"sd", "Powr", kInf, 0.0, kNaN, 0},
      {"sd", "Powr", kInf, -2.0, 0.0, 0},
      {"sd", "Powr", 0.5, -kInf, kInf, 0},
      {"sd", "Powr", 3.0, 0.0, 1.0, 0},
      {"sd", "Powr", 4.0, 0.5, 2.0, 0},
      {"s", "Powr", 2.0, 128.0, kInf, TEM_STATUS_OVERFLOW},
      {"s", "Powr", 2.0, -140.0, 0x1p-140, TEM_STATUS_UNDERFLOW},
      {"s", "Powr", 2.0, -160.0, 0.0, TEM_STATUS_UNDERFLOW},
      {"d", "Powr", 2.0, 1024.0, kInf, TEM_STATUS_OVERFLOW},
      {"d", "Powr", 2.0, -1074.0, 0x1p-1074, TEM_STATUS_UNDERFLOW},
      {"d", "Powr", 2.0, -1080.0, 0.0, TEM_STATUS_UNDERFLOW},
  });
}

// Exponents that Powx sends to another table or its own loops; the results are those of that
// function, such as Inv(-0) and InvSqrt(0) with status 2 and Sqrt(-0) = -0.
TEST(Pow, PowxShortcuts) {
  RunCases(Entries(), {
      {"sd", "Powx", -4.0, -1.0, -0.25, 0},
      {"sd", "Powx", -0.0, -1.0, -kInf, TEM_STATUS_SING},
      {"sd", "Powx", -0.0, 0.5, -0.0, 0},
      {"sd", "Powx", -1.0, 0.5, kNaN, TEM_STATUS_ERRDOM},
      {"sd", "Powx", 16.0, -0.5, 0.25, 0},
      {"sd", "Powx", 0.0, -0.5, kInf, TEM_STATUS_SING},
      {"sd", "Powx", kNaN, 0.0, 1.0, 0},
      {"sd", "Powx", -0.0, 1.0, -0.0, 0},
      {"sd", "Powx", -3.0, 2.0, 9.0, 0},
      {"s", "Powx", 0x1p64, 2.0, kInf, TEM_STATUS_OVERFLOW},
      {"d", "Powx", 1e200, 2.0, kInf, TEM_STATUS_OVERFLOW},
      {"sd", "Powx", 4.0, 1.5, 8.0, 0},
      {"sd", "Powx", -4.0, 1.5, kNaN, TEM_STATUS_ERRDOM},
      {"sd", "Powx", -kInf, 1.5, kInf, 0},
  });
}

// Inputs that reach the companion's reduction: x near 1 with a large y, subnormal x, and
// results beyond the block's range up to the overflow bound and down into the subnormals.
// Each result must lie within 0.51 ulp of the exact power (the subnormal ulp below 2^-1022).
TEST(Pow, CompanionIsCloseToTheExactPower) {
  const double near_one = 1.0 + 0x1p-40, below_one = 1.0 - 0x1p-45;
  const double cases[][2] = {
      {near_one, 1023.5 / std::log2(near_one)},
      {near_one, -1050.25 / std::log2(near_one)},
      {below_one, 1000.75 / std::log2(below_one)},
      {below_one, -1073.2 / std::log2(below_one)},
      {3 * 0x1p-1074, 0.75},
      {0x1.234p-1030, -0.9},
      {0x1.fffffffffffffp-1, -0x1p62},
      {0.5, 1074.4},
      {2.0, -1022.5},
      {10.0, 307.9},
      {10.0, -320.3},
      {1.5, 1750.0},
      {-3.0, 645.0},
      {-3.0, -677.0},
      {0x1.8p+1023, 1.0},
  };
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

// On the general path Powx gives Pow's results bit for bit, block and tail alike.
TEST(Pow, PowxIsPowWithAFixedExponent) {
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> base(-3.0, 40.0);
  std::vector<double> x(1001), r(1001), expected(1001);
  for (double& v : x) v = base(random);
  for (double b : {3.0, -2.5, 0.3, 100.0, -0.0, 1.5000000000000002}) {
    const std::vector<double> y(x.size(), b);
    _temdPow(1001, x.data(), y.data(), expected.data());
    _temdPowx(1001, x.data(), b, r.data());
    for (size_t i = 0; i < x.size(); ++i) {
      EXPECT_TRUE(SameValue(r[i], expected[i])) << x[i] << "^" << b;
    }
  }
}

}  // namespace
