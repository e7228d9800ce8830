// ChiSquare generators: each route against the generator it uses, a fit of its own route, frame.
#include <gsl/gsl_cdf.h>
#include <math.h>

#include <vector>

#include "tests/distributions/distribution_support.h"

namespace {
using namespace dist_test;

template <class T>
int Draw(void* stream, int n, T* r, int v) {
  return Call<T>(_rofsRngChiSquare, _rofdRngChiSquare, 0, stream, n, r, v);
}

template <class T>
class ChiSquareTest : public ::testing::Test {};
TYPED_TEST_SUITE(ChiSquareTest, RealTypes);

// v = 1, 3: sums of squared ICDF normals; odd v and v > 16: Gamma(v/2, 0, 2). Even v up to 16
// take -2 ln of a product of v/2 uniforms: one scripted value (v = 4) and a fit (v = 16).
TYPED_TEST(ChiSquareTest, RoutesAreTheGeneratorsTheyUseAndTheProductsFit) {
  using T = TypeParam;
  const int n = 1500;
  for (const int v : {1, 3, 5, 18}) {
    TestStream s1, s2;
    std::vector<T> got(n), expect(n, T(0)), z(n * v);
    ASSERT_EQ(Draw(s1, n, got.data(), v), ROF_STATUS_OK);
    if (v > 3) {
      ASSERT_EQ(Call<T>(_rofsRngGamma, _rofdRngGamma, 0, s2, n, expect.data(), T(v) / 2, T(0),
                        T(2)), 0);
    } else {
      ASSERT_EQ(Gaussian(ROF_GAUSSIAN_ICDF, s2, n * v, z.data(), T(0), T(1)), 0);
      for (int i = 0; i < n * v; ++i) expect[i / v] += z[i] * z[i];
    }
    EXPECT_EQ(got, expect) << "v " << v;
  }
  ScriptedStream s({0.5, 0.25});
  T r[2];
  ASSERT_EQ(Draw(s, 2, r, 4), ROF_STATUS_OK);
  EXPECT_EQ(CurrentScript().drawn, 4);
  EXPECT_NEAR(r[0], -2 * log(0.125), 1e-5);
  TestStream fitted(ROF_BRNG_MT19937, {31});
  std::vector<T> x(DrawsFor<T>(true));
  ASSERT_EQ(Draw(fitted, int(x.size()), x.data(), 16), ROF_STATUS_OK);
  ExpectFit(x, [](double y) { return gsl_cdf_chisq_P(y, 16); });
}

// A failed normal or uniform batch leaves the callback and mode set; gamma and success restore.
TYPED_TEST(ChiSquareTest, OnlyFinishedRunsRestoreTheFrame) {
  using T = TypeParam;
  ExpectFailureAndFrame<T>([](void* s, int n, T* r) { return Draw(s, n, r, 17); });
  const ThreadFrame before;
  T r[8];
  for (const int v : {1, 4}) {
    {
      TestStream s;
      EXPECT_EQ(Draw(s, 8, r, v), ROF_STATUS_OK);
      EXPECT_TRUE(ThreadFrame() == before) << v;
    }
    ScriptedStream failing({0.5}, ROF_STATUS_BAD_ARGS);
    EXPECT_EQ(Draw(failing, 8, r, v), ROF_STATUS_BAD_ARGS);
    const ThreadFrame after;
    EXPECT_EQ(after.mode & 0xFF00u, TEM_ERRMODE_CALLBACK) << v;
    EXPECT_NE(after.callback, before.callback) << v;
    qor_tem_kernel_SetErrorCallBack(before.callback);
    qor_tem_kernel_SetMode(before.mode);
  }
}
}  // namespace
