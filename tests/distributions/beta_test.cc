// Beta generators: fit in every regime, shape-1 rows, NaN-shape fallback, failures, frame.
#include <gsl/gsl_cdf.h>
#include <math.h>

#include <limits>
#include <vector>

#include "tests/distributions/distribution_support.h"
#include "tests/distributions/reference_kernels.h"
#include "tests/distributions/shape_fit.h"

namespace {
using namespace dist_test;

template <class T>
int Draw(int method, void* stream, int n, T* r, T p, T q, T a, T beta) {
  return Call<T>(_rofsRngBeta, _rofdRngBeta, method, stream, n, r, p, q, a, beta);
}
template <class T>
int Uniform(void* stream, int n, T* r, T a, T b) {
  return Call<T>(_rofsRngUniform, _rofdRngUniform, 0, stream, n, r, a, b);
}

template <class T>
class BetaTest : public ::testing::Test {};
TYPED_TEST_SUITE(BetaTest, RealTypes);

struct FitCase {
  double p, q, a, beta;
  bool heavy;
  bool fits_float = true;  // false: Johnk's float powers underflow, moments only
};

// Results this close to an end of [0, 1] pile on few values (shape 0.01): the fit lumps them.
constexpr double kLumped = 1e-6;

// Johnk, Atkinson-Whittaker, Atkinson direct and mirrored, Cheng BB, and the shape-1 rows.
TYPED_TEST(BetaTest, FitsTheBetaDistributionInsideTheSupport) {
  using T = TypeParam;
  const FitCase cases[] = {
      {0.5, 0.2, 0, 1, false},  {0.5, 0.5, 0, 1, false},  {0.01, 0.01, 0, 1, false, false},
      {0.9, 0.01, 0, 1, false}, {0.5, 0.9, -1, 3, false}, {0.9, 0.9, 0.1, 0.7, false},
      {0.5, 2, 2, 0.5, false},  {0.01, 100, 0, 1, false}, {0.9, 2, 0, 1, false},
      {2, 0.5, -1, 2, false},   {100, 0.01, 0, 1, false}, {2, 3, 0.1, 0.7, true},
      {2, 100, 0, 1, false},    {100, 100, -3, 6, false}, {1, 1, 0, 1, false},
      {1, 0.5, 0, 1, false},    {1, 2, 0, 1, false},      {2, 1, 1, 1, false},
      {0.5, 1, 0, 1, false}};
  for (const FitCase& c : cases) {
    SCOPED_TRACE(testing::Message() << "p " << c.p << ", q " << c.q);
    const int n = DrawsFor<T>(c.heavy);
    TestStream s(ROF_BRNG_MT19937, 99);
    std::vector<T> r(n);
    const T a = T(c.a), beta = T(c.beta);
    ASSERT_EQ(Draw(ROF_ACCURATE_BIT, s, n, r.data(), T(c.p), T(c.q), a, beta), ROF_STATUS_OK);
    const auto [low, high] = std::minmax_element(r.begin(), r.end());
    EXPECT_GE(*low, a);
    EXPECT_LE(*high, a + beta);
    const auto cdf = [&](double x) {
      return gsl_cdf_beta_P(std::clamp((x - c.a) / c.beta, 0.0, 1.0), c.p, c.q);
    };
    if (std::is_same_v<T, double> || c.fits_float)
      EXPECT_GT(FitPValue(r, cdf, c.a + c.beta * kLumped, c.a + c.beta * (1 - kLumped)),
                kMinPValue);
    const double p = c.p, q = c.q, s2 = p + q;
    ExpectMoments(Widened(r),
                  {c.a + c.beta * p / s2, c.beta * c.beta * p * q / (s2 * s2 * (s2 + 1)),
                   6 * ((p - q) * (p - q) * (s2 + 1) - p * q * (s2 + 2)) /
                       (p * q * (s2 + 2) * (s2 + 3))});
  }
}

// Shape 1: 1 - u^(1/q) or u^(1/p) via Ln and Exp; a NaN shape: the uniform on [a, a + beta].
TYPED_TEST(BetaTest, ShapeOneIsAPowerOfTheUniformAndNanShapeTheUniform) {
  using T = TypeParam;
  const int n = 700;
  const T nan = std::numeric_limits<T>::quiet_NaN();
  const struct {
    T p, q;
  } rows[] = {{1, 1}, {1, T(2.5)}, {T(0.3), 1}, {nan, nan}, {2, nan}};
  for (const auto& row : rows) {
    TestStream s1, s2;
    std::vector<T> got(n), expect(n);
    ASSERT_EQ(Draw(0, s1, n, got.data(), row.p, row.q, T(-1), T(2)), ROF_STATUS_OK);
    if (std::isnan(row.q)) {
      ASSERT_EQ(Uniform(s2, n, expect.data(), T(-1), T(1)), ROF_STATUS_OK);
    } else {
      ASSERT_EQ(Uniform(s2, n, expect.data(), T(0), T(1)), ROF_STATUS_OK);
      const bool complement = row.p == 1;
      const T inv = T(1) / (complement ? row.q : row.p);
      expect = Ln(expect);
      for (T& v : expect) v *= inv;
      expect = Exp(expect);
      for (T& v : expect) v = (complement ? T(1) - v : v) * T(2) + T(-1);
    }
    EXPECT_EQ(got, expect) << row.p << " " << row.q;
  }
}

TYPED_TEST(BetaTest, FailingStreamStatusAndTheFrameComeBack) {
  using T = TypeParam;
  const ThreadFrame before;
  const T shapes[][2] = {{0.5, 0.2}, {0.5, 0.9}, {0.5, 2}, {2, 0.5}, {2, 3}, {1, 2}};
  T r[8];
  for (const auto& shape : shapes) {
    ScriptedStream failing({0.5}, ROF_STATUS_BAD_ARGS);
    EXPECT_EQ(Draw(0, failing, 8, r, shape[0], shape[1], T(0), T(1)), ROF_STATUS_BAD_ARGS);
    EXPECT_TRUE(ThreadFrame() == before);
    TestStream s;
    EXPECT_EQ(Draw(0, s, 8, r, shape[0], shape[1], T(0), T(1)), ROF_STATUS_OK);
    EXPECT_TRUE(ThreadFrame() == before);
  }
}
}  // namespace
