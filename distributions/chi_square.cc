// Chi-square variates with v degrees of freedom: sums of squared normals for v = 1 and 3,
// -2 ln of a product of v/2 uniforms for even v up to 16, and Gamma(v/2, 0, 2) otherwise.
#include "distributions/callbacks.h"
#include "distributions/frame.h"

namespace rof {
namespace dist {
namespace {

// Values drawn per batch.
inline constexpr int kBatch = 1024;
// Even degrees of freedom up to this go by products of uniforms.
inline constexpr int kMaxUniformProduct = 16;

inline int StandardNormals(void* stream, int n, double* r) {
  return _rofdRngGaussian(ROF_GAUSSIAN_ICDF, stream, n, r, 0, 1);
}
inline int StandardNormals(void* stream, int n, float* r) {
  return _rofsRngGaussian(ROF_GAUSSIAN_ICDF, stream, n, r, 0, 1);
}
inline int GammaOfHalf(void* stream, int n, double* r, int v) {
  return _rofdRngGamma(0, stream, n, r, static_cast<double>(v) / 2, 0, 2);
}
inline int GammaOfHalf(void* stream, int n, float* r, int v) {
  return _rofsRngGamma(0, stream, n, r, static_cast<float>(v) / 2, 0, 2);
}

// Results per batch when each takes `per_result` values.
inline int BatchOf(int left, int per_result) {
  return static_cast<long long>(left) * per_result >= kBatch ? kBatch / per_result : left;
}

// r[i] = the sum of `v` squared standard normals.
template <class T>
int SquaredNormals(void* stream, int n, T* r, int v) {
  T z[kBatch];
  int status = ROF_STATUS_OK;
  for (int i = 0; i < n; ++i) r[i] = T(0);
  for (int done = 0; done < n;) {
    const int m = BatchOf(n - done, v);
    status = StandardNormals(stream, m * v, z);
    if (status < 0) return status;
    for (int i = 0; i < m; ++i)
      for (int j = 0; j < v; ++j) r[done + i] += z[i * v + j] * z[i * v + j];
    done += m;
  }
  return status;
}

// r[i] = -2 ln of the product of h uniforms; the log runs in the EP slot in both precisions.
template <class T>
int UniformProducts(void* stream, int n, T* r, int h) {
  T u[kBatch];
  int status = ROF_STATUS_OK;
  for (int i = 0; i < n; ++i) r[i] = T(1);
  for (int done = 0; done < n;) {
    const int m = BatchOf(n - done, h);
    status = Uniform(stream, m * h, u, T(0), T(1));
    if (status < 0) return status;
    for (int i = 0; i < m; ++i)
      for (int j = 0; j < h; ++j) r[done + i] *= u[i * h + j];
    done += m;
  }
  if (n > 0) RunKernel(Kernel<T>::Ln(kEP), n, r, r);
  for (int i = 0; i < n; ++i) r[i] *= T(-2);
  return status;
}

template <class T>
int ChiSquare(void* stream, int n, T* r, int v) {
  GuardedFrame frame(Callbacks<T>::kLnSubstituteOnSingularity);
  int status;
  if (v == 1 || v == 3)
    status = SquaredNormals(stream, n, r, v);
  else if (v > kMaxUniformProduct || (v & 1))
    return GammaOfHalf(stream, n, r, v);
  else
    status = UniformProducts(stream, n, r, v / 2);
  // A failed batch leaves the generator's mode and callback in place: only a finished run
  // restores them.
  if (status < 0) frame.errors.Abandon();
  return status;
}

}  // namespace
}  // namespace dist
}  // namespace rof

extern "C" {

QOR_API int _rofsRngChiSquare(int /*method*/, void* stream, int n, float r[], int v) {
  return rof::dist::ChiSquare(stream, n, r, v);
}
QOR_API int _rofdRngChiSquare(int /*method*/, void* stream, int n, double r[], int v) {
  return rof::dist::ChiSquare(stream, n, r, v);
}

}  // extern "C"
