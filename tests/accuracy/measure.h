// Exact expectations from MPFR, and the largest error over a run with the input that gave it.
#ifndef QOR_TESTS_ACCURACY_MEASURE_H_
#define QOR_TESTS_ACCURACY_MEASURE_H_

#include <cstdint>
#include <string>
#include <vector>

#include "tests/accuracy/function_table.h"
#include "tests/accuracy/inputs.h"
#include "tests/accuracy/ulp.h"

namespace accuracy {

// Working precision of the references: far above double, so that the offset from the rounded
// result is exact to many bits and rounding the reference again to T is correct rounding but
// for ties a 2^-75 ulp away.
constexpr mpfr_prec_t kReferencePrecision = 128;

// The expectation for each input, from the row's MPFR reference.
template <class T>
std::vector<Expected<T>> ExactExpectations(const FunctionRow& row, const Inputs<T>& inputs);
// The same for one input of a function of one argument (scratch variables supplied).
template <class T>
Expected<T> ExactExpectation(const FunctionRow& row, T a, mpfr_ptr x, mpfr_ptr y);

template <class T>
struct ErrorStats {
  uint64_t count = 0;
  uint64_t mismatches = 0;  // results that had to be exact and were not
  double max_ulps = -1;     // +inf after a mismatch; -1 before the first result
  T worst_a{}, worst_b{}, worst_result{};
  Expected<T> worst_expected{};

  void Add(double ulps, T a, T b, T result, const Expected<T>& expected);
  void Merge(const ErrorStats& other);
  bool Passed() const { return mismatches == 0 && max_ulps < 1.0; }
  // "0.5123 ulp at x = 0x1.2p+3 (9): got ..., expected ..."; `binary` prints both inputs.
  std::string Describe(bool binary) const;
};

// Adds every result to `stats`; `inputs.b` may be empty.
template <class T>
void Measure(const Inputs<T>& inputs, const std::vector<T>& results,
             const std::vector<Expected<T>>& expected, ErrorStats<T>* stats);

}  // namespace accuracy

#endif  // QOR_TESTS_ACCURACY_MEASURE_H_
