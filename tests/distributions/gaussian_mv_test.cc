// Multivariate Gaussian: the factor times the Gaussian's normals per storage, dimension 1.
#include <math.h>

#include <limits>
#include <vector>

#include "tests/distributions/distribution_support.h"

namespace {
using namespace dist_test;

template <class T>
int DrawMV(int method, void* stream, int n, T* r, int dimen, int storage, const T* a, const T* t) {
  return Call<T>(_rofsRngGaussianMV, _rofdRngGaussianMV, method, stream, n, r, dimen, storage, a,
                 t);
}

// A lower factor L (d x d) with a positive diagonal, and its storages.
struct Factor {
  int d;
  double operator()(int i, int k) const {
    return k > i ? 0 : i == k ? 0.5 + 0.25 * i : 0.3 * sin(1.0 + i * d + k);
  }
  // Full: L' in the upper triangle (lower NaN); packed: L by columns; diagonal: L's diagonal.
  template <class T>
  std::vector<T> Storage(int storage) const {
    const bool full = storage == ROF_MATRIX_FULL;
    std::vector<T> t(full ? size_t(d) * d : 0, std::numeric_limits<T>::quiet_NaN());
    for (int k = 0; k < d; ++k)
      for (int i = k; i < d; ++i)
        if (full) t[k + i * d] = T((*this)(i, k));
        else if (storage == ROF_MATRIX_PACKED || i == k) t.push_back(T((*this)(i, k)));
    return t;
  }
};

template <class T>
class GaussianMVTest : public ::testing::Test {};
TYPED_TEST_SUITE(GaussianMVTest, RealTypes);

// Each vector is L z + a within a dot product's rounding (diagonal exact); unknown storage: z.
// Orders up to 10 and above take different multiplies.
TYPED_TEST(GaussianMVTest, VectorsAreTheFactorTimesTheGaussianNormals) {
  using T = TypeParam;
  const int n = 150, method = ROF_GAUSSIAN_ICDF;
  const double eps = std::numeric_limits<T>::epsilon();
  for (int storage : {int(ROF_MATRIX_FULL), int(ROF_MATRIX_PACKED), int(ROF_MATRIX_DIAGONAL), 3})
    for (int d : {2, 11}) {
      SCOPED_TRACE(testing::Message() << "storage " << storage << " dimen " << d);
      const Factor factor{d};
      const std::vector<T> t = factor.Storage<T>(storage);
      std::vector<T> a(d);
      for (int j = 0; j < d; ++j) a[j] = T(j - 1.5);
      TestStream s1(ROF_BRNG_MT19937, {uint32_t(d)}), s2(ROF_BRNG_MT19937, {uint32_t(d)});
      std::vector<T> r(size_t(n) * d), z(size_t(n) * d);
      ASSERT_EQ(DrawMV(method, s1, n, r.data(), d, storage, a.data(), t.data()), 0);
      ASSERT_EQ(Gaussian(method, s2, n * d, z.data(), T(0), T(1)), 0);
      if (storage == 3) {
        EXPECT_EQ(r, z);
        continue;
      }
      for (int v = 0; v < n; ++v)
        for (int i = 0; i < d; ++i) {
          const T* zv = &z[size_t(v) * d];
          const T got = r[size_t(v) * d + i];
          if (storage == ROF_MATRIX_DIAGONAL) {
            ASSERT_EQ(got, t[i] * zv[i] + a[i]) << "vector " << v << " entry " << i;
            continue;
          }
          double sum = a[i], magnitude = std::fabs(a[i]);
          for (int k = 0; k <= i; ++k) {
            sum += double(T(factor(i, k))) * zv[k];
            magnitude += std::fabs(double(T(factor(i, k))) * zv[k]);
          }
          ASSERT_NEAR(got, sum, 2 * (i + 2) * eps * magnitude) << "vector " << v << " entry " << i;
        }
    }
}

// dimen 1 is the plain Gaussian with mean a[0] and deviation t[0], whatever the method and
// storage; a failing stream's status comes back.
TYPED_TEST(GaussianMVTest, DimensionOneIsThePlainGaussian) {
  using T = TypeParam;
  const int n = 101;
  const T a = T(3.25), t = T(0.5);
  for (const auto& [method, storage] :
       {std::pair{0, int(ROF_MATRIX_FULL)}, {1, int(ROF_MATRIX_PACKED)}, {2, 9}}) {
    TestStream s1, s2;
    std::vector<T> r(n), g(n);
    ASSERT_EQ(DrawMV(method, s1, n, r.data(), 1, storage, &a, &t), ROF_STATUS_OK);
    ASSERT_EQ(Gaussian(method, s2, n, g.data(), a, t), ROF_STATUS_OK);
    EXPECT_EQ(r, g) << "method " << method << " storage " << storage;
  }
  const std::vector<T> factor = Factor{3}.Storage<T>(ROF_MATRIX_FULL), means(3, T(1));
  for (int dimen : {1, 3})
    ExpectFailureAndFrame<T>([&](void* s, int n, T* r) {
      return DrawMV(0, s, n / 3, r, dimen, ROF_MATRIX_FULL, means.data(), factor.data());
    });
}
}  // namespace
