// Gaussian generators: the exact transforms of the stream's uniforms, Box-Muller2's carried
// value, the substitutes of the error callback, and the fit to the normal distribution.
#include <math.h>

#include <vector>

#include "tests/distributions/distribution_support.h"
#include "tests/distributions/reference_kernels.h"

namespace {

using dist_test::ScriptedStream;
using dist_test::TestStream;

int Draw(int method, void* stream, int n, double* r, double a, double sigma) {
  return _rofdRngGaussian(method, stream, n, r, a, sigma);
}
int Draw(int method, void* stream, int n, float* r, float a, float sigma) {
  return _rofsRngGaussian(method, stream, n, r, a, sigma);
}
template <class T>
std::vector<T> Uniforms(void* stream, int n, T a, T b) {
  std::vector<T> u(n);
  if constexpr (std::is_same_v<T, double>) __rofdBRngMT19937(stream, n, u.data(), a, b);
  else __rofsBRngMT19937(stream, n, u.data(), a, b);
  return u;
}
template <class T>
constexpr T kTwoPi = std::is_same_v<T, double> ? T(6.283185307179586) : T(6.2831855f);

template <class T>
class GaussianTest : public ::testing::Test {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(GaussianTest, Types);

// Method 0: r = sqrt(-2 ln u1) * sigma * sin(2 pi u2) + a, pairs in blocks of 1024.
TYPED_TEST(GaussianTest, BoxMullerIsTheTransformOfTheUniforms) {
  using T = TypeParam;
  const int n = 2500;
  const T a = T(1.5), sigma = T(0.75);
  TestStream s1, s2;
  std::vector<T> r(n);
  ASSERT_EQ(Draw(ROF_GAUSSIAN_BOXMULLER, s1, n, r.data(), a, sigma), ROF_STATUS_OK);
  const std::vector<T> u = Uniforms<T>(s2, 2 * n, 0, 1);
  std::vector<T> radius(n), angle(n);
  for (int i = 0; i < n; ++i) {
    radius[i] = u[2 * i];
    angle[i] = u[2 * i + 1] * kTwoPi<T>;
  }
  radius = dist_test::Ln(radius);
  for (T& x : radius) x *= T(-2);
  radius = dist_test::Sqrt(radius);
  angle = dist_test::Sin(angle);
  for (int i = 0; i < n; ++i) ASSERT_EQ(r[i], radius[i] * sigma * angle[i] + a) << i;
}

// Method 2: r = ErfInv(u) * (sigma * sqrt 2) + a for u uniform on (-1, 1).
TYPED_TEST(GaussianTest, InverseCdfIsTheTransformOfTheUniforms) {
  using T = TypeParam;
  const int n = 3000;
  const T a = T(-2), sigma = T(3);
  TestStream s1, s2;
  std::vector<T> r(n);
  ASSERT_EQ(Draw(ROF_GAUSSIAN_ICDF | ROF_ACCURATE_BIT, s1, n, r.data(), a, sigma),
            ROF_STATUS_OK);
  const std::vector<T> e = dist_test::ErfInv(Uniforms<T>(s2, n, -1, 1));
  const T scale = sigma * (std::is_same_v<T, double> ? T(1.4142135623730951) : T(1.4142135f));
  for (int i = 0; i < n; ++i) ASSERT_EQ(r[i], e[i] * scale + a) << i;
}

// Box-Muller2 maps uniforms to results in fixed pairs: any cut of a run gives one sequence.
TYPED_TEST(GaussianTest, BoxMuller2SequenceDoesNotDependOnTheCuts) {
  using T = TypeParam;
  const std::vector<std::vector<int>> cuts = {
      {1, 1, 1, 1, 1, 1, 1}, {3, 4, 5, 2, 1}, {1023, 1, 1024, 1025}, {1025, 1025, 2},
      {2048, 1, 2047},       {0, 5, 6},        {4099}};
  for (const std::vector<int>& cut : cuts) {
    int total = 0;
    for (int c : cut) total += c;
    TestStream whole, pieces;
    std::vector<T> expect(total), got(total);
    ASSERT_EQ(Draw(ROF_GAUSSIAN_BOXMULLER2, whole, total, expect.data(), 0, 1), ROF_STATUS_OK);
    int at = 0;
    for (int c : cut) {
      ASSERT_EQ(Draw(ROF_GAUSSIAN_BOXMULLER2, pieces, c, got.data() + at, 0, 1), ROF_STATUS_OK);
      at += c;
    }
    EXPECT_EQ(got, expect) << "cut of " << cut.size() << " calls, " << total << " values";
    // And the pair arithmetic itself: r[2i], r[2i+1] = radius * (sin, cos) of pair i.
    TestStream raw;
    const std::vector<T> u = Uniforms<T>(raw, 2, 0, 1);
    std::vector<T> radius = dist_test::Sqrt(std::vector<T>{T(-2) * dist_test::Ln(std::vector<T>{u[0]})[0]});
    EXPECT_EQ(expect[0], radius[0] * dist_test::Sin(std::vector<T>{u[1] * kTwoPi<T>})[0]);
    EXPECT_EQ(expect[1], radius[0] * dist_test::Cos(std::vector<T>{u[1] * kTwoPi<T>})[0]);
  }
}

TYPED_TEST(GaussianTest, BoxMuller2DrawsTwoUniformsPerPairAndCopiesCarryTheDebt) {
  using T = TypeParam;
  ScriptedStream s({0.25, 0.125, 0.5, 0.375, 0.75, 0.625});
  T r[3];
  const long long expect_drawn[] = {2, 2, 4};
  for (int call = 0; call < 3; ++call) {
    ASSERT_EQ(Draw(ROF_GAUSSIAN_BOXMULLER2, s, 1, r + call, 0, 1), ROF_STATUS_OK);
    EXPECT_EQ(dist_test::CurrentScript().drawn, expect_drawn[call]) << "call " << call;
  }
  // The second call delivered the cosine half of the first pair.
  const T radius = std::sqrt(T(-2) * std::log(T(0.25)));
  EXPECT_NEAR(r[1], radius * std::cos(T(0.125) * kTwoPi<T>), 1e-5);

  // A stream copied while a value is owed: both deliver the same continuation.
  TestStream original;
  T first;
  ASSERT_EQ(Draw(ROF_GAUSSIAN_BOXMULLER2, original, 1, &first, 0, 1), ROF_STATUS_OK);
  void* copy = nullptr;
  ASSERT_EQ(__rofCopyStream(&copy, original), ROF_STATUS_OK);
  std::vector<T> a(5), b(5);
  ASSERT_EQ(Draw(ROF_GAUSSIAN_BOXMULLER2, original, 5, a.data(), 0, 1), ROF_STATUS_OK);
  ASSERT_EQ(Draw(ROF_GAUSSIAN_BOXMULLER2, copy, 5, b.data(), 0, 1), ROF_STATUS_OK);
  EXPECT_EQ(a, b);
  __rofDeleteStream(&copy);
}

// A uniform of exactly 0 and ErfInv at -1 give the callback's finite substitutes.
TYPED_TEST(GaussianTest, ZeroUniformsGiveFiniteResults) {
  using T = TypeParam;
  const bool is_double = std::is_same_v<T, double>;
  const double ln_zero = is_double ? -744.4400719213812 : -103.27892990343185;
  const double tail = is_double ? 5.8635847487551676 : 3.8325068950653076;
  T r[2];
  {
    ScriptedStream s({0.0, 0.25});  // radius from u = 0, angle pi/2
    ASSERT_EQ(Draw(ROF_GAUSSIAN_BOXMULLER, s, 1, r, 0, 1), ROF_STATUS_OK);
    EXPECT_NEAR(r[0], std::sqrt(-2 * ln_zero), 1e-4 * std::sqrt(-2 * ln_zero));
  }
  {
    ScriptedStream s({0.0});  // uniform on (-1, 1) at exactly -1
    ASSERT_EQ(Draw(ROF_GAUSSIAN_ICDF, s, 2, r, 1, 2), ROF_STATUS_OK);
    const T scale = T(2) * (is_double ? T(1.4142135623730951) : T(1.4142135f));
    EXPECT_EQ(r[0], T(-tail) * scale + T(1));
  }
}

TYPED_TEST(GaussianTest, ModeAndCallbackComeBackOnEveryPath) {
  using T = TypeParam;
  const dist_test::ThreadFrame before;
  T r[8];
  for (int method : {0, 1, 2}) {
    for (int status : {ROF_STATUS_OK, ROF_STATUS_BAD_ARGS}) {
      ScriptedStream s({0.0, 0.5, 0.9}, status);
      EXPECT_EQ(Draw(method, s, 7, r, 0, 1), status);
      EXPECT_TRUE(dist_test::ThreadFrame() == before) << "method " << method;
    }
  }
}

TYPED_TEST(GaussianTest, EveryMethodFitsTheNormalDistribution) {
  using T = TypeParam;
  const double a = 2, sigma = 0.5;
  for (int method : {0, 1, 2}) {
    SCOPED_TRACE(method);
    TestStream s(ROF_BRNG_MT19937, 20 + method);
    std::vector<T> r(dist_test::kDraws);
    ASSERT_EQ(Draw(method, s, dist_test::kDraws, r.data(), T(a), T(sigma)), ROF_STATUS_OK);
    const std::vector<double> x = dist_test::Widened(r);
    EXPECT_GT(dist_test::KolmogorovSmirnovPValue(
                  x, [&](double v) { return 0.5 * erfc(-(v - a) / (sigma * sqrt(2.0))); }),
              dist_test::kMinPValue);
    dist_test::ExpectMoments(x, {a, sigma * sigma, 0});
  }
}

}  // namespace
