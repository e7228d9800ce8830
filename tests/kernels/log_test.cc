// The logarithm family through its exported entries: special values, statuses and errno in the
// default and the no-error mode, strides, block and tail boundaries, and a sampled accuracy
// check against MPFR.
#include <errno.h>
#include <mpfr.h>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "gtest/gtest.h"
#include "qor/tem.h"

namespace {

template <class T>
using Contig = void (*)(int, const T*, T*);
template <class T>
using Strided = void (*)(int, const T*, int, T*, int);
using Reference = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);

int MpfrLogb(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t) {
  return mpfr_set_si(r, mpfr_get_exp(x) - 1, MPFR_RNDN);
}

struct Function {
  const char* name;
  Contig<float> s;
  Strided<float> s_strided;
  Contig<double> d;
  Strided<double> d_strided;
  Reference reference;
  double lo, hi;  // sampled domain
};

const Function kFunctions[] = {
    {"Ln", _temsLn, _temsLnI, _temdLn, _temdLnI, mpfr_log, 0, 1e30},
    {"Log2", _temsLog2, _temsLog2I, _temdLog2, _temdLog2I, mpfr_log2, 0, 1e30},
    {"Log10", _temsLog10, _temsLog10I, _temdLog10, _temdLog10I, mpfr_log10, 0, 1e30},
    {"Log1p", _temsLog1p, _temsLog1pI, _temdLog1p, _temdLog1pI, mpfr_log1p, -1, 1e30},
    {"Logb", _temsLogb, _temsLogbI, _temdLogb, _temdLogbI, MpfrLogb, -1e30, 1e30},
    {"Asinh", _temsAsinh, _temsAsinhI, _temdAsinh, _temdAsinhI, mpfr_asinh, -1e30, 1e30},
    {"Acosh", _temsAcosh, _temsAcoshI, _temdAcosh, _temdAcoshI, mpfr_acosh, 1, 1e30},
    {"Atanh", _temsAtanh, _temsAtanhI, _temdAtanh, _temdAtanhI, mpfr_atanh, -1, 1},
};

const Function& Find(const char* name) {
  for (const Function& f : kFunctions) {
    if (strcmp(f.name, name) == 0) return f;
  }
  abort();
}

// One element with its expected result and statuses in float and double. A NaN expectation
// matches any NaN; zeros must match in sign.
struct Special {
  const char* function;
  double x, result;
  int status_s, status_d;
};

const double kInf = INFINITY, kNaN = NAN;
const Special kSpecials[] = {
    {"Ln", kNaN, kNaN, 0, 0},       {"Ln", kInf, kInf, 0, 0},       {"Ln", -kInf, kNaN, 1, 1},
    {"Ln", 0.0, -kInf, 2, 2},       {"Ln", -0.0, -kInf, 2, 2},      {"Ln", -1.0, kNaN, 1, 1},
    {"Ln", 1.0, 0.0, 0, 0},         {"Log2", 0.0, -kInf, 2, 2},     {"Log2", -3.0, kNaN, 1, 1},
    {"Log2", 1024.0, 10.0, 0, 0},   {"Log2", -kInf, kNaN, 1, 1},    {"Log10", -0.0, -kInf, 2, 2},
    {"Log10", 1e-5, -5.0, 0, 0},    {"Log10", kInf, kInf, 0, 0},    {"Log1p", -1.0, -kInf, 2, 2},
    {"Log1p", -2.0, kNaN, 1, 1},    {"Log1p", -kInf, kNaN, 1, 1},   {"Log1p", -0.0, -0.0, 0, 0},
    {"Log1p", kInf, kInf, 0, 0},    {"Log1p", kNaN, kNaN, 0, 0},    {"Logb", 0.0, -kInf, 1, 1},
    {"Logb", -0.0, -kInf, 1, 1},    {"Logb", -kInf, kInf, 0, 0},    {"Logb", kNaN, kNaN, 0, 0},
    {"Logb", -8.5, 3.0, 0, 0},      {"Asinh", -0.0, -0.0, 0, 0},    {"Asinh", -kInf, -kInf, 0, 0},
    {"Asinh", kNaN, kNaN, 0, 0},    {"Acosh", 0.5, kNaN, 1, 1},     {"Acosh", 1.0, 0.0, 0, 0},
    {"Acosh", -kInf, kNaN, 1, 1},   {"Acosh", kInf, kInf, 0, 0},    {"Atanh", 1.0, kInf, 2, 1},
    {"Atanh", -1.0, -kInf, 2, 1},   {"Atanh", 2.0, kNaN, 1, 1},     {"Atanh", -kInf, kNaN, 1, 1},
    {"Atanh", -0.0, -0.0, 0, 0},    {"Atanh", kNaN, kNaN, 0, 0},
};

