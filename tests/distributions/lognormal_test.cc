// Lognormal generators: exp of the Gaussian output, the shared carried value, clamp, failures.
#include <math.h>

#include <vector>

#include "tests/distributions/distribution_support.h"
#include "tests/distributions/reference_kernels.h"

namespace {
using namespace dist_test;

template <class T>
int DrawLognormal(int method, void* stream, int n, T* r, T a, T sigma, T b, T beta) {
  return Call<T>(_rofsRngLognormal, _rofdRngLognormal, method, stream, n, r, a, sigma, b, beta);
}
template <class T>
int DrawGaussian(int method, void* stream, int n, T* r, T a, T sigma) {
  return Call<T>(_rofsRngGaussian, _rofdRngGaussian, method, stream, n, r, a, sigma);
}

template <class T>
class LognormalTest : public ::testing::Test {};
TYPED_TEST_SUITE(LognormalTest, RealTypes);

// exp(g) * beta + b for g of Gaussian method 1 (word 0) or 2; accurate: results below b to b.
TYPED_TEST(LognormalTest, ResultIsTheExpOfTheGaussianOutput) {
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
        ASSERT_EQ(DrawGaussian(gaussian_method, s2, n, g.data(), a, sigma), ROF_STATUS_OK);
        g = Exp(g);
        for (int i = 0; i < n; ++i) {
          T expect = g[i] * beta + b;
          if (method & ROF_ACCURATE_BIT) expect = expect < b ? b : expect;
          ASSERT_EQ(r[i], expect) << "method " << method << " n " << n << " i " << i;
        }
      }
}

// Method 0 and Gaussian Box-Muller2 share one sequence of pairs and the value owed.
TYPED_TEST(LognormalTest, MethodZeroSharesTheCarriedValueWithTheGaussian) {
  using T = TypeParam;
  TestStream whole, mixed;
  std::vector<T> g(6);
  ASSERT_EQ(DrawGaussian(1, whole, 6, g.data(), T(0), T(1)), ROF_STATUS_OK);
  const std::vector<T> e = Exp(g);
  T r[6];
  ASSERT_EQ(DrawLognormal(0, mixed, 1, r, T(0), T(1), T(0), T(1)), ROF_STATUS_OK);
  ASSERT_EQ(DrawGaussian(1, mixed, 2, r + 1, T(0), T(1)), ROF_STATUS_OK);
  ASSERT_EQ(DrawLognormal(0, mixed, 3, r + 3, T(0), T(1), T(0), T(1)), ROF_STATUS_OK);
  EXPECT_EQ(std::vector<T>(r, r + 6), (std::vector<T>{e[0], g[1], g[2], e[3], e[4], e[5]}));
}

TYPED_TEST(LognormalTest, FailuresAreReturnedWithTheFrameRestored) {
  using T = TypeParam;
  for (int method : {0, 1, ROF_ACCURATE_BIT})
    ExpectFailureAndFrame<T>([method](void* s, int n, T* r) {
      return DrawLognormal(method, s, n, r, T(0), T(1), T(0), T(1));
    });
}
}  // namespace
