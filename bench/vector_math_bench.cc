// Vector addition through the exported stubs against a plain C++ loop in the same binary.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "qor/tem.h"

namespace {

// n elements spaced `stride` apart in each of a, b and r. The values stay normal and their sums
// never overflow, so only the plain addition path runs.
struct Operands {
  Operands(int n, int stride) : a(static_cast<size_t>(n) * stride), b(a.size()), r(a.size()) {
    for (size_t i = 0; i < a.size(); ++i) {
      a[i] = 1.0 + 0.25 * static_cast<double>(i);
      b[i] = 3.0 - 0.125 * static_cast<double>(i);
    }
  }
  std::vector<double> a, b, r;
};

// The peers stay out of line: like the library, each pass is one call on pointers the compiler
// knows nothing about, and the loop cannot be merged into the benchmark loop or hoisted out.
__attribute__((noinline)) void PlainAdd(int n, const double* a, const double* b, double* r) {
  for (int i = 0; i < n; ++i) r[i] = a[i] + b[i];
}

__attribute__((noinline)) void PlainAddStrided(int n, const double* a, int inca, const double* b,
                                               int incb, double* r, int incr) {
  for (int i = 0; i < n; ++i) r[i * incr] = a[i * inca] + b[i * incb];
}

// Arguments: {n, stride}. The stride arrives at run time, so no side is specialised for it.
template <class Add>
void BM_Add(benchmark::State& state, Add add) {
  const int n = static_cast<int>(state.range(0));
  const int stride = static_cast<int>(state.range(1));
  Operands ops(n, stride);
  for (auto _ : state) {
    add(n, ops.a.data(), ops.b.data(), ops.r.data(), stride);
    benchmark::DoNotOptimize(ops.r.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
}

void ContiguousSizes(benchmark::internal::Benchmark* b) {
  b->ArgNames({"n", "stride"})->Args({1000, 1})->Args({1000000, 1});
}

void StridedSizes(benchmark::internal::Benchmark* b) {
  b->ArgNames({"n", "stride"})->Args({1000, 2})->Args({1000000, 2});
}

BENCHMARK_CAPTURE(BM_Add, qor_dAdd, [](int n, const double* a, const double* b, double* r, int) {
  _temdAdd(n, a, b, r);
})->Apply(ContiguousSizes);
BENCHMARK_CAPTURE(BM_Add, plain_loop, [](int n, const double* a, const double* b, double* r, int) {
  PlainAdd(n, a, b, r);
})->Apply(ContiguousSizes);

BENCHMARK_CAPTURE(BM_Add, qor_dAddI,
                  [](int n, const double* a, const double* b, double* r, int stride) {
                    _temdAddI(n, a, stride, b, stride, r, stride);
                  })
    ->Apply(StridedSizes);
BENCHMARK_CAPTURE(BM_Add, plain_strided_loop,
                  [](int n, const double* a, const double* b, double* r, int stride) {
                    PlainAddStrided(n, a, stride, b, stride, r, stride);
                  })
    ->Apply(StridedSizes);

}  // namespace