int ErrnoOf(int status) { return status == 0 ? 0 : status == 1 ? 33 : 34; }

template <class T>
bool Same(T a, T b) {
  return (std::isnan(a) && std::isnan(b)) || (a == b && std::signbit(a) == std::signbit(b));
}

template <class T>
Contig<T> ContigOf(const Function& f) {
  if constexpr (sizeof(T) == 4) return f.s; else return f.d;
}
template <class T>
Strided<T> StridedOf(const Function& f) {
  if constexpr (sizeof(T) == 4) return f.s_strided; else return f.d_strided;
}

// Runs `body` under `mode`, restoring the thread's mode afterwards.
template <class F>
void WithMode(unsigned mode, F body) {
  const unsigned old = _temSetMode(mode);
  body();
  _temSetMode(old);
}

template <class T>
class LogFamilyTest : public ::testing::Test {};
using RealTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(LogFamilyTest, RealTypes);

TYPED_TEST(LogFamilyTest, SpecialValuesStatusesAndErrno) {
  using T = TypeParam;
  for (const Special& c : kSpecials) {
    const Function& f = Find(c.function);
    const int status = sizeof(T) == 4 ? c.status_s : c.status_d;
    const T x = static_cast<T>(c.x);
    for (unsigned mode : {TEM_MODE_DEFAULT, TEM_ERRMODE_NOERR | TEM_HA}) {
      T r = 123;
      _temSetErrStatus(-7);
      errno = 0;
      WithMode(mode, [&] { ContigOf<T>(f)(1, &x, &r); });
      EXPECT_TRUE(Same(r, static_cast<T>(c.result))) << f.name << "(" << c.x << ") = " << r;
      const bool no_error = mode != TEM_MODE_DEFAULT;
      EXPECT_EQ(_temGetErrStatus(), no_error || status == 0 ? -7 : status) << f.name << " " << c.x;
      EXPECT_EQ(errno, no_error ? 0 : ErrnoOf(status)) << f.name << " " << c.x;
    }
  }
}

// The callback sees the element index and the input of every reported lane.
TYPED_TEST(LogFamilyTest, CallbackSeesEachReportedElement) {
  using T = TypeParam;
  static std::vector<std::pair<int, double>> seen;
  seen.clear();
  const T a[6] = {2, 0, 3, -1, 4, 5};
  T r[6];
  _temSetErrorCallBack([](temErrorContext* c) {
    seen.push_back({c->Index, c->Arg1});
    return 0;
  });
  for (const Function& f : {Find("Ln"), Find("Log10")}) {
    seen.clear();
    ContigOf<T>(f)(6, a, r);
    ASSERT_EQ(seen.size(), 2u) << f.name;
    EXPECT_EQ(seen[0], (std::pair<int, double>{1, 0.0}));
    EXPECT_EQ(seen[1], (std::pair<int, double>{3, -1.0}));
  }
  // dLog1p takes two registers a step: flagged lanes in either register of a step, after a
  // clean step, and in the register left after the last step.
  const T b[11] = {2, -1, 3, 0.5, 4, 5, 6, -2, 7, -3, 8};
  T rb[11];
  seen.clear();
  ContigOf<T>(Find("Log1p"))(11, b, rb);
  const std::vector<std::pair<int, double>> want = {{1, -1.0}, {7, -2.0}, {9, -3.0}};
  EXPECT_EQ(seen, want);
  for (int i = 0; i < 11; ++i) {
    T one;
    ContigOf<T>(Find("Log1p"))(1, &b[i], &one);
    EXPECT_TRUE(Same(rb[i], one)) << i;
  }
  _temClearErrorCallBack();
}

