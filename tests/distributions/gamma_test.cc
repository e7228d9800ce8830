// Gamma generators: a fit per regime, the exponential regime, Marsaglia-Tsang's carried candidate.
#include <gsl/gsl_cdf.h>
#include <math.h>

#include <vector>

#include "tests/common/allocation_control.h"
#include "tests/distributions/distribution_support.h"

namespace {
using namespace dist_test;

template <class T>
int Draw(int method, void* stream, int n, T* r, T alpha, T a, T beta) {
  return Call<T>(_rofsRngGamma, _rofdRngGamma, method, stream, n, r, alpha, a, beta);
}

template <class T>
class GammaTest : public ::testing::Test {};
TYPED_TEST_SUITE(GammaTest, RealTypes);

// Two-branch, Weibull (from its floor), exponential and Marsaglia-Tsang each fit, clamp at a
// when accurate (negative scale), and return a failing stream's status, frame restored.
TYPED_TEST(GammaTest, EachRegimeFitsClampsAndFails) {
  using T = TypeParam;
  const struct {
    double alpha, a, beta;
    bool heavy;  // drawn kDraws times in the default run too
  } cases[] = {{0.3, 0, 2, false}, {0.6, -1, 1, false}, {1, 0, 1, false}, {2.5, 0.5, 2, true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "alpha " << c.alpha);
    const T alpha = T(c.alpha);
    TestStream s(ROF_BRNG_MT19937, {2024});
    std::vector<T> r(DrawsFor<T>(c.heavy));
    ASSERT_EQ(Draw(0, s, int(r.size()), r.data(), alpha, T(c.a), T(c.beta)), ROF_STATUS_OK);
    ExpectFit(r, [&](double x) { return gsl_cdf_gamma_P((x - c.a) / c.beta, c.alpha, 1); });
    ASSERT_EQ(Draw(ROF_ACCURATE_BIT, s, 16, r.data(), alpha, T(2), T(-1)), ROF_STATUS_OK);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(r[i], T(2)) << i;
    ExpectFailureAndFrame<T>([alpha](void* s, int n, T* r) {
      return Draw(0, s, n, r, alpha, T(0), T(1));
    });
  }
}

// alpha = 1 is the standard exponential of the same stream, scaled.
TYPED_TEST(GammaTest, ShapeOneIsTheExponential) {
  using T = TypeParam;
  const int n = 1500;
  TestStream s1, s2;
  std::vector<T> got(n), e(n);
  ASSERT_EQ(Draw(0, s1, n, got.data(), T(1), T(0.5), T(3)), ROF_STATUS_OK);
  ASSERT_EQ(Call<T>(_rofsRngExponential, _rofdRngExponential, 0, s2, n, e.data(), T(0), T(1)), 0);
  for (int i = 0; i < n; ++i) ASSERT_EQ(got[i], e[i] * T(3) + T(0.5)) << i;
}

// Any cut gives one sequence; the candidate stays carried past a failed call and into a copy.
TYPED_TEST(GammaTest, CarriedCandidateKeepsOneSequence) {
  using T = TypeParam;
  ExpectCutsAgree<T>([](void* s, int n, T* r) { return Draw(0, s, n, r, T(2.5), T(0), T(1)); },
                     {{1, 1, 1, 1, 1, 1, 1}, {3, 4, 5, 2, 1}, {511, 512, 513, 2}, {0, 2047, 1}});
  ScriptedStream scripted({0.3, 0.01, 0.2, 0.02});  // small acceptance uniforms pass the squeeze
  T r[64];
  ASSERT_EQ(Draw(0, scripted, 1, r, T(2.5), T(0), T(1)), ROF_STATUS_OK);
  CurrentScript().status = ROF_STATUS_BAD_ARGS;
  EXPECT_EQ(Draw(0, scripted, 3, r + 1, T(2.5), T(0), T(1)), ROF_STATUS_BAD_ARGS);
  CurrentScript().status = ROF_STATUS_OK;
  ASSERT_EQ(Draw(0, scripted, 1, r + 1, T(2.5), T(0), T(1)), ROF_STATUS_OK);
  EXPECT_EQ(CurrentScript().drawn, 4) << "the second value is the carried candidate";
  TestStream original;
  ASSERT_EQ(Draw(0, original, 1, r, T(2.5), T(0), T(1)), ROF_STATUS_OK);
  void* copy = nullptr;
  ASSERT_EQ(__rofCopyStream(&copy, original), ROF_STATUS_OK);
  std::vector<T> a(7), b(7);
  ASSERT_EQ(Draw(0, original, 7, a.data(), T(2.5), T(0), T(1)), ROF_STATUS_OK);
  ASSERT_EQ(Draw(0, copy, 7, b.data(), T(2.5), T(0), T(1)), ROF_STATUS_OK);
  EXPECT_EQ(a, b);
  __rofDeleteStream(&copy);
}

// The chunk cannot be made: -4, nothing generated, the stream not moved.
TYPED_TEST(GammaTest, ChunkAllocationFailureGeneratesNothing) {
  using T = TypeParam;
  TestStream s, twin;
  T r[4] = {-7, -7, -7, -7};
  {
    alloc_control::ScopedFailure fail(0);
    EXPECT_EQ(Draw(0, s, 4, r, T(2.5), T(0), T(1)), ROF_STATUS_NO_MEMORY);
  }
  for (T x : r) EXPECT_EQ(x, T(-7));
  EXPECT_EQ(Uniforms<T>(s, 2, 0, 1), Uniforms<T>(twin, 2, 0, 1));
}

}  // namespace
