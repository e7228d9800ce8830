// ChiSquare generators: fit for every route, each route's relation to its generator, frame.
#include <gsl/gsl_cdf.h>
#include <math.h>

#include <vector>

#include "tests/distributions/distribution_support.h"
#include "tests/distributions/shape_fit.h"

namespace {
using namespace dist_test;

template <class T>
int Draw(void* stream, int n, T* r, int v) {
  return Call<T>(_rofsRngChiSquare, _rofdRngChiSquare, 0, stream, n, r, v);
}

template <class T>
class ChiSquareTest : public ::testing::Test {};
TYPED_TEST_SUITE(ChiSquareTest, RealTypes);

TYPED_TEST(ChiSquareTest, FitsTheChiSquareDistribution) {
  using T = TypeParam;
  for (const int v : {1, 2, 3, 4, 16, 17, 18}) {
    SCOPED_TRACE(testing::Message() << "v " << v);
    const int n = DrawsFor<T>(v == 4);
    TestStream s(ROF_BRNG_MT19937, 31);
    std::vector<T> r(n);
    ASSERT_EQ(Draw(s, n, r.data(), v), ROF_STATUS_OK);
    EXPECT_GT(FitPValue(r, [v](double x) { return gsl_cdf_chisq_P(x, v); }), kMinPValue);
    ExpectMoments(Widened(r), {double(v), 2.0 * v, 12.0 / v});
  }
}

// v = 1, 3: sums of squared ICDF normals; odd v >= 5 and v > 16: Gamma(v/2, 0, 2); else -2 ln.
TYPED_TEST(ChiSquareTest, RoutesAreTheGeneratorsTheyUse) {
  using T = TypeParam;
  const int n = 1500;
  for (const int v : {1, 3}) {
    TestStream s1, s2;
    std::vector<T> got(n), z(n * v);
    ASSERT_EQ(Draw(s1, n, got.data(), v), ROF_STATUS_OK);
    ASSERT_EQ(Call<T>(_rofsRngGaussian, _rofdRngGaussian, ROF_GAUSSIAN_ICDF, s2, n * v, z.data(),
                      T(0), T(1)), 0);
    for (int i = 0; i < n; ++i) {
      T sum = 0;
      for (int j = 0; j < v; ++j) sum += z[i * v + j] * z[i * v + j];
      ASSERT_EQ(got[i], sum) << "v " << v << ", " << i;
    }
  }
  for (const int v : {5, 17, 40}) {
    TestStream s1, s2;
    std::vector<T> got(n), g(n);
    ASSERT_EQ(Draw(s1, n, got.data(), v), ROF_STATUS_OK);
    ASSERT_EQ(Call<T>(_rofsRngGamma, _rofdRngGamma, 0, s2, n, g.data(), T(v) / 2, T(0), T(2)), 0);
    EXPECT_EQ(got, g) << "v " << v;
  }
  ScriptedStream s({0.5, 0.25});
  T r[2];
  ASSERT_EQ(Draw(s, 2, r, 4), ROF_STATUS_OK);
  EXPECT_EQ(CurrentScript().drawn, 4);
  EXPECT_NEAR(r[0], -2 * log(0.125), 1e-5);
}

// A failed normal or uniform batch leaves the callback and mode set; gamma and success restore.
TYPED_TEST(ChiSquareTest, OnlyFinishedRunsRestoreTheFrame) {
  using T = TypeParam;
  const ThreadFrame before;
  T r[8];
  for (const int v : {1, 4, 17}) {
    {
      TestStream s;
      EXPECT_EQ(Draw(s, 8, r, v), ROF_STATUS_OK);
      EXPECT_TRUE(ThreadFrame() == before) << v;
    }
    ScriptedStream failing({0.5}, ROF_STATUS_BAD_ARGS);
    EXPECT_EQ(Draw(failing, 8, r, v), ROF_STATUS_BAD_ARGS);
    const ThreadFrame after;
    if (v == 17) {
      EXPECT_TRUE(after == before);
      continue;
    }
    EXPECT_EQ(after.mode & 0xFF00u, TEM_ERRMODE_CALLBACK) << v;
    EXPECT_NE(after.callback, before.callback) << v;
    qor_tem_kernel_SetErrorCallBack(before.callback);
    qor_tem_kernel_SetMode(before.mode);
  }
}
}  // namespace
