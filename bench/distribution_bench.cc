// Distribution generators on an MT19937 stream against the C++ standard library's
// distributions over std::mt19937_64 and GSL's over gsl_rng_mt19937: doubles per second, and
// after the usual output the ratio table (qor time over peer time, below 1 when qor is faster).
#include <benchmark/benchmark.h>
#include <gsl/gsl_randist.h>
#include <gsl/gsl_rng.h>

#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "bench/ratio_table.h"
#include "qor/rof.h"

namespace {

using QorFn = std::function<int(void* stream, int n, double* r)>;
using StdFn = std::function<void(std::mt19937_64& engine, int n, double* r)>;
using GslFn = std::function<void(gsl_rng* rng, int n, double* r)>;

// A std distribution drawn into the array one value at a time; the distribution keeps its
// state (the normal one's spare value) across passes, as in a real run.
template <class Distribution, class... Params>
StdFn StdLoop(Params... params) {
  return [d = Distribution(params...)](std::mt19937_64& engine, int n, double* r) mutable {
    for (int i = 0; i < n; ++i) r[i] = d(engine);
  };
}

// A GSL sampler `draw(rng)` in a loop; the sampler is inlined into the loop.
template <class Draw>
GslFn GslLoop(Draw draw) {
  return [draw](gsl_rng* rng, int n, double* r) {
    for (int i = 0; i < n; ++i) r[i] = draw(rng);
  };
}

// One generator and its peers; a missing peer is left empty.
struct Row {
  const char* name;
  QorFn qor;
  StdFn std_peer;
  GslFn gsl_peer;
};

const std::vector<Row>& Rows() {
  static const std::vector<Row> rows = {
      {"gaussian_boxmuller",
       [](void* s, int n, double* r) {
         return _rofdRngGaussian(ROF_GAUSSIAN_BOXMULLER, s, n, r, 0.0, 1.0);
       },
       StdLoop<std::normal_distribution<double>>(0.0, 1.0),
       GslLoop([](gsl_rng* g) { return gsl_ran_gaussian_ziggurat(g, 1.0); })},
      {"gaussian_boxmuller2",
       [](void* s, int n, double* r) {
         return _rofdRngGaussian(ROF_GAUSSIAN_BOXMULLER2, s, n, r, 0.0, 1.0);
       },
       StdLoop<std::normal_distribution<double>>(0.0, 1.0),
       GslLoop([](gsl_rng* g) { return gsl_ran_gaussian_ziggurat(g, 1.0); })},
      {"gaussian_icdf",
       [](void* s, int n, double* r) {
         return _rofdRngGaussian(ROF_GAUSSIAN_ICDF, s, n, r, 0.0, 1.0);
       },
       StdLoop<std::normal_distribution<double>>(0.0, 1.0),
       GslLoop([](gsl_rng* g) { return gsl_ran_gaussian_ziggurat(g, 1.0); })},
      {"exponential",
       [](void* s, int n, double* r) { return _rofdRngExponential(0, s, n, r, 0.0, 1.0); },
       StdLoop<std::exponential_distribution<double>>(1.0),
       GslLoop([](gsl_rng* g) { return gsl_ran_exponential(g, 1.0); })},
      {"gamma_0.5", [](void* s, int n, double* r) { return _rofdRngGamma(0, s, n, r, 0.5, 0.0, 1.0); },
       StdLoop<std::gamma_distribution<double>>(0.5, 1.0),
       GslLoop([](gsl_rng* g) { return gsl_ran_gamma(g, 0.5, 1.0); })},
      {"gamma_2.5", [](void* s, int n, double* r) { return _rofdRngGamma(0, s, n, r, 2.5, 0.0, 1.0); },
       StdLoop<std::gamma_distribution<double>>(2.5, 1.0),
       GslLoop([](gsl_rng* g) { return gsl_ran_gamma(g, 2.5, 1.0); })},
      {"gamma_30", [](void* s, int n, double* r) { return _rofdRngGamma(0, s, n, r, 30, 0.0, 1.0); },
       StdLoop<std::gamma_distribution<double>>(30, 1.0),
       GslLoop([](gsl_rng* g) { return gsl_ran_gamma(g, 30, 1.0); })},
      {"beta_0.5_0.5",
       [](void* s, int n, double* r) { return _rofdRngBeta(0, s, n, r, 0.5, 0.5, 0.0, 1.0); },
       nullptr, GslLoop([](gsl_rng* g) { return gsl_ran_beta(g, 0.5, 0.5); })},
      {"beta_2.0_3.0",
       [](void* s, int n, double* r) { return _rofdRngBeta(0, s, n, r, 2.0, 3.0, 0.0, 1.0); },
       nullptr, GslLoop([](gsl_rng* g) { return gsl_ran_beta(g, 2.0, 3.0); })},
  };
  return rows;
}

template <class Fill>
void Run(benchmark::State& state, Fill fill) {
  const int n = static_cast<int>(state.range(0));
  std::vector<double> r(n);
  for (auto _ : state) {
    fill(n, r.data());
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
}

void Register(const std::string& name, const char* side,
              std::function<void(benchmark::State&)> body) {
  benchmark::RegisterBenchmark((name + "/" + side).c_str(), body)
      ->ArgName("n")
      ->Arg(1000)
      ->Arg(1000000);
}

void RegisterRow(const Row& row) {
  Register(row.name, "qor", [row](benchmark::State& state) {
    void* stream = nullptr;
    if (__rofNewStreamEx(&stream, ROF_BRNG_MT19937, 0, nullptr) != ROF_STATUS_OK) {
      state.SkipWithError("no stream");
      return;
    }
    int status = ROF_STATUS_OK;
    Run(state, [&](int n, double* r) { status = row.qor(stream, n, r); });
    if (status < 0) state.SkipWithError("generator failed");
    __rofDeleteStream(&stream);
  });
  if (row.std_peer) {
    Register(row.name, "std", [row](benchmark::State& state) {
      std::mt19937_64 engine;
      StdFn draw = row.std_peer;
      Run(state, [&](int n, double* r) { draw(engine, n, r); });
    });
  }
  if (row.gsl_peer) {
    Register(row.name, "gsl", [row](benchmark::State& state) {
      gsl_rng* rng = gsl_rng_alloc(gsl_rng_mt19937);
      Run(state, [&](int n, double* r) { row.gsl_peer(rng, n, r); });
      gsl_rng_free(rng);
    });
  }
}

}  // namespace

int main(int argc, char** argv) {
  for (const Row& row : Rows()) RegisterRow(row);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioTable table;
  benchmark::RunSpecifiedBenchmarks(&table);
  benchmark::Shutdown();
  return 0;
}
