// Kernel calls of the rejection generators: one-off evaluations of a set-up constant or of a
// rare acceptance test (HA slot, one element), and in-place bulk passes over an array.
#ifndef QOR_DISTRIBUTIONS_KERNEL_CALLS_H_
#define QOR_DISTRIBUTIONS_KERNEL_CALLS_H_

#include "distributions/frame.h"

namespace rof {
namespace dist {

template <class T>
T ScalarLn(T x) {
  RunKernel(Kernel<T>::Ln(kHA), 1, &x, &x);
  return x;
}
template <class T>
T ScalarExp(T x) {
  RunKernel(Kernel<T>::Exp(kHA), 1, &x, &x);
  return x;
}
template <class T>
T ScalarSqrt(T x) {
  RunKernel(Kernel<T>::Sqrt(kHA), 1, &x, &x);
  return x;
}

// ln and exp in place over x[0 .. n) in the bulk slot of the precision; nothing for n < 1.
template <class T>
void BulkLn(int n, T* x) {
  if (n > 0) RunKernel(Kernel<T>::Ln(kBulkSlot<T>), n, x, x);
}
template <class T>
void BulkExp(int n, T* x) {
  if (n > 0) RunKernel(Kernel<T>::Exp(kBulkSlot<T>), n, x, x);
}

}  // namespace dist
}  // namespace rof

#endif  // QOR_DISTRIBUTIONS_KERNEL_CALLS_H_
