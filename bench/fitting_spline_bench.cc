// Natural cubic spline construction and evaluation against GSL's cspline on 10^6 non-uniform
// breakpoints: construction for 1 and 8 functions, evaluation at 10^7 random and sorted sites,
// serial and with a pool of 2 threads.
#include <benchmark/benchmark.h>
#include <gsl/gsl_spline.h>

#include <algorithm>
#include <random>
#include <vector>

#include "qor/df.h"
#include "support/threading_tables.h"

namespace {

constexpr int64_t kNx = 1000000;
constexpr int64_t kSites = 10000000;

struct Data {
  std::vector<double> x, y, random_sites, sorted_sites;
  Data() : x(kNx), y(8 * kNx) {
    std::mt19937_64 rng(1);
    std::uniform_real_distribution<double> u(0.5, 1.5), v(-1, 1);
    x[0] = 0;
    for (int64_t i = 1; i < kNx; ++i) x[i] = x[i - 1] + u(rng);
    for (double& w : y) w = v(rng);
    std::uniform_real_distribution<double> s(x[0], x[kNx - 1]);
    random_sites.resize(kSites);
    for (double& w : random_sites) w = s(rng);
    sorted_sites = random_sites;
    std::sort(sorted_sites.begin(), sorted_sites.end());
  }
};
const Data& Shared() {
  static const Data data;
  return data;
}

struct QorSpline {
  dfTask* task = nullptr;
  std::vector<double> coeff;
  explicit QorSpline(int64_t ny) : coeff(4 * (kNx - 1) * ny) {
    const Data& d = Shared();
    qor_df_kernel_dNewTask1D(&task, kNx, d.x.data(), dfXNonUniform, ny, d.y.data(), dfYRows, 0);
    qor_df_kernel_dEditPPSpline1D(task, 4, dfCubicNatural, dfBcFreeEnd, nullptr, 0, nullptr,
                                  coeff.data(), dfYRows);
  }
  ~QorSpline() { qor_df_kernel_DeleteTask(&task); }
};

void QorConstruct(benchmark::State& state) {
  QorSpline s(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(qor_df_kernel_dDFNaturalCubicSpline1D(s.task, 0, 0, nullptr));
  state.SetItemsProcessed(state.iterations() * kNx * state.range(0));
}

void GslConstruct(benchmark::State& state) {
  const Data& d = Shared();
  std::vector<gsl_spline*> splines(state.range(0));
  for (auto& g : splines) g = gsl_spline_alloc(gsl_interp_cspline, kNx);
  for (auto _ : state)
    for (int64_t k = 0; k < state.range(0); ++k)
      gsl_spline_init(splines[k], d.x.data(), d.y.data() + k * kNx, kNx);
  for (auto& g : splines) gsl_spline_free(g);
  state.SetItemsProcessed(state.iterations() * kNx * state.range(0));
}

// range(0): 1 for sorted sites; range(1): threads.
void QorEvaluate(benchmark::State& state) {
  QorSpline s(1);
  qor_df_kernel_dDFNaturalCubicSpline1D(s.task, 0, 0, nullptr);
  const Data& d = Shared();
  const bool sorted = state.range(0) != 0;
  const std::vector<double>& sites = sorted ? d.sorted_sites : d.random_sites;
  std::vector<double> r(kSites);
  const int32_t dorder[] = {1};
  const qorThreading* threads = state.range(1) > 1 ? qor_support_pool_threading(int(state.range(1)))
                                                   : qor_support_serial_threading();
  for (auto _ : state)
    qor_df_kernel_dDFInterpolate1D(s.task, 1, 0, kSites, sites.data(), sorted ? dfSiteSorted : 0,
                                   1, dorder, nullptr, r.data(), dfOutFSD, nullptr, nullptr,
                                   nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                   threads);
  state.SetItemsProcessed(state.iterations() * kSites);
}

void GslEvaluate(benchmark::State& state) {
  const Data& d = Shared();
  gsl_spline* g = gsl_spline_alloc(gsl_interp_cspline, kNx);
  gsl_spline_init(g, d.x.data(), d.y.data(), kNx);
  gsl_interp_accel* acc = gsl_interp_accel_alloc();
  const std::vector<double>& sites = state.range(0) ? d.sorted_sites : d.random_sites;
  std::vector<double> r(kSites);
  for (auto _ : state)
    for (int64_t i = 0; i < kSites; ++i) r[i] = gsl_spline_eval(g, sites[i], acc);
  benchmark::DoNotOptimize(r.data());
  gsl_interp_accel_free(acc);
  gsl_spline_free(g);
  state.SetItemsProcessed(state.iterations() * kSites);
}

BENCHMARK(QorConstruct)->Arg(1)->Arg(8)->Unit(benchmark::kMillisecond);
BENCHMARK(GslConstruct)->Arg(1)->Arg(8)->Unit(benchmark::kMillisecond);
BENCHMARK(QorEvaluate)->Args({0, 1})->Args({1, 1})->Args({0, 2})->Args({1, 2})
    ->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(GslEvaluate)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace
