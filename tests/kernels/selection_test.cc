// The selection functions and Abs on special and sampled pairs against plain scalar rules.
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "tests/kernels/special_cases.h"

namespace {

using exact::Same;

// The larger (or smaller) by the keys, ties broken by the values; one NaN gives the other
// input, two NaNs the second.
template <class T>
T Select(T a, T b, T ka, T kb, bool larger) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) ? b : a;
  if (ka != kb) return (ka > kb) == larger ? a : b;
  return larger ? (a > b ? a : b) : (a < b ? a : b);
}

template <class T>
struct Row {
  const char* name;
  void (*contiguous)(int, const T*, const T*, T*);
  void (*strided)(int, const T*, int, const T*, int, T*, int);
  T (*want)(T, T);
};

#define QOR_ROW(t, T, stem, expression) \
  {#stem, _tem##t##stem, _tem##t##stem##I, [](T a, T b) -> T { return expression; }}
#define QOR_ROWS(t, T)                                                                    \
  QOR_ROW(t, T, Fmax, Select(a, b, a, b, true)), QOR_ROW(t, T, Fmin, Select(a, b, a, b, false)), \
      QOR_ROW(t, T, MaxMag, Select(a, b, std::fabs(a), std::fabs(b), true)),              \
      QOR_ROW(t, T, MinMag, Select(a, b, std::fabs(a), std::fabs(b), false)),             \
      QOR_ROW(t, T, Fdim, std::fdim(a, b)), QOR_ROW(t, T, CopySign, std::copysign(a, b)), \
      QOR_ROW(t, T, NextAfter, static_cast<T>(std::nextafter(a, b))),                    \
      {"Abs", special_cases::IgnoreB<T, _tem##t##Abs>,                                     \
       special_cases::IgnoreBStrided<T, _tem##t##AbsI>, [](T a, T) { return std::fabs(a); }}
const Row<float> kSingleRows[] = {QOR_ROWS(s, float)};
const Row<double> kDoubleRows[] = {QOR_ROWS(d, double)};

template <class T, size_t kRows>
void CheckPairs(const Row<T> (&rows)[kRows]) {
  using L = std::numeric_limits<T>;
  const T specials[] = {T(0),          -T(0),           T(1),          T(-1),      T(2),
                        T(-3.5),       L::infinity(),   -L::infinity(), L::quiet_NaN(),
                        -L::quiet_NaN(), L::denorm_min(), -L::denorm_min(), L::min(),
                        -L::min(),     L::max(),        -L::max(),      T(1.5),     T(-1.5)};
  std::vector<T> a, b;
  for (T x : specials) {
    for (T y : specials) a.push_back(x), b.push_back(y);
  }
  std::mt19937_64 rng(3);
  for (int i = 0; i < 20000; ++i) {
    a.push_back(exact::FromBits<T>(static_cast<exact::BitsOf<T>>(rng())));
    b.push_back(i % 3 ? exact::FromBits<T>(static_cast<exact::BitsOf<T>>(rng())) : -a.back());
  }
  const int n = static_cast<int>(a.size());
  for (const Row<T>& row : rows) {
    std::vector<T> r(n), rs(2 * n);
    row.contiguous(n, a.data(), b.data(), r.data());
    row.strided(n, a.data() + n - 1, -1, b.data() + n - 1, -1, rs.data(), 2);
    // CopySign and Abs move bits only: a NaN keeps its payload, a signalling one stays so.
    const bool bits_only = std::string(row.name) == "CopySign" || std::string(row.name) == "Abs";
    for (int i = 0; i < n; ++i) {
      const T want = row.want(a[i], b[i]);
      ASSERT_TRUE(Same(r[i], want)) << row.name << std::hexfloat << " " << a[i] << " " << b[i]
                                    << " got " << r[i] << " want " << want;
      const int j = n - 1 - i;
      ASSERT_TRUE(Same(rs[2 * i], row.want(a[j], b[j]))) << row.name << " strided " << j;
      if (bits_only) {
        ASSERT_EQ(exact::Bits(r[i]), exact::Bits(want)) << row.name << std::hexfloat << " " << a[i];
      } else if (std::isnan(want)) {
        ASSERT_TRUE(exact::Bits(r[i]) &
                    (exact::Bits(T(L::quiet_NaN())) & ~exact::Bits(T(L::infinity()))))
            << row.name << ": NaN results are quiet " << std::hexfloat << a[i] << " " << b[i];
      }
    }
  }
}

TEST(SelectionTest, SpecialAndSampledPairsInBothTypes) {
  CheckPairs(kSingleRows);
  CheckPairs(kDoubleRows);
}

}  // namespace
