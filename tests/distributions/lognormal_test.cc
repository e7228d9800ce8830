// Lognormal generators: the exact transform of the Gaussian output, the value carried with the
// Gaussian's Box-Muller2, the accurate clamp, and the fit to the lognormal distribution.
#include <math.h>

#include <vector>

#include "tests/distributions/distribution_support.h"
#include "tests/distributions/reference_kernels.h"

namespace {

using dist_test::ScriptedStream;
using dist_test::TestStream;

int DrawLognormal(int method, void* stream, int n, double* r, double a, double sigma, double b,
                  double beta) {
  return _rofdRngLognormal(method, stream, n, r, a, sigma, b, beta);
}
int DrawLognormal(int method, void* stream, int n, float* r, float a, float sigma, float b,
                  float beta) {
  return _rofsRngLognormal(method, stream, n, r, a, sigma, b, beta);
}
int DrawGaussian(int method, void* stream, int n, double* r, double a, double sigma) {
  return _rofdRngGaussian(method, stream, n, r, a, sigma);
}
int DrawGaussian(int method, void* stream, int n, float* r, float a, float sigma) {
  return _rofsRngGaussian(method, stream, n, r, a, sigma);
}

template <class T>
class LognormalTest : public ::testing::Test {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(LognormalTest, Types);

// r = exp(g) * beta + b for g the Gaussian of method 1 (word 0) or 2 (any other word, the
// accurate form of 0 included), through the generators' bulk Exp.
TYPED_TEST(LognormalTest, ResultIsTheExpOfTheGaussianOutput) {
  using T = TypeParam;
  struct Row {
    int method, gaussian_method;
  };
  const Row rows[] = {{0, ROF_GAUSSIAN_BOXMULLER2},
                      {1, ROF_GAUSSIAN_ICDF},
                      {2, ROF_GAUSSIAN_ICDF},
                      {ROF_ACCURATE_BIT, ROF_GAUSSIAN_ICDF},
                      {ROF_ACCURATE_BIT | 1, ROF_GAUSSIAN_ICDF}};
  const T a = T(0.25), sigma = T(1.5), b = T(-2), beta = T(3);
  for (const Row& row : rows) {
    for (int n : {1, 7, 2049}) {
      TestStream s1, s2;
      std::vector<T> r(n), g(n);
      ASSERT_EQ(DrawLognormal(row.method, s1, n, r.data(), a, sigma, b, beta), ROF_STATUS_OK);
      ASSERT_EQ(DrawGaussian(row.gaussian_method, s2, n, g.data(), a, sigma), ROF_STATUS_OK);
      g = dist_test::Exp(g);
      for (int i = 0; i < n; ++i) {
        T expect = g[i] * beta + b;
        if (row.method & ROF_ACCURATE_BIT) expect = expect < b ? b : expect;
        ASSERT_EQ(r[i], expect) << "method " << row.method << " n " << n << " i " << i;
      }
    }
  }
}

// Method 0 and Gaussian Box-Muller2 draw one sequence of pairs: a value owed by one is
// delivered by the other.
TYPED_TEST(LognormalTest, MethodZeroSharesTheCarriedValueWithTheGaussian) {
  using T = TypeParam;
  TestStream whole, mixed;
  std::vector<T> g(6);
  ASSERT_EQ(DrawGaussian(1, whole, 6, g.data(), T(0), T(1)), ROF_STATUS_OK);
  const std::vector<T> e = dist_test::Exp(g);
  T r[6];
  ASSERT_EQ(DrawLognormal(0, mixed, 1, r, T(0), T(1), T(0), T(1)), ROF_STATUS_OK);
  ASSERT_EQ(DrawGaussian(1, mixed, 2, r + 1, T(0), T(1)), ROF_STATUS_OK);
  ASSERT_EQ(DrawLognormal(0, mixed, 3, r + 3, T(0), T(1), T(0), T(1)), ROF_STATUS_OK);
  EXPECT_EQ(r[0], e[0]);
  EXPECT_EQ(r[1], g[1]);
  EXPECT_EQ(r[2], g[2]);
  for (int i = 3; i < 6; ++i) EXPECT_EQ(r[i], e[i]) << i;
}

// A negative beta puts every value below b: the accurate form raises them all to b.
TYPED_TEST(LognormalTest, AccurateBitRaisesResultsToB) {
  using T = TypeParam;
  const int n = 64;
  const T b = T(1.5);
  for (int method : {0, 2}) {
    TestStream s1, s2;
    std::vector<T> plain(n), accurate(n);
    ASSERT_EQ(DrawLognormal(method, s1, n, plain.data(), T(0), T(1), b, T(-1)), ROF_STATUS_OK);
    ASSERT_EQ(DrawLognormal(method | ROF_ACCURATE_BIT, s2, n, accurate.data(), T(0), T(1), b,
                            T(-1)),
              ROF_STATUS_OK);
    for (int i = 0; i < n; ++i) {
      EXPECT_LT(plain[i], b) << i;
      EXPECT_EQ(accurate[i], b) << i;
    }
  }
}

TYPED_TEST(LognormalTest, ModeAndCallbackComeBackAndFailuresAreReturned) {
  using T = TypeParam;
  const dist_test::ThreadFrame before;
  for (int method : {0, 1, ROF_ACCURATE_BIT}) {
    for (int status : {ROF_STATUS_OK, ROF_STATUS_BAD_ARGS}) {
      ScriptedStream s({0.0, 0.5, 0.9}, status);
      std::vector<T> r(7, T(-5));
      EXPECT_EQ(DrawLognormal(method, s, 7, r.data(), T(0), T(1), T(0), T(1)), status);
      EXPECT_TRUE(dist_test::ThreadFrame() == before) << "method " << method;
      if (status < 0) EXPECT_EQ(r, std::vector<T>(7, T(-5)));
      else for (T x : r) EXPECT_TRUE(x >= 0 && isfinite(x)) << x;
    }
  }
}

TYPED_TEST(LognormalTest, BothMethodsFitTheLognormalDistribution) {
  using T = TypeParam;
  const double a = 0.5, sigma = 0.25, b = -1, beta = 2;
  const double s2 = sigma * sigma;
  const dist_test::Moments moments = {
      b + beta * exp(a + s2 / 2), beta * beta * (exp(s2) - 1) * exp(2 * a + s2),
      exp(4 * s2) + 2 * exp(3 * s2) + 3 * exp(2 * s2) - 6};
  for (int method : {0, 1}) {
    SCOPED_TRACE(method);
    TestStream s(ROF_BRNG_MT19937, 40 + method);
    std::vector<T> r(dist_test::kDraws);
    ASSERT_EQ(DrawLognormal(method, s, dist_test::kDraws, r.data(), T(a), T(sigma), T(b),
                            T(beta)),
              ROF_STATUS_OK);
    const std::vector<double> x = dist_test::Widened(r);
    EXPECT_GT(dist_test::KolmogorovSmirnovPValue(x,
                                                 [&](double v) {
                                                   if (v <= b) return 0.0;
                                                   const double z = (log((v - b) / beta) - a) / sigma;
                                                   return 0.5 * erfc(-z / sqrt(2.0));
                                                 }),
              dist_test::kMinPValue);
    dist_test::ExpectMoments(x, moments);
  }
}

}  // namespace
