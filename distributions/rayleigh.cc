// Rayleigh variates: a + beta sqrt(-ln u). The scale stands for that of the square root of an
// exponential, so no factor 2 enters the radius.
#include "distributions/callbacks.h"
#include "distributions/frame.h"
#include "distributions/radial.h"

namespace rof {
namespace dist {
namespace {

template <class T>
int Rayleigh(int method, void* stream, int n, T* r, T a, T beta) {
  GuardedFrame frame(Callbacks<T>::kLnSubstituteOnSingularity);
  const int status = NegatedLogOfUniforms(stream, n, r);
  if (status < 0 || n < 1) return status;
  RunKernel(Kernel<T>::Sqrt(kBulkSlot<T>), n, r, r);
  ScaleAndShiftAbove(method, n, r, a, beta);
  return status;
}

}  // namespace
}  // namespace dist
}  // namespace rof

extern "C" {

QOR_API int _rofsRngRayleigh(int method, void* stream, int n, float r[], float a, float beta) {
  return rof::dist::Rayleigh(method, stream, n, r, a, beta);
}
QOR_API int _rofdRngRayleigh(int method, void* stream, int n, double r[], double a,
                             double beta) {
  return rof::dist::Rayleigh(method, stream, n, r, a, beta);
}

}  // extern "C"
