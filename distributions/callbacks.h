// The error callbacks of the distribution generators. Each replaces a kernel's error result in
// both result fields of the record and returns 0, so that the kernel stores the replacement.
#ifndef QOR_DISTRIBUTIONS_CALLBACKS_H_
#define QOR_DISTRIBUTIONS_CALLBACKS_H_

#include "qor/tem.h"

namespace rof {
namespace dist {

// Always writes ln 2^-149 (single) or ln 2^-1074 (double).
int LnSubstituteSingle(temErrorContext* context);
int LnSubstituteDouble(temErrorContext* context);
// The same, for a singularity (code 2) only; other records are left alone.
int LnSubstituteOnSingularitySingle(temErrorContext* context);
int LnSubstituteOnSingularityDouble(temErrorContext* context);
// The Gaussian generators': a finite tail value for the inverse error function at +-1 and for
// the logarithm of 0 (see callbacks.cc).
int GaussianSubstituteSingle(temErrorContext* context);
int GaussianSubstituteDouble(temErrorContext* context);

template <class T>
struct Callbacks;
template <>
struct Callbacks<double> {
  static constexpr temErrorCallBack kLnSubstitute = LnSubstituteDouble;
  static constexpr temErrorCallBack kLnSubstituteOnSingularity = LnSubstituteOnSingularityDouble;
  static constexpr temErrorCallBack kGaussian = GaussianSubstituteDouble;
};
template <>
struct Callbacks<float> {
  static constexpr temErrorCallBack kLnSubstitute = LnSubstituteSingle;
  static constexpr temErrorCallBack kLnSubstituteOnSingularity = LnSubstituteOnSingularitySingle;
  static constexpr temErrorCallBack kGaussian = GaussianSubstituteSingle;
};

}  // namespace dist
}  // namespace rof

#endif  // QOR_DISTRIBUTIONS_CALLBACKS_H_
