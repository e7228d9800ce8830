// Exact squares have exact double square roots, in and out of the seed's range.
#include <cmath>
#include <vector>

#include "gtest/gtest.h"
#include "qor/tem.h"

namespace {

TEST(Roots, DoubleSquareRootsOfSquaresAreExact) {
  for (int e : {-40, -1060, 1010}) {
    std::vector<double> squares, roots(64);
    for (int k = 1; k <= 64; ++k) squares.push_back(std::ldexp(double(k) * k, e));
    _temdSqrt(64, squares.data(), roots.data());
    for (int k = 1; k <= 64; ++k) EXPECT_EQ(roots[k - 1], std::ldexp(k, e / 2)) << k << " " << e;
  }
}

}  // namespace
