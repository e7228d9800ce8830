// Exact expectations from MPFR, and the largest error over a run with the input that gave it.
#ifndef QOR_TESTS_ACCURACY_MEASURE_H_
#define QOR_TESTS_ACCURACY_MEASURE_H_

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "tests/accuracy/function_table.h"
#include "tests/accuracy/inputs.h"
#include "tests/accuracy/ulp.h"

namespace accuracy {

// Working precision of the references: rounding them again to T is correct but for ties a
// 2^-75 ulp away.
constexpr mpfr_prec_t kReferencePrecision = 128;

// The expectation for one input of a function of one argument, in scratch variables x and y.
template <class T>
Expected<T> ExactExpectation(const FunctionRow& row, T a, mpfr_ptr x, mpfr_ptr y) {
  SetFromType(x, a);
  return FromMpfr<T>(y, row.unary(y, x, MPFR_RNDN));
}

// The expectation for each input, from the row's MPFR reference.
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

// "0x1.8p+3 (12)": exact bits and a readable value.
template <class T>
std::string Show(T x) {
  char text[96];
  std::snprintf(text, sizeof text, "%a (%.*g)", static_cast<double>(x),
                std::numeric_limits<T>::max_digits10, static_cast<double>(x));
  return text;
}

// Results, results that had to match and did not, and the largest error (+inf after a mismatch,
// -1 before the first result) with the input that gave it.
template <class T>
struct ErrorStats {
  uint64_t count = 0, mismatches = 0;
  double max_ulps = -1;
  T worst_a{}, worst_b{}, worst_result{};
  Expected<T> worst_expected{};

  void Add(double ulps, T a, T b, T result, const Expected<T>& expected) {
    ++count;
    if (std::isinf(ulps)) ++mismatches;
    if (ulps > max_ulps) *this = {count, mismatches, ulps, a, b, result, expected};
  }
  void Merge(const ErrorStats& other) {
    const uint64_t total = count + other.count, wrong = mismatches + other.mismatches;
    if (other.max_ulps > max_ulps) *this = other;
    count = total, mismatches = wrong;
  }
  bool Passed() const { return mismatches == 0 && max_ulps < 1.0; }

  // "0.5123 ulp at x = 0x1.2p+3 (9): got ..., expected ... +0.1 ulp"; `binary` shows y too.
  std::string Describe(bool binary) const {
    if (count == 0) return "no results";
    char head[64] = "a result that must match does not", offset[48] = "";
    if (!std::isinf(max_ulps)) std::snprintf(head, sizeof head, "%.4f ulp", max_ulps);
    if (!worst_expected.must_match)
      std::snprintf(offset, sizeof offset, " %+.4f ulp", worst_expected.offset);
    return head + (" at x = " + Show(worst_a)) + (binary ? ", y = " + Show(worst_b) : "") +
           ": got " + Show(worst_result) + ", expected " + Show(worst_expected.rounded) + offset +
           (mismatches ? "; " + std::to_string(mismatches) + " results that must match do not"
                       : "");
  }
};

// Adds every result to `stats`.
template <class T>
void Measure(const Inputs<T>& inputs, const std::vector<T>& results,
             const std::vector<Expected<T>>& expected, ErrorStats<T>* stats) {
  for (size_t i = 0; i < results.size(); ++i) {
    const T b = inputs.b.empty() ? T(0) : inputs.b[i];
    stats->Add(UlpError(results[i], expected[i]), inputs.a[i], b, results[i], expected[i]);
  }
}

}  // namespace accuracy

#endif  // QOR_TESTS_ACCURACY_MEASURE_H_
