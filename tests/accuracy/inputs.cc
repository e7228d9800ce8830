#include "tests/accuracy/inputs.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

namespace accuracy {
namespace {

template <class T>
using Bits = std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>;

template <class T>
T FromBits(Bits<T> bits) {
  T x;
  std::memcpy(&x, &bits, sizeof x);
  return x;
}

template <class T>
Bits<T> ToBits(T x) {
  Bits<T> bits;
  std::memcpy(&bits, &x, sizeof x);
  return bits;
}

// A signed integer that orders finite values as the reals do: -0 and +0 both map to 0.
template <class T>
int64_t Ordinal(T x) {
  constexpr Bits<T> kSign = Bits<T>(1) << (8 * sizeof(T) - 1);
  const Bits<T> bits = ToBits(x);
  const int64_t magnitude = static_cast<int64_t>(bits & ~kSign);
  return (bits & kSign) ? -magnitude : magnitude;
}

template <class T>
T FromOrdinal(int64_t ordinal) {
  constexpr Bits<T> kSign = Bits<T>(1) << (8 * sizeof(T) - 1);
  return ordinal < 0 ? FromBits<T>(static_cast<Bits<T>>(-ordinal) | kSign)
                     : FromBits<T>(static_cast<Bits<T>>(ordinal));
}

}  // namespace

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

template <class T>
std::vector<T> RandomBitPatterns(size_t count, uint64_t seed) {
  std::mt19937_64 engine(seed);
  std::vector<T> values(count);
  for (T& x : values) x = FromBits<T>(static_cast<Bits<T>>(engine()));
  return values;
}

template <class T>
std::vector<T> UniformInRange(Range range, size_t count, uint64_t seed) {
  std::mt19937_64 engine(seed);
  std::uniform_real_distribution<double> uniform(range.lo, range.hi);
  std::vector<T> values(count);
  for (T& x : values) x = static_cast<T>(uniform(engine));
  return values;
}

template <class T>
std::vector<T> BitPatternsInRange(Range range, size_t count, uint64_t seed) {
  std::mt19937_64 engine(seed);
  std::uniform_int_distribution<int64_t> uniform(Ordinal(static_cast<T>(range.lo)),
                                                 Ordinal(static_cast<T>(range.hi)));
  std::vector<T> values(count);
  for (T& x : values) x = FromOrdinal<T>(uniform(engine));
  return values;
}

template <class T>
Inputs<T> SpecialInputs(const FunctionRow& row) {
  const std::vector<T> values = SpecialValues<T>(row);
  if (row.arity() == 1) return {values, {}};
  Inputs<T> pairs;
  for (T x : values) {
    for (T y : values) {
      pairs.a.push_back(x);
      pairs.b.push_back(y);
    }
  }
  return pairs;
}

template <class T>
Inputs<T> RandomInputs(const FunctionRow& row, Draw draw, size_t count, uint64_t seed) {
  auto values = [&](uint64_t s) {
    switch (draw) {
      case Draw::kBitPatterns: return RandomBitPatterns<T>(count, s);
      case Draw::kTypicalRange: return UniformInRange<T>(row.typical, count, s);
      case Draw::kBitPatternsInRange: return BitPatternsInRange<T>(row.typical, count, s);
    }
    return std::vector<T>();
  };
  Inputs<T> inputs{values(seed), {}};
  if (row.arity() == 2) inputs.b = values(seed ^ 0x9E3779B97F4A7C15u);
  return inputs;
}

#define QOR_ACCURACY_INSTANTIATE(T)                                                         \
  template std::vector<T> SpecialValues<T>(const FunctionRow&);                            \
  template std::vector<T> RandomBitPatterns<T>(size_t, uint64_t);                          \
  template std::vector<T> UniformInRange<T>(Range, size_t, uint64_t);                      \
  template std::vector<T> BitPatternsInRange<T>(Range, size_t, uint64_t);                  \
  template Inputs<T> SpecialInputs<T>(const FunctionRow&);                                 \
  template Inputs<T> RandomInputs<T>(const FunctionRow&, Draw, size_t, uint64_t);
QOR_ACCURACY_INSTANTIATE(float)
QOR_ACCURACY_INSTANTIATE(double)
#undef QOR_ACCURACY_INSTANTIATE

}  // namespace accuracy
