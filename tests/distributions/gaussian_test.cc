// Gaussian and lognormal generators: exact transforms, the carried value, substitutes, fit.
#include <math.h>

#include <vector>

#include "tests/distributions/distribution_support.h"

namespace {
using namespace dist_test;

template <class T>
int DrawLognormal(int method, void* stream, int n, T* r, T a, T sigma, T b, T beta) {
  return Call<T>(_rofsRngLognormal, _rofdRngLognormal, method, stream, n, r, a, sigma, b, beta);
}

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
  ASSERT_EQ(Gaussian(ROF_GAUSSIAN_BOXMULLER, s1, n, r.data(), a, sigma), ROF_STATUS_OK);
  const std::vector<T> u = Uniforms<T>(s2, 2 * n, 0, 1);
  std::vector<T> radius(n), angle(n);
  for (int i = 0; i < n; ++i) radius[i] = u[2 * i], angle[i] = u[2 * i + 1] * T(2 * M_PI);
  radius = Ln(radius);
  for (T& x : radius) x *= T(-2);
  radius = Sqrt(radius);
  angle = Sin(angle);
  for (int i = 0; i < n; ++i) ASSERT_EQ(r[i], radius[i] * sigma * angle[i] + a) << i;

  ASSERT_EQ(Gaussian(ROF_GAUSSIAN_ICDF | ROF_ACCURATE_BIT, s3, n, q.data(), a, sigma), 0);
  const std::vector<T> e = ErfInv(Uniforms<T>(s4, n, -1, 1));
  for (int i = 0; i < n; ++i) ASSERT_EQ(q[i], e[i] * (sigma * T(M_SQRT2)) + a) << i;
}

// Box-Muller2 pairs (sin, cos): any cut gives one sequence; an odd call leaves the cosine owed.
TYPED_TEST(GaussianTest, BoxMuller2PairsDoNotDependOnTheCuts) {
  using T = TypeParam;
  ExpectCutsAgree<T>(
      [](void* s, int n, T* r) { return Gaussian(ROF_GAUSSIAN_BOXMULLER2, s, n, r, T(0), T(1)); },
      {{1, 1, 1, 1, 1}, {3, 4, 5, 2, 1}, {1023, 1, 1024, 1025}, {2048, 1, 2047}, {0, 5, 6}});
  TestStream raw, s;
  const std::vector<T> u = Uniforms<T>(raw, 2, 0, 1);
  const T radius = Sqrt<T>({T(-2) * Ln<T>({u[0]})[0]})[0];
  T r[2];
  ASSERT_EQ(Gaussian(ROF_GAUSSIAN_BOXMULLER2, s, 1, r, T(0), T(1)), 0);
  ASSERT_EQ(Gaussian(ROF_GAUSSIAN_BOXMULLER2, s, 1, r + 1, T(0), T(1)), 0);
  EXPECT_EQ(r[0], radius * Sin<T>({u[1] * T(2 * M_PI)})[0]);
  EXPECT_EQ(r[1], radius * Cos<T>({u[1] * T(2 * M_PI)})[0]);
}

// A uniform of exactly 0 and ErfInv at -1 give the callback's finite substitutes; the frame
// comes back after the callback.
TYPED_TEST(GaussianTest, ZeroUniformsGiveFiniteResults) {
  using T = TypeParam;
  const ThreadFrame before;
  const double radius = std::sqrt(-2 * LnOfZero<T>());
  const double tail = std::is_same_v<T, double> ? 5.8635847487551676 : 3.8325068950653076;
  T r[2];
  ScriptedStream s({0.0, 0.25});  // radius from u = 0, angle pi/2
  ASSERT_EQ(Gaussian(ROF_GAUSSIAN_BOXMULLER, s, 1, r, T(0), T(1)), ROF_STATUS_OK);
  EXPECT_NEAR(r[0], radius, 1e-4 * radius);
  ScriptedStream minus_one({0.0});  // uniform on (-1, 1) at exactly -1
  ASSERT_EQ(Gaussian(ROF_GAUSSIAN_ICDF, minus_one, 2, r, T(1), T(2)), ROF_STATUS_OK);
  EXPECT_EQ(r[0], T(-tail) * (T(2) * T(M_SQRT2)) + T(1));
  EXPECT_TRUE(ThreadFrame() == before);
}

