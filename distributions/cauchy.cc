// Cauchy variates: a + beta tan(x), x uniform between the nearest values to -pi/2 and pi/2.
// No error frame: the tangent of an angle inside (-pi/2, pi/2) cannot fail.
#include <stdint.h>
#include <string.h>

#include "distributions/frame.h"

namespace rof {
namespace dist {
namespace {

template <class T, class Bits>
T FromBits(Bits bits) {
  static_assert(sizeof(T) == sizeof(Bits));
  T value;
  memcpy(&value, &bits, sizeof value);
  return value;
}

// pi/2 rounded to nearest in each precision.
template <class T>
T HalfPi() {
  if constexpr (std::is_same_v<T, double>) return FromBits<double>(UINT64_C(0x3FF921FB54442D18));
  else return FromBits<float>(UINT32_C(0x3FC90FDB));
}

template <class T>
int Cauchy(void* stream, int n, T* r, T a, T beta) {
  const int status = Uniform(stream, n, r, -HalfPi<T>(), HalfPi<T>());
  if (status < 0 || n < 1) return status;
  RunKernel(Kernel<T>::Tan(kBulkSlot<T>), n, r, r);
  ScaleAndShift(n, r, a, beta);
  return status;
}

}  // namespace
}  // namespace dist
}  // namespace rof

extern "C" {

QOR_API int _rofsRngCauchy(int, void* stream, int n, float r[], float a, float beta) {
  return rof::dist::Cauchy(stream, n, r, a, beta);
}
QOR_API int _rofdRngCauchy(int, void* stream, int n, double r[], double a, double beta) {
  return rof::dist::Cauchy(stream, n, r, a, beta);
}

}  // extern "C"
