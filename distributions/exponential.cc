// Exponential variates: a - beta ln u, with ln 0 replaced by ln of the smallest subnormal.
#include "distributions/callbacks.h"
#include "distributions/frame.h"

namespace rof {
namespace dist {
namespace {

template <class T>
int Exponential(int method, void* stream, int n, T* r, T a, T beta) {
  GuardedFrame frame(Callbacks<T>::kLnSubstitute);
  const int status = Uniform(stream, n, r, T(0), T(1));
  if (status < 0 || n < 1) return status;
  RunKernel(Kernel<T>::Ln(kBulkSlot<T>), n, r, r);
  for (int i = 0; i < n; ++i) r[i] = a - r[i] * beta;
  if (method & ROF_ACCURATE_BIT) RaiseTo(a, n, r);
  return status;
}

}  // namespace
}  // namespace dist
}  // namespace rof

extern "C" {

QOR_API int _rofsRngExponential(int method, void* stream, int n, float r[], float a,
                                float beta) {
  return rof::dist::Exponential(method, stream, n, r, a, beta);
}
QOR_API int _rofdRngExponential(int method, void* stream, int n, double r[], double a,
                                double beta) {
  return rof::dist::Exponential(method, stream, n, r, a, beta);
}

}  // extern "C"
