// Beta generators: the fit to the beta distribution in every regime, the power-of-a-uniform
// rows, the uniform fallback of a NaN shape, the accurate clamp and the frame.
#include <gsl/gsl_cdf.h>
#include <math.h>

#include <limits>
#include <vector>

#include "tests/distributions/distribution_support.h"
#include "tests/distributions/reference_kernels.h"
#include "tests/distributions/shape_fit.h"

namespace {

using dist_test::ScriptedStream;
using dist_test::TestStream;

int Draw(int method, void* stream, int n, double* r, double p, double q, double a, double beta) {
  return _rofdRngBeta(method, stream, n, r, p, q, a, beta);
}
int Draw(int method, void* stream, int n, float* r, float p, float q, float a, float beta) {
  return _rofsRngBeta(method, stream, n, r, p, q, a, beta);
}
int Uniform(void* stream, int n, double* r, double a, double b) {
  return _rofdRngUniform(0, stream, n, r, a, b);
}
int Uniform(void* stream, int n, float* r, float a, float b) {
  return _rofsRngUniform(0, stream, n, r, a, b);
}

template <class T>
class BetaTest : public ::testing::Test {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(BetaTest, Types);

struct FitCase {
  double p, q, a, beta;
  bool heavy;
  // Johnk's powers u^(1/p) of both shapes leave the float range for most pairs, so that a
  // float result is cut to 0 or 1 where the exact one is merely small: moments only.
  bool fits_float = true;
};

// Within this distance of an end of [0, 1] the piles of a shape of 0.01 sit on few values, and
// the rounding of a quotient such as x / (x + y) moves a visible share of the mass by an ulp:
// the fit lumps these results.
constexpr double kLumped = 1e-6;

dist_test::Moments BetaMoments(const FitCase& c) {
  const double p = c.p, q = c.q, s = p + q;
  const double kurtosis =
      6 * ((p - q) * (p - q) * (s + 1) - p * q * (s + 2)) / (p * q * (s + 2) * (s + 3));
  return {c.a + c.beta * p / s, c.beta * c.beta * p * q / (s * s * (s + 1)), kurtosis};
}

// Johnk (0.5/0.2, 0.5/0.5, 0.01/0.01, 0.9/0.01), Atkinson-Whittaker (0.5/0.9, 0.9/0.9),
// Atkinson direct (0.5/2, 0.01/100, 0.9/2) and mirrored (2/0.5, 100/0.01), Cheng BB (2/3,
// 2/100, 100/100), and the rows of a shape 1.
TYPED_TEST(BetaTest, FitsTheBetaDistributionInsideTheSupport) {
  using T = TypeParam;
  const FitCase cases[] = {
      {0.5, 0.2, 0, 1, false},    {0.5, 0.5, 0, 1, false},   {0.01, 0.01, 0, 1, false, false},
      {0.9, 0.01, 0, 1, false},   {0.5, 0.9, -1, 3, false}, {0.9, 0.9, 0.1, 0.7, false},
      {0.5, 2, 2, 0.5, false},     {0.01, 100, 0, 1, false}, {0.9, 2, 0, 1, false},
      {2, 0.5, -1, 2, false},     {100, 0.01, 0, 1, false}, {2, 3, 0.1, 0.7, true},
      {2, 100, 0, 1, false},      {100, 100, -3, 6, false}, {1, 1, 0, 1, false},
      {1, 0.5, 0, 1, false},      {1, 2, 0, 1, false},      {2, 1, 1, 1, false},
      {0.5, 1, 0, 1, false}};
  for (const FitCase& c : cases) {
    SCOPED_TRACE(testing::Message() << "p " << c.p << ", q " << c.q);
    const int n = dist_test::DrawsFor<T>(c.heavy);
    TestStream s(ROF_BRNG_MT19937, 99);
    std::vector<T> r(n);
    const T a = T(c.a), beta = T(c.beta);
    ASSERT_EQ(Draw(ROF_ACCURATE_BIT, s, n, r.data(), T(c.p), T(c.q), a, beta), ROF_STATUS_OK);
    const auto [low, high] = std::minmax_element(r.begin(), r.end());
    EXPECT_GE(*low, a);
    EXPECT_LE(*high, a + beta);
    if (std::is_same_v<T, double> || c.fits_float)
      EXPECT_GT(dist_test::FitPValue(
                    r,
                    [&](double x) {
                      return gsl_cdf_beta_P(std::clamp((x - c.a) / c.beta, 0.0, 1.0), c.p, c.q);
                    },
                    c.a + c.beta * kLumped, c.a + c.beta * (1 - kLumped)),
                dist_test::kMinPValue);
    dist_test::ExpectMoments(dist_test::Widened(r), BetaMoments(c));
  }
}

// A shape of 1 is a power of the uniform through Ln and Exp: 1 - u^(1/q), or u^(1/p).
TYPED_TEST(BetaTest, ShapeOneIsAPowerOfTheUniform) {
  using T = TypeParam;
  const int n = 700;
  const struct {
    T p, q;
  } rows[] = {{1, 1}, {1, T(2.5)}, {T(0.3), 1}};
  for (const auto& row : rows) {
    TestStream s1, s2;
    std::vector<T> got(n), u(n);
    ASSERT_EQ(Draw(0, s1, n, got.data(), row.p, row.q, T(-1), T(2)), ROF_STATUS_OK);
    ASSERT_EQ(Uniform(s2, n, u.data(), T(0), T(1)), ROF_STATUS_OK);
    const bool complement = row.p == 1;
    const T inv = T(1) / (complement ? row.q : row.p);
    std::vector<T> x = dist_test::Ln(u);
    for (T& v : x) v *= inv;
    x = dist_test::Exp(x);
    for (int i = 0; i < n; ++i)
      ASSERT_EQ(got[i], (complement ? T(1) - x[i] : x[i]) * T(2) + T(-1)) << i;
  }
}

// Only a NaN shape reaches the last row: the uniform on [a, a + beta] of the same stream.
TYPED_TEST(BetaTest, NanShapeIsTheUniformOnTheSupport) {
  using T = TypeParam;
  const T nan = std::numeric_limits<T>::quiet_NaN();
  for (const T p : {nan, T(2)}) {
    TestStream s1, s2;
    std::vector<T> got(100), expect(100);
    ASSERT_EQ(Draw(ROF_ACCURATE_BIT, s1, 100, got.data(), p, nan, T(1), T(2)), ROF_STATUS_OK);
    ASSERT_EQ(Uniform(s2, 100, expect.data(), T(1), T(3)), ROF_STATUS_OK);
    EXPECT_EQ(got, expect);
  }
}

TYPED_TEST(BetaTest, FailingStreamStatusAndTheFrameComeBack) {
  using T = TypeParam;
  const dist_test::ThreadFrame before;
  const T shapes[][2] = {{0.5, 0.2}, {0.5, 0.9}, {0.5, 2}, {2, 0.5}, {2, 3}, {1, 2}};
  T r[8];
  for (const auto& shape : shapes) {
    ScriptedStream failing({0.5}, ROF_STATUS_BAD_ARGS);
    EXPECT_EQ(Draw(0, failing, 8, r, shape[0], shape[1], T(0), T(1)), ROF_STATUS_BAD_ARGS);
    EXPECT_TRUE(dist_test::ThreadFrame() == before);
    TestStream s;
    EXPECT_EQ(Draw(0, s, 8, r, shape[0], shape[1], T(0), T(1)), ROF_STATUS_OK);
    EXPECT_TRUE(dist_test::ThreadFrame() == before);
  }
}

}  // namespace
