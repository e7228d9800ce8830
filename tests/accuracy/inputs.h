// Input sets for the accuracy runs: special and boundary values with their neighbours, uniform
// bit patterns over the whole format, uniform values in a range, and uniform bit patterns in a
// range (which spreads the inputs over its binades). Seeds are fixed by the callers.
#ifndef QOR_TESTS_ACCURACY_INPUTS_H_
#define QOR_TESTS_ACCURACY_INPUTS_H_

#include <cstdint>
#include <random>
#include <vector>

#include "tests/accuracy/function_table.h"

namespace accuracy {

template <class T>
struct Inputs {
  std::vector<T> a;
  std::vector<T> b;  // empty for functions of one input
  size_t size() const { return a.size(); }
};

// +-0, the extremes of the subnormals and normals, +-1, +-inf, quiet and signalling NaNs of
// both signs, the row's boundaries; every finite non-zero value also with both neighbours.
template <class T>
std::vector<T> SpecialValues(const FunctionRow& row);

// `count` values of the given kind, from `seed`.
template <class T>
std::vector<T> RandomBitPatterns(size_t count, uint64_t seed);
template <class T>
std::vector<T> UniformInRange(Range range, size_t count, uint64_t seed);
template <class T>
std::vector<T> BitPatternsInRange(Range range, size_t count, uint64_t seed);

// Functions of one input take `values` as they are. Functions of two take every pair of the
// special values, and other sets paired with a second set drawn from `seed` alike.
template <class T>
Inputs<T> SpecialInputs(const FunctionRow& row);
enum class Draw { kBitPatterns, kTypicalRange, kBitPatternsInRange };
template <class T>
Inputs<T> RandomInputs(const FunctionRow& row, Draw draw, size_t count, uint64_t seed);

}  // namespace accuracy

#endif  // QOR_TESTS_ACCURACY_INPUTS_H_
