// 1/sqrt of an array through the InvSqrt kernels' tables: bulk double work in slot 2, bulk
// single work in slot 0, under mode 0x140000, the caller's mode put back afterwards.
#ifndef QOR_STATISTICS_RECIPROCAL_ROOTS_H_
#define QOR_STATISTICS_RECIPROCAL_ROOTS_H_

#include "frame/kernel_frame.h"
#include "qor/tem.h"

namespace rof {
namespace ss {

inline void ReciprocalRoots(int n, const double* a, double* r) {
  const unsigned int mode = qor_tem_kernel_SetMode(TEM_FTZDAZ_OFF);
  tem::Slot<decltype(&tem_kernel_dInvSqrt)>(tem_ttab_dInvSqrt, 2)(n, a, r);
  qor_tem_kernel_SetMode(mode);
}
inline void ReciprocalRoots(int n, const float* a, float* r) {
  const unsigned int mode = qor_tem_kernel_SetMode(TEM_FTZDAZ_OFF);
  tem::Slot<decltype(&tem_kernel_sInvSqrt)>(tem_ttab_sInvSqrt, 0)(n, a, r);
  qor_tem_kernel_SetMode(mode);
}

}  // namespace ss
}  // namespace rof

#endif  // QOR_STATISTICS_RECIPROCAL_ROOTS_H_
