// ChiSquare generators: the fit for every route (squared normals, products of uniforms, gamma),
// the routes' exact relation to the generators they use, and the frame left set on failure.
#include <gsl/gsl_cdf.h>
#include <math.h>

#include <vector>

#include "tests/distributions/distribution_support.h"
#include "tests/distributions/shape_fit.h"

namespace {

using dist_test::ScriptedStream;
using dist_test::TestStream;

int Draw(void* stream, int n, double* r, int v) { return _rofdRngChiSquare(0, stream, n, r, v); }
int Draw(void* stream, int n, float* r, int v) { return _rofsRngChiSquare(0, stream, n, r, v); }
int Normals(void* stream, int n, double* r) {
  return _rofdRngGaussian(ROF_GAUSSIAN_ICDF, stream, n, r, 0, 1);
}
int Normals(void* stream, int n, float* r) {
  return _rofsRngGaussian(ROF_GAUSSIAN_ICDF, stream, n, r, 0, 1);
}
int Gamma(void* stream, int n, double* r, double alpha) {
  return _rofdRngGamma(0, stream, n, r, alpha, 0, 2);
}
int Gamma(void* stream, int n, float* r, float alpha) {
  return _rofsRngGamma(0, stream, n, r, alpha, 0, 2);
}

template <class T>
class ChiSquareTest : public ::testing::Test {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(ChiSquareTest, Types);

TYPED_TEST(ChiSquareTest, FitsTheChiSquareDistribution) {
  using T = TypeParam;
  for (const int v : {1, 2, 3, 4, 16, 17, 18}) {
    SCOPED_TRACE(testing::Message() << "v " << v);
    const int n = dist_test::DrawsFor<T>(v == 4);
    TestStream s(ROF_BRNG_MT19937, 31);
    std::vector<T> r(n);
    ASSERT_EQ(Draw(s, n, r.data(), v), ROF_STATUS_OK);
    EXPECT_GT(dist_test::FitPValue(r, [v](double x) { return gsl_cdf_chisq_P(x, v); }),
              dist_test::kMinPValue);
    dist_test::ExpectMoments(dist_test::Widened(r), {double(v), 2.0 * v, 12.0 / v});
  }
}

// v = 1 and 3 sum squares of consecutive inverse-CDF normals, in batches that never split a
// vector; odd v from 5 on and v > 16 are Gamma(v/2, 0, 2) of the same stream.
TYPED_TEST(ChiSquareTest, RoutesAreTheGeneratorsTheyUse) {
  using T = TypeParam;
  const int n = 1500;
  for (const int v : {1, 3}) {
    TestStream s1, s2;
    std::vector<T> got(n), z(n * v);
    ASSERT_EQ(Draw(s1, n, got.data(), v), ROF_STATUS_OK);
    // The batches of 1024 / v vectors draw in the same order as one call.
    ASSERT_EQ(Normals(s2, n * v, z.data()), ROF_STATUS_OK);
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
    ASSERT_EQ(Gamma(s2, n, g.data(), T(v) / 2), ROF_STATUS_OK);
    EXPECT_EQ(got, g) << "v " << v;
  }
  // Even v up to 16: -2 ln of a product of v/2 uniforms.
  ScriptedStream s({0.5, 0.25});
  T r[2];
  ASSERT_EQ(Draw(s, 2, r, 4), ROF_STATUS_OK);
  EXPECT_EQ(dist_test::CurrentScript().drawn, 4);
  EXPECT_NEAR(r[0], -2 * log(0.125), 1e-5);
}

// A failed batch of the normal or uniform route leaves the generator's callback and mode set;
// the gamma route and every finished call put back the caller's.
TYPED_TEST(ChiSquareTest, OnlyFinishedRunsRestoreTheFrame) {
  using T = TypeParam;
  const dist_test::ThreadFrame before;
  T r[8];
  for (const int v : {1, 4, 17}) {
    {
      TestStream s;
      EXPECT_EQ(Draw(s, 8, r, v), ROF_STATUS_OK);
      EXPECT_TRUE(dist_test::ThreadFrame() == before) << v;
    }
    ScriptedStream failing({0.5}, ROF_STATUS_BAD_ARGS);
    EXPECT_EQ(Draw(failing, 8, r, v), ROF_STATUS_BAD_ARGS);
    const dist_test::ThreadFrame after;
    if (v == 17) {
      EXPECT_TRUE(after == before);
    } else {
      EXPECT_EQ(after.mode & 0xFF00u, TEM_ERRMODE_CALLBACK) << v;
      EXPECT_NE(after.callback, before.callback) << v;
      qor_tem_kernel_SetErrorCallBack(before.callback);
      qor_tem_kernel_SetMode(before.mode);
      EXPECT_TRUE(dist_test::ThreadFrame() == before);
    }
  }
}

}  // namespace
