// Cell search alone: nx = 10^6 non-uniform breakpoints, 10^7 random or sorted sites, against
// GSL's gsl_interp_bsearch (random) and gsl_interp_accel_find (sorted); qor serially and
// with a pool of 2 threads.
#include <benchmark/benchmark.h>
#include <gsl/gsl_interp.h>

#include <algorithm>
#include <random>
#include <vector>

#include "qor/df.h"
#include "support/threading_tables.h"

namespace {

constexpr int64_t kNx = 1000000;
constexpr int64_t kSites = 10000000;

struct Data {
  std::vector<double> x, random_sites, sorted_sites;
  Data() : x(kNx), random_sites(kSites) {
    std::mt19937_64 rng(1);
    std::uniform_real_distribution<double> gap(0.5, 1.5);
    double v = 0;
    for (double& xi : x) xi = v += gap(rng);
    std::uniform_real_distribution<double> site(x.front(), x.back());
    for (double& s : random_sites) s = site(rng);
    sorted_sites = random_sites;
    std::sort(sorted_sites.begin(), sorted_sites.end());
  }
};

const Data& TheData() {
  static const Data data;
  return data;
}

void Qor(benchmark::State& state, bool sorted, int threads) {
  const Data& d = TheData();
  const std::vector<double>& sites = sorted ? d.sorted_sites : d.random_sites;
  dfTask* task = nullptr;
  qor_df_kernel_dNewTask1D(&task, kNx, d.x.data(), dfXNonUniform, 0, nullptr, 0, 0);
  std::vector<uint32_t> cells(kSites);
  const qorThreading* table =
      threads > 1 ? qor_support_pool_threading(threads) : qor_support_serial_threading();
  for (auto _ : state) {
    qor_df_kernel_dDFSearch1D(task, 0, kSites, sites.data(), sorted ? dfSiteSorted : 0, nullptr,
                              cells.data(), nullptr, nullptr, table);
    benchmark::DoNotOptimize(cells.data());
  }
  state.SetItemsProcessed(state.iterations() * kSites);
  qor_df_kernel_DeleteTask(&task);
}

void GslRandom(benchmark::State& state) {
  const Data& d = TheData();
  std::vector<uint32_t> cells(kSites);
  for (auto _ : state) {
    for (int64_t i = 0; i < kSites; ++i)
      cells[i] = static_cast<uint32_t>(gsl_interp_bsearch(d.x.data(), d.random_sites[i], 0, kNx - 1));
    benchmark::DoNotOptimize(cells.data());
  }
  state.SetItemsProcessed(state.iterations() * kSites);
}

void GslSorted(benchmark::State& state) {
  const Data& d = TheData();
  std::vector<uint32_t> cells(kSites);
  gsl_interp_accel* accel = gsl_interp_accel_alloc();
  for (auto _ : state) {
    gsl_interp_accel_reset(accel);
    for (int64_t i = 0; i < kSites; ++i)
      cells[i] = static_cast<uint32_t>(gsl_interp_accel_find(accel, d.x.data(), kNx, d.sorted_sites[i]));
    benchmark::DoNotOptimize(cells.data());
  }
  state.SetItemsProcessed(state.iterations() * kSites);
  gsl_interp_accel_free(accel);
}

BENCHMARK(GslRandom)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Qor, random_serial, false, 1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Qor, random_2threads, false, 2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(GslSorted)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Qor, sorted_serial, true, 1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Qor, sorted_2threads, true, 2)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
