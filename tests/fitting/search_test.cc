// Cell search: every method and form against brute force, selection, threads, callbacks.
#include <limits>
#include <utility>

#include "fitting/search.h"
#include "support/threading_tables.h"
#include "tests/common/allocation_control.h"
#include "tests/fitting/construct_fixture.h"

namespace {
using df::CellForm;
using fit_test::CellOf;
using fit_test::Sites;

template <class T>
std::vector<T> RandomPartition(int64_t nx, std::mt19937_64& rng) {
  std::uniform_real_distribution<double> gap(0.01, 1.0);
  std::vector<T> x(nx);
  double v = -3.0;
  for (auto& xi : x) xi = static_cast<T>(v += gap(rng) * (rng() % 8 == 0 ? 20 : 1));
  return x;
}

// The cells of `sites` in `form`, widened to 64 bits.
template <class T>
std::vector<int64_t> Search(const df::SearchPlan<T>& plan, CellForm form,
                            const std::vector<T>& sites) {
  std::vector<int64_t> raw(sites.size(), -7);
  int64_t cursor = 0;
  EXPECT_EQ(df::SearchStretch(plan, form, static_cast<int64_t>(sites.size()), sites.data(),
                              &cursor, raw.data(), nullptr), 0);
  if (form != CellForm::k32) return raw;
  const uint32_t* narrow = reinterpret_cast<const uint32_t*>(raw.data());
  return std::vector<int64_t>(narrow, narrow + raw.size());
}

// Estimates of a deliberately poor user search, all left to the library (flag 0).
template <class T>
int PoorEstimates(int64_t* n, const T*, int64_t* estimate, uint32_t*, void*, int64_t) {
  for (int64_t i = 0; i < *n; ++i) estimate[i] = (i * 37) % 300 - 20;
  return 0;
}

// A plan of `method` over nx breakpoints `x` ending at `last` (x: the two ends when uniform).
template <class T>
df::SearchPlan<T> Plan(int method, int64_t nx, const T* x, T last, bool ascending = false) {
  return {method, nx, x, (last - x[0]) / static_cast<T>(nx - 1), ascending, PoorEstimates<T>};
}

// Every cell form gives the brute-force cells of the partition `x`.
template <class T>
void ExpectBruteForce(const df::SearchPlan<T>& plan, const std::vector<T>& x,
                      const std::vector<T>& sites) {
  for (CellForm form : {CellForm::k32, CellForm::k64, CellForm::k64Pack}) {
    const std::vector<int64_t> cells = Search(plan, form, sites);
    for (size_t i = 0; i < sites.size(); ++i)
      ASSERT_EQ(cells[i], CellOf(x, sites[i])) << "nx " << x.size() << " method "
          << plan.method << " form " << int(form) << " site " << sites[i];
  }
}

template <class T> using SearchTest = fit_test::Typed<T>;
TYPED_TEST_SUITE(SearchTest, fit_test::RealTypes);

// Sorted and hybrid run with and without the ascending shortcuts; repeats stay ascending.
TYPED_TEST(SearchTest, EveryMethodAndFormMatchesTheBruteForceSearch) {
  using T = TypeParam;
  std::mt19937_64 rng(11);
  const std::pair<int, bool> methods[] = {
      {df::kQuasiUniformSearch, false}, {df::kSortedSearch, false}, {df::kSortedSearch, true},
      {df::kPeakSearch, false}, {df::kHybridSearch, false}, {df::kHybridSearch, true},
      {df::kUserDefSearch, false}};
  for (int64_t nx : {2, 3, 41, 42, 100, 101, 257, 5000}) {
    std::vector<T> x = RandomPartition<T>(nx, rng);
    if (nx > 100) std::copy(x.begin() + 50, x.begin() + 60, x.begin() + 60);
    std::sort(x.begin(), x.end());
    const std::vector<T> sites = Sites(x, 3000, rng);
    for (auto [method, ascending] : methods) {
      std::vector<T> s = sites;
      if (method == df::kSortedSearch) std::sort(s.begin(), s.end());
      ExpectBruteForce(Plan(method, nx, x.data(), x[nx - 1], ascending), x, s);
    }
  }
  // Uniform methods, step 1/4 and sites on a 2^-6 grid: every subtraction and product is exact.
  for (int64_t nx : {2, 5, 333}) {
    const T ends[2] = {-3, static_cast<T>(-3 + 0.25 * (nx - 1))};
    std::vector<T> x(nx), sites = {static_cast<T>(1e30)};
    for (int64_t i = 0; i < nx; ++i) x[i] = static_cast<T>(-3 + 0.25 * i);
    for (int k = -200; k < 16 * nx + 200; k += 3) sites.push_back(static_cast<T>(-3 + k / 64.0));
    for (int method : {df::kUniformSearch, df::kUniUserDefSearch})
      ExpectBruteForce(Plan(method, nx, ends, ends[1]), x, sites);
  }
}

// NaN sites: uniform truncates (indefinite + 1); hybrid gives 0 (short) or the bisection's end.
TYPED_TEST(SearchTest, NaNSites) {
  using T = TypeParam;
  const T nan = std::numeric_limits<T>::quiet_NaN(), ends[2] = {0, 10};
  const df::SearchPlan<T> uniform = Plan(df::kUniformSearch, 11, ends, ends[1]);
  const std::vector<T> one_nan(5, nan);
  EXPECT_EQ(Search(uniform, CellForm::k64, one_nan)[0], std::numeric_limits<int64_t>::min() + 1);
  EXPECT_EQ(Search(uniform, CellForm::k64Pack, one_nan)[4], -2147483647);
  EXPECT_EQ(Search(uniform, CellForm::k32, one_nan)[0], 0x80000001);

  std::vector<T> x(300);
  for (int i = 0; i < 300; ++i) x[i] = static_cast<T>(i);
  df::SearchPlan<T> hybrid = Plan(df::kHybridSearch, 50, x.data(), x[49]);
  EXPECT_EQ(Search(hybrid, CellForm::k64, one_nan)[0], 0);
  hybrid.nx = 300;
  // NaN takes every lower half: lo 0, 150, 225, where hi - lo <= 100.
  const std::vector<T> nan_group(20, nan);
  for (bool ascending : {false, true}) {
    hybrid.ascending = ascending;
    EXPECT_EQ(Search(hybrid, CellForm::k64, nan_group), std::vector<int64_t>(20, 225));
  }
}

// Groups of four sites multiply by the reciprocal of the step, the sites behind them divide.
TEST(SearchTest, UniformGroupsMultiplyAndTheTailDivides) {
  const int64_t nx = 1001;
  const double ends[2] = {0.0, 100.0}, step = (ends[1] - ends[0]) / 1000, inv = 1 / step;
  double site = 0;
  for (int i = 1; i < 1000 && site == 0; ++i)
    for (double s = i * step, k = 0; k < 4; ++k, s = std::nextafter(s, 0.0))
      if (std::trunc(s * inv) != std::trunc(s / step)) site = s;
  ASSERT_NE(site, 0) << "no site where the two roundings part";
  const std::vector<double> sites(5, site);
  for (bool user : {false, true}) {  // the uniform user-defined method, every site left to it
    std::vector<int64_t> cells(5);
    ASSERT_EQ(user ? qor_df_kernel_dDFUniUserDefSearch1D64(nx, ends, 5, sites.data(), step, 0, nullptr,
                                                           nullptr, cells.data(), PoorEstimates<double>,
                                                           nullptr, 0, nullptr)
                   : qor_df_kernel_dDFUniformSearch1D64(nx, ends, 5, sites.data(), step, 0, nullptr,
                                                        nullptr, cells.data()), 0);
    EXPECT_TRUE(cells[0] == static_cast<int64_t>(site * inv) + 1 && cells[3] == cells[0]) << user;
    EXPECT_TRUE(cells[4] == static_cast<int64_t>(site / step) + 1 && cells[4] != cells[0]) << user;
  }
}

// Exported forms: the flags word chooses the cell width, the sorted form keeps its cursor.
TEST(SearchTest, EntryFormsWriteTheirWidthAndKeepTheCursor) {
  const double x[5] = {0, 1, 2, 3, 4}, sites[4] = {0.5, 2.5, 4, 9};
  std::vector<int64_t> wide(4, -1);
  ASSERT_EQ(qor_df_kernel_dDFHybridSearch1D(5, x, 4, sites, 0, nullptr, nullptr, wide.data(), 3), 0);
  EXPECT_EQ(wide, (std::vector<int64_t>{1, 3, 4, 5}));
  std::vector<uint32_t> narrow(8, 7);
  ASSERT_EQ(qor_df_kernel_dDFPeakSearch1D(5, x, 4, sites, 0, nullptr, nullptr, narrow.data(), 2), 0);
  EXPECT_EQ(narrow, (std::vector<uint32_t>{1, 3, 4, 5, 7, 7, 7, 7}));
  int64_t cursor = 0;
  ASSERT_EQ(qor_df_kernel_dDFSortedSearch1D64Pack(5, x, 2, sites, &cursor, 0, nullptr, nullptr,
                                                  wide.data()), 0);
  EXPECT_EQ(cursor, 3);
  // A cursor past the true cell gives the cursor's cell.
  const float xf[5] = {0, 1, 2, 3, 4}, early = 0.5f;
  cursor = 3;
  uint32_t cell = 0;
  ASSERT_EQ(qor_df_kernel_sDFSortedSearch1D32(5, xf, 1, &early, &cursor, 0, nullptr, nullptr, &cell), 0);
  EXPECT_EQ(cell, 3u);
}

struct CallbackScript { int result; uint32_t flag; };

int ScriptedCallback(int64_t* n, const double*, int64_t* estimate, uint32_t* flag, void* data,
                     int64_t length) {
  const auto* script = static_cast<const CallbackScript*>(data);
  for (int64_t i = 0; i < *n; ++i) estimate[i] = 40 + length, flag[i] = script->flag;
  return script->result;
}

TEST(SearchTest, CallbackContract) {
  std::vector<double> x(100);
  for (int i = 0; i < 100; ++i) x[i] = i;
  const double site = 2.5;
  const struct { CallbackScript script; int status; int64_t cell; } cases[] = {
      {{-7, 0}, -7, -1},   // stops the search with its status
      {{1000, 0}, 0, 42},  // estimates are the cells
      {{5, 1}, 5, 42},     // flagged sites keep the estimate
      {{5, 0}, 5, 3},      // unflagged sites are searched
  };
  for (const auto& c : cases) {
    int64_t cell = -1;
    uint32_t site_flag = 9;
    EXPECT_EQ(qor_df_kernel_dDFUserDefSearch1D64Pack(100, x.data(), 1, &site, 0, nullptr, nullptr,
                                                     &cell, ScriptedCallback,
                                                     const_cast<CallbackScript*>(&c.script), 2,
                                                     &site_flag), c.status);
    EXPECT_EQ(cell, c.cell) << c.script.result;
  }
}

// Method by partition, site and data hints; brute-force cells serially and on a pool.
TEST(SearchTest, DriverSelectsAndRefusesDataHints) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const struct { const char* name; uint64_t x_hint; int64_t site_hint; std::vector<double> dhint;
    int status; } cases[] = {
      {"hybrid", 1, 0, {}, 0},
      {"hybrid by data hint, position not read", 1, 0, {0, 0, 0, 0, -5}, 0},
      {"peak", 1, 0, {0, 1, 0, 0, 3}, 0},
      {"choice neither 0 nor 1", 1, 0, {0, 0.5, 0, 0, 3}, dfErrBadSiteHint},
      {"choice NaN", 1, 0, {0, nan, 0, 0, 3}, dfErrBadSiteHint},
      {"peak below 0", 1, 0, {0, 1, 0, 0, -1}, dfErrBadSiteHint},
      {"peak above nx", 1, 0, {0, 1, 0, 0, 6000}, dfErrBadSiteHint},
      {"peak NaN", 1, 0, {0, 1, 0, 0, nan}, dfErrBadSiteHint},
      {"sorted before the data hint", 1, 64, {0, 0.5, 0, 0, 0}, 0},
      {"quasi-uniform before the site hint", 2, 64, {0, 0.5, 0, 0, 0}, 0},
  };
  std::mt19937_64 rng(5);
  const std::vector<double> x = RandomPartition<double>(5000, rng);
  std::vector<double> sites = Sites(x, 3000, rng);
  sites.resize(20000, 1.5);
  std::sort(sites.begin(), sites.end());
  const qorThreading* threadings[] = {qor_support_serial_threading(), qor_support_pool_threading(3)};
  for (const auto& c : cases)
    for (const qorThreading* threading : threadings) {
      dfTask* task = nullptr;
      ASSERT_EQ(qor_df_kernel_dNewTask1D(&task, 5000, x.data(), c.x_hint, 0, nullptr, 0, 1), 0);
      std::vector<int64_t> cells(sites.size(), -1);
      EXPECT_EQ(qor_df_kernel_dDFSearch1D(task, 0, int64_t(sites.size()), sites.data(), c.site_hint,
                                          c.dhint.empty() ? nullptr : c.dhint.data(), cells.data(),
                                          nullptr, nullptr, threading), c.status) << c.name;
      for (size_t i = 0; c.status == 0 && i < sites.size(); ++i)
        ASSERT_EQ(cells[i], CellOf(x, sites[i])) << c.name;
      qor_df_kernel_DeleteTask(&task);
    }
}

