// LinearFrac contiguous and strided (the other arithmetic: special values, walks, selection).
#include <vector>

#include "gtest/gtest.h"
#include "qor/tem.h"

namespace {

// (2a + 1) / (-3b + 0.5) on known cases over a block and a tail, contiguous and at stride 2.
template <class T, class F, class FI>
void CheckLinearFrac(F f, FI fi) {
  const T cases[][3] = {
      {0, 0.5, -1}, {1.5, -0.5, 2}, {-2, 1.5, 0.75}, {0.25, 0, 3}, {1, -1, T(6) / 7}};
  constexpr int n = 13;
  std::vector<T> a(n), b(n), r(n), rs(2 * n);
  for (int i = 0; i < n; ++i) a[i] = cases[i % 5][0], b[i] = cases[i % 5][1];
  f(n, a.data(), b.data(), T(2), T(1), T(-3), T(0.5), r.data());
  fi(n, a.data(), 1, b.data(), 1, T(2), T(1), T(-3), T(0.5), rs.data(), 2);
  for (int i = 0; i < n; ++i) {
    EXPECT_EQ(r[i], cases[i % 5][2]) << i;
    EXPECT_EQ(rs[2 * i], cases[i % 5][2]) << i;
  }
}

TEST(LinearFracTest, ScaledAndShiftedQuotientContiguousAndStrided) {
  CheckLinearFrac<double>(_temdLinearFrac, _temdLinearFracI);
  CheckLinearFrac<float>(_temsLinearFrac, _temsLinearFracI);
}

}  // namespace