// Strides 1, 3, -1 and 0 give what the contiguous call gives, element for element.
TYPED_TEST(LogFamilyTest, StridedCallsMatchContiguous) {
  using T = TypeParam;
  for (const Function& f : kFunctions) {
    std::vector<T> a;
    for (const Special& c : kSpecials) {
      if (strcmp(c.function, f.name) == 0) a.push_back(static_cast<T>(c.x));
    }
    for (double v : {0.3, 0.75, 1.5, 7.0}) a.push_back(static_cast<T>(v));
    const int n = static_cast<int>(a.size());
    std::vector<T> want(n);
    ContigOf<T>(f)(n, a.data(), want.data());
    for (int inc : {1, 3, -1, 0}) {
      const int span = inc == 0 ? 1 : std::abs(inc);
      std::vector<T> in(n * span, 9), out(n * 3, 9);
      for (int i = 0; i < n; ++i) in[inc < 0 ? (n - 1 - i) : i * span] = a[i];
      const T* a0 = inc < 0 ? in.data() + n - 1 : in.data();
      const int incr = inc == 0 ? 3 : inc;
      T* r0 = incr < 0 ? out.data() + n - 1 : out.data();
      _temClearErrStatus();
      StridedOf<T>(f)(n, a0, inc, r0, incr);
      for (int i = 0; i < n; ++i) {
        const T got = r0[static_cast<ptrdiff_t>(i) * incr];
        EXPECT_TRUE(Same(got, inc == 0 ? want[0] : want[i])) << f.name << " inc " << inc << " " << i;
      }
    }
  }
}

// Every count from 1 to 19 (blocks, tails, one-lane tails) gives the one-element results.
TYPED_TEST(LogFamilyTest, BlockAndTailEqualElementCalls) {
  using T = TypeParam;
  for (const Function& f : kFunctions) {
    for (int n = 1; n <= 19; ++n) {
      std::vector<T> a(n), r(n + 1, 9);
      for (int i = 0; i < n; ++i) a[i] = static_cast<T>(i % 7 == 5 ? -0.0 : 0.37 * (i + 1) - 0.2);
      WithMode(TEM_ERRMODE_NOERR, [&] { ContigOf<T>(f)(n, a.data(), r.data()); });
      for (int i = 0; i < n; ++i) {
        T one;
        WithMode(TEM_ERRMODE_NOERR, [&] { ContigOf<T>(f)(1, &a[i], &one); });
        EXPECT_TRUE(Same(r[i], one)) << f.name << " n " << n << " at " << i;
      }
      EXPECT_EQ(r[n], 9);
    }
  }
}

// |error| in ulps of T of `got` against the exact value in `ref`.
template <class T>
double UlpError(T got, mpfr_t ref) {
  constexpr int kDigits = std::numeric_limits<T>::digits;
  constexpr long kMinExp = std::numeric_limits<T>::min_exponent - 1;
  long e = mpfr_zero_p(ref) ? kMinExp : std::max(mpfr_get_exp(ref) - 1, kMinExp);
  mpfr_t d;
  mpfr_init2(d, 256);
  mpfr_sub_d(d, ref, got, MPFR_RNDN);
  mpfr_mul_2si(d, d, kDigits - 1 - e, MPFR_RNDN);
  const double u = std::fabs(mpfr_get_d(d, MPFR_RNDN));
  mpfr_clear(d);
  return u;
}

