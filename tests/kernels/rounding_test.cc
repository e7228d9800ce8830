// The rounding functions, Modf and Frac against the C library, bit for bit.
#include <fenv.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "gtest/gtest.h"
#include "qor/tem.h"
#include "tests/kernels/exact_support.h"

namespace {

using exact::Same;

template <class T>
using Contiguous = void (*)(int, const T*, T*);
template <class T>
using Strided = void (*)(int, const T*, int, T*, int);

template <class T>
struct Row { const char* name; Contiguous<T> f; Strided<T> fi; T (*reference)(T); };

// Result k of Modf (0: the integral part, 1: the fraction), the other one to a scratch array.
template <class T, auto F, int k>
void ModfResult(int n, const T* a, T* r) {
  std::vector<T> other(n);
  k == 0 ? F(n, a, r, other.data()) : F(n, a, other.data(), r);
}
template <class T, auto F, int k>
void ModfResultStrided(int n, const T* a, int inca, T* r, int incr) {
  std::vector<T> other(n);
  k == 0 ? F(n, a, inca, r, incr, other.data(), 1) : F(n, a, inca, other.data(), 1, r, incr);
}
// The fraction with the sign of x, +-0 for infinities.
template <class T>
T Fraction(T x) { T whole; return std::modf(x, &whole); }

#define QOR_ROW(t, stem, libm) {#stem, _tem##t##stem, _tem##t##stem##I, libm}
#define QOR_ROWS(t, T, x)                                                                  \
  QOR_ROW(t, Ceil, ceil##x), QOR_ROW(t, Floor, floor##x), QOR_ROW(t, Trunc, trunc##x),    \
      QOR_ROW(t, Round, round##x), QOR_ROW(t, Rint, rint##x),                             \
      QOR_ROW(t, NearbyInt, nearbyint##x), QOR_ROW(t, Frac, Fraction<T>),                 \
      {"Modf", ModfResult<T, _tem##t##Modf, 0>, ModfResultStrided<T, _tem##t##ModfI, 0>,  \
       trunc##x},                                                                          \
      {"Modf_fraction", ModfResult<T, _tem##t##Modf, 1>,                                  \
       ModfResultStrided<T, _tem##t##ModfI, 1>, Fraction<T>}
const Row<float> kSingleRows[] = {QOR_ROWS(s, float, f)};
const Row<double> kDoubleRows[] = {QOR_ROWS(d, double, )};

const int kDirections[] = {FE_TONEAREST, FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO};

// Contiguous and unit-stride calls (the loop form) in every direction, the strided vector form to
// nearest and writing nothing between its results; returns the mismatches (five are shown).
template <class T, size_t kRows>
long CheckAllDirections(const Row<T> (&rows)[kRows], const std::vector<T>& x) {
  long bad = 0;
  const int n = static_cast<int>(x.size());
  std::vector<T> r(n), ru(n), rs(2 * n, T(7)), want(n), nearest(n);
  for (const Row<T>& row : rows) {
    for (int i = 0; i < n; ++i) nearest[i] = row.reference(x[i]);
    for (int direction : kDirections) {
      fesetround(direction);
      row.f(n, x.data(), r.data());
      row.fi(n, x.data(), 1, ru.data(), 1);
      row.fi(n, x.data() + n - 1, -1, rs.data(), 2);
      for (int i = 0; i < n; ++i) want[i] = row.reference(x[i]);
      const int after = fegetround();
      fesetround(FE_TONEAREST);
      EXPECT_EQ(after, direction) << row.name << ": the caller's direction must come back";
      for (int i = 0; i < n; ++i) {
        const T strided = rs[2 * (n - 1 - i)];
        if (!(Same(r[i], want[i]) && Same(ru[i], want[i]) && Same(strided, nearest[i]) &&
              rs[2 * i + 1] == T(7)) &&
            ++bad <= 5)
          ADD_FAILURE() << row.name << " direction " << direction << " x=" << std::hexfloat << x[i]
                        << " got " << r[i] << ", " << ru[i] << ", strided " << strided
                        << " want " << want[i];
      }
    }
  }
  return bad;
}

// Binade edges and halves; every 4099th float bit pattern and 200000 sampled doubles (the
// sweep: every float and 10^8 doubles), in chunks.
TEST(RoundingTest, EdgesAndSamplesInEveryDirection) {
  long bad = CheckAllDirections(kSingleRows, exact::EdgeValues<float>());
  bad += CheckAllDirections(kDoubleRows, exact::EdgeValues<double>());
  const uint64_t step = exact::FullSweep() ? 1 : 4099, chunk = 1 << 22, end = uint64_t{1} << 32;
  for (uint64_t start = 0; start < end; start += chunk * step) {
    std::vector<float> x;
    for (uint64_t b = start; b < std::min(start + chunk * step, end); b += step)
      x.push_back(exact::FromBits<float>(static_cast<uint32_t>(b)));
    bad += CheckAllDirections(kSingleRows, x);
  }
  const size_t total = exact::FullSweep() ? 100000000 : 200000;
  for (size_t done = 0; done < total; done += chunk)
    bad += CheckAllDirections(
        kDoubleRows, exact::SampledValues<double>(std::min(chunk, total - done), done + 1));
  EXPECT_EQ(bad, 0);
}

}  // namespace
