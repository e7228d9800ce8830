// Multivariate Gaussian generators: the Gaussian stream's standard normals times the factor in
// each storage, the unknown storage, the one-dimensional shortcut, and the sample covariance.
#include <math.h>

#include <limits>
#include <vector>

#include "tests/distributions/distribution_support.h"

namespace {

using dist_test::ScriptedStream;
using dist_test::TestStream;

int DrawMV(int method, void* stream, int n, double* r, int dimen, int storage, const double* a,
           const double* t) {
  return _rofdRngGaussianMV(method, stream, n, r, dimen, storage, a, t);
}
int DrawMV(int method, void* stream, int n, float* r, int dimen, int storage, const float* a,
           const float* t) {
  return _rofsRngGaussianMV(method, stream, n, r, dimen, storage, a, t);
}
int DrawGaussian(int method, void* stream, int n, double* r, double a, double sigma) {
  return _rofdRngGaussian(method, stream, n, r, a, sigma);
}
int DrawGaussian(int method, void* stream, int n, float* r, float a, float sigma) {
  return _rofsRngGaussian(method, stream, n, r, a, sigma);
}

// A lower factor L (row-major, d x d) with a positive diagonal, and its three storages.
struct Factor {
  int d;
  std::vector<double> lower;  // L(i, k) at i * d + k
  double operator()(int i, int k) const { return lower[i * d + k]; }

