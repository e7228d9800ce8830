// Roots through their exported entries: special values and statuses, exact results.
#include <mpfr.h>

#include <cmath>
#include <limits>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/kernels/special_cases.h"

namespace generated {
#include "kernels/root_tables.inc"
}  // namespace generated

namespace {

using namespace special_cases;  // NOLINT

// Every entry under test, by the name used in the case tables, contiguous and strided.
const std::map<std::string, std::vector<Element>>& Entries() {
  static const std::map<std::string, std::vector<Element>> entries = {
      {"sSqrt", {Unary(_temsSqrt), UnaryStrided(_temsSqrtI)}},
      {"dSqrt", {Unary(_temdSqrt), UnaryStrided(_temdSqrtI)}},
      {"sInvSqrt", {Unary(_temsInvSqrt), UnaryStrided(_temsInvSqrtI)}},
      {"dInvSqrt", {Unary(_temdInvSqrt), UnaryStrided(_temdInvSqrtI)}},
      {"sCbrt", {Unary(_temsCbrt), UnaryStrided(_temsCbrtI)}},
      {"dCbrt", {Unary(_temdCbrt), UnaryStrided(_temdCbrtI)}},
      {"sInvCbrt", {Unary(_temsInvCbrt), UnaryStrided(_temsInvCbrtI)}},
      {"dInvCbrt", {Unary(_temdInvCbrt), UnaryStrided(_temdInvCbrtI)}},
      {"sPow2o3", {Unary(_temsPow2o3), UnaryStrided(_temsPow2o3I)}},
      {"dPow2o3", {Unary(_temdPow2o3), UnaryStrided(_temdPow2o3I)}},
      {"sPow3o2", {Unary(_temsPow3o2), UnaryStrided(_temsPow3o2I)}},
      {"dPow3o2", {Unary(_temdPow3o2), UnaryStrided(_temdPow3o2I)}},
      {"sHypot", {Binary(_temsHypot), BinaryStrided(_temsHypotI)}},
      {"dHypot", {Binary(_temdHypot), BinaryStrided(_temdHypotI)}},
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

TEST(Roots, CubeRootSpecialValues) {
  RunCases(Entries(), {
      {"sd", "Cbrt", -27.0, 0, -3.0, 0},
      {"sd", "Cbrt", 0.125, 0, 0.5, 0},
      {"sd", "Cbrt", 0.0, 0, 0.0, 0},
      {"sd", "Cbrt", -0.0, 0, -0.0, 0},
      {"sd", "Cbrt", kInf, 0, kInf, 0},
      {"sd", "Cbrt", -kInf, 0, -kInf, 0},
      {"sd", "Cbrt", kNaN, 0, kNaN, 0},
      {"s", "Cbrt", 0x1p-147, 0, 0x1p-49, 0},
      {"d", "Cbrt", -0x1p-1074, 0, -0x1p-358, 0},
      {"d", "Cbrt", 0x1p1023, 0, 0x1p341, 0},
      {"sd", "InvCbrt", -8.0, 0, -0.5, 0},
      {"sd", "InvCbrt", 0.0, 0, kInf, TEM_STATUS_SING},
      {"sd", "InvCbrt", -0.0, 0, -kInf, TEM_STATUS_SING},
      {"sd", "InvCbrt", kInf, 0, 0.0, 0},
      {"sd", "InvCbrt", -kInf, 0, -0.0, 0},
      {"sd", "InvCbrt", kNaN, 0, kNaN, 0},
      {"d", "InvCbrt", 0x1p-1074, 0, 0x1p358, 0},
  });
}

TEST(Roots, RationalPowersAndHypotSpecialValues) {
  RunCases(Entries(), {
      {"sd", "Pow2o3", -8.0, 0, 4.0, 0},
      {"sd", "Pow2o3", -0.0, 0, 0.0, 0},
      {"sd", "Pow2o3", -kInf, 0, kInf, 0},
      {"sd", "Pow2o3", kNaN, 0, kNaN, 0},
      {"d", "Pow2o3", 0x1p-1074, 0, 0x1p-716, 0},
      {"d", "Pow2o3", -0x1p1023, 0, 0x1p682, 0},
      {"sd", "Pow3o2", 4.0, 0, 8.0, 0},
      {"sd", "Pow3o2", -4.0, 0, kNaN, TEM_STATUS_ERRDOM},
      {"sd", "Pow3o2", -kInf, 0, kNaN, TEM_STATUS_ERRDOM},
      {"sd", "Pow3o2", -0.0, 0, 0.0, 0},
      {"sd", "Pow3o2", kInf, 0, kInf, 0},
      {"s", "Pow3o2", 0x1p86, 0, kInf, TEM_STATUS_OVERFLOW},
      {"d", "Pow3o2", 0x1p1000, 0, kInf, TEM_STATUS_OVERFLOW},
      {"d", "Pow3o2", 0x1p-1000, 0, 0.0, 0},
      {"d", "Pow3o2", 0x1p-700, 0, 0x1p-1050, 0},
      {"sd", "Hypot", 3.0, -4.0, 5.0, 0},
      {"sd", "Hypot", kInf, kNaN, kInf, 0},
      {"sd", "Hypot", kNaN, -kInf, kInf, 0},
      {"sd", "Hypot", kNaN, 1.0, kNaN, 0},
      {"sd", "Hypot", -0.0, 0.0, 0.0, 0},
      {"s", "Hypot", 3 * 0x1p-149, 4 * 0x1p-149, 5 * 0x1p-149, 0},
      {"s", "Hypot", 3 * 0x1p125, 4 * 0x1p125, 5 * 0x1p125, 0},
      {"s", "Hypot", 0x1.8p127, 0x1.8p127, kInf, 0},
      {"d", "Hypot", 3 * 0x1p-1074, 4 * 0x1p-1074, 5 * 0x1p-1074, 0},
      {"d", "Hypot", 3 * 0x1p1021, 4 * 0x1p1021, 5 * 0x1p1021, 0},
      {"d", "Hypot", 0x1.8p1023, 0x1.8p1023, kInf, 0},
      // Either side of the range that the blocks take without scaling.
      {"d", "Hypot", 0x1p509, -0x1p509, 0x1.6a09e667f3bcdp509, 0},
      {"d", "Hypot", 0x1p510, 0x1p510, 0x1.6a09e667f3bcdp510, 0},
      {"d", "Hypot", -0x1p-480, 0x1p-480, 0x1.6a09e667f3bcdp-480, 0},
      {"d", "Hypot", 0x1p-481, 0x1p-481, 0x1.6a09e667f3bcdp-481, 0},
      {"d", "Hypot", 0x1p-481, 0x1p-540, 0x1p-481, 0},
      // A subnormal result rounded once (twice, it is one ulp too low).
      {"d", "Hypot", 0x0.046d073ab73aap-1022, 0x0.b4ae035a7ba5dp-1022, 0x0.b4bbe362b51afp-1022, 0},
  });
}

// Every fifth row of the cube-root tables, recomputed: hi + lo is cbrt(2^j c) or its
// reciprocal to 100 bits (the float rows to 46), with c the centre of the row's mantissa
// interval.
TEST(RootTables, SampledRowsAreCubeRoots) {
  mpfr_t exact, sum;
  mpfr_inits2(256, exact, sum, static_cast<mpfr_ptr>(nullptr));
  for (int row = 0; row < 96; row += 5) {
    const double c = 1.0 + (2 * (row % 32) + 1) / 64.0;
    EXPECT_EQ(generated::kCbrtCentres[row % 32][0], c);
    EXPECT_EQ(generated::kCbrtCentres[row % 32][1], 1.0 / c);
    for (bool reciprocal : {false, true}) {
      const double(&pair)[2] = (reciprocal ? generated::kInvCbrtRows : generated::kCbrtRows)[row];
      mpfr_set_d(exact, std::ldexp(c, row / 32), MPFR_RNDN);
      mpfr_cbrt(exact, exact, MPFR_RNDN);
      if (reciprocal) mpfr_ui_div(exact, 1, exact, MPFR_RNDN);
      mpfr_set_d(sum, pair[0], MPFR_RNDN);
      mpfr_add_d(sum, sum, pair[1], MPFR_RNDN);
      mpfr_sub(sum, sum, exact, MPFR_RNDN);
      mpfr_div(sum, sum, exact, MPFR_RNDN);
      EXPECT_LT(std::fabs(mpfr_get_d(sum, MPFR_RNDN)), 0x1p-100) << row << " " << reciprocal;
      // The float row: the same centre, 1/c rounded, and a float pair within 2^-46.
      const float(&single)[4] =
          (reciprocal ? generated::kInvCbrtRowsSingle : generated::kCbrtRowsSingle)[row];
      EXPECT_EQ(single[0], c);
      EXPECT_EQ(single[1], static_cast<float>(1.0 / c));
      mpfr_set_d(sum, single[2], MPFR_RNDN);
      mpfr_add_d(sum, sum, single[3], MPFR_RNDN);
      mpfr_sub(sum, sum, exact, MPFR_RNDN);
      mpfr_div(sum, sum, exact, MPFR_RNDN);
      EXPECT_LT(std::fabs(mpfr_get_d(sum, MPFR_RNDN)), 0x1p-46) << row << " " << reciprocal;
    }
  }
  mpfr_clears(exact, sum, static_cast<mpfr_ptr>(nullptr));
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

// Hypot's contiguous loop form runs in blocks: every length and every place of a special or
// tiny pair gives what the element gives alone, also in place (r == a).
template <class T>
void ExpectHypotWalkMatchesElements(void (*hypot)(int, const T*, const T*, T*)) {
  const T inf = std::numeric_limits<T>::infinity(), nan = std::numeric_limits<T>::quiet_NaN();
  const T tiny = std::numeric_limits<T>::denorm_min(), big = std::numeric_limits<T>::max();
  const std::vector<std::pair<T, T>> pairs = {
      {3, -4}, {inf, nan}, {nan, 2}, {tiny, 3 * tiny}, {big, big}, {0, -0.0}, {-1e-30f, 7},
      {big / 3, 1}, {T(0.1), T(1e20)}, {-inf, 5}, {T(1.25e-38), T(2.5e-38)}};
  for (int n = 1; n <= static_cast<int>(pairs.size()); ++n) {
    std::vector<T> a(n), b(n), r(n);
    for (int i = 0; i < n; ++i) std::tie(a[i], b[i]) = pairs[(i + n) % pairs.size()];
    hypot(n, a.data(), b.data(), r.data());
    std::vector<T> in_place = a;
    hypot(n, in_place.data(), b.data(), in_place.data());
    for (int i = 0; i < n; ++i) {
      T alone;
      hypot(1, &a[i], &b[i], &alone);
      EXPECT_TRUE(special_cases::SameValue(r[i], alone)) << n << " " << i << " " << r[i];
      EXPECT_TRUE(special_cases::SameValue(in_place[i], alone)) << n << " " << i;
    }
  }
}

TEST(Roots, HypotBlocksMatchSingleElements) {
  ExpectHypotWalkMatchesElements<float>(_temsHypot);
  ExpectHypotWalkMatchesElements<double>(_temdHypot);
}

}  // namespace
