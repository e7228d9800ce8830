// Laplace, Weibull, Cauchy, Rayleigh and Gumbel: the exact transforms of the stream's uniforms,
// Laplace's blocks and side rule, the substitutes for a uniform of 0, the accurate bit, the
// restored thread state, and the fit to each distribution.
#include <math.h>
#include <string.h>
#include <xmmintrin.h>

#include <cmath>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "tests/distributions/distribution_support.h"
#include "tests/distributions/reference_kernels.h"

namespace {

using dist_test::ScriptedStream;
using dist_test::TestStream;

template <class T>
std::vector<T> Uniforms(void* stream, int n, T a, T b) {
  std::vector<T> u(n);
  if constexpr (std::is_same_v<T, double>) __rofdBRngMT19937(stream, n, u.data(), a, b);
  else __rofsBRngMT19937(stream, n, u.data(), a, b);
  return u;
}

template <class T>
T HalfPi() {
  T value;
  if constexpr (std::is_same_v<T, double>) {
    const uint64_t bits = 0x3FF921FB54442D18;
    memcpy(&value, &bits, sizeof value);
  } else {
    const uint32_t bits = 0x3FC90FDB;
    memcpy(&value, &bits, sizeof value);
  }
  return value;
}

template <class T>
std::vector<T> Negated(std::vector<T> x) {
  for (T& v : x) v = -v;
  return x;
}
template <class T>
std::vector<T> Scaled(std::vector<T> x, T beta, T a) {
  for (T& v : x) v = v * beta + a;
  return x;
}

template <class T>
using DrawFn = std::function<int(int method, void* stream, int n, T* r, T a, T beta)>;

// One generator: its call, the same transform recomputed from uniforms through the reference
// kernels, what a scripted uniform of 0 must give, and the exact distribution.
template <class T>
struct Generator {
  std::string name;
  DrawFn<T> draw;
  bool accurate;  // honours ROF_ACCURATE_BIT
  std::function<std::vector<T>(void* fresh_stream, int n, T a, T beta)> reference;
  // The first result of the standard form (a = 0, beta = 1) when the script's first uniform
  // is 0; the logarithm of 0 counts as ln 2^-1074 (double) or ln 2^-149 (float).
  std::function<T(T ln_zero)> from_zero;
  std::function<double(double z)> standard_cdf;  // of (x - a) / beta
  // Mean, variance and excess kurtosis of the standard form; none for Cauchy.
  std::optional<dist_test::Moments> standard_moments;
};

template <class T>
Generator<T> Weibull(T alpha) {
  const double k = alpha;
  const double g1 = tgamma(1 + 1 / k), g2 = tgamma(1 + 2 / k), g3 = tgamma(1 + 3 / k),
               g4 = tgamma(1 + 4 / k);
  const double variance = g2 - g1 * g1;
  const double kurtosis =
      (g4 - 4 * g1 * g3 + 6 * g1 * g1 * g2 - 3 * g1 * g1 * g1 * g1) / (variance * variance) - 3;
  return {"Weibull alpha " + std::to_string(k),
          [alpha](int m, void* s, int n, T* r, T a, T beta) {
            if constexpr (std::is_same_v<T, double>) {
              return _rofdRngWeibull(m, s, n, r, alpha, a, beta);
            } else {
              return _rofsRngWeibull(m, s, n, r, alpha, a, beta);
            }
          },
          true,
          [alpha](void* s, int n, T a, T beta) {
            std::vector<T> x = Negated(dist_test::Ln(Uniforms<T>(s, n, 0, 1)));
            if (alpha != T(1)) x = dist_test::Powx(x, T(1) / alpha);
            return Scaled(x, beta, a);
          },
          [alpha](T ln_zero) {
            if (alpha == T(1)) return -ln_zero;
            return dist_test::Powx(std::vector<T>{-ln_zero}, T(1) / alpha)[0];
          },
          [k](double z) { return z <= 0 ? 0 : -expm1(-pow(z, k)); },
          dist_test::Moments{g1, variance, kurtosis}};
}

template <class T>
std::vector<Generator<T>> Generators() {
  constexpr bool kDouble = std::is_same_v<T, double>;
  const double pi = 3.14159265358979323846, euler_gamma = 0.57721566490153286;
  return {
      {"Rayleigh",
       [](int m, void* s, int n, T* r, T a, T beta) {
         if constexpr (kDouble) return _rofdRngRayleigh(m, s, n, r, a, beta);
         else return _rofsRngRayleigh(m, s, n, r, a, beta);
       },
       true,
       [](void* s, int n, T a, T beta) {
         return Scaled(dist_test::Sqrt(Negated(dist_test::Ln(Uniforms<T>(s, n, 0, 1)))), beta, a);
       },
       [](T ln_zero) { return dist_test::Sqrt(std::vector<T>{-ln_zero})[0]; },
       [](double z) { return z <= 0 ? 0 : -expm1(-z * z); },
       dist_test::Moments{sqrt(pi) / 2, 1 - pi / 4,
                          -(6 * pi * pi - 24 * pi + 16) / ((4 - pi) * (4 - pi))}},
      Weibull<T>(1), Weibull<T>(T(0.625)), Weibull<T>(T(3.5)),
      {"Gumbel",
       [](int m, void* s, int n, T* r, T a, T beta) {
         if constexpr (kDouble) return _rofdRngGumbel(m, s, n, r, a, beta);
         else return _rofsRngGumbel(m, s, n, r, a, beta);
       },
       false,
       [](void* s, int n, T a, T beta) {
         std::vector<T> e = dist_test::Ln(Uniforms<T>(s, n, 0, 1));
         for (T& v : e) v = T(0) - v * T(1);  // the standard exponential's own arithmetic
         return Scaled(dist_test::Ln(e), beta, a);
       },
       [](T ln_zero) { return dist_test::Ln(std::vector<T>{-ln_zero})[0]; },
       [](double z) { return -expm1(-exp(z)); },
       dist_test::Moments{-euler_gamma, pi * pi / 6, 2.4}},
      {"Cauchy",
       [](int m, void* s, int n, T* r, T a, T beta) {
         if constexpr (kDouble) return _rofdRngCauchy(m, s, n, r, a, beta);
         else return _rofsRngCauchy(m, s, n, r, a, beta);
       },
       false,
       [](void* s, int n, T a, T beta) {
         return Scaled(dist_test::Tan(Uniforms<T>(s, n, -HalfPi<T>(), HalfPi<T>())), beta, a);
       },
       [](T) { return dist_test::Tan(std::vector<T>{-HalfPi<T>()})[0]; },
       [pi](double z) { return 0.5 + atan(z) / pi; },
       std::nullopt},
      {"Laplace",
       [](int m, void* s, int n, T* r, T a, T beta) {
         if constexpr (kDouble) return _rofdRngLaplace(m, s, n, r, a, beta);
         else return _rofsRngLaplace(m, s, n, r, a, beta);
       },
       false,
       // Result i takes the uniforms 2i (through Ln) and 2i + 1 (the side).
       [](void* s, int n, T a, T beta) {
         const std::vector<T> u = Uniforms<T>(s, 2 * n, 0, 1);
         std::vector<T> even(n);
         for (int i = 0; i < n; ++i) even[i] = u[2 * i];
         std::vector<T> r = dist_test::Ln(even);
         for (int i = 0; i < n; ++i) r[i] = r[i] * (u[2 * i + 1] > T(0.5) ? beta : -beta) + a;
         return r;
       },
       // The script's second uniform, 0, is not above 0.5: the -beta side.
       [](T ln_zero) { return ln_zero * T(-1); },
       [](double z) { return z < 0 ? 0.5 * exp(z) : 1 - 0.5 * exp(-z); },
       dist_test::Moments{0, 2, 3}},
  };
}

template <class T>
class SimpleContinuousTest : public ::testing::Test {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(SimpleContinuousTest, Types);

TYPED_TEST(SimpleContinuousTest, EachIsTheTransformOfTheStreamsUniforms) {
  using T = TypeParam;
  const int n = 2500;  // two whole Laplace blocks and a remainder
  for (const Generator<T>& g : Generators<T>()) {
    for (const auto& [a, beta] : {std::pair<T, T>{0, 1}, {T(1.5), T(-0.75)}}) {
      SCOPED_TRACE(g.name);
      TestStream s1, s2;
      std::vector<T> r(n);
      ASSERT_EQ(g.draw(0, s1, n, r.data(), a, beta), ROF_STATUS_OK);
      EXPECT_EQ(r, g.reference(s2, n, a, beta));
    }
  }
}

// Weibull with alpha 1 skips the power kernel: it is the exponential a + beta (-ln u), bit for
// bit. A NaN alpha is not 1 and reaches the power kernel.
TYPED_TEST(SimpleContinuousTest, WeibullAlphaOneIsTheExponentialAndNanAlphaIsNot) {
  using T = TypeParam;
  const int n = 1500;
  const T a = T(-1), beta = T(2.5);
  TestStream s1, s2;
  std::vector<T> weibull(n), exponential(n);
  if constexpr (std::is_same_v<T, double>) {
    ASSERT_EQ(_rofdRngWeibull(0, s1, n, weibull.data(), 1.0, a, beta), ROF_STATUS_OK);
    ASSERT_EQ(_rofdRngExponential(0, s2, n, exponential.data(), a, beta), ROF_STATUS_OK);
  } else {
    ASSERT_EQ(_rofsRngWeibull(0, s1, n, weibull.data(), 1.0f, a, beta), ROF_STATUS_OK);
    ASSERT_EQ(_rofsRngExponential(0, s2, n, exponential.data(), a, beta), ROF_STATUS_OK);
  }
  EXPECT_EQ(weibull, exponential);
  ScriptedStream s({0.25});
  const T nan = std::numeric_limits<T>::quiet_NaN();
  T r;
  if constexpr (std::is_same_v<T, double>) _rofdRngWeibull(0, s, 1, &r, nan, 0, 1);
  else _rofsRngWeibull(0, s, 1, &r, nan, 0, 1);
  EXPECT_TRUE(std::isnan(r));
}

// Laplace draws 2048 uniforms per whole block of 1024 and then the remainder, an empty call
// included; a side uniform of exactly 0.5 takes the -beta side.
TYPED_TEST(SimpleContinuousTest, LaplaceBlocksAndSides) {
  using T = TypeParam;
  const Generator<T> laplace = Generators<T>().back();
  struct Row {
    int n;
    long long calls, drawn;
  };
  for (const Row& row : {Row{0, 1, 0}, Row{5, 1, 10}, Row{1024, 2, 2048}, Row{2048, 3, 4096},
                         Row{2049, 3, 4098}}) {
    // Pairs (u, v) with v cycling through 0.5 (-beta), 0.75 (+beta), 0.25 (-beta).
    ScriptedStream s({0.125, 0.5, 0.625, 0.75, 0.375, 0.25});
    std::vector<T> r(row.n + 1, T(7));
    ASSERT_EQ(laplace.draw(0, s, row.n, r.data(), T(2), T(3)), ROF_STATUS_OK);
    EXPECT_EQ(dist_test::CurrentScript().calls, row.calls) << row.n;
    EXPECT_EQ(dist_test::CurrentScript().drawn, row.drawn) << row.n;
    EXPECT_EQ(r[row.n], T(7)) << "written past n = " << row.n;
    const std::vector<T> ln = dist_test::Ln(std::vector<T>{T(0.125), T(0.625), T(0.375)});
    const T side[3] = {T(-3), T(3), T(-3)};
    for (int i = 0; i < row.n; ++i) ASSERT_EQ(r[i], ln[i % 3] * side[i % 3] + T(2)) << i;
  }
}

// A uniform of exactly 0: the logarithm's substitute (or, for Cauchy, the tangent of the
// interval's lower end) keeps every result finite.
TYPED_TEST(SimpleContinuousTest, ZeroUniformGivesTheSubstituteResult) {
  using T = TypeParam;
  const T ln_zero = std::is_same_v<T, double> ? T(-744.4400719213812) : T(-103.27892990343185);
  for (const Generator<T>& g : Generators<T>()) {
    SCOPED_TRACE(g.name);
    ScriptedStream s({0.0, 0.0});
    T r[2];
    ASSERT_EQ(g.draw(0, s, 2, r, 0, 1), ROF_STATUS_OK);
    EXPECT_TRUE(std::isfinite(r[0]) && std::isfinite(r[1]));
    EXPECT_EQ(r[0], g.from_zero(ln_zero));
  }
}

// With a negative scale the results fall below a; the generators that honour the accurate bit
// raise them to a, the others ignore the bit.
TYPED_TEST(SimpleContinuousTest, AccurateBitClampsWhereHonoured) {
  using T = TypeParam;
  const int n = 1000;
  const T a = T(3);
  for (const Generator<T>& g : Generators<T>()) {
    SCOPED_TRACE(g.name);
    TestStream s1, s2;
    std::vector<T> plain(n), accurate(n);
    ASSERT_EQ(g.draw(0, s1, n, plain.data(), a, T(-1)), ROF_STATUS_OK);
    ASSERT_EQ(g.draw(ROF_ACCURATE_BIT, s2, n, accurate.data(), a, T(-1)), ROF_STATUS_OK);
    if (!g.accurate) {
      EXPECT_EQ(plain, accurate);
      continue;
    }
    for (int i = 0; i < n; ++i) {
      ASSERT_EQ(accurate[i], plain[i] < a ? a : plain[i]) << i;
    }
  }
}

// Mode and callback come back after success and after a failing uniform call, and so do the
// MXCSR masks that the guarded generators set for the call.
TYPED_TEST(SimpleContinuousTest, ThreadStateComesBackOnEveryPath) {
  using T = TypeParam;
  const unsigned int caller_mxcsr = _mm_getcsr();
  _mm_setcsr(caller_mxcsr & ~0x0100u);  // denormal operands unmasked: nothing here makes one
  const unsigned int before_mxcsr = _mm_getcsr();
  const dist_test::ThreadFrame before;
  for (const Generator<T>& g : Generators<T>()) {
    for (int status : {ROF_STATUS_OK, ROF_STATUS_BAD_ARGS}) {
      SCOPED_TRACE(g.name);
      ScriptedStream s({0.0, 0.5, 0.9}, status);
      std::vector<T> r(1030);
      EXPECT_EQ(g.draw(0, s, 1030, r.data(), 0, 1), status);
      EXPECT_TRUE(dist_test::ThreadFrame() == before);
      EXPECT_EQ(_mm_getcsr() & 0xFFC0u, before_mxcsr & 0xFFC0u);
    }
  }
  _mm_setcsr(caller_mxcsr);
}

TYPED_TEST(SimpleContinuousTest, EachFitsItsDistribution) {
  using T = TypeParam;
  uint32_t seed = 100;
  for (const Generator<T>& g : Generators<T>()) {
    for (const auto& [a, beta] : {std::pair<double, double>{0.5, 2}, {-3, 0.25}}) {
      SCOPED_TRACE(g.name + " a " + std::to_string(a) + " beta " + std::to_string(beta));
      TestStream s(ROF_BRNG_MT19937, ++seed);
      std::vector<T> r(dist_test::kDraws);
      ASSERT_EQ(g.draw(0, s, dist_test::kDraws, r.data(), T(a), T(beta)), ROF_STATUS_OK);
      const std::vector<double> x = dist_test::Widened(r);
      EXPECT_GT(dist_test::KolmogorovSmirnovPValue(
                    x, [&](double v) { return g.standard_cdf((v - a) / beta); }),
                dist_test::kMinPValue);
      if (const auto& m = g.standard_moments) {
        dist_test::ExpectMoments(
            x, {a + beta * m->mean, beta * beta * m->variance, m->excess_kurtosis});
      }
    }
  }
}

}  // namespace
