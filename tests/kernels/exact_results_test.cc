// Results pinned bit for bit (roots of squares, symmetries, SinCos, Powx) or against MPFR.
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "tests/kernels/special_cases.h"
#include "tools/mpfr_erfinv.h"

namespace {

using exact::Same;
using special_cases::kInf;
using special_cases::kNaN;

// |exact - r| in ulps of the rounded exact value (the subnormal ulp below the smallest normal).
double UlpsOff(const Big& exact, double r) {
  const double rounded = exact.D();
  const double ulp =
      std::fabs(rounded) < 0x1p-1022 ? 0x1p-1074 : std::ldexp(1.0, std::ilogb(rounded) - 52);
  return std::fabs((exact - Big(r)).D()) / ulp;
}

TEST(ExactResults, SquareRootsOfSquares) {
  for (int e : {-40, -1060, 1010}) {
    std::vector<double> squares, roots(64);
    for (int k = 1; k <= 64; ++k) squares.push_back(std::ldexp(double(k) * k, e));
    _temdSqrt(64, squares.data(), roots.data());
    for (int k = 1; k <= 64; ++k) EXPECT_EQ(roots[k - 1], std::ldexp(k, e / 2)) << k << " " << e;
  }
}

// Cos is even and Sin and Tan odd bit for bit, zeros and subnormals included, and SinCos gives
// what Sin and Cos give.
template <class T>
void CheckTrig(void (*sin)(int, const T*, T*), void (*cos)(int, const T*, T*),
               void (*tan)(int, const T*, T*), void (*sincos)(int, const T*, T*, T*)) {
  std::vector<T> x = {T(0), T(-0.0), std::numeric_limits<T>::denorm_min(),
                      -std::numeric_limits<T>::denorm_min()};
  for (double v = 1e-5; v < 1e30; v *= 1.37) x.push_back(T(v)), x.push_back(T(-v));
  // Every table row, on both sides of the limit of the medium reduction.
  std::mt19937_64 engine(5);
  for (int k = 0; k < 4096; ++k) {
    const T v = T(std::uniform_real_distribution<double>(0, 1.5e5)(engine));
    x.push_back(v), x.push_back(-v);
  }
  const int n = static_cast<int>(x.size());
  std::vector<T> s(n), c(n), t(n), s2(n), c2(n);
  sin(n, x.data(), s.data());
  cos(n, x.data(), c.data());
  tan(n, x.data(), t.data());
  sincos(n, x.data(), s2.data(), c2.data());
  for (int i = 0; i < n; ++i) {
    if (i % 2) {
      EXPECT_TRUE(Same(s[i], T(-s[i - 1])) && Same(c[i], c[i - 1])) << x[i];
      EXPECT_TRUE(Same(t[i], T(-t[i - 1]))) << x[i];
    }
    EXPECT_TRUE(Same(s2[i], s[i]) && Same(c2[i], c[i])) << x[i];
  }
}

TEST(ExactResults, TrigSymmetryAndSinCosAgreement) {
  CheckTrig<float>(_temsSin, _temsCos, _temsTan, _temsSinCos);
  CheckTrig<double>(_temdSin, _temdCos, _temdTan, _temdSinCos);
}

// erfinv(-x) == -erfinv(x) bit for bit, on random magnitudes of every size in (0, 1).
template <class T>
void CheckOdd(void (*kernel)(int, const T*, T*), int exponents) {
  constexpr int kN = 1 << 16;
  std::mt19937_64 engine(7);
  std::vector<T> x(kN), minus(kN), r(kN), rm(kN);
  for (int i = 0; i < kN; ++i) {
    const double m = std::uniform_real_distribution<double>(0.5, 1.0)(engine);
    x[i] = static_cast<T>(1.0 - std::ldexp(m, -static_cast<int>(engine() % exponents)));
    if (i % 3 == 0) x[i] = static_cast<T>(std::ldexp(m, -static_cast<int>(engine() % 200)));
    minus[i] = -x[i];
  }
  kernel(kN, x.data(), r.data());
  kernel(kN, minus.data(), rm.data());
  for (int i = 0; i < kN; ++i) ASSERT_EQ(exact::Bits(rm[i]), exact::Bits(T(-r[i]))) << x[i];
}

TEST(ExactResults, ErfInvIsOddBitForBit) {
  CheckOdd<double>(_temdErfInv, 53);
  CheckOdd<float>(_temsErfInv, 24);
}

// Below about 2^-53 the result is x sqrt(pi)/2 by the companion, rounded once onto the subnormal
// grid, up to the smallest normal where the sum carries into the exponent.
template <class T>
void CheckTinyArguments(void (*erfinv)(int, const T*, T*), std::vector<T> a) {
  std::vector<T> r(a.size());
  erfinv(static_cast<int>(a.size()), a.data(), r.data());
  for (size_t i = 0; i < a.size(); ++i) {
    const Big exact = exact::Of(erfinv_reference::MpfrErfInv, Big(a[i]));
    EXPECT_EQ(r[i], sizeof(T) == 4 ? exact.F() : exact.D()) << std::hexfloat << a[i];
  }
}

TEST(ExactResults, ErfInvOfTinyArgumentsRoundsOnce) {
  std::vector<double> a = {5e-324, -5e-324, 1e-320, 0x1p-1060, -0x1p-1050, 0x1p-1022,
                           0x1p-300, 0x1p-54};
  const double edge = 0x1p-1022 / 0.886226925452758;
  for (int k = -300; k <= 300; ++k) a.push_back(edge + k * 0x1p-1074);
  CheckTinyArguments<double>(_temdErfInv, a);
  CheckTinyArguments<float>(_temsErfInv, {1e-45f, -1e-45f, 1e-40f, 0x1p-126f, 0x1p-30f, 0x1p-24f,
                                          0x1.000002p-24f});
}

// Pow's companion (x near 1 with a large y, subnormal x, results near overflow and in the
// subnormals) lies within 0.51 ulp of the exact power.
TEST(ExactResults, PowCompanionIsCloseToTheExactPower) {
  const double near_one = 1.0 + 0x1p-40, below_one = 1.0 - 0x1p-45;
  const double cases[][2] = {
      {near_one, 1023.5 / std::log2(near_one)},   {near_one, -1050.25 / std::log2(near_one)},
      {below_one, 1000.75 / std::log2(below_one)}, {below_one, -1073.2 / std::log2(below_one)},
      {3 * 0x1p-1074, 0.75}, {0x1.234p-1030, -0.9}, {0x1.fffffffffffffp-1, -0x1p62},
      {0.5, 1074.4},         {2.0, -1022.5},        {10.0, 307.9},  {10.0, -320.3},
      {1.5, 1750.0},         {-3.0, 645.0},         {-3.0, -677.0}, {0x1.8p+1023, 1.0}};
  for (const auto& c : cases) {
    double r;
    _temdPow(1, &c[0], &c[1], &r);
    Big exact;
    mpfr_pow(exact.get(), Big(c[0]).get(), Big(c[1]).get(), MPFR_RNDN);
    EXPECT_LT(UlpsOff(exact, r), 0.51) << c[0] << "^" << c[1];
  }
}

// Powx is Pow bit for bit, specials included, on its general path and its own loops.
TEST(ExactResults, PowxIsPowWithAFixedExponent) {
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

// x^1.5 through Pow3o2 and Powx's own loop, in one array that mixes register lanes and element
// lanes (either side of 2^-500 and 2^682, negatives, zeros, infinities): within 0.76 ulp of the
// exact power where it is finite (0.75 is reached on subnormal results), NaN below zero, and
// Powx(-inf) = +inf as in Pow.
TEST(ExactResults, ThreeHalvesPowersAcrossTheRegisterRange) {
  std::vector<double> x = {0x1p-500, 0x1.0000000000001p-500, 0x1.fffffffffffffp-501, 0x1p682,
                           0x1.fffffffffffffp+681, 0x1p-1000, 0x1p-1074, 0x1.8p1000, 2.25,
                           -4.0,     -0.0,                    0.0,                   kInf,
                           -kInf,    kNaN};
  std::mt19937_64 random(11);
  for (int k = 0; k < 200; ++k) {
    x.push_back(std::ldexp(std::uniform_real_distribution<double>(1.0, 2.0)(random),
                           std::uniform_int_distribution<int>(-1070, 700)(random)));
  }
  const int n = static_cast<int>(x.size());
  std::vector<double> pow3o2(n), powx(n);
  _temdPow3o2(n, x.data(), pow3o2.data());
  _temdPowx(n, x.data(), 1.5, powx.data());
  for (int i = 0; i < n; ++i) {
    EXPECT_TRUE(Same(powx[i], x[i] == -kInf ? kInf : pow3o2[i])) << x[i];
    if (std::isnan(x[i]) || x[i] < 0.0) {
      EXPECT_TRUE(std::isnan(pow3o2[i])) << x[i];
      continue;
    }
    Big exact;
    mpfr_pow(exact.get(), Big(x[i]).get(), Big(1.5).get(), MPFR_RNDN);
    if (std::isinf(exact.D())) {
      EXPECT_EQ(pow3o2[i], kInf) << x[i];
    } else {
      EXPECT_LT(UlpsOff(exact, pow3o2[i]), 0.76) << x[i];
    }
  }
}

}  // namespace
