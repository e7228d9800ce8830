// The step Rayleigh and Weibull share: -ln u of the stream's uniforms.
#ifndef QOR_DISTRIBUTIONS_RADIAL_H_
#define QOR_DISTRIBUTIONS_RADIAL_H_

#include "distributions/frame.h"

namespace rof {
namespace dist {

// r = -ln u for n uniforms u on [0, 1), the sign flipped bit-wise (so ln 1 = 0 gives -0).
template <class T>
int NegatedLogOfUniforms(void* stream, int n, T* r) {
  const int status = Uniform(stream, n, r, T(0), T(1));
  if (status < 0 || n < 1) return status;
  RunKernel(Kernel<T>::Ln(kBulkSlot<T>), n, r, r);
  for (int i = 0; i < n; ++i) r[i] = -r[i];
  return status;
}

}  // namespace dist
}  // namespace rof

#endif  // QOR_DISTRIBUTIONS_RADIAL_H_
