// The trigonometric tables (published rows, sampled rows by their rule, the 2/pi rows'
// shifts), the symmetries bit for bit, and SinCos against Sin and Cos.
#include <mpfr.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "gtest/gtest.h"
#include "qor/tem.h"
#include "tests/kernels/exact_support.h"

namespace generated {
#include "kernels/trig_tables.inc"
}  // namespace generated

namespace {

using exact::Bits;
using exact::Same;

TEST(TrigTables, PublishedRowsAndConstants) {
  const double rows[][5] = {{0, 0.0, 1.0, 0.0, 0.0},
                            {1, -7.529816085545908e-05, 1.0, 0.012271538285719925,
                             6.919790271057893e-19},
                            {128, 0.0, 0.0, 1.0, 0.0}};
  for (const auto& row : rows)
    for (int k = 0; k < 4; ++k)
      EXPECT_EQ(generated::kSinTable[static_cast<int>(row[0])][k], row[k + 1]) << row[0];
  // The leading bits of 2/pi appear in the low word of the first non-zero rows.
  int first = 0;
  while (generated::kTwoOverPiRows[first][2] == 0) {
    EXPECT_EQ(generated::kTwoOverPiRows[first][0] | generated::kTwoOverPiRows[first][1], 0u);
    ++first;
  }
  const uint64_t leading[] = {1, 2, 5, 10, 20, 40, 81};
  for (int k = 0; k < 7; ++k) EXPECT_EQ(generated::kTwoOverPiRows[first + k][2], leading[k]);
  EXPECT_EQ(Bits(generated::kPiOver256Parts[0]), 0x3F8921FB54400000u);
  EXPECT_EQ(Bits(generated::kTwoPiHigh), 0x401921FB54000000u);
  EXPECT_EQ(generated::kTwoPi, 6.283185307179586);
}

// Each row is the one before shifted left by one bit, with the next bit of 2/pi coming in.
TEST(TrigTables, TwoOverPiRowsShiftByOneBit) {
  for (int e = 1; e < 2048; ++e) {
    const uint64_t* a = generated::kTwoOverPiRows[e - 1];
    const uint64_t* b = generated::kTwoOverPiRows[e];
    ASSERT_EQ(b[0], (a[0] << 1) | (a[1] >> 63)) << e;
    ASSERT_EQ(b[1], (a[1] << 1) | (a[2] >> 63)) << e;
    ASSERT_EQ(b[2] >> 1, a[2] & 0x7FFFFFFFFFFFFFFFu) << e;
  }
}

// Cos is even and Sin odd bit for bit, and SinCos gives what Sin and Cos give.
template <class T>
void CheckSymmetryAndAgreement(void (*sin)(int, const T*, T*), void (*cos)(int, const T*, T*),
                               void (*sincos)(int, const T*, T*, T*)) {
  std::vector<T> x;
  for (double v = 1e-5; v < 1e30; v *= 1.37) x.push_back(T(v)), x.push_back(T(-v));
  const int n = static_cast<int>(x.size());
  std::vector<T> s(n), c(n), s2(n), c2(n);
  sin(n, x.data(), s.data());
  cos(n, x.data(), c.data());
  sincos(n, x.data(), s2.data(), c2.data());
  for (int i = 0; i < n; ++i) {
    if (i % 2) EXPECT_TRUE(Same(s[i], T(-s[i - 1])) && Same(c[i], c[i - 1])) << x[i];
    EXPECT_TRUE(Same(s2[i], s[i]) && Same(c2[i], c[i])) << x[i];
  }
}

TEST(Trig, SymmetryAndAgreement) {
  CheckSymmetryAndAgreement<float>(_temsSin, _temsCos, _temsSinCos);
  CheckSymmetryAndAgreement<double>(_temdSin, _temdCos, _temdSinCos);
}

// Every 13th row by its rule: the high part is the rounded value, or +-1 where |v| > 1 - 2^-7
// with the low part the rounded rest; after a rounded high part the low part is the rest cut
// to 24 bits.
TEST(TrigTables, SampledRowsAreSinAndCos) {
  mpfr_t angle, v;
  mpfr_inits2(300, angle, v, static_cast<mpfr_ptr>(nullptr));
  for (int j = 0; j < 512; j += 13) {
    mpfr_const_pi(angle, MPFR_RNDN);
    mpfr_mul_ui(angle, angle, j, MPFR_RNDN);
    mpfr_div_ui(angle, angle, 256, MPFR_RNDN);
    const double* row = generated::kSinTable[j];
    for (int k = 0; k < 2; ++k) {
      (k == 0 ? mpfr_cos : mpfr_sin)(v, angle, MPFR_RNDN);
      const double hi = row[k == 0 ? 1 : 2], lo = row[k == 0 ? 0 : 3];
      const double rounded = mpfr_get_d(v, MPFR_RNDN);
      const bool near_one = std::fabs(rounded) > 1 - 0x1p-7;
      EXPECT_EQ(hi, near_one ? std::copysign(1.0, rounded) : rounded) << j;
      mpfr_sub_d(v, v, hi, MPFR_RNDN);
      if (!near_one) mpfr_prec_round(v, 24, MPFR_RNDZ);
      EXPECT_EQ(lo, mpfr_get_d(v, MPFR_RNDN)) << j << " " << k;
      mpfr_set_prec(v, 300);
    }
  }
  // A sample of the 2/pi rows: floor(2^(e - 1075 + 192) / (2 pi)) mod 2^192, low word last.
  mpz_t z;
  mpz_init(z);
  for (int e = 900; e < 2048; e += 211) {
    mpfr_set_prec(v, 2400);
    mpfr_const_pi(v, MPFR_RNDN);
    mpfr_ui_div(v, 1, v, MPFR_RNDN);
    mpfr_mul_2si(v, v, e - 1075 + 192 - 1, MPFR_RNDN);
    mpfr_get_z(z, v, MPFR_RNDD);
    for (int k = 0; k < 3; ++k)
      EXPECT_EQ(uint64_t(mpz_getlimbn(z, 2 - k)), generated::kTwoOverPiRows[e][k]) << e << " " << k;
  }
  mpz_clear(z);
  mpfr_clears(angle, v, static_cast<mpfr_ptr>(nullptr));
}

}  // namespace
