// Lognormal variates: b + beta exp(x) for x normal with mean a and deviation sigma.
#include "distributions/frame.h"

namespace rof {
namespace dist {
namespace {

inline int Gaussian(int method, void* stream, int n, double* r, double a, double sigma) {
  return _rofdRngGaussian(method, stream, n, r, a, sigma);
}
inline int Gaussian(int method, void* stream, int n, float* r, float a, float sigma) {
  return _rofsRngGaussian(method, stream, n, r, a, sigma);
}

// Method word 0 draws by Box-Muller2, sharing its carried value with the Gaussian generator;
// any other word, the accurate form of 0 included, by the inverse CDF. The exponential runs in
// the caller's floating-point state and error mode, under the kernel mode alone.
template <class T>
int Lognormal(int method, void* stream, int n, T* r, T a, T sigma, T b, T beta) {
  const int gaussian = method == 0 ? ROF_GAUSSIAN_BOXMULLER2 : ROF_GAUSSIAN_ICDF;
  const int status = Gaussian(gaussian, stream, n, r, a, sigma);
  if (status < 0 || n < 1) return status;
  RunKernel(Kernel<T>::Exp(kBulkSlot<T>), n, r, r);
  for (int i = 0; i < n; ++i) r[i] = r[i] * beta + b;
  if (method & ROF_ACCURATE_BIT) RaiseTo(b, n, r);
  return status;
}

}  // namespace
}  // namespace dist
}  // namespace rof

extern "C" {

QOR_API int _rofsRngLognormal(int method, void* stream, int n, float r[], float a, float sigma,
                              float b, float beta) {
  return rof::dist::Lognormal(method, stream, n, r, a, sigma, b, beta);
}
QOR_API int _rofdRngLognormal(int method, void* stream, int n, double r[], double a,
                              double sigma, double b, double beta) {
  return rof::dist::Lognormal(method, stream, n, r, a, sigma, b, beta);
}

}  // extern "C"
