// The trigonometric family through its exported entries: the published table rows and a sample
// re-derived with MPFR, special values and statuses in both loop kinds, one report per element
// of SinCos, the symmetries, agreement of SinCos with Sin and Cos, and strided calls.
#include <errno.h>
#include <mpfr.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "gtest/gtest.h"
#include "qor/tem.h"
#include "tests/kernels/special_cases.h"

namespace generated {
#include "kernels/trig_tables.inc"
}  // namespace generated

namespace {

template <class T>
uint64_t Bits(T x) {
  uint64_t b = 0;
  std::memcpy(&b, &x, sizeof x);
  return b;
}

using special_cases::ModeGuard;
using special_cases::SameValue;

TEST(TrigTables, PublishedRowsAndConstants) {
  const double rows[][5] = {{0, 0.0, 1.0, 0.0, 0.0},
                            {1, -7.529816085545908e-05, 1.0, 0.012271538285719925,
                             6.919790271057893e-19},
                            {128, 0.0, 0.0, 1.0, 0.0}};
  for (const auto& row : rows) {
    for (int k = 0; k < 4; ++k) {
      EXPECT_EQ(generated::kSinTable[static_cast<int>(row[0])][k], row[k + 1]) << row[0];
    }
  }
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
  // A sample of the 2/pi rows: floor(2^(e - 1075 + 192) / (2 pi)) mod 2^192, read word by word.
  for (int e = 900; e < 2048; e += 211) {
    mpfr_set_prec(v, 2400);
    mpfr_const_pi(v, MPFR_RNDN);
    mpfr_ui_div(v, 1, v, MPFR_RNDN);
    mpfr_mul_2si(v, v, e - 1075 + 192 - 1, MPFR_RNDN);
    for (int k = 2; k >= 0; --k) {
      mpfr_t word;
      mpfr_init2(word, 2400);
      mpfr_div_2ui(word, v, 64 * (2 - k), MPFR_RNDN);
      mpfr_floor(word, word);
      mpfr_div_2ui(word, word, 64, MPFR_RNDN);
      mpfr_frac(word, word, MPFR_RNDN);
      mpfr_mul_2ui(word, word, 64, MPFR_RNDN);
      EXPECT_EQ(static_cast<uint64_t>(mpfr_get_ui(word, MPFR_RNDN)), generated::kTwoOverPiRows[e][k]) << e << " " << k;
      mpfr_clear(word);
    }
  }
  mpfr_clears(angle, v, static_cast<mpfr_ptr>(nullptr));
}

// The members of one type, with SinCos split into its two results.
template <class T>
struct Members {
  void (*sin)(int, const T*, T*);
  void (*cos)(int, const T*, T*);
  void (*tan)(int, const T*, T*);
  void (*sincos)(int, const T*, T*, T*);
  void (*sincos_strided)(int, const T*, int, T*, int, T*, int);
  void (*sin_strided)(int, const T*, int, T*, int);
};

template <class T>
Members<T> Family();
template <>
Members<double> Family() {
  return {_temdSin, _temdCos, _temdTan, _temdSinCos, _temdSinCosI, _temdSinI};
}
template <>
Members<float> Family() {
  return {_temsSin, _temsCos, _temsTan, _temsSinCos, _temsSinCosI, _temsSinI};
}

template <class T>
class TrigTest : public testing::Test {};
using RealTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(TrigTest, RealTypes);

int callback_calls = 0;
int CountCalls(temErrorContext*) { return ++callback_calls, 0; }

// Each special alone and in a block of ordinary lanes, in both loop kinds: an infinity gives
// NaN with status 1, reported once per element (SinCos too); a NaN gives NaN silently; zeros
// keep their sign in sin and tan, and cos of a zero is 1 exactly.
TYPED_TEST(TrigTest, SpecialValuesAndStatuses) {
  using T = TypeParam;
  const T inf = std::numeric_limits<T>::infinity(), nan = std::numeric_limits<T>::quiet_NaN();
  const Members<T> f = Family<T>();
  const struct {
    T x, sin, cos, tan;
    int status;
  } cases[] = {{T(0), T(0), T(1), T(0), 0},     {T(-0.0), T(-0.0), T(1), T(-0.0), 0},
               {inf, nan, nan, nan, 1},         {-inf, nan, nan, nan, 1},
               {nan, nan, nan, nan, 0},         {T(1e-30), T(1e-30), T(1), T(1e-30), 0}};
  const temErrorCallBack old = _temSetErrorCallBack(CountCalls);
  for (unsigned mode : {TEM_ERRMODE_DEFAULT | TEM_HA, TEM_ERRMODE_NOERR | TEM_HA}) {
    const bool silent = mode & TEM_ERRMODE_NOERR;
    for (const auto& c : cases) {
      for (int n : {1, 5, 9}) {
        ModeGuard guard(mode);
        std::vector<T> a(n, T(0.5)), r(n), r2(n);
        a[n / 2] = c.x;
        const T expected[] = {c.sin, c.cos, c.tan, c.sin, c.cos};
        for (int m = 0; m < 4; ++m) {
          _temClearErrStatus();
          callback_calls = 0;
          errno = 0;
          if (m == 0) f.sin(n, a.data(), r.data());
          if (m == 1) f.cos(n, a.data(), r.data());
          if (m == 2) f.tan(n, a.data(), r.data());
          if (m == 3) f.sincos(n, a.data(), r.data(), r2.data());
          EXPECT_TRUE(SameValue(r[n / 2], expected[m])) << m << " " << c.x << " n " << n;
          if (m == 3) EXPECT_TRUE(SameValue(r2[n / 2], expected[4])) << c.x << " n " << n;
          EXPECT_EQ(_temGetErrStatus(), silent ? 0 : c.status) << m << " " << c.x;
          EXPECT_EQ(callback_calls, silent ? 0 : c.status) << m << " " << c.x;
          EXPECT_EQ(errno, !silent && c.status ? EDOM : 0) << m << " " << c.x;
        }
      }
    }
  }
  _temSetErrorCallBack(old);
}

// Cos is even and Sin odd bit for bit; SinCos gives what Sin and Cos give, in place too, and
// its strided form with mixed strides the same.
TYPED_TEST(TrigTest, SymmetryAndAgreement) {
  using T = TypeParam;
  const Members<T> f = Family<T>();
  std::vector<T> x;
  for (double v = 1e-5; v < 1e30; v *= 1.37) x.push_back(T(v));
  const int n = static_cast<int>(x.size());
  std::vector<T> minus(n), s(n), c(n), s_minus(n), c_minus(n), s2(n), c2(n);
  for (int i = 0; i < n; ++i) minus[i] = -x[i];
  f.sin(n, x.data(), s.data());
  f.cos(n, x.data(), c.data());
  f.sin(n, minus.data(), s_minus.data());
  f.cos(n, minus.data(), c_minus.data());
  f.sincos(n, x.data(), s2.data(), c2.data());
  for (int i = 0; i < n; ++i) {
    EXPECT_EQ(Bits(c_minus[i]), Bits(c[i])) << x[i];
    EXPECT_EQ(Bits(s_minus[i]), Bits(T(-s[i]))) << x[i];
    EXPECT_EQ(Bits(s2[i]), Bits(s[i])) << x[i];
    EXPECT_EQ(Bits(c2[i]), Bits(c[i])) << x[i];
  }
  std::vector<T> in_place = x;
  f.sin(n, in_place.data(), in_place.data());
  for (int i = 0; i < n; ++i) EXPECT_EQ(Bits(in_place[i]), Bits(s[i])) << x[i];
  // Input stride 2, results at strides 3 and 1.
  std::vector<T> spread(2 * n), rs(3 * n), rc(n);
  for (int i = 0; i < n; ++i) spread[2 * i] = x[i];
  f.sincos_strided(n, spread.data(), 2, rs.data(), 3, rc.data(), 1);
  f.sin_strided(n, spread.data(), 2, s2.data(), 1);
  for (int i = 0; i < n; ++i) {
    EXPECT_EQ(Bits(rs[3 * i]), Bits(s[i])) << x[i];
    EXPECT_EQ(Bits(rc[i]), Bits(c[i])) << x[i];
    EXPECT_EQ(Bits(s2[i]), Bits(s[i])) << x[i];
  }
}

// Either side of the end of the medium reduction and far past it, against the exactly reduced
// values.
TEST(TrigDouble, MediumAndBigStagesAreCorrectlyReduced) {
  const struct {
    double x, sin;
  } cases[] = {{1e22, -0.8522008497671888},
               {65536.0, 0.6920654538227232},
               {65537.0, -0.23347843820694436},
               {65536.00349206588, 0.6895405447410413}};
  for (const auto& c : cases) {
    double r;
    _temdSin(1, &c.x, &r);
    EXPECT_EQ(r, c.sin) << c.x;
  }
}

}  // namespace