  explicit Factor(int dimen, bool diagonal = false) : d(dimen), lower(size_t(dimen) * dimen) {
    for (int i = 0; i < d; ++i)
      for (int k = 0; k <= i; ++k)
        lower[i * d + k] = i == k ? 0.5 + 0.25 * i : diagonal ? 0 : 0.3 * sin(1.0 + i * d + k);
  }
  // The upper triangle of a column-major array holds L': entry (k, i) = L(i, k), k <= i. The
  // strict lower triangle is never read: NaN.
  template <class T>
  std::vector<T> Full() const {
    std::vector<T> t(size_t(d) * d, std::numeric_limits<T>::quiet_NaN());
    for (int i = 0; i < d; ++i)
      for (int k = 0; k <= i; ++k) t[k + i * d] = T((*this)(i, k));
    return t;
  }
  // L by columns, each from the diagonal down.
  template <class T>
  std::vector<T> Packed() const {
    std::vector<T> t;
    for (int k = 0; k < d; ++k)
      for (int i = k; i < d; ++i) t.push_back(T((*this)(i, k)));
    return t;
  }
  template <class T>
  std::vector<T> Diagonal() const {
    std::vector<T> t;
    for (int i = 0; i < d; ++i) t.push_back(T((*this)(i, i)));
    return t;
  }
  template <class T>
  std::vector<T> Storage(int storage) const {
    return storage == ROF_MATRIX_FULL     ? Full<T>()
           : storage == ROF_MATRIX_PACKED ? Packed<T>()
                                          : Diagonal<T>();
  }
};

template <class T>
std::vector<T> Means(int d) {
  std::vector<T> a;
  for (int j = 0; j < d; ++j) a.push_back(T(j - 1.5));
  return a;
}

template <class T>
class GaussianMVTest : public ::testing::Test {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(GaussianMVTest, Types);

// Each vector is L z + a for the next dimen standard normals z of the Gaussian method, within
// the rounding of a dot product; diagonal storage is exact.
TYPED_TEST(GaussianMVTest, VectorsAreTheFactorTimesTheGaussianNormals) {
  using T = TypeParam;
  const int n = 150;
  const double eps = std::numeric_limits<T>::epsilon();
  for (int storage : {ROF_MATRIX_FULL, ROF_MATRIX_PACKED, ROF_MATRIX_DIAGONAL}) {
    for (int d : {2, 3, 10, 11, 37}) {
      for (int method : {0, 1, 2}) {
        SCOPED_TRACE(testing::Message() << "storage " << storage << " dimen " << d << " method "
                                        << method);
        const Factor factor(d);
        const std::vector<T> t = factor.Storage<T>(storage), a = Means<T>(d);
        TestStream s1(ROF_BRNG_MT19937, d), s2(ROF_BRNG_MT19937, d);
        std::vector<T> r(size_t(n) * d), z(size_t(n) * d);
        ASSERT_EQ(DrawMV(method, s1, n, r.data(), d, storage, a.data(), t.data()), 0);
        ASSERT_EQ(DrawGaussian(method, s2, n * d, z.data(), T(0), T(1)), 0);
        for (int v = 0; v < n; ++v) {
          const T* zv = &z[size_t(v) * d];
          for (int i = 0; i < d; ++i) {
            const T got = r[size_t(v) * d + i];
            if (storage == ROF_MATRIX_DIAGONAL) {
              ASSERT_EQ(got, t[i] * zv[i] + a[i]) << "vector " << v << " entry " << i;
              continue;
            }
            double sum = 0, magnitude = std::fabs(a[i]);
            for (int k = 0; k <= i; ++k) {
              const double term = double(T(factor(i, k))) * zv[k];
              sum += term;
              magnitude += std::fabs(term);
            }
            ASSERT_NEAR(got, sum + a[i], 2 * (i + 2) * eps * magnitude)
                << "vector " << v << " entry " << i;
          }
        }
      }
    }
  }
}

// An unknown storage is no error: the standard normals stay unscaled and unshifted.
TYPED_TEST(GaussianMVTest, UnknownStorageLeavesStandardNormals) {
  using T = TypeParam;
  const int n = 40, d = 4;
  const std::vector<T> t = Factor(d).Full<T>(), a = Means<T>(d);
  for (int storage : {3, -1}) {
    TestStream s1, s2;
    std::vector<T> r(n * d), z(n * d);
    EXPECT_EQ(DrawMV(1, s1, n, r.data(), d, storage, a.data(), t.data()), ROF_STATUS_OK);
    ASSERT_EQ(DrawGaussian(1, s2, n * d, z.data(), T(0), T(1)), ROF_STATUS_OK);
    EXPECT_EQ(r, z) << "storage " << storage;
  }
}

// dimen 1 is the plain Gaussian with mean a[0] and deviation t[0], whatever the storage.
TYPED_TEST(GaussianMVTest, DimensionOneIsThePlainGaussian) {
  using T = TypeParam;
  const int n = 101;
  const T a = T(3.25), t = T(0.5);
  for (int method : {0, 1, 2}) {
    for (int storage : {int(ROF_MATRIX_FULL), int(ROF_MATRIX_PACKED), 9}) {
      TestStream s1, s2;
      std::vector<T> r(n), g(n);
      ASSERT_EQ(DrawMV(method, s1, n, r.data(), 1, storage, &a, &t), ROF_STATUS_OK);
      ASSERT_EQ(DrawGaussian(method, s2, n, g.data(), a, t), ROF_STATUS_OK);
      EXPECT_EQ(r, g) << "method " << method << " storage " << storage;
    }
  }
}

TYPED_TEST(GaussianMVTest, StreamFailureIsReturnedWithModeRestored) {
  using T = TypeParam;
  const int d = 3;
  const std::vector<T> t = Factor(d).Full<T>(), a = Means<T>(d);
  const dist_test::ThreadFrame before;
  for (int dimen : {1, d}) {
    ScriptedStream s({0.5}, ROF_STATUS_BAD_ARGS);
    std::vector<T> r(4 * d, T(7));
    EXPECT_EQ(DrawMV(0, s, 4, r.data(), dimen, ROF_MATRIX_FULL, a.data(), t.data()),
              ROF_STATUS_BAD_ARGS);
    EXPECT_EQ(r, std::vector<T>(4 * d, T(7))) << "dimen " << dimen;
    EXPECT_TRUE(dist_test::ThreadFrame() == before);
  }
}

// The sample mean is a and the sample covariance L L', each entry within 5 standard errors
// (for normal data, var(S_ij) = (C_ii C_jj + C_ij^2) / N).
TYPED_TEST(GaussianMVTest, SampleCovarianceIsTheFactorTimesItsTranspose) {
  using T = TypeParam;
  const int n = 200000;
  for (int storage : {ROF_MATRIX_FULL, ROF_MATRIX_PACKED, ROF_MATRIX_DIAGONAL}) {
    for (int d : {3, 4}) {
      SCOPED_TRACE(testing::Message() << "storage " << storage << " dimen " << d);
      const Factor factor(d, storage == ROF_MATRIX_DIAGONAL);
      const std::vector<T> t = factor.Storage<T>(storage), a = Means<T>(d);
      TestStream s(ROF_BRNG_MT19937, 100 + storage * 10 + d);
      std::vector<T> r(size_t(n) * d);
      ASSERT_EQ(DrawMV(2, s, n, r.data(), d, storage, a.data(), t.data()), ROF_STATUS_OK);
      std::vector<double> mean(d), cov(d * d), exact(d * d);
      for (int v = 0; v < n; ++v)
        for (int i = 0; i < d; ++i) mean[i] += r[size_t(v) * d + i] / double(n);
      for (int v = 0; v < n; ++v)
        for (int i = 0; i < d; ++i)
          for (int j = 0; j < d; ++j)
            cov[i * d + j] += (r[size_t(v) * d + i] - mean[i]) *
                              (r[size_t(v) * d + j] - mean[j]) / double(n - 1);
      for (int i = 0; i < d; ++i)
        for (int j = 0; j < d; ++j)
          for (int k = 0; k < d; ++k) exact[i * d + j] += factor(i, k) * factor(j, k);
      for (int i = 0; i < d; ++i) {
        EXPECT_NEAR(mean[i], a[i], 5 * std::sqrt(exact[i * d + i] / n)) << i;
        for (int j = 0; j < d; ++j) {
          const double c = exact[i * d + j];
          const double se = std::sqrt((exact[i * d + i] * exact[j * d + j] + c * c) / n);
          EXPECT_NEAR(cov[i * d + j], c, 5 * se) << i << ", " << j;
        }
      }
    }
  }
}

}  // namespace
