// Exponential generator: the transform a - beta ln u, the clamp, the substitute for ln 0, the fit.
#include <math.h>

#include <vector>

#include "tests/distributions/distribution_support.h"
#include "tests/distributions/reference_kernels.h"

namespace {

using dist_test::ScriptedStream;
using dist_test::TestStream;

int Draw(int method, void* stream, int n, double* r, double a, double beta) {
  return _rofdRngExponential(method, stream, n, r, a, beta);
}
int Draw(int method, void* stream, int n, float* r, float a, float beta) {
  return _rofsRngExponential(method, stream, n, r, a, beta);
}

template <class T>
class ExponentialTest : public ::testing::Test {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(ExponentialTest, Types);

TYPED_TEST(ExponentialTest, IsTheTransformOfTheUniforms) {
  using T = TypeParam;
  const int n = 2000;
  const T a = T(0.5), beta = T(2.5);
  TestStream s1, s2;
  std::vector<T> r(n), u(n);
  ASSERT_EQ(Draw(0, s1, n, r.data(), a, beta), ROF_STATUS_OK);
  ASSERT_EQ(Draw(0, s2, 0, u.data(), a, beta), ROF_STATUS_OK) << "n = 0 draws nothing";
  if constexpr (std::is_same_v<T, double>) __rofdBRngMT19937(s2, n, u.data(), 0, 1);
  else __rofsBRngMT19937(s2, n, u.data(), 0, 1);
  const std::vector<T> ln = dist_test::Ln(u);
  for (int i = 0; i < n; ++i) ASSERT_EQ(r[i], a - ln[i] * beta) << i;
}

TYPED_TEST(ExponentialTest, ZeroUniformUsesTheLogOfTheSmallestSubnormal) {
  using T = TypeParam;
  const double ln_zero = std::is_same_v<T, double> ? -744.4400719213812 : -103.27892990343185;
  const dist_test::ThreadFrame before;
  ScriptedStream s({0.0, 0.5});
  T r[2];
  ASSERT_EQ(Draw(ROF_ACCURATE_BIT, s, 2, r, 1, 2), ROF_STATUS_OK);
  EXPECT_EQ(r[0], T(1) - T(ln_zero) * T(2));
  EXPECT_TRUE(dist_test::ThreadFrame() == before);
  ScriptedStream failing({0.5}, ROF_STATUS_BAD_ARGS);
  EXPECT_EQ(Draw(0, failing, 2, r, 1, 2), ROF_STATUS_BAD_ARGS);
  EXPECT_TRUE(dist_test::ThreadFrame() == before);
}

// With a negative scale a - beta ln u lies below a; the accurate form raises it to a.
TYPED_TEST(ExponentialTest, AccurateBitKeepsResultsAtOrAboveA) {
  using T = TypeParam;
  const T a = T(3);
  for (int method : {0, ROF_ACCURATE_BIT}) {
    TestStream s;
    std::vector<T> r(1000);
    ASSERT_EQ(Draw(method, s, 1000, r.data(), a, T(-1)), ROF_STATUS_OK);
    int below = 0;
    for (T x : r) below += x < a;
    if (method) EXPECT_EQ(below, 0);
    else EXPECT_GT(below, 900);
  }
}

TYPED_TEST(ExponentialTest, FitsTheExponentialDistribution) {
  using T = TypeParam;
  const double a = -1, beta = 3;
  TestStream s(ROF_BRNG_MT19937, 31);
  std::vector<T> r(dist_test::kDraws);
  ASSERT_EQ(Draw(0, s, dist_test::kDraws, r.data(), T(a), T(beta)), ROF_STATUS_OK);
  const std::vector<double> x = dist_test::Widened(r);
  EXPECT_GT(dist_test::KolmogorovSmirnovPValue(
                x, [&](double v) { return v < a ? 0 : -expm1(-(v - a) / beta); }),
            dist_test::kMinPValue);
  dist_test::ExpectMoments(x, {a + beta, beta * beta, 6});
}

}  // namespace
