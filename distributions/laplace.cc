// Laplace variates: a + beta ln u on one side of a or the other, as a second uniform v lies
// above 0.5 or not. Pairs (u, v) come in blocks of 1024 from the stream's uniforms in order.
#include "distributions/callbacks.h"
#include "distributions/frame.h"

namespace rof {
namespace dist {
namespace {

inline constexpr int kBlock = 1024;

// One block of `count` results into r from 2 * count uniforms.
template <class T>
int LaplaceBlock(void* stream, int count, T* r, T a, T beta, T* uniforms) {
  const int status = Uniform(stream, 2 * count, uniforms, T(0), T(1));
  if (status < 0) return status;
  // Even-indexed uniforms go to r, odd-indexed ones to the front of the buffer; the read of
  // index 2i + 1 stays ahead of the write of index i.
  for (int i = 0; i < count; ++i) {
    r[i] = uniforms[2 * i];
    uniforms[i] = uniforms[2 * i + 1];
  }
  RunKernel(Kernel<T>::Ln(kBulkSlot<T>), count, r, r);
  for (int i = 0; i < count; ++i) r[i] = r[i] * (uniforms[i] > T(0.5) ? beta : -beta) + a;
  return status;
}

template <class T>
int Laplace(void* stream, int n, T* r, T a, T beta) {
  GuardedFrame frame(Callbacks<T>::kLnSubstitute);
  T uniforms[2 * kBlock];
  const int blocks = n > 0 ? n / kBlock : 0;
  for (int b = 0; b < blocks; ++b) {
    const int status = LaplaceBlock(stream, kBlock, r + b * kBlock, a, beta, uniforms);
    if (status < 0) return status;
  }
  // The remainder block runs also when it is empty.
  const int rest = n > 0 ? n % kBlock : 0;
  return LaplaceBlock(stream, rest, r + blocks * kBlock, a, beta, uniforms);
}

}  // namespace
}  // namespace dist
}  // namespace rof

extern "C" {

QOR_API int _rofsRngLaplace(int, void* stream, int n, float r[], float a, float beta) {
  return rof::dist::Laplace(stream, n, r, a, beta);
}
QOR_API int _rofdRngLaplace(int, void* stream, int n, double r[], double a, double beta) {
  return rof::dist::Laplace(stream, n, r, a, beta);
}

}  // extern "C"
