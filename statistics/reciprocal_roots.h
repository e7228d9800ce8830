// 1/sqrt of an array.
#ifndef QOR_STATISTICS_RECIPROCAL_ROOTS_H_
#define QOR_STATISTICS_RECIPROCAL_ROOTS_H_

#include <math.h>

namespace rof {
namespace ss {

template <class T>
void ReciprocalRoots(int n, const T* a, T* r) {
  for (int i = 0; i < n; ++i) r[i] = T(1) / sqrt(a[i]);
}

}  // namespace ss
}  // namespace rof

#endif  // QOR_STATISTICS_RECIPROCAL_ROOTS_H_
