// Truncation of a real to an integer as the processor's cvtt instructions do it: a NaN or a
// value out of range gives the "integer indefinite" (the lowest value of the width).
#ifndef QOR_FITTING_TRUNCATE_H_
#define QOR_FITTING_TRUNCATE_H_

#include <emmintrin.h>
#include <stdint.h>

namespace df {

template <class I>
inline I Truncate(double v) {
  if constexpr (sizeof(I) == 8) return _mm_cvttsd_si64(_mm_set_sd(v));
  else return _mm_cvttsd_si32(_mm_set_sd(v));
}
template <class I>
inline I Truncate(float v) {
  if constexpr (sizeof(I) == 8) return _mm_cvttss_si64(_mm_set_ss(v));
  else return _mm_cvttss_si32(_mm_set_ss(v));
}

}  // namespace df

#endif  // QOR_FITTING_TRUNCATE_H_
