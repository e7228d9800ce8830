// Beta generators: a fit per algorithm, the shape-1 and NaN-shape rows exactly, failures, frame.
#include <gsl/gsl_cdf.h>
#include <math.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "tests/distributions/distribution_support.h"

namespace {
using namespace dist_test;

template <class T>
int Draw(int method, void* stream, int n, T* r, T p, T q, T a, T beta) {
  return Call<T>(_rofsRngBeta, _rofdRngBeta, method, stream, n, r, p, q, a, beta);
}

template <class T>
class BetaTest : public ::testing::Test {};
TYPED_TEST_SUITE(BetaTest, RealTypes);

// Johnk, Atkinson-Whittaker, Atkinson direct and mirrored, Cheng BB each fit the distribution;
// the accurate form keeps results inside the support.
TYPED_TEST(BetaTest, EachAlgorithmFitsTheBetaDistribution) {
  using T = TypeParam;
  const struct {
    double p, q, a, beta;
    bool heavy;
  } cases[] = {{0.5, 0.5, 0, 1, false}, {0.9, 0.9, 0.1, 0.7, false}, {0.5, 2, 2, 0.5, false},
               {2, 0.5, -1, 2, false},  {2, 3, 0.1, 0.7, true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "p " << c.p << ", q " << c.q);
    const int n = DrawsFor<T>(c.heavy);
    TestStream s(ROF_BRNG_MT19937, {99});
    std::vector<T> r(n);
    const T a = T(c.a), beta = T(c.beta);
    ASSERT_EQ(Draw(ROF_ACCURATE_BIT, s, n, r.data(), T(c.p), T(c.q), a, beta), ROF_STATUS_OK);
    const auto [low, high] = std::minmax_element(r.begin(), r.end());
    EXPECT_GE(*low, a);
    EXPECT_LE(*high, a + beta);
    ExpectFit(r, [&](double x) {
      return gsl_cdf_beta_P(std::clamp((x - c.a) / c.beta, 0.0, 1.0), c.p, c.q);
    });
    ExpectFailureAndFrame<T>([&](void* s, int n, T* r) {
      return Draw(0, s, n, r, T(c.p), T(c.q), T(0), T(1));
    });
  }
}

// Shape 1: 1 - u^(1/q) or u^(1/p) via Ln and Exp; a NaN shape: the uniform on [a, a + beta].
TYPED_TEST(BetaTest, ShapeOneIsAPowerOfTheUniformAndNanShapeTheUniform) {
  using T = TypeParam;
  const int n = 700;
  const T nan = std::numeric_limits<T>::quiet_NaN();
  const struct {
    T p, q;
  } rows[] = {{1, T(2.5)}, {T(0.3), 1}, {2, nan}};
  for (const auto& row : rows) {
    TestStream s1, s2;
    std::vector<T> got(n), expect;
    ASSERT_EQ(Draw(0, s1, n, got.data(), row.p, row.q, T(-1), T(2)), ROF_STATUS_OK);
    if (std::isnan(row.q)) {
      expect = Uniforms<T>(s2, n, -1, 1);
    } else {
      const bool complement = row.p == 1;
      const T inv = T(1) / (complement ? row.q : row.p);
      expect = Ln(Uniforms<T>(s2, n, 0, 1));
      for (T& v : expect) v *= inv;
      expect = Exp(expect);
      for (T& v : expect) v = (complement ? T(1) - v : v) * T(2) + T(-1);
    }
    EXPECT_EQ(got, expect) << row.p << " " << row.q;
    ExpectFailureAndFrame<T>([&](void* s, int n, T* r) {
      return Draw(0, s, n, r, row.p, row.q, T(0), T(1));
    });
  }
}
}  // namespace
