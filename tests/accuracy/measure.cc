#include "tests/accuracy/measure.h"

#include <cmath>
#include <cstdio>
#include <limits>

namespace accuracy {
namespace {

// "0x1.8p+3 (12)": exact bits and a readable value.
template <class T>
std::string Show(T x) {
  char text[96];
  std::snprintf(text, sizeof text, "%a (%.*g)", static_cast<double>(x),
                std::numeric_limits<T>::max_digits10, static_cast<double>(x));
  return text;
}

}  // namespace

template <class T>
Expected<T> ExactExpectation(const FunctionRow& row, T a, mpfr_ptr x, mpfr_ptr y) {
  SetFromType(x, a);
  const int ternary = row.unary(y, x, MPFR_RNDN);
  return FromMpfr<T>(y, ternary);
}

template <class T>
std::vector<Expected<T>> ExactExpectations(const FunctionRow& row, const Inputs<T>& inputs) {
  mpfr_t x, z, y;
  // Inputs are exact at their own precision; only the result needs the working precision.
  mpfr_inits2(std::numeric_limits<T>::digits, x, z, static_cast<mpfr_ptr>(nullptr));
  mpfr_init2(y, kReferencePrecision);
  std::vector<Expected<T>> expected(inputs.size());
  for (size_t i = 0; i < inputs.size(); ++i) {
    if (row.arity() == 1) {
      expected[i] = ExactExpectation(row, inputs.a[i], x, y);
    } else {
      SetFromType(x, inputs.a[i]);
      SetFromType(z, inputs.b[i]);
      expected[i] = FromMpfr<T>(y, row.binary(y, x, z, MPFR_RNDN));
    }
  }
  mpfr_clears(x, z, y, static_cast<mpfr_ptr>(nullptr));
  return expected;
}

template <class T>
void ErrorStats<T>::Add(double ulps, T a, T b, T result, const Expected<T>& expected) {
  ++count;
  if (std::isinf(ulps)) ++mismatches;
  if (ulps > max_ulps) {
    max_ulps = ulps;
    worst_a = a;
    worst_b = b;
    worst_result = result;
    worst_expected = expected;
  }
}

template <class T>
void ErrorStats<T>::Merge(const ErrorStats& other) {
  const uint64_t total = count + other.count, wrong = mismatches + other.mismatches;
  if (other.max_ulps > max_ulps) *this = other;
  count = total;
  mismatches = wrong;
}

template <class T>
std::string ErrorStats<T>::Describe(bool binary) const {
  if (count == 0) return "no results";
  char head[64] = "a result that must match does not";
  if (!std::isinf(max_ulps)) std::snprintf(head, sizeof head, "%.4f ulp", max_ulps);
  std::string text = head;
  text += " at x = " + Show(worst_a);
  if (binary) text += ", y = " + Show(worst_b);
  text += ": got " + Show(worst_result) + ", expected " + Show(worst_expected.rounded);
  if (!worst_expected.must_match) {
    char offset[48];
    std::snprintf(offset, sizeof offset, " %+.4f ulp", worst_expected.offset);
    text += offset;
  }
  if (mismatches != 0) text += "; " + std::to_string(mismatches) + " results that must match do not";
  return text;
}

template <class T>
void Measure(const Inputs<T>& inputs, const std::vector<T>& results,
             const std::vector<Expected<T>>& expected, ErrorStats<T>* stats) {
  for (size_t i = 0; i < results.size(); ++i) {
    const T b = inputs.b.empty() ? T(0) : inputs.b[i];
    stats->Add(UlpError(results[i], expected[i]), inputs.a[i], b, results[i], expected[i]);
  }
}

#define QOR_ACCURACY_INSTANTIATE(T)                                                          \
  template Expected<T> ExactExpectation<T>(const FunctionRow&, T, mpfr_ptr, mpfr_ptr);      \
  template std::vector<Expected<T>> ExactExpectations<T>(const FunctionRow&,                \
                                                         const Inputs<T>&);                 \
  template struct ErrorStats<T>;                                                            \
  template void Measure<T>(const Inputs<T>&, const std::vector<T>&,                         \
                           const std::vector<Expected<T>>&, ErrorStats<T>*);
QOR_ACCURACY_INSTANTIATE(float)
QOR_ACCURACY_INSTANTIATE(double)
#undef QOR_ACCURACY_INSTANTIATE

}  // namespace accuracy
