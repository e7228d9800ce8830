// MT19937 through the library against std::mt19937 (libstdc++): 32-bit words, and doubles on
// [0, 1) against std::uniform_real_distribution over std::mt19937.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "qor/rof.h"

namespace {

struct Qor {
  Qor() { __rofNewStreamEx(&stream, ROF_BRNG_MT19937, 0, nullptr); }
  ~Qor() { __rofDeleteStream(&stream); }
  Qor(const Qor&) = delete;
  Qor& operator=(const Qor&) = delete;
  void Words(int n, uint32_t* r) { __rofiBRngMT19937(stream, n, r); }
  void Doubles(int n, double* r) { __rofdBRngMT19937(stream, n, r, 0.0, 1.0); }
  void* stream = nullptr;
};

// The peer fills the same arrays, one call per pass, kept out of line as the library is.
struct Std {
  std::mt19937 engine;
  std::uniform_real_distribution<double> uniform{0.0, 1.0};
  __attribute__((noinline)) void Words(int n, uint32_t* r) {
    for (int i = 0; i < n; ++i) r[i] = static_cast<uint32_t>(engine());
  }
  __attribute__((noinline)) void Doubles(int n, double* r) {
    for (int i = 0; i < n; ++i) r[i] = uniform(engine);
  }
};

template <class Side>
void BM_Words(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  Side side;
  std::vector<uint32_t> r(n);
  for (auto _ : state) {
    side.Words(n, r.data());
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
}

template <class Side>
void BM_Doubles(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  Side side;
  std::vector<double> r(n);
  for (auto _ : state) {
    side.Doubles(n, r.data());
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
}

void Sizes(benchmark::internal::Benchmark* b) { b->ArgName("n")->Arg(1000)->Arg(1000000); }

BENCHMARK_TEMPLATE(BM_Words, Qor)->Name("words/mt19937_qor")->Apply(Sizes);
BENCHMARK_TEMPLATE(BM_Words, Std)->Name("words/std_mt19937")->Apply(Sizes);
BENCHMARK_TEMPLATE(BM_Doubles, Qor)->Name("doubles/mt19937_qor")->Apply(Sizes);
BENCHMARK_TEMPLATE(BM_Doubles, Std)->Name("doubles/std_uniform_real_mt19937")->Apply(Sizes);

}  // namespace
