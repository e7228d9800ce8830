// Gaussian and lognormal generators: exact transforms, the carried value, substitutes, fit.
#include <math.h>

#include <vector>

#include "tests/distributions/distribution_support.h"

namespace {
using namespace dist_test;

template <class T>
int Draw(int method, void* stream, int n, T* r, T a, T sigma) {
  return Call<T>(_rofsRngGaussian, _rofdRngGaussian, method, stream, n, r, a, sigma);
}
template <class T>
int DrawLognormal(int method, void* stream, int n, T* r, T a, T sigma, T b, T beta) {
  return Call<T>(_rofsRngLognormal, _rofdRngLognormal, method, stream, n, r, a, sigma, b, beta);
}
template <class T>
constexpr T kTwoPi = std::is_same_v<T, double> ? T(6.283185307179586) : T(6.2831855f);
template <class T>
constexpr T kSqrt2 = std::is_same_v<T, double> ? T(1.4142135623730951) : T(1.4142135f);

template <class T>
class GaussianTest : public ::testing::Test {};
TYPED_TEST_SUITE(GaussianTest, RealTypes);

// Box-Muller and inverse CDF recomputed bit for bit from the uniforms, across blocks of 1024.
TYPED_TEST(GaussianTest, MethodsAreTheTransformsOfTheUniforms) {
  using T = TypeParam;
  const int n = 2500;
  const T a = T(1.5), sigma = T(0.75);
  TestStream s1, s2, s3, s4;
  std::vector<T> r(n), q(n);
  ASSERT_EQ(Draw(ROF_GAUSSIAN_BOXMULLER, s1, n, r.data(), a, sigma), ROF_STATUS_OK);
  const std::vector<T> u = Uniforms<T>(s2, 2 * n, 0, 1);
  std::vector<T> radius(n), angle(n);
  for (int i = 0; i < n; ++i) radius[i] = u[2 * i], angle[i] = u[2 * i + 1] * kTwoPi<T>;
  radius = Ln(radius);
  for (T& x : radius) x *= T(-2);
  radius = Sqrt(radius);
  angle = Sin(angle);
  for (int i = 0; i < n; ++i) ASSERT_EQ(r[i], radius[i] * sigma * angle[i] + a) << i;

  ASSERT_EQ(Draw(ROF_GAUSSIAN_ICDF | ROF_ACCURATE_BIT, s3, n, q.data(), a, sigma), ROF_STATUS_OK);
  const std::vector<T> e = ErfInv(Uniforms<T>(s4, n, -1, 1));
  for (int i = 0; i < n; ++i) ASSERT_EQ(q[i], e[i] * (sigma * kSqrt2<T>) + a) << i;
}

// Box-Muller2 pairs (sin, cos): any cut gives one sequence; an odd call draws a new pair.
TYPED_TEST(GaussianTest, BoxMuller2PairsDoNotDependOnTheCuts) {
  using T = TypeParam;
  ExpectCutsAgree<T>(
      [](void* s, int n, T* r) { return Draw(ROF_GAUSSIAN_BOXMULLER2, s, n, r, T(0), T(1)); },
      {{1, 1, 1, 1, 1}, {3, 4, 5, 2, 1}, {1023, 1, 1024, 1025}, {2048, 1, 2047}, {0, 5, 6}});
  TestStream raw, s;
  const std::vector<T> u = Uniforms<T>(raw, 2, 0, 1);
  const T radius = Of(Sqrt<T>, T(-2) * Of(Ln<T>, u[0]));
  T r[2];
  ASSERT_EQ(Draw(ROF_GAUSSIAN_BOXMULLER2, s, 1, r, T(0), T(1)), 0);
  ASSERT_EQ(Draw(ROF_GAUSSIAN_BOXMULLER2, s, 1, r + 1, T(0), T(1)), 0);
  EXPECT_EQ(r[0], radius * Of(Sin<T>, u[1] * kTwoPi<T>));
  EXPECT_EQ(r[1], radius * Of(Cos<T>, u[1] * kTwoPi<T>));

  ScriptedStream scripted({0.25, 0.125, 0.5, 0.375});
  for (long long expect_drawn : {2, 2, 4}) {
    ASSERT_EQ(Draw(ROF_GAUSSIAN_BOXMULLER2, scripted, 1, r, T(0), T(1)), 0);
    EXPECT_EQ(CurrentScript().drawn, expect_drawn);
  }
}

// A uniform of exactly 0 and ErfInv at -1 give the callback's finite substitutes; the frame
// comes back after the callback.
TYPED_TEST(GaussianTest, ZeroUniformsGiveFiniteResults) {
  using T = TypeParam;
  const ThreadFrame before;
  const bool is_double = std::is_same_v<T, double>;
  const double ln_zero = is_double ? -744.4400719213812 : -103.27892990343185;
  const double tail = is_double ? 5.8635847487551676 : 3.8325068950653076;
  T r[2];
  ScriptedStream s({0.0, 0.25});  // radius from u = 0, angle pi/2
  ASSERT_EQ(Draw(ROF_GAUSSIAN_BOXMULLER, s, 1, r, T(0), T(1)), ROF_STATUS_OK);
  EXPECT_NEAR(r[0], std::sqrt(-2 * ln_zero), 1e-4 * std::sqrt(-2 * ln_zero));
  ScriptedStream minus_one({0.0});  // uniform on (-1, 1) at exactly -1
  ASSERT_EQ(Draw(ROF_GAUSSIAN_ICDF, minus_one, 2, r, T(1), T(2)), ROF_STATUS_OK);
  EXPECT_EQ(r[0], T(-tail) * (T(2) * kSqrt2<T>) + T(1));
  EXPECT_TRUE(ThreadFrame() == before);
}

// Every method returns a failure and restores the frame, the lognormal's too; method 3 is
// refused; Box-Muller fits.
TYPED_TEST(GaussianTest, FailuresRefusalAndTheFit) {
  using T = TypeParam;
  for (int method : {0, 1, 2}) {
    ExpectFailureAndFrame<T>([method](void* s, int n, T* r) {
      return Draw(method, s, n, r, T(0), T(1));
    });
    ExpectFailureAndFrame<T>([method](void* s, int n, T* r) {
      const int word = method == 2 ? ROF_ACCURATE_BIT : method;
      return DrawLognormal(word, s, n, r, T(0), T(1), T(0), T(1));
    });
  }
  TestStream s(ROF_BRNG_MT19937, 20);
  std::vector<T> r(kDraws);
  EXPECT_EQ(Draw(3, s, 4, r.data(), T(0), T(1)), ROF_STATUS_BAD_METHOD);
  const double a = 2, sigma = 0.5;
  ASSERT_EQ(Draw(ROF_GAUSSIAN_BOXMULLER, s, kDraws, r.data(), T(a), T(sigma)), ROF_STATUS_OK);
  ExpectFit(r, [&](double v) { return 0.5 * erfc(-(v - a) / (sigma * sqrt(2.0))); });
}
// exp(g) * beta + b for g of Gaussian method 1 (word 0) or 2; accurate: results below b to b.
TYPED_TEST(GaussianTest, LognormalResultIsTheExpOfTheGaussianOutput) {
  using T = TypeParam;
  const int rows[][2] = {{0, ROF_GAUSSIAN_BOXMULLER2},
                         {1, ROF_GAUSSIAN_ICDF},
                         {2, ROF_GAUSSIAN_ICDF},
                         {ROF_ACCURATE_BIT, ROF_GAUSSIAN_ICDF},
                         {ROF_ACCURATE_BIT | 1, ROF_GAUSSIAN_ICDF}};
  const T a = T(0.25), sigma = T(1.5), b = T(-2);
  for (const auto& [method, gaussian_method] : rows)
    for (int n : {7, 2049})
      for (const T beta : {T(3), T(-1)}) {
        TestStream s1, s2;
        std::vector<T> r(n), g(n);
        ASSERT_EQ(DrawLognormal(method, s1, n, r.data(), a, sigma, b, beta), ROF_STATUS_OK);
        ASSERT_EQ(Draw(gaussian_method, s2, n, g.data(), a, sigma), ROF_STATUS_OK);
        g = Exp(g);
        for (int i = 0; i < n; ++i) {
          T expect = g[i] * beta + b;
          if (method & ROF_ACCURATE_BIT) expect = expect < b ? b : expect;
          ASSERT_EQ(r[i], expect) << "method " << method << " n " << n << " i " << i;
        }
      }
}

// Method 0 and Gaussian Box-Muller2 share one sequence of pairs and the value owed.
TYPED_TEST(GaussianTest, LognormalMethodZeroSharesTheCarriedValueWithTheGaussian) {
  using T = TypeParam;
  TestStream whole, mixed;
  std::vector<T> g(6);
  ASSERT_EQ(Draw(1, whole, 6, g.data(), T(0), T(1)), ROF_STATUS_OK);
  const std::vector<T> e = Exp(g);
  T r[6];
  ASSERT_EQ(DrawLognormal(0, mixed, 1, r, T(0), T(1), T(0), T(1)), ROF_STATUS_OK);
  ASSERT_EQ(Draw(1, mixed, 2, r + 1, T(0), T(1)), ROF_STATUS_OK);
  ASSERT_EQ(DrawLognormal(0, mixed, 3, r + 3, T(0), T(1), T(0), T(1)), ROF_STATUS_OK);
  EXPECT_EQ(std::vector<T>(r, r + 6), (std::vector<T>{e[0], g[1], g[2], e[3], e[4], e[5]}));
}
}  // namespace
