// The exponential family through its exported entries: table rows, special values, statuses
// and errno in the default and the no-error mode, strided calls, block and tail agreement,
// and the subnormal results of dExp against MPFR.
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
#include "kernels/exp_fits.inc"
#include "kernels/exp_tables.inc"
}  // namespace generated

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

using DFn = void (*)(int, const double*, double*);
using SFn = void (*)(int, const float*, float*);
using DFnI = void (*)(int, const double*, int, double*, int);
using SFnI = void (*)(int, const float*, int, float*, int);
using MpfrFn = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);

int Exp10(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) { return mpfr_exp10(r, x, rnd); }

// x rounded to nearest double by MPFR, with subnormals on their own grid.
double Reference(MpfrFn f, double x) {
  mpfr_t a, r;
  mpfr_inits2(200, a, r, static_cast<mpfr_ptr>(nullptr));
  mpfr_set_d(a, x, MPFR_RNDN);
  f(r, a, MPFR_RNDN);
  mpfr_prec_round(r, 53, MPFR_RNDN);
  mpfr_set_emin(-1073);
  mpfr_set_emax(1024);
  int t = mpfr_check_range(r, 0, MPFR_RNDN);
  mpfr_subnormalize(r, t, MPFR_RNDN);
  mpfr_set_emin(mpfr_get_emin_min());
  mpfr_set_emax(mpfr_get_emax_max());
  double y = mpfr_get_d(r, MPFR_RNDN);
  mpfr_clears(a, r, static_cast<mpfr_ptr>(nullptr));
  return y;
}

using special_cases::ModeGuard;
using special_cases::SameValue;

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

// Every seventh row of each table, recomputed: hi is 2^(i/N) rounded, hi + lo is 2^(i/N) to
// 106 bits.
TEST(ExpTables, SampledRowsAreTwoToTheFraction) {
  const struct {
    const double (*table)[2];
    int rows;
  } tables[] = {{generated::kExp64, 64}, {generated::kExp128, 128}};
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
    mpfr_set_si(v, j, MPFR_RNDN);
    mpfr_div_si(v, v, 16, MPFR_RNDN);
    mpfr_exp2(v, v, MPFR_RNDN);
    mpfr_div_2ui(v, v, 1, MPFR_RNDN);
    EXPECT_EQ(generated::kHyperbolicPowers[j][0], mpfr_get_d(v, MPFR_RNDN)) << j;
  }
  mpfr_clears(v, sum, static_cast<mpfr_ptr>(nullptr));
}

struct DoubleCase {
  const char* name;
  DFn fn;
  double x, expected;
  int status;
};

// Results and statuses of the failure rules; a NaN expected means any NaN.
const DoubleCase kDoubleCases[] = {
    {"dExp", _temdExp, 0.0, 1.0, 0},
    {"dExp", _temdExp, -kInf, 0.0, 0},
    {"dExp", _temdExp, kInf, kInf, 0},
    {"dExp", _temdExp, kNaN, kNaN, 0},
    {"dExp", _temdExp, 0x1p-60, 1.0, 0},
    {"dExp", _temdExp, 709.782712893384, 1.7976931348622732e+308, 0},
    {"dExp", _temdExp, std::nextafter(709.782712893384, kInf), kInf, 3},
    {"dExp", _temdExp, -745.14, 0.0, 4},
    {"dExp", _temdExp, -708.5, 2.006132305331306e-308, 4},
    {"dExp2", _temdExp2, 1023.5, 1.2711610061536464e+308, 0},
    {"dExp2", _temdExp2, 1024.0, kInf, 3},
    {"dExp2", _temdExp2, -1074.0, 0x1p-1074, 4},
    {"dExp2", _temdExp2, -1080.0, 0.0, 4},
    {"dExp2", _temdExp2, -kInf, 0.0, 0},
    {"dExp10", _temdExp10, 308.0, 1e308, 0},
    {"dExp10", _temdExp10, 309.0, kInf, 3},
    {"dExp10", _temdExp10, -320.0, 1e-320, 4},
    {"dExp10", _temdExp10, -400.0, 0.0, 4},
    {"dExpm1", _temdExpm1, 710.0, kInf, 3},
    {"dExpm1", _temdExpm1, -50.0, -1.0, 0},
    {"dExpm1", _temdExpm1, -kInf, -1.0, 0},
    {"dExpm1", _temdExpm1, 1e-300, 1e-300, 0},
    {"dSinh", _temdSinh, 711.0, kInf, 3},
    {"dSinh", _temdSinh, -711.0, -kInf, 3},
    {"dSinh", _temdSinh, -kInf, -kInf, 0},
    {"dSinh", _temdSinh, -0.0, -0.0, 0},
    {"dCosh", _temdCosh, -711.0, kInf, 3},
    {"dCosh", _temdCosh, 710.0, 1.1169973830808555e+308, 0},
    {"dCosh", _temdCosh, kNaN, kNaN, 0},
    {"dTanh", _temdTanh, 20.0, 1.0, 0},
    {"dTanh", _temdTanh, -25.0, -1.0, 0},
    {"dTanh", _temdTanh, -kInf, -1.0, 0},
    {"dTanh", _temdTanh, -0.0, -0.0, 0},
    {"dTanh", _temdTanh, 1e-300, 1e-300, 0},
};

