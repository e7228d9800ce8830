// Weibull variates: a + beta (-ln u)^(1/alpha). An alpha of exactly 1 skips the power kernel.
#include "distributions/callbacks.h"
#include "distributions/frame.h"
#include "distributions/radial.h"

namespace rof {
namespace dist {
namespace {

template <class T>
int Weibull(int method, void* stream, int n, T* r, T alpha, T a, T beta) {
  GuardedFrame frame(Callbacks<T>::kLnSubstituteOnSingularity);
  const int status = NegatedLogOfUniforms(stream, n, r);
  if (status < 0 || n < 1) return status;
  // A NaN alpha is not 1 and goes through the power kernel.
  if (!(alpha == T(1))) RunKernel(Kernel<T>::Powx(kBulkSlot<T>), n, r, T(1) / alpha, r);
  ScaleAndShiftAbove(method, n, r, a, beta);
  return status;
}

}  // namespace
}  // namespace dist
}  // namespace rof

extern "C" {

QOR_API int _rofsRngWeibull(int method, void* stream, int n, float r[], float alpha, float a,
                            float beta) {
  return rof::dist::Weibull(method, stream, n, r, alpha, a, beta);
}
QOR_API int _rofdRngWeibull(int method, void* stream, int n, double r[], double alpha, double a,
                            double beta) {
  return rof::dist::Weibull(method, stream, n, r, alpha, a, beta);
}

}  // extern "C"
