// Square roots through their exported entries: special values and statuses, exact results.
#include <cmath>
#include <vector>

#include "tests/kernels/special_cases.h"

namespace {

using namespace special_cases;  // NOLINT

// Every entry under test, by the name used in the case tables, contiguous and strided.
const std::map<std::string, std::vector<Element>>& Entries() {
  static const std::map<std::string, std::vector<Element>> entries = {
      {"sSqrt", {Unary(_temsSqrt), UnaryStrided(_temsSqrtI)}},
      {"dSqrt", {Unary(_temdSqrt), UnaryStrided(_temdSqrtI)}},
      {"sInvSqrt", {Unary(_temsInvSqrt), UnaryStrided(_temsInvSqrtI)}},
      {"dInvSqrt", {Unary(_temdInvSqrt), UnaryStrided(_temdInvSqrtI)}},
  };
  return entries;
}

TEST(Roots, SquareRootSpecialValues) {
  RunCases(Entries(), {
      {"sd", "Sqrt", 4.0, 0, 2.0, 0},
      {"sd", "Sqrt", 0.0, 0, 0.0, 0},
      {"sd", "Sqrt", -0.0, 0, -0.0, 0},
      {"sd", "Sqrt", -1.0, 0, kNaN, TEM_STATUS_ERRDOM},
      {"sd", "Sqrt", -kInf, 0, kNaN, TEM_STATUS_ERRDOM},
      {"sd", "Sqrt", kInf, 0, kInf, 0},
      {"sd", "Sqrt", kNaN, 0, kNaN, 0},
      {"sd", "Sqrt", -kNaN, 0, kNaN, 0},
      {"s", "Sqrt", 0x1p-148, 0, 0x1p-74, 0},
      {"d", "Sqrt", 0x1p-1074, 0, 0x1p-537, 0},
      {"d", "Sqrt", 0x1p-1073, 0, std::sqrt(0x1p-1073), 0},
      {"d", "Sqrt", 0x1p1022, 0, 0x1p511, 0},
      {"d", "Sqrt", 0x1.2p1023, 0, 0x1.8p511, 0},
      {"sd", "InvSqrt", 0.25, 0, 2.0, 0},
      {"sd", "InvSqrt", 0.0, 0, kInf, TEM_STATUS_SING},
      {"sd", "InvSqrt", -0.0, 0, -kInf, TEM_STATUS_SING},
      {"sd", "InvSqrt", -4.0, 0, kNaN, TEM_STATUS_ERRDOM},
      {"sd", "InvSqrt", kInf, 0, 0.0, 0},
      {"sd", "InvSqrt", kNaN, 0, kNaN, 0},
      {"s", "InvSqrt", 0x1p-148, 0, 0x1p74, 0},
      {"d", "InvSqrt", 0x1p-1074, 0, 0x1p537, 0},
      {"d", "InvSqrt", 0x1p1022, 0, 0x1p-511, 0},
  });
}

// Exact squares have exact roots, in and out of the seed's range.
TEST(Roots, DoubleSquareRootsOfSquaresAreExact) {
  std::vector<double> squares, roots(64);
  for (int k = 1; k <= 64; ++k) squares.push_back(static_cast<double>(k) * k * 0x1p-40);
  _temdSqrt(64, squares.data(), roots.data());
  for (int k = 1; k <= 64; ++k) EXPECT_EQ(roots[k - 1], k * 0x1p-20) << k;
  for (int e : {-1020, 1050}) {
    std::vector<double> scaled(64), scaled_roots(64);
    for (int k = 0; k < 64; ++k) scaled[k] = std::ldexp(squares[k], e);
    _temdSqrt(64, scaled.data(), scaled_roots.data());
    for (int k = 0; k < 64; ++k) EXPECT_EQ(scaled_roots[k], std::ldexp(roots[k], e / 2)) << k;
  }
}

}  // namespace
