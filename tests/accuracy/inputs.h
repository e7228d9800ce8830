// Input sets: special and boundary values with their neighbours, bit patterns, uniform values in
// a range and bit patterns in it.
#ifndef QOR_TESTS_ACCURACY_INPUTS_H_
#define QOR_TESTS_ACCURACY_INPUTS_H_

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

#include "tests/accuracy/function_table.h"

namespace accuracy {

template <class T>
struct Inputs {  // b is empty for functions of one input
  std::vector<T> a, b;
  size_t size() const { return a.size(); }
};

template <class T>
using Bits = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;

// A signed integer that orders finite values as the reals do (-0 and +0 both 0), and back.
template <class T>
int64_t Ordinal(T x) {
  const int64_t magnitude = int64_t(std::bit_cast<Bits<T>>(std::fabs(x)));
  return std::signbit(x) ? -magnitude : magnitude;
}
template <class T>
T FromOrdinal(int64_t ordinal) {
  const T x = std::bit_cast<T>(Bits<T>(ordinal < 0 ? -ordinal : ordinal));
  return ordinal < 0 ? -x : x;
}

// +-0, the extremes of the subnormals and normals, +-1, +-inf, quiet and signalling NaNs of
// both signs, the row's boundaries; every finite non-zero value also with both neighbours.
template <class T>
std::vector<T> SpecialValues(const FunctionRow& row) {
  using L = std::numeric_limits<T>;
  std::vector<T> centres = {L::denorm_min(), L::min() - L::denorm_min(), L::min(), T(0.5),
                            T(1), T(2), L::max()};
  for (double b : row.boundaries) centres.push_back(std::fabs(static_cast<T>(b)));
  std::vector<T> values = {T(0), T(-0.0), L::infinity(), -L::infinity(), L::quiet_NaN(),
                           -L::quiet_NaN(), L::signaling_NaN(), -L::signaling_NaN()};
  for (T c : centres) {
    for (T x : {c, -c}) {
      values.push_back(x);
      if (x != 0 && std::isfinite(x)) {
        values.push_back(std::nextafter(x, -L::infinity()));
        values.push_back(std::nextafter(x, L::infinity()));
      }
    }
  }
  return values;
}

// Functions of one input take the special values as they are; functions of two every pair.
template <class T>
Inputs<T> SpecialInputs(const FunctionRow& row) {
  const std::vector<T> values = SpecialValues<T>(row);
  if (row.arity() == 1) return {values, {}};
  Inputs<T> pairs;
  for (T x : values)
    for (T y : values) pairs.a.push_back(x), pairs.b.push_back(y);
  return pairs;
}

enum class Draw { kBitPatterns, kTypicalRange, kBitPatternsInRange, kOwn };

// The draws of a row: the three of every row, and its own if it has one.
inline std::vector<Draw> DrawsOf(const FunctionRow& row) {
  std::vector<Draw> draws = {Draw::kBitPatterns, Draw::kTypicalRange, Draw::kBitPatternsInRange};
  if (row.own_draw != nullptr) draws.push_back(Draw::kOwn);
  return draws;
}

// `count` values of the given kind from `seed`; functions of two take a second set drawn alike.
template <class T>
Inputs<T> RandomInputs(const FunctionRow& row, Draw draw, size_t count, uint64_t seed) {
  auto values = [&](uint64_t s) {
    std::mt19937_64 engine(s);
    std::uniform_real_distribution<double> uniform(row.typical.lo, row.typical.hi);
    std::uniform_int_distribution<int64_t> ordinal(Ordinal(static_cast<T>(row.typical.lo)),
                                                   Ordinal(static_cast<T>(row.typical.hi)));
    std::vector<T> v(count);
    for (T& x : v) {
      if (draw == Draw::kBitPatterns) x = std::bit_cast<T>(Bits<T>(engine()));
      else if (draw == Draw::kTypicalRange) x = T(uniform(engine));
      else x = FromOrdinal<T>(ordinal(engine));
    }
    return v;
  };
  if (draw == Draw::kOwn) {
    std::mt19937_64 engine(seed);
    Inputs<T> pairs;
    for (size_t i = 0; i < count; ++i) {
      double a, b;
      row.own_draw(engine, sizeof(T) == 4, a, b);
      pairs.a.push_back(static_cast<T>(a));
      pairs.b.push_back(static_cast<T>(b));
    }
    return pairs;
  }
  Inputs<T> inputs{values(seed), {}};
  if (row.arity() == 2) inputs.b = values(seed ^ 0x9E3779B97F4A7C15u);
  return inputs;
}

}  // namespace accuracy

#endif  // QOR_TESTS_ACCURACY_INPUTS_H_