// Every method, and the lognormal, returns a failure and restores the frame; method 3 is
// refused; Box-Muller fits.
TYPED_TEST(GaussianTest, FailuresRefusalAndTheFit) {
  using T = TypeParam;
  for (int method : {0, 1, 2})
    ExpectFailureAndFrame<T>([method](void* s, int n, T* r) {
      return Gaussian(method, s, n, r, T(0), T(1));
    });
  ExpectFailureAndFrame<T>([](void* s, int n, T* r) {
    return DrawLognormal(0, s, n, r, T(0), T(1), T(0), T(1));
  });
  TestStream s(ROF_BRNG_MT19937, {20});
  std::vector<T> r(kDraws);
  EXPECT_EQ(Gaussian(3, s, 4, r.data(), T(0), T(1)), ROF_STATUS_BAD_METHOD);
  const double a = 2, sigma = 0.5;
  ASSERT_EQ(Gaussian(ROF_GAUSSIAN_BOXMULLER, s, kDraws, r.data(), T(a), T(sigma)), ROF_STATUS_OK);
  ExpectFit(r, [&](double v) { return 0.5 * erfc(-(v - a) / (sigma * sqrt(2.0))); });
}

// exp(g) * beta + b for g of Gaussian Box-Muller2 (word 0) or inverse CDF (any other word);
// the accurate form raises results below b to b.
TYPED_TEST(GaussianTest, LognormalResultIsTheExpOfTheGaussianOutput) {
  using T = TypeParam;
  const int n = 7;
  const T a = T(0.25), sigma = T(1.5), b = T(-2), beta = T(-1);
  for (const auto& [method, gaussian_method] : {std::pair{0, ROF_GAUSSIAN_BOXMULLER2},
                                                {1, ROF_GAUSSIAN_ICDF},
                                                {ROF_ACCURATE_BIT, ROF_GAUSSIAN_ICDF}}) {
    TestStream s1, s2;
    std::vector<T> r(n), g(n);
    ASSERT_EQ(DrawLognormal(method, s1, n, r.data(), a, sigma, b, beta), ROF_STATUS_OK);
    ASSERT_EQ(Gaussian(gaussian_method, s2, n, g.data(), a, sigma), ROF_STATUS_OK);
    g = Exp(g);
    for (int i = 0; i < n; ++i) {
      const T expect = g[i] * beta + b;
      ASSERT_EQ(r[i], method & ROF_ACCURATE_BIT && expect < b ? b : expect) << method << " " << i;
    }
  }
}

// Method 0 and Gaussian Box-Muller2 share one sequence of pairs and the value owed.
TYPED_TEST(GaussianTest, LognormalMethodZeroSharesTheCarriedValueWithTheGaussian) {
  using T = TypeParam;
  TestStream whole, mixed;
  std::vector<T> g(6);
  ASSERT_EQ(Gaussian(1, whole, 6, g.data(), T(0), T(1)), ROF_STATUS_OK);
  const std::vector<T> e = Exp(g);
  T r[6];
  ASSERT_EQ(DrawLognormal(0, mixed, 1, r, T(0), T(1), T(0), T(1)), ROF_STATUS_OK);
  ASSERT_EQ(Gaussian(1, mixed, 2, r + 1, T(0), T(1)), ROF_STATUS_OK);
  ASSERT_EQ(DrawLognormal(0, mixed, 3, r + 3, T(0), T(1), T(0), T(1)), ROF_STATUS_OK);
  EXPECT_EQ(std::vector<T>(r, r + 6), (std::vector<T>{e[0], g[1], g[2], e[3], e[4], e[5]}));
}
}  // namespace