// Uniform sites (site hint 4) expand on the stack up to 4096, beyond in one allocation.
TEST(SearchTest, UniformSitesExpand) {
  std::mt19937_64 rng(3);
  const std::vector<double> x = RandomPartition<double>(5000, rng);
  dfTask* task = nullptr;
  ASSERT_EQ(qor_df_kernel_dNewTask1D(&task, 5000, x.data(), 1, 0, nullptr, 0, 0), 0);
  const double ends[2] = {x[0] - 1, x[4999] + 1};
  for (int64_t nsite : {4096, 4097}) {
    std::vector<uint32_t> cells(nsite);
    alloc_control::FailAllocation(-1);
    ASSERT_EQ(qor_df_kernel_dDFSearch1D(task, 0, nsite, ends, 4, nullptr, cells.data(), nullptr,
                                        nullptr, qor_support_pool_threading(2)), 0);
    EXPECT_EQ(alloc_control::Allocations(), nsite > 4096 ? 1 : 0);
    const double d = (ends[1] - ends[0]) * (1.0 / (nsite - 1));
    for (int64_t i = 0; i < nsite; i += 97)
      ASSERT_EQ(cells[i], CellOf(x, i * d + ends[0])) << i;
    alloc_control::ScopedFailure failure(0);
    EXPECT_EQ(qor_df_kernel_dDFSearch1D(task, 0, nsite, ends, 4, nullptr, cells.data(), nullptr,
                                        nullptr, nullptr), nsite > 4096 ? dfErrNoMemory : 0);
  }
  EXPECT_EQ(qor_df_kernel_dDFSearch1D(nullptr, 0, 1, ends, 0, nullptr, nullptr, nullptr, nullptr,
                                      nullptr), dfErrNullTask);
  qor_df_kernel_DeleteTask(&task);
}
}  // namespace
