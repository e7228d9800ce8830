// Fmax, Fmin, MaxMag, MinMag, Fdim, CopySign and NextAfter over all pairs of special values and
// sampled pairs, contiguous and strided, against the rules written out in plain scalar code
// (and the C library's copysign and nextafter); NextAfter's statuses: special values.
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "qor/tem.h"
#include "tests/kernels/exact_support.h"

namespace {

using exact::Same;

// One NaN gives the other input, two NaNs the second.
template <class T>
T NaNRule(T a, T b, T r) {
  if (std::isnan(b)) r = a;
  if (std::isnan(a)) r = b;
  return r;
}

template <class T>
struct Row {
  const char* name;
  void (*contiguous)(int, const T*, const T*, T*);
  void (*strided)(int, const T*, int, const T*, int, T*, int);
  T (*want)(T, T);
};

template <class T>
std::vector<Row<T>> Rows();

#define ROWS_OF(t, T)                                                       \
  template <>                                                               \
  std::vector<Row<T>> Rows<T>() {                                           \
    return {                                                                \
        {"Fmax", _tem##t##Fmax, _tem##t##FmaxI,                             \
         [](T a, T b) { return NaNRule(a, b, a > b ? a : b); }},            \
        {"Fmin", _tem##t##Fmin, _tem##t##FminI,                             \
         [](T a, T b) { return NaNRule(a, b, a < b ? a : b); }},            \
        {"MaxMag", _tem##t##MaxMag, _tem##t##MaxMagI,                       \
         [](T a, T b) {                                                     \
           const T ma = std::fabs(a), mb = std::fabs(b);                    \
           return NaNRule(a, b, ma > mb ? a : ma < mb ? b : a > b ? a : b); \
         }},                                                                \
        {"MinMag", _tem##t##MinMag, _tem##t##MinMagI,                       \
         [](T a, T b) {                                                     \
           const T ma = std::fabs(a), mb = std::fabs(b);                    \
           return NaNRule(a, b, ma < mb ? a : ma > mb ? b : a < b ? a : b); \
         }},                                                                \
        {"Fdim", _tem##t##Fdim, _tem##t##FdimI,                             \
         [](T a, T b) {                                                     \
           T r = a > b ? a - b : T(0);                                      \
           if (std::isnan(a)) r = a;                                        \
           if (std::isnan(b)) r = b;                                        \
           return r;                                                        \
         }},                                                                \
        {"CopySign", _tem##t##CopySign, _tem##t##CopySignI,                 \
         [](T a, T b) { return std::copysign(a, b); }},                     \
        {"NextAfter", _tem##t##NextAfter, _tem##t##NextAfterI,              \
         [](T a, T b) { return static_cast<T>(std::nextafter(a, b)); }},    \
    };                                                                      \
  }
ROWS_OF(s, float)
ROWS_OF(d, double)

template <class T>
void CheckPairs() {
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
  for (const Row<T>& row : Rows<T>()) {
    std::vector<T> r(n), rs(2 * n);
    row.contiguous(n, a.data(), b.data(), r.data());
    row.strided(n, a.data() + n - 1, -1, b.data() + n - 1, -1, rs.data(), 2);
    for (int i = 0; i < n; ++i) {
      const T want = row.want(a[i], b[i]);
      ASSERT_TRUE(Same(r[i], want)) << row.name << std::hexfloat << " " << a[i] << " " << b[i]
                                    << " got " << r[i] << " want " << want;
      const int j = n - 1 - i;
      ASSERT_TRUE(Same(rs[2 * i], row.want(a[j], b[j]))) << row.name << " strided " << j;
      // CopySign moves bits only, so a signalling NaN stays signalling there.
      if (std::isnan(want) && std::string(row.name) != "CopySign") {
        ASSERT_TRUE(exact::Bits(r[i]) &
                    (exact::Bits(T(L::quiet_NaN())) & ~exact::Bits(T(L::infinity()))))
            << row.name << ": NaN results are quiet " << std::hexfloat << a[i] << " " << b[i];
      }
    }
  }
}

TEST(SelectionTest, SpecialAndSampledPairsInBothTypes) {
  CheckPairs<float>();
  CheckPairs<double>();
}

}  // namespace
