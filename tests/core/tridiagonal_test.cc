// Tridiagonal solvers: residuals of solutions, zero pivots and illegal arguments.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "qor/core_tridiagonal.h"

namespace {
template <class T> struct Api;
template <> struct Api<double> {
  static constexpr auto trf = ddttrfb_4dfl;
  static constexpr auto trs = ddttrsb_4dfl;
  static constexpr auto sv = ddtsvb_4dfl;
};
template <> struct Api<float> {
  static constexpr auto trf = sdttrfb_4dfl;
  static constexpr auto trs = sdttrsb_4dfl;
  static constexpr auto sv = sdtsvb_4dfl;
};

template <class T>
class TridiagonalTest : public ::testing::Test {};
using RealTypes = ::testing::Types<double, float>;
TYPED_TEST_SUITE(TridiagonalTest, RealTypes);

// Residuals in long double against the terms' scale (diagonally dominant: small error).
TYPED_TEST(TridiagonalTest, SolvesTheSystem) {
  using T = TypeParam;
  // one_call: ?dtsvb instead of ?dttrfb + ?dttrsb.
  const struct Case { int n, nrhs, ldb_extra; char trans; bool one_call; } cases[] = {
      {1, 1, 0, 'N', false}, {2, 3, 1, 'N', false},  {3, 4, 0, 'T', false},   {5, 7, 2, 'N', false},
      {17, 9, 0, 'T', false}, {100, 5, 3, 'N', false}, {1, 2, 0, 'N', true},  {6, 4, 1, 'N', true},
      {64, 1, 0, 'N', true}, {33, 6, 0, 'n', false}, {33, 6, 0, 'c', false}};
  const double tolerance = sizeof(T) == 8 ? 1e-13 : 2e-5;
  std::mt19937 rng(11);
  std::uniform_real_distribution<double> off(-1.0, 1.0), diag(2.5, 4.0);
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << "n=" << c.n << " nrhs=" << c.nrhs << " trans=" << c.trans);
    const int n = c.n, ldb = n + c.ldb_extra;
    std::vector<T> dl(n > 1 ? n - 1 : 1), d(n), du(n > 1 ? n - 1 : 1), b(ldb * c.nrhs);
    for (int i = 0; i < n; ++i) {
      d[i] = T(diag(rng) * (rng() % 2 ? 1 : -1));
      if (i + 1 < n) dl[i] = T(off(rng)), du[i] = T(off(rng));
    }
    for (T& v : b) v = T(off(rng) * 10);
    const std::vector<T> rhs = b, dl0 = dl, d0 = d, du0 = du;
    int info = -99;
    if (c.one_call) {
      Api<T>::sv(&n, &c.nrhs, dl.data(), d.data(), du.data(), b.data(), &ldb, &info);
    } else {
      Api<T>::trf(&n, dl.data(), d.data(), du.data(), &info);
      ASSERT_EQ(info, 0);
      Api<T>::trs(&c.trans, &n, &c.nrhs, dl.data(), d.data(), du.data(), b.data(), &ldb, &info);
    }
    ASSERT_EQ(info, 0);
    // Row i of op(A): below the diagonal dl (du when transposed), above it du (dl).
    const bool tr = c.trans != 'N' && c.trans != 'n';
    const std::vector<T>& below = tr ? du0 : dl0;
    const std::vector<T>& above = tr ? dl0 : du0;
    for (int j = 0; j < c.nrhs; ++j)
      for (int i = 0; i < n; ++i) {
        const T* x = &b[j * ldb];
        long double sum = -(long double)rhs[i + j * ldb], scale = fabsl(sum);
        auto add = [&](long double term) { sum += term, scale += fabsl(term); };
        add((long double)d0[i] * x[i]);
        if (i > 0) add((long double)below[i - 1] * x[i - 1]);
        if (i + 1 < n) add((long double)above[i] * x[i + 1]);
        EXPECT_LE(fabsl(sum), tolerance * scale) << "row " << i << " column " << j;
      }
    for (int j = 0; j < c.nrhs; ++j)
      for (int i = n; i < ldb; ++i) EXPECT_EQ(b[i + j * ldb], rhs[i + j * ldb]) << "padding";
  }
}

TYPED_TEST(TridiagonalTest, ZeroPivotReportsItsRow) {
  using T = TypeParam;
  // Rows above the middle row n/2 are eliminated downwards, rows below it upwards.
  const struct { std::vector<T> dl, d, du; int row; } cases[] = {
      {{1, 1}, {1, 2, 1}, {1, 1}, 2},                    // middle: 2 - 1 - 1
      {{1, 1, 1, 1}, {1, 1, 4, 4, 4}, {1, 1, 1, 1}, 2},  // second row, from above
      {{1, 1, 1, 1}, {4, 4, 4, 4, 0}, {1, 1, 1, 1}, 5},  // last row, the first pivot from below
      {{1}, {0, 1}, {1}, 1},
  };
  for (const auto& c : cases) {
    const int n = int(c.d.size()), nrhs = 1;
    std::vector<T> dl = c.dl, d = c.d, du = c.du, b(n, T(7));
    int info = 0;
    Api<T>::trf(&n, dl.data(), d.data(), du.data(), &info);
    EXPECT_EQ(info, c.row) << "n " << n;
    dl = c.dl, d = c.d, du = c.du;
    Api<T>::sv(&n, &nrhs, dl.data(), d.data(), du.data(), b.data(), &n, &info);
    EXPECT_EQ(info, c.row) << "n " << n;
    EXPECT_EQ(b, std::vector<T>(n, T(7))) << "no solution is written after a zero pivot";
  }
}

// The position of the first illegal argument, negated; refused calls leave the matrix alone.
TYPED_TEST(TridiagonalTest, IllegalArgumentsGiveNegativeInfo) {
  using T = TypeParam;
  std::vector<T> dl(4, 1), d(5, 4), du(4, 1), b(10, 1);
  const struct { char routine, trans; int n, nrhs, ldb, info; } cases[] = {
      {'f', 'N', -1, 1, 5, -1}, {'s', 'X', 5, 1, 5, -1}, {'s', 'N', -1, 1, 5, -2},
      {'s', 'N', 5, -1, 5, -3}, {'s', 'N', 5, 1, 4, -8}, {'v', 'N', -1, 1, 5, -1},
      {'v', 'N', 5, -1, 5, -2}, {'v', 'N', 5, 1, 4, -7}};
  for (const auto& c : cases) {
    int info = 0;
    if (c.routine == 'f') Api<T>::trf(&c.n, dl.data(), d.data(), du.data(), &info);
    if (c.routine == 's')
      Api<T>::trs(&c.trans, &c.n, &c.nrhs, dl.data(), d.data(), du.data(), b.data(), &c.ldb, &info);
    if (c.routine == 'v')
      Api<T>::sv(&c.n, &c.nrhs, dl.data(), d.data(), du.data(), b.data(), &c.ldb, &info);
    EXPECT_EQ(info, c.info) << c.routine << " " << c.trans << " " << c.n << " " << c.nrhs;
  }
  EXPECT_EQ(d, std::vector<T>(5, 4));
}
}  // namespace
