// ErfInv: the committed tables against their telling rows and against MPFR on a sample of
// rows, odd symmetry bit for bit, and tiny arguments rounded once.
#include <mpfr.h>

#include <random>

#include "gtest/gtest.h"
#include "qor/tem.h"
#include "tests/kernels/exact_support.h"
#include "tools/mpfr_erfinv.h"

namespace generated {
#include "kernels/erfinv_tables.inc"
}  // namespace generated

namespace {

using generated::temErfInvTableD;
using generated::temErfInvTableS;

// erfinv(x) rounded once to T from 200 bits; MPFR rounds onto the subnormal grid itself.
template <class T>
T Reference(double x) {
  mpfr_t a, r;
  mpfr_inits2(200, a, r, static_cast<mpfr_ptr>(nullptr));
  mpfr_set_d(a, x, MPFR_RNDN);
  erfinv_reference::MpfrErfInv(r, a, MPFR_RNDN);
  const T y = sizeof(T) == 4 ? mpfr_get_flt(r, MPFR_RNDN) : mpfr_get_d(r, MPFR_RNDN);
  mpfr_clears(a, r, static_cast<mpfr_ptr>(nullptr));
  return y;
}

// Telling rows: high constant, high linear, low constant, low linear, t^2 coefficient. The high
// parts (at `high`, `high` + 1) are reproduced exactly; the rest to about the fit's own error,
// since a fresh fit by another method moves the last digits of the low parts.
struct TellingRow { int row; double high0, high1, low0, low1, next; };

template <class RowOf>
void CheckTellingRows(std::initializer_list<TellingRow> rows, RowOf row_of, int high,
                      const double (&tolerance)[3]) {
  for (const TellingRow& t : rows) {
    const auto* r = row_of(t.row);
    using T = std::remove_cv_t<std::remove_pointer_t<decltype(r)>>;
    EXPECT_EQ(r[high], static_cast<T>(t.high0)) << "row " << t.row;
    EXPECT_EQ(r[high + 1], static_cast<T>(t.high1)) << "row " << t.row;
    EXPECT_NEAR(r[0], t.low0, tolerance[0]) << "row " << t.row;
    EXPECT_NEAR(r[1], t.low1, tolerance[1]) << "row " << t.row;
    EXPECT_NEAR(r[2], t.next, tolerance[2]) << "row " << t.row;
  }
}

TEST(ErfInvTableTest, TablesReproduceTellingRows) {
  CheckTellingRows({{0, 0.8871351778507233, -0.014563386095687747, 2.5137890581822675e-09,
                     4.916799275721886e-11, 0.05875579589031858},
                    {1, 0.894545167684555, -0.04524657875299454, 5.745517485905178e-09,
                     2.425466878910943e-10, 0.06515185547303387},
                    {211, 5.853673100471497, -0.07486311346292496, 5.568151370187853e-09,
                     -8.950377738715044e-10, 0.032806828335511705}},
                   [](int i) { return temErfInvTableD[i].r; }, 15, {0x1p-60, 0x1p-60, 0x1p-55});
  CheckTellingRows({{0, 0.8864536285400391, -0.007259368896484375, -5.510766065697226e-09,
                     1.1486589528431068e-06, 0.058190565556287766},
                    {63, 2.0353686809539795, -0.20355224609375, -4.631435679414153e-09,
                     6.687453151243972e-06, 0.08951889723539352}},
                   [](int i) { return temErfInvTableS[i]; }, 6, {0x1p-40, 0x1p-30, 0x1p-26});
}

// erfinv(-x) == -erfinv(x) bit for bit, on random magnitudes of every size in (0, 1).
// A sample of rows (`row_of(i)`: row i's coefficients), summed in long double at both ends and
// the middle of each row's interval, against erfinv(x) / x from MPFR: the fit holds to its error.
template <int kWidth, class RowOf>
void CheckRows(RowOf row_of, int top_bits, int first_key, int bias,
               std::initializer_list<int> sample, double tolerance) {
  const int degree = kWidth - 3;
  const double half = 0.5 / (1 << top_bits);
  for (int i : sample) {
    const int key = first_key - i;
    const int top = key & ((1 << top_bits) - 1);
    for (double t : {-half, 0.0, half * (1 - 0x1p-20)}) {
      const double w = std::ldexp(1.0 + half + double(top) / (1 << top_bits) + t,
                                  (key >> top_bits) - bias);
      const auto* r = row_of(i);
      long double p = r[degree];
      for (int k = degree - 1; k >= 2; --k) p = p * t + r[k];
      p = p * t + ((long double)r[1] + r[degree + 2]);
      p = p * t + ((long double)r[0] + r[degree + 1]);
      mpfr_t x, y;
      mpfr_inits2(256, x, y, static_cast<mpfr_ptr>(nullptr));
      mpfr_set_d(x, w, MPFR_RNDN);
      mpfr_ui_sub(x, 1, x, MPFR_RNDN);
      erfinv_reference::MpfrErfInv(y, x, MPFR_RNDN);
      mpfr_div(y, y, x, MPFR_RNDN);
      const double exact = mpfr_get_d(y, MPFR_RNDN);
      mpfr_clears(x, y, static_cast<mpfr_ptr>(nullptr));
      EXPECT_LE(std::fabs(static_cast<double>(p) / exact - 1), tolerance)
          << "row " << i << ", t = " << t;
    }
  }
}

TEST(ErfInvTableTest, SampledRowsFitErfInvOverX) {
  CheckRows<17>([](int i) { return temErfInvTableD[i].r; }, 2, 4091, 1023,
                {0, 3, 40, 101, 150, 211}, 0x1p-60);
  CheckRows<8>([](int i) { return temErfInvTableS[i]; }, 3, 1015, 127, {0, 7, 63, 120, 191},
               0x1p-31);
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

TEST(ErfInvSymmetryTest, OddBitForBit) {
  CheckOdd<double>(_temdErfInv, 53);
  CheckOdd<float>(_temsErfInv, 24);
}

// Below about 2^-53 the result is x sqrt(pi)/2 by the companion, rounded once onto the subnormal
// grid, up to the smallest normal where the sum carries into the exponent.
template <class T>
void CheckTinyArguments(void (*erfinv)(int, const T*, T*), std::vector<T> a) {
  std::vector<T> r(a.size());
  erfinv(static_cast<int>(a.size()), a.data(), r.data());
  for (size_t i = 0; i < a.size(); ++i) EXPECT_EQ(r[i], Reference<T>(a[i])) << std::hexfloat << a[i];
}

TEST(ErfInvSubnormalTest, TinyArgumentsRoundOnce) {
  std::vector<double> a = {5e-324, -5e-324, 1e-320, 0x1p-1060, -0x1p-1050, 0x1p-1022,
                           0x1p-300, 0x1p-54};
  const double edge = 0x1p-1022 / 0.886226925452758;
  for (int k = -300; k <= 300; ++k) a.push_back(edge + k * 0x1p-1074);
  CheckTinyArguments<double>(_temdErfInv, a);
  CheckTinyArguments<float>(_temsErfInv, {1e-45f, -1e-45f, 1e-40f, 0x1p-126f, 0x1p-30f, 0x1p-24f,
                                          0x1.000002p-24f});
}

}  // namespace