// Inputs drawn by bit pattern over each domain (including subnormals) and the boundaries
// between the block path and the companion, all below 1 ulp.
TYPED_TEST(LogFamilyTest, SampledErrorBelowOneUlp) {
  using T = TypeParam;
  std::mt19937_64 rng(2024);
  mpfr_t x, y;
  mpfr_inits2(256, x, y, (mpfr_ptr)0);
  for (const Function& f : kFunctions) {
    std::vector<T> a = {std::numeric_limits<T>::min(),
                        std::nextafter(std::numeric_limits<T>::min(), T(0)),
                        std::numeric_limits<T>::max(), T(1) + std::numeric_limits<T>::epsilon(),
                        T(1) - std::numeric_limits<T>::epsilon() / 2};
    while (a.size() < 3000) {
      T v;
      const uint64_t bits = rng();
      memcpy(&v, &bits, sizeof v);
      if (std::isfinite(v) && v > T(f.lo) && v < T(f.hi)) a.push_back(v);
      const T u = static_cast<T>(f.lo + (std::min(f.hi, 4.0) - f.lo) * (rng() >> 11) * 0x1p-53);
      if (u > T(f.lo)) a.push_back(u);
    }
    a.erase(std::remove_if(a.begin(), a.end(), [&](T v) { return !(v > T(f.lo) && v < T(f.hi)); }),
            a.end());
    std::vector<T> r(a.size());
    ContigOf<T>(f)(static_cast<int>(a.size()), a.data(), r.data());
    double worst = 0;
    T worst_at = 0;
    for (size_t i = 0; i < a.size(); ++i) {
      mpfr_set_d(x, a[i], MPFR_RNDN);
      f.reference(y, x, MPFR_RNDN);
      const double e = UlpError(r[i], y);
      if (e > worst) worst = e, worst_at = a[i];
    }
    EXPECT_LT(worst, 1.0) << f.name << " at " << worst_at;
  }
  mpfr_clears(x, y, (mpfr_ptr)0);
}

TEST(LogTest, EdgeValues) {
  const double one = 1.0, min_normal = DBL_MIN, max_subnormal = std::nextafter(DBL_MIN, 0.0);
  double r[2];
  _temdLn(1, &one, r);
  EXPECT_EQ(std::signbit(r[0]), false);
  EXPECT_EQ(r[0], 0.0);
  // The smallest normal takes the block path, the largest subnormal the companion: both
  // correctly rounded here.
  _temdLn(1, &min_normal, r);
  EXPECT_EQ(r[0], -1022 * 0.69314718055994530942);
  _temdLn(1, &max_subnormal, r);
  EXPECT_EQ(r[0], -708.39641853226408);
  const double tiny = 5e-324;
  _temdLogb(1, &tiny, r);
  EXPECT_EQ(r[0], -1074.0);
  const float tiny_s = 1e-45f;
  float rs;
  _temsLogb(1, &tiny_s, &rs);
  EXPECT_EQ(rs, -149.0f);
}

// The single logarithms where the terms of the sum are largest against the result: every 61st
// float of [1/2, 4), the worst input of the plain single-precision sum (0x1.556f9p+0, 0.97 ulp
// there) and the worst inputs of each function over all floats, against the double function,
// whose own error is below 2^-28 float ulps.
TEST(LogTest, SingleLogsStayBelowOneUlpOnTheReduction) {
  struct Case {
    Contig<float> f;
    double (*reference)(double);
    double bound;
  };
  const Case cases[] = {{_temsLn, std::log, 0.66}, {_temsLog2, std::log2, 0.77},
                        {_temsLog10, std::log10, 0.71}};
  std::vector<float> a = {0x1.556f9p+0f, 0x1.557b74p+0f, 0x1.55a95p+0f, 0x1.55594cp+0f};
  for (uint32_t bits = 0x3F000000; bits < 0x40800000; bits += 61) {
    float v;
    memcpy(&v, &bits, sizeof v);
    a.push_back(v);
  }
  std::vector<float> r(a.size());
  for (const Case& c : cases) {
    c.f(static_cast<int>(a.size()), a.data(), r.data());
    double worst = 0;
    float worst_at = 0;
    for (size_t i = 0; i < a.size(); ++i) {
      const double exact = c.reference(a[i]);
      if (exact == 0) continue;
      const double ulp = std::ldexp(1.0, std::ilogb(static_cast<float>(exact)) - 23);
      const double e = std::fabs(r[i] - exact) / ulp;
      if (e > worst) worst = e, worst_at = a[i];
    }
    EXPECT_LT(worst, c.bound) << "at " << std::hexfloat << worst_at;
  }
}

}  // namespace