// Each case alone and in the middle of a block of ordinary lanes, in both loop kinds: the
// default mode reports the status and sets errno; 0x2000 gives the same results silently.
TEST(ExpFamilyDouble, SpecialValuesAndStatuses) {
  for (unsigned mode : {TEM_ERRMODE_DEFAULT | 3u, TEM_ERRMODE_NOERR | 3u}) {
    for (const auto& c : kDoubleCases) {
      for (int n : {1, 4, 7}) {
        ModeGuard guard(mode);
        std::vector<double> a(n, 0.5), r(n);
        a[n / 2] = c.x;
        errno = 0;
        c.fn(n, a.data(), r.data());
        EXPECT_TRUE(SameValue(r[n / 2], c.expected) || (std::isnan(c.expected) && std::isnan(r[n / 2])))
            << c.name << "(" << c.x << ") = " << r[n / 2] << " n " << n;
        const bool silent = mode & TEM_ERRMODE_NOERR;
        EXPECT_EQ(_temGetErrStatus(), silent ? 0 : c.status) << c.name << "(" << c.x << ")";
        EXPECT_EQ(errno, !silent && c.status ? ERANGE : 0) << c.name << "(" << c.x << ")";
      }
    }
  }
}

struct SingleCase {
  const char* name;
  SFn fn;
  float x, expected;
  int status;
};

const SingleCase kSingleCases[] = {
    {"sExp", _temsExp, 88.73f, INFINITY, 3},
    {"sExp", _temsExp, 88.72283172607422f, 3.4027985e38f, 0},
    {"sExp", _temsExp, -90.0f, 8.1940126e-40f, 4},
    {"sExp", _temsExp, -104.0f, 0.0f, 4},
    {"sExp", _temsExp, -INFINITY, 0.0f, 0},
    {"sExp2", _temsExp2, 128.0f, INFINITY, 3},
    {"sExp2", _temsExp2, -149.0f, 0x1p-149f, 4},
    {"sExp10", _temsExp10, 39.0f, INFINITY, 3},
    {"sExp10", _temsExp10, -38.0f, 9.99999e-39f, 4},
    {"sExpm1", _temsExpm1, 89.0f, INFINITY, 3},
    {"sExpm1", _temsExpm1, -89.0f, -1.0f, 0},
    {"sSinh", _temsSinh, -89.5f, -INFINITY, 3},
    {"sCosh", _temsCosh, 89.41f, 3.3825266e38f, 0},
    {"sCosh", _temsCosh, 89.5f, INFINITY, 3},
    {"sTanh", _temsTanh, 20.0f, 1.0f, 0},
    {"sTanh", _temsTanh, -INFINITY, -1.0f, 0},
};

TEST(ExpFamilySingle, SpecialValuesAndStatuses) {
  for (unsigned mode : {TEM_ERRMODE_DEFAULT | 3u, TEM_ERRMODE_NOERR | 3u}) {
    for (const auto& c : kSingleCases) {
      for (int n : {1, 8, 11}) {
        ModeGuard guard(mode);
        std::vector<float> a(n, 0.5f), r(n);
        a[n / 2] = c.x;
        c.fn(n, a.data(), r.data());
        if (std::isinf(c.expected) || c.expected == 0) {
          EXPECT_EQ(r[n / 2], c.expected) << c.name << "(" << c.x << ")";
        } else {
          EXPECT_NEAR(r[n / 2], c.expected, std::fabs(c.expected) * 1e-6f) << c.name << "(" << c.x << ")";
        }
        EXPECT_EQ(_temGetErrStatus(), mode & TEM_ERRMODE_NOERR ? 0 : c.status) << c.name << "(" << c.x << ")";
      }
    }
  }
}

// Results below 2^-1022 are rounded once on the subnormal grid: within one subnormal step of
// MPFR's correctly rounded value, and exactly it at -720, where a second rounding would show.
TEST(ExpFamilyDouble, SubnormalResultsAreCorrectlyRounded) {
  std::vector<double> x;
  for (int i = 0; i < 400; ++i) x.push_back(-708.4 - 36.7 * i / 400.0);
  x.push_back(-720.0);
  std::vector<double> r(x.size());
  ModeGuard guard(TEM_ERRMODE_DEFAULT | 3u);
  _temdExp(static_cast<int>(x.size()), x.data(), r.data());
  for (size_t i = 0; i < x.size(); ++i) EXPECT_LE(std::fabs(r[i] - Reference(mpfr_exp, x[i])), 0x1p-1074) << x[i];
  EXPECT_EQ(r.back(), Reference(mpfr_exp, -720.0));
  EXPECT_LT(r.back(), 0x1p-1022);
  EXPECT_GT(r.back(), 0.0);
  std::vector<double> x2, r2;
  for (int i = 0; i < 200; ++i) x2.push_back(-1022.0 - 52.9 * i / 200.0);
  r2.resize(x2.size());
  _temdExp2(static_cast<int>(x2.size()), x2.data(), r2.data());
  for (size_t i = 0; i < x2.size(); ++i) EXPECT_LE(std::fabs(r2[i] - Reference(mpfr_exp2, x2[i])), 0x1p-1074) << x2[i];
}

