// The generated tables row by row (ErfInv's on a sample) against MPFR by their rules.
#include <cmath>
#include <cstdint>

#include "gtest/gtest.h"
#include "tests/kernels/exact_support.h"
#include "tools/mpfr_erfinv.h"

namespace generated {
#include "kernels/erfinv_tables.inc"
#include "kernels/exp_tables.inc"
#include "kernels/pow_tables.inc"
#include "kernels/root_tables.inc"
#include "kernels/trig_tables.inc"
}  // namespace generated

namespace {

using exact::Of;
using namespace generated;

// ErfInv row `row`: its high part and that part's linear term exactly, its low part, the low
// linear term and the t^2 term to about the fit's error (a fresh fit moves their last digits).
template <class Coefficients>
void ExpectErfInvRow(const Coefficients& r, int high, int row, const double (&want)[5],
                     const double (&tolerance)[3]) {
  const char* type = sizeof r[0] == 4 ? "sErfInv row " : "dErfInv row ";
  EXPECT_TRUE(r[high] == want[0] && r[high + 1] == want[1]) << type << row;
  for (int k = 0; k < 3; ++k)
    EXPECT_NEAR(r[k], want[2 + k], tolerance[k]) << type << row << ", low column " << k;
}

// The rows that the tables' descriptions give, as the generators reproduce them. The
// logarithm's are in log_test.cc.
TEST(Tables, PublishedRowsAreReproduced) {
  const struct { int row; double hi, lo; } exp_rows[] = {
      {0, 1.0, 0.0}, {1, 1.0108892860517005, -1.5234778603368577e-17},
      {32, 1.4142135623730951, -9.667293313452913e-17},
      {63, 1.978456026387951, 4.0388753109278167e-17}};
  for (const auto& e : exp_rows)
    EXPECT_TRUE(kExp64[e.row][0] == e.hi && kExp64[e.row][1] == e.lo) << "exp row " << e.row;
  const double sin_row[4] = {-7.529816085545908e-05, 1.0, 0.012271538285719925,
                             6.919790271057893e-19};
  for (int k = 0; k < 4; ++k) EXPECT_EQ(kSinTable[1][k], sin_row[k]) << "sin row 1, " << k;
  EXPECT_TRUE(kSinTable[128][1] == 0.0 && kSinTable[128][2] == 1.0);
  const struct { int row; double want[5]; } double_rows[] = {
      {0, {0.8871351778507233, -0.014563386095687747, 2.5137890581822675e-09,
           4.916799275721886e-11, 0.05875579589031858}},
      {1, {0.894545167684555, -0.04524657875299454, 5.745517485905178e-09, 2.425466878910943e-10,
           0.06515185547303387}},
      {211, {5.853673100471497, -0.07486311346292496, 5.568151370187853e-09,
             -8.950377738715044e-10, 0.032806828335511705}}},
    single_rows[] = {
      {0, {0.8864536285400391, -0.007259368896484375, -5.510766065697226e-09,
           1.1486589528431068e-06, 0.058190565556287766}},
      {63, {2.0353686809539795, -0.20355224609375, -4.631435679414153e-09, 6.687453151243972e-06,
            0.08951889723539352}}};
  for (const auto& e : double_rows)
    ExpectErfInvRow(temErfInvTableD[e.row].r, 15, e.row, e.want, {0x1p-60, 0x1p-60, 0x1p-55});
  for (const auto& e : single_rows)
    ExpectErfInvRow(temErfInvTableS[e.row], 6, e.row, e.want, {0x1p-40, 0x1p-30, 0x1p-26});
}

// hi is 2^(i/N) rounded, lo the rounded rest (the rest divided by hi in the companion's copy);
// the hyperbolic rows split 2^(j/16) / 2 and 2^(-j/16) / 2 alike.
TEST(ExpTables, RowsAreTwoToTheFraction) {
  auto expect_split = [](const Big& v, const double* hi_lo, const char* table, int i) {
    EXPECT_EQ(hi_lo[0], v.D()) << table << " " << i;
    EXPECT_EQ(hi_lo[1], (v - Big(hi_lo[0])).D()) << table << " " << i;
  };
  for (int i = 0; i < 128; ++i) {
    expect_split(Of(mpfr_exp2, Big(i) / Big(128)), kExp128[i], "kExp128", i);
    if (i >= 64) continue;
    const Big v = Of(mpfr_exp2, Big(i) / Big(64));
    expect_split(v, kExp64[i], "kExp64", i);
    EXPECT_EQ(kExp64Relative[i][0], kExp64[i][0]) << i;
    EXPECT_EQ(kExp64Relative[i][1], ((v - Big(kExp64[i][0])) / Big(kExp64[i][0])).D()) << i;
  }
  for (int j = 0; j < 16; ++j) {
    expect_split(Of(mpfr_exp2, Big(j - 16) / Big(16)), kHyperbolicPowers[j], "sinh", j);
    expect_split(Of(mpfr_exp2, Big(-j - 16) / Big(16)), kHyperbolicPowers[j] + 2, "sinh", j);
  }
}

// Row i of a table stands for q = 1 + i step below `wrap` and q = 1 - (count - 1 - i) step / 2
// from there on; its factor is floor(2^bits scale / q) / 2^bits, and its last two columns
// hi + lo = -log2(factor / factor of row 0) to 2^-94, with hi on the grid of 2^-42.
TEST(PowTables, RowsAreLogarithmsOfTheirFactors) {
  const struct {
    const char* name;
    const double* rows;
    int width, count, wrap, bits;
    double step, scale;
  } tables[] = {{"kPowLog2", kPowLog2[0], 4, 257, 257, 16, 1.0 / 256, 1.0},
                {"kPowStage1", kPowStage1[0], 3, 33, 33, 16, 1.0 / 32, 1.0},
                {"kPowStage2", kPowStage2[0], 3, 33, 16, 16, 1.0 / 512, 1.0},
                {"kPowStage3", kPowStage3[0], 3, 129, 48, 22, 0x1p-15, 1.4426950408889634}};
  for (const auto& t : tables) {
    for (int i = 0; i < t.count; ++i) {
      const double* row = t.rows + i * t.width;
      const double hi = row[t.width - 2], lo = row[t.width - 1];
      const double q = i < t.wrap ? 1.0 + i * t.step : 1.0 - (t.count - 1 - i) * t.step / 2;
      // The double quotient is close enough for the floor, except on a multiple of 2^-bits.
      EXPECT_EQ(row[0], std::ldexp(std::floor(std::ldexp(t.scale / q, t.bits)), -t.bits))
          << t.name << " " << i;
      EXPECT_EQ(std::ldexp(hi, 42), std::nearbyint(std::ldexp(hi, 42))) << t.name << " " << i;
      const Big sum = Big(hi) + Big(lo) + Of(mpfr_log2, Big(row[0]) / Big(t.rows[0]));
      EXPECT_LT(std::fabs(sum.D()), 0x1p-94) << t.name << " " << i;
    }
  }
  EXPECT_EQ(kPowLog2[256][2], 1.0);
}

// hi + lo is cbrt(2^j c) or its reciprocal to 100 bits (the float rows to 46), c the centre of
// the row's mantissa interval; the float rows also hold c and 1/c rounded.
TEST(RootTables, RowsAreCubeRoots) {
  auto relative_error = [](double hi, double lo, const Big& exact) {
    return std::fabs(((Big(hi) + Big(lo) - exact) / exact).D());
  };
  for (int row = 0; row < 96; ++row) {
    const double c = 1.0 + (2 * (row % 32) + 1) / 64.0;
    const double* centre = kCbrtCentres[row % 32];
    EXPECT_TRUE(centre[0] == c && centre[1] == 1.0 / c) << row;
    const Big root = Of(mpfr_cbrt, Big(std::ldexp(c, row / 32)));
    for (bool reciprocal : {false, true}) {
      const Big exact = reciprocal ? Big(1) / root : root;
      const double* pair = (reciprocal ? kInvCbrtRows : kCbrtRows)[row];
      EXPECT_LT(relative_error(pair[0], pair[1], exact), 0x1p-100) << row << " " << reciprocal;
      const float* single = (reciprocal ? kInvCbrtRowsSingle : kCbrtRowsSingle)[row];
      EXPECT_TRUE(single[0] == c && single[1] == static_cast<float>(1.0 / c)) << row;
      EXPECT_LT(relative_error(single[2], single[3], exact), 0x1p-46) << row << " " << reciprocal;
    }
  }
}

// Sine rows: the high parts are cos and sin of j pi/256 rounded, or +-1 where |v| > 1 - 2^-7
// with the low part the rounded rest; after a rounded high part the low part is the rest cut to
// 24 bits. 2/pi rows: floor(2^(e - 1075 + 192) / (2 pi)) mod 2^192, low word last.
TEST(TrigTables, RowsAreSinCosAndTheBitsOfTwoOverPi) {
  mpfr_t v, inv_pi;
  mpfr_inits2(2400, v, inv_pi, static_cast<mpfr_ptr>(nullptr));
  for (int j = 0; j < 512; ++j) {
    const double* row = kSinTable[j];
    for (int k = 0; k < 2; ++k) {
      mpfr_set_prec(v, 300);
      mpfr_set_si(v, j, MPFR_RNDN);
      (k == 0 ? mpfr_cosu : mpfr_sinu)(v, v, 512, MPFR_RNDN);  // of 2 pi j / 512
      const double hi = row[k == 0 ? 1 : 2], lo = row[k == 0 ? 0 : 3];
      const double rounded = mpfr_get_d(v, MPFR_RNDN);
      const bool near_one = std::fabs(rounded) > 1 - 0x1p-7;
      EXPECT_EQ(hi, near_one ? std::copysign(1.0, rounded) : rounded) << j;
      mpfr_sub_d(v, v, hi, MPFR_RNDN);
      if (!near_one) mpfr_prec_round(v, 24, MPFR_RNDZ);
      EXPECT_EQ(lo, mpfr_get_d(v, MPFR_RNDN)) << j << " " << k;
    }
  }
  mpfr_set_prec(v, 2400);
  mpfr_const_pi(inv_pi, MPFR_RNDN);
  mpfr_ui_div(inv_pi, 1, inv_pi, MPFR_RNDN);
  mpz_t z;
  mpz_init(z);
  for (int e = 0; e < 2048; ++e) {
    mpfr_mul_2si(v, inv_pi, e - 1075 + 192 - 1, MPFR_RNDN);
    mpfr_get_z(z, v, MPFR_RNDD);
    for (int k = 0; k < 3; ++k)
      EXPECT_EQ(uint64_t(mpz_getlimbn(z, 2 - k)), kTwoOverPiRows[e][k]) << e << " " << k;
  }
  mpz_clear(z);
  mpfr_clears(v, inv_pi, static_cast<mpfr_ptr>(nullptr));
  EXPECT_EQ(exact::Bits(kPiOver256Parts[0]), 0x3F8921FB54400000u);
  EXPECT_EQ(exact::Bits(kTwoPiHigh), 0x401921FB54000000u);
  EXPECT_EQ(kTwoPi, 6.283185307179586);
}

// Sampled rows, summed in long double at both ends and the middle of their interval, hold
// erfinv(x) / x from MPFR to the fit's error.
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
      const Big x = Big(1) - Big(w);
      const double exact = (Of(erfinv_reference::MpfrErfInv, x) / x).D();
      EXPECT_LE(std::fabs(static_cast<double>(p) / exact - 1), tolerance)
          << "row " << i << ", t = " << t;
    }
  }
}

TEST(ErfInvTables, SampledRowsFitErfInvOverX) {
  CheckRows<17>([](int i) { return temErfInvTableD[i].r; }, 2, 4091, 1023,
                {0, 1, 3, 40, 101, 150, 211}, 0x1p-60);
  CheckRows<8>([](int i) { return temErfInvTableS[i]; }, 3, 1015, 127, {0, 7, 63, 120, 191},
               0x1p-31);
}

}  // namespace
