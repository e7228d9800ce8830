// ln(1 + x): the pair 1 + x through the scalar core, the polynomial alone near 0.
#include "kernels/element_kernel.h"
#include "kernels/log_core.h"

namespace tem {

namespace {

struct Log1pFn {
  static constexpr bool kCanFail = true;
  static int Eval(double x, double* r) { return Log1pElement(x, r); }
  // -1 and below report; NaN is caught too.
  static bool MayReport(double x) { return !(x > -1.0); }
};
using Log1pSingle = ElementKernel<float, Log1pFn>;
using Log1pDouble = ElementKernel<double, Log1pFn>;

}  // namespace

}  // namespace tem

TEM_ENTRIES_A_R(s, Log1p, tem::Log1pSingle)
TEM_ENTRIES_A_R(d, Log1p, tem::Log1pDouble)