struct Pair {
  const char* name;
  DFn fn;
  DFnI strided;
  SFn sfn;
  SFnI sstrided;
};

const Pair kFunctions[] = {
    {"Exp", _temdExp, _temdExpI, _temsExp, _temsExpI},
    {"Exp2", _temdExp2, _temdExp2I, _temsExp2, _temsExp2I},
    {"Exp10", _temdExp10, _temdExp10I, _temsExp10, _temsExp10I},
    {"Expm1", _temdExpm1, _temdExpm1I, _temsExpm1, _temsExpm1I},
    {"Sinh", _temdSinh, _temdSinhI, _temsSinh, _temsSinhI},
    {"Cosh", _temdCosh, _temdCoshI, _temsCosh, _temsCoshI},
    {"Tanh", _temdTanh, _temdTanhI, _temsTanh, _temsTanhI},
};

// Inputs that mix ordinary lanes with flagged ones.
const double kMixed[] = {0.25, -3.5, 800.0, 1e-5, -800.0, 42.0, kNaN, -0.75, 700.0, 2.0, -kInf, 0.0};

// n = 1..9 covers the tail alone, one block and a block with a tail; every length gives the
// element-by-element results. Strides 0, 1, -1 and 3 give the same results as well.
template <class T, class Fn, class FnI>
void CheckWalks(const char* name, Fn fn, FnI strided) {
  constexpr int kN = sizeof kMixed / sizeof kMixed[0];
  std::vector<T> a(kMixed, kMixed + kN), one(kN);
  for (int i = 0; i < kN; ++i) fn(1, &a[i], &one[i]);
  for (int n = 1; n <= 9; ++n) {
    for (int start = 0; start + n <= kN; start += 3) {
      std::vector<T> r(n);
      fn(n, a.data() + start, r.data());
      for (int i = 0; i < n; ++i) EXPECT_TRUE(SameValue(r[i], one[start + i])) << name << " n " << n << " at " << start + i;
    }
  }
  for (int inc : {0, 1, -1, 3}) {
    const int n = inc == 0 ? 5 : kN / (inc < 0 ? 1 : inc);
    const int span = inc == 0 ? 1 : (n - 1) * std::abs(inc) + 1;
    const T* base = inc < 0 ? a.data() + span - 1 : a.data();
    std::vector<T> r(static_cast<size_t>(n + span) * 3, T(-7));
    T* out = inc < 0 ? r.data() + 3 * (n - 1) : r.data();
    const int incr = inc == 0 ? 3 : 3 * (inc < 0 ? -1 : 1);
    strided(n, base, inc, out, incr);
    for (int i = 0; i < n; ++i) {
      const T expected = one[(base - a.data()) + static_cast<ptrdiff_t>(i) * inc];
      EXPECT_TRUE(SameValue(out[static_cast<ptrdiff_t>(i) * incr], expected)) << name << " inc " << inc << " i " << i;
    }
  }
}

TEST(ExpFamily, BlocksTailsAndStridesAgreeWithSingleElements) {
  for (unsigned mode : {TEM_ERRMODE_DEFAULT | 3u, TEM_ERRMODE_NOERR | 3u}) {
    ModeGuard guard(mode);
    for (const auto& f : kFunctions) {
      CheckWalks<double>(f.name, f.fn, f.strided);
      CheckWalks<float>(f.name, f.sfn, f.sstrided);
    }
  }
}

int g_calls;
int g_last_index;
int g_last_code;
int Record(temErrorContext* context) {
  ++g_calls;
  g_last_index = context->Index;
  g_last_code = context->Code;
  context->Res1 = 42.0;
  return 0;
}

// The callback sees the element's index and code and may replace its result; strided calls
// report the element number.
TEST(ExpFamily, CallbackSeesEachFlaggedElement) {
  ModeGuard guard(TEM_ERRMODE_DEFAULT | TEM_ERRMODE_CALLBACK | 3u);
  _temSetErrorCallBack(Record);
  const double a[6] = {1, 2, 3, 711, 5, 6};
  double r[6];
  g_calls = 0;
  _temdExp(6, a, r);
  EXPECT_EQ(g_calls, 1);
  EXPECT_EQ(g_last_index, 3);
  EXPECT_EQ(g_last_code, TEM_STATUS_OVERFLOW);
  EXPECT_EQ(r[3], 42.0);
  EXPECT_EQ(r[4], std::exp(5.0));
  double rs[12];
  g_calls = 0;
  _temdSinhI(3, a + 1, 2, rs, 4);  // elements 2, 711, 6
  EXPECT_EQ(g_calls, 1);
  EXPECT_EQ(g_last_index, 1);
  EXPECT_EQ(rs[4], 42.0);
  _temClearErrorCallBack();
}

}  // namespace
