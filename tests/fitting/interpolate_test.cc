// Interpolation against independently evaluated coefficients; cells, kinds, callbacks, refusals.
#include "support/threading_tables.h"
#include "tests/fitting/construct_fixture.h"

namespace fit_test {
namespace {
size_t Index(int64_t rhint, int64_t k, int64_t s, int64_t m, int64_t ny, int64_t ns, int64_t nd) {
  switch (rhint) {
    case dfOutFDS: return size_t((k * nd + m) * ns + s);
    case dfOutSFD: return size_t((s * ny + k) * nd + m);
    case dfOutSDF: return size_t((s * nd + m) * ny + k);
    default: return size_t((k * ns + s) * nd + m);
  }
}

template <class T> using InterpolateTest = Typed<T>;
TYPED_TEST_SUITE(InterpolateTest, RealTypes);

// Polynomial kinds: random coefficients of order 2, 3, 4 and 6; every rhint; all derivatives.
TYPED_TEST(InterpolateTest, PolynomialKindsMatchTheirCoefficients) {
  using T = TypeParam;
  const int64_t rhints[] = {0, dfOutFSD, dfOutFDS, dfOutSFD, dfOutSDF};
  // Derivative orders asked and the derivatives written; none asked gives the value.
  const std::pair<std::vector<int32_t>, std::vector<int>> dorders[] = {
      {{1, 1, 1, 1}, {0, 1, 2, 3}}, {{0, 1, 0, 1}, {1, 3}}, {{0, 0}, {0}}, {{1}, {0}}};
  std::mt19937 rng(3);
  std::uniform_real_distribution<double> u(-1, 1);
  for (bool uniform : {false, true})
    for (int64_t order : {2, 3, 4, 6})
      for (const auto& [dorder, want] : dorders)
        for (int64_t rhint : rhints) {
          Problem<T> p({12, 3, uniform, false}, 17);
          p.Describe(order, 0, 0, nullptr, 0, nullptr, order * 11);
          for (T& c : p.coeff) c = T(u(rng));
          std::mt19937_64 site_rng(5);
          const std::vector<T> s = Sites(std::vector<T>(p.at.begin(), p.at.end()), 600, site_rng);
          const int64_t nd = int64_t(want.size()), ns = int64_t(s.size());
          std::vector<T> r(3 * ns * nd, T(-9));
          ASSERT_EQ(Interpolate(p, 1, s, dorder, r.data(), rhint), 0);
          for (int64_t k = 0; k < 3; ++k)
            for (int64_t i = 0; i < ns; ++i) {
              const int64_t c = CellOf(p.at, (long double)s[i]);
              const int64_t j = std::min<int64_t>(std::max<int64_t>(c - 1, 0), 10);
              const long double t = (long double)s[i] - (long double)T(p.at[j]);
              for (int64_t m = 0; m < nd; ++m) {
                const double expect = double(Poly(p.C(k, j, int(order)), int(order), t, want[m]));
                EXPECT_NEAR(r[Index(rhint ? rhint : 16, k, i, m, 3, ns, nd)], expect,
                            kRelTol<T> * (1 + std::fabs(expect)))
                    << "order " << order << " rhint " << rhint << " site " << s[i] << " der " << want[m];
              }
            }
        }
}

// Cells out (types 2, 3, both widths) are right; cells in (type 4) and threads agree.
TYPED_TEST(InterpolateTest, CellsOutCellsInAndThreads) {
  using T = TypeParam;
  for (uint32_t wide : {0u, 1u}) {
    Problem<T> p({300, 2, false, true}, 8);
    p.task.wideIndex = wide;
    p.Describe(4, dfCubicNatural, dfBcFreeEnd, nullptr, 0, nullptr, 4 * 299);
    ASSERT_EQ(Api<T>::natural(&p.task, 0, 0, nullptr), 0);
    std::mt19937_64 site_rng(9);
    const std::vector<T> s = Sites(std::vector<T>(p.at.begin(), p.at.end()), 3000, site_rng);
    const int64_t ns = int64_t(s.size());
    std::vector<int64_t> cells(ns);  // narrow cells fill its first half
    const auto* cells32 = reinterpret_cast<const uint32_t*>(cells.data());
    std::vector<T> r(2 * ns), again(2 * ns), threaded(2 * ns);
    ASSERT_EQ(Interpolate(p, 3, s, {1}, r.data(), dfOutSFD, {.cell = cells.data()}), 0);
    for (int64_t i = 0; i < ns; ++i)
      ASSERT_EQ(wide ? cells[i] : int64_t(cells32[i]), CellOf(p.at, (long double)s[i])) << s[i];
    ASSERT_EQ(Interpolate(p, 4, s, {1}, again.data(), dfOutSFD, {.cell = cells.data()}), 0);
    EXPECT_EQ(again, r);
    ASSERT_EQ(Interpolate(p, 1, s, {1}, threaded.data(), dfOutSFD,
                          {.threading = qor_support_pool_threading(2)}), 0);
    EXPECT_EQ(threaded, r);
  }
}

// Step kinds take a cell's right or left end value, look-up the value at a breakpoint.
TYPED_TEST(InterpolateTest, TabulatedKinds) {
  using T = TypeParam;
  Problem<T> p({6, 2, false, false}, 4);
  const std::vector<T> s = {T(p.at[0] - 1), T(p.at[0]), T(p.at[2]), T((p.at[2] + p.at[3]) / 2),
                            T(p.at[5]), T(p.at[5] + 1)};
  const struct { int type; std::vector<T> s; std::vector<int> taken; } cases[] = {
      {dfStepRight, s, {0, 0, 2, 2, 5, 5}},
      {dfStepLeft, s, {0, 0, 2, 3, 5, 5}},
      {dfLookup, std::vector<T>(p.at.begin(), p.at.end()), {0, 1, 2, 3, 4, 5}}};
  for (const auto& c : cases) {
    p.Describe(0, c.type, 0, nullptr, 0, nullptr, 0);
    std::vector<T> r(12);
    ASSERT_EQ(Interpolate(p, 1, c.s, {1}, r.data(), dfOutFSD), 0);
    for (int k = 0; k < 2; ++k)
      for (int i = 0; i < 6; ++i) EXPECT_EQ(r[k * 6 + i], p.Y(k, c.taken[i])) << c.type << " " << i;
  }
}

// Left sites go to the left callback, others are evaluated; a negative status stops all.
TEST(InterpolateCallbackTest, LeftSitesGoToTheCallbackOthersAreEvaluated) {
  const auto mark_left = [](int64_t* n, int64_t*, double*, double* r, const void*) {
    for (int64_t i = 0; i < *n; ++i) r[i] = 1234;
    return 0;
  };
  const auto refuse = [](int64_t*, int64_t*, double*, double*, const void*) { return -77; };
  Problem<double> p({5, 1, false, false}, 2);
  p.Describe(2, 0, 0, nullptr, 0, nullptr, 8);
  ASSERT_EQ(qor_df_kernel_dDFLinearSpline1D(&p.task, 0, 0, nullptr), 0);
  const std::vector<double> s = {double(p.at[0] - 1), double(p.at[1]), double(p.at[4] + 1)};
  std::vector<double> r(3);
  ASSERT_EQ(Interpolate(p, 1, s, {1}, r.data(), 0, {.left = +mark_left}), 0);
  EXPECT_EQ(r[0], 1234);
  EXPECT_NEAR(r[1], p.Y(0, 1), 1e-14);
  EXPECT_NEAR(r[2], double(Poly(p.C(0, 3, 2), 2, p.at[4] + 1 - p.at[3])), 1e-12);
  EXPECT_EQ(Interpolate(p, 1, s, {1}, r.data(), 0, {.right = +refuse}), -77);
}

TEST(InterpolateStatusTest, RefusalsInTheirOrder) {
  const struct { const char* what; int64_t order, type, rhint, ndorder; int32_t dorder0;
    double site_shift, dhint1; int status; } cases[] = {
      {"order 1", 1, 0, 16, 1, 1, 0, 0, dfErrBadType},
      {"quadratic type 2", 3, 2, 16, 1, 1, 0, 0, dfErrBadType},
      {"cubic type 1", 4, 1, 16, 1, 1, 0, 0, dfErrBadType},
      {"order 0 user without callbacks", 0, 3, 16, 1, 1, 0, 0, dfErrBadType},
      {"data hint", 4, 2, 16, 1, 1, 0, 0.5, dfErrBadSiteHint},
      {"rhint", 4, 2, 64, 1, 1, 0, 0, dfErrBadOutputHint},
      {"look-up miss before orders", 0, 6, 16, 2, 0, 0.1, 0, dfErrLookupMiss},
      {"look-up ndorder", 0, 6, 16, 2, 1, 0, 0, dfErrBadDerOrder},
      {"look-up value order", 0, 6, 16, 1, 0, 0, 0, dfErrNoValueOrder},
      {"order 7 passes", 7, 0, 16, 1, 1, 0, 0, 0},
  };
  for (const auto& c : cases) {
    Problem<double> p({5, 1, false, false}, 2);
    p.Describe(c.order, c.type, 0, nullptr, 0, nullptr, 7 * 4);
    const std::vector<double> site = {double(p.at[1]) + c.site_shift, double(p.at[2])};
    const double dhint[5] = {0, c.dhint1, 0, 0, 0};
    std::vector<int32_t> dorder = {c.dorder0, 0};
    dorder.resize(c.ndorder);
    double r[4] = {};
    EXPECT_EQ(Interpolate(p, 1, site, dorder, r, c.rhint, {.dhint = dhint}), c.status) << c.what;
  }
}
}  // namespace
}  // namespace fit_test
