#include "distributions/callbacks.h"

#include "distributions/frame.h"

namespace rof {
namespace dist {
namespace {

// The largest |x| the inverse-CDF Gaussian gives for a uniform strictly inside (-1, 1), with
// the sign of the argument: what ErfInv(+-1) becomes.
template <class T>
inline constexpr double kGaussianTail = std::is_same_v<T, double> ? 5.8635847487551676
                                                                  : 3.8325068950653076;

void Replace(temErrorContext* context, double value) {
  context->Res1 = value;
  context->Res2 = value;
}

template <class T>
int LnSubstitute(temErrorContext* context) {
  Replace(context, kLnOfZero<T>);
  return 0;
}

template <class T>
int LnSubstituteOnSingularity(temErrorContext* context) {
  if (context->Code == TEM_STATUS_SING) Replace(context, kLnOfZero<T>);
  return 0;
}

// Code 1 is ErfInv outside (-1, 1) or at its ends; code 2 is ErfInv at +-1 or the logarithm of
// 0, told apart by the argument.
template <class T>
int GaussianSubstitute(temErrorContext* context) {
  const double tail = context->Arg1 < 0 ? -kGaussianTail<T> : kGaussianTail<T>;
  if (context->Code == TEM_STATUS_ERRDOM) {
    Replace(context, tail);
  } else if (context->Code == TEM_STATUS_SING) {
    Replace(context, context->Arg1 == 0 ? static_cast<double>(kLnOfZero<T>) : tail);
  }
  return 0;
}

}  // namespace

int LnSubstituteSingle(temErrorContext* context) { return LnSubstitute<float>(context); }
int LnSubstituteDouble(temErrorContext* context) { return LnSubstitute<double>(context); }
int LnSubstituteOnSingularitySingle(temErrorContext* context) {
  return LnSubstituteOnSingularity<float>(context);
}
int LnSubstituteOnSingularityDouble(temErrorContext* context) {
  return LnSubstituteOnSingularity<double>(context);
}
int GaussianSubstituteSingle(temErrorContext* context) {
  return GaussianSubstitute<float>(context);
}
int GaussianSubstituteDouble(temErrorContext* context) {
  return GaussianSubstitute<double>(context);
}

}  // namespace dist
}  // namespace rof
