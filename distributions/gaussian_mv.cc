// Correlated normal vectors: standard normals multiplied by a triangular factor of the
// covariance (full, packed or diagonal), then shifted by the mean vector.
#include "qor/core_blas.h"
#include "qor/rof.h"

namespace rof {
namespace dist {
namespace {

// Small factors run in the library's own loops, where a call's set-up weighs most; larger ones
// go to the system BLAS, which an optimised BLAS blocks for the cache.
inline constexpr int kLargestSmallOrder = 10;

template <class T>
struct Multiplies;
template <>
struct Multiplies<double> {
  static constexpr auto kSmall = qor_blas_xdtrmm_4tem;
  static constexpr auto kLarge = qor_blas4tem_dtrmm;
  static constexpr auto kPacked = qor_blas4tem_dptrmm;
};
template <>
struct Multiplies<float> {
  static constexpr auto kSmall = qor_blas_xstrmm_4tem;
  static constexpr auto kLarge = qor_blas4tem_strmm;
  static constexpr auto kPacked = qor_blas4tem_sptrmm;
};

inline int Gaussian(int method, void* stream, int n, double* r, double a, double sigma) {
  return _rofdRngGaussian(method, stream, n, r, a, sigma);
}
inline int Gaussian(int method, void* stream, int n, float* r, float a, float sigma) {
  return _rofsRngGaussian(method, stream, n, r, a, sigma);
}

// r holds n vectors of dimen values, one after the other: a dimen x n column-major matrix to
// the multiplies. Full t is read as the upper triangle of a column-major array, transposed: the
// lower factor L of the covariance L L'. Packed t is the lower triangle, packed by columns.
template <class T>
int GaussianMV(int method, void* stream, int n, T* r, int dimen, int mstorage, const T* a,
               const T* t) {
  if (dimen == 1) return Gaussian(method, stream, n, r, a[0], t[0]);
  const int status = Gaussian(method, stream, n * dimen, r, T(0), T(1));
  if (status < 0) return status;
  const T one = 1;
  switch (mstorage) {
    case ROF_MATRIX_FULL: {
      const auto multiply =
          dimen <= kLargestSmallOrder ? Multiplies<T>::kSmall : Multiplies<T>::kLarge;
      multiply("L", "U", "T", "N", &dimen, &n, &one, t, &dimen, r, &dimen);
      break;
    }
    case ROF_MATRIX_PACKED:
      Multiplies<T>::kPacked("L", "L", "N", "N", &dimen, &n, &one, t, r, &dimen);
      break;
    case ROF_MATRIX_DIAGONAL:
      for (int i = 0; i < n; ++i)
        for (int j = 0; j < dimen; ++j) r[i * dimen + j] = t[j] * r[i * dimen + j] + a[j];
      return status;
    default:  // an unknown storage leaves the standard normals
      return status;
  }
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < dimen; ++j) r[i * dimen + j] += a[j];
  return status;
}

}  // namespace
}  // namespace dist
}  // namespace rof

extern "C" {

QOR_API int _rofsRngGaussianMV(int method, void* stream, int n, float r[], int dimen,
                               int mstorage, const float a[], const float t[]) {
  return rof::dist::GaussianMV(method, stream, n, r, dimen, mstorage, a, t);
}
QOR_API int _rofdRngGaussianMV(int method, void* stream, int n, double r[], int dimen,
                               int mstorage, const double a[], const double t[]) {
  return rof::dist::GaussianMV(method, stream, n, r, dimen, mstorage, a, t);
}

}  // extern "C"
