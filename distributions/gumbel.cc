// Gumbel (minimum) variates: a + beta ln E for E standard exponential.
#include "distributions/callbacks.h"
#include "distributions/frame.h"

namespace rof {
namespace dist {
namespace {

// The standard exponential of the same precision, method 0 whatever the caller asked.
inline int StandardExponential(void* stream, int n, double* r) {
  return _rofdRngExponential(0, stream, n, r, 0.0, 1.0);
}
inline int StandardExponential(void* stream, int n, float* r) {
  return _rofsRngExponential(0, stream, n, r, 0.0f, 1.0f);
}

template <class T>
int Gumbel(void* stream, int n, T* r, T a, T beta) {
  GuardedFrame frame(Callbacks<T>::kLnSubstitute);
  const int status = StandardExponential(stream, n, r);
  if (status < 0 || n < 1) return status;
  RunKernel(Kernel<T>::Ln(kBulkSlot<T>), n, r, r);
  ScaleAndShift(n, r, a, beta);
  return status;
}

}  // namespace
}  // namespace dist
}  // namespace rof

extern "C" {

QOR_API int _rofsRngGumbel(int, void* stream, int n, float r[], float a, float beta) {
  return rof::dist::Gumbel(stream, n, r, a, beta);
}
QOR_API int _rofdRngGumbel(int, void* stream, int n, double r[], double a, double beta) {
  return rof::dist::Gumbel(stream, n, r, a, beta);
}

}  // extern "C"
