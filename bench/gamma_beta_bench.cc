// Gamma and Beta variates, 10^4 a call, from qor over MT19937 against std::gamma_distribution
// over std::mt19937 and GSL's gsl_ran_gamma and gsl_ran_beta over its mt19937.
#include <gsl/gsl_randist.h>
#include <gsl/gsl_rng.h>

#include <random>
#include <vector>

#include "benchmark/benchmark.h"
#include "qor/rof.h"

namespace {

constexpr int kCount = 10000;


void Label(benchmark::State& state, const char* peer) {
  state.SetItemsProcessed(state.iterations() * kCount);
  state.SetLabel(peer);
}

void QorGamma(benchmark::State& state, double alpha) {
  void* stream = nullptr;
  const uint32_t seed = 1;
  __rofNewStreamEx(&stream, ROF_BRNG_MT19937, 1, &seed);
  std::vector<double> r(kCount);
  for (auto _ : state) {
    _rofdRngGamma(0, stream, kCount, r.data(), alpha, 0, 1);
    benchmark::DoNotOptimize(r.data());
  }
  __rofDeleteStream(&stream);
  Label(state, "qor");
}
void StdGamma(benchmark::State& state, double alpha) {
  std::mt19937 engine(1);
  std::gamma_distribution<double> gamma(alpha, 1);
  std::vector<double> r(kCount);
  for (auto _ : state) {
    for (double& x : r) x = gamma(engine);
    benchmark::DoNotOptimize(r.data());
  }
  Label(state, "std");
}
void GslGamma(benchmark::State& state, double alpha) {
  gsl_rng* rng = gsl_rng_alloc(gsl_rng_mt19937);
  std::vector<double> r(kCount);
  for (auto _ : state) {
    for (double& x : r) x = gsl_ran_gamma(rng, alpha, 1);
    benchmark::DoNotOptimize(r.data());
  }
  gsl_rng_free(rng);
  Label(state, "gsl");
}

void QorBeta(benchmark::State& state, double p, double q) {
  void* stream = nullptr;
  const uint32_t seed = 1;
  __rofNewStreamEx(&stream, ROF_BRNG_MT19937, 1, &seed);
  std::vector<double> r(kCount);
  for (auto _ : state) {
    _rofdRngBeta(0, stream, kCount, r.data(), p, q, 0, 1);
    benchmark::DoNotOptimize(r.data());
  }
  __rofDeleteStream(&stream);
  Label(state, "qor");
}
void GslBeta(benchmark::State& state, double p, double q) {
  gsl_rng* rng = gsl_rng_alloc(gsl_rng_mt19937);
  std::vector<double> r(kCount);
  for (auto _ : state) {
    for (double& x : r) x = gsl_ran_beta(rng, p, q);
    benchmark::DoNotOptimize(r.data());
  }
  gsl_rng_free(rng);
  Label(state, "gsl");
}

}  // namespace

BENCHMARK_CAPTURE(QorGamma, alpha_0_5, 0.5);
BENCHMARK_CAPTURE(StdGamma, alpha_0_5, 0.5);
BENCHMARK_CAPTURE(GslGamma, alpha_0_5, 0.5);
BENCHMARK_CAPTURE(QorGamma, alpha_2_5, 2.5);
BENCHMARK_CAPTURE(StdGamma, alpha_2_5, 2.5);
BENCHMARK_CAPTURE(GslGamma, alpha_2_5, 2.5);
BENCHMARK_CAPTURE(QorGamma, alpha_30, 30.0);
BENCHMARK_CAPTURE(StdGamma, alpha_30, 30.0);
BENCHMARK_CAPTURE(GslGamma, alpha_30, 30.0);
BENCHMARK_CAPTURE(QorBeta, p_0_5_q_0_5, 0.5, 0.5);
BENCHMARK_CAPTURE(GslBeta, p_0_5_q_0_5, 0.5, 0.5);
BENCHMARK_CAPTURE(QorBeta, p_2_q_3, 2.0, 3.0);
BENCHMARK_CAPTURE(GslBeta, p_2_q_3, 2.0, 3.0);
