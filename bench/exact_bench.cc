// Fmod and Remainder against SLEEF's SSE2 variants looped over the array and glibc's scalar
// functions in a loop; pack and unpack against the obvious scalar loops; at n = 1000 and 10^6,
// in one run. A table of ns per element and ratios qor/peer follows the runs.
#include <benchmark/benchmark.h>
#include <emmintrin.h>
#include <sleef.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bench/ratio_table.h"
#include "qor/tem.h"

namespace {

constexpr int kSizes[] = {1000, 1000000};

// Registers function/side/n:N for both sizes; `setup(n)` builds the state a run needs and
// returns the call to time.
void Register(const std::string& function, const std::string& side,
              std::function<std::function<void()>(int)> setup) {
  for (int n : kSizes) {
    const std::string name = function + "/" + side + "/n:" + std::to_string(n);
    benchmark::RegisterBenchmark(name.c_str(), [setup, n](benchmark::State& state) {
      const std::function<void()> run = setup(n);
      for (auto _ : state) {
        run();
        benchmark::ClobberMemory();
      }
      state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
    });
  }
}

// Quotients up to 10^6 (about 20 division steps), or the generator modulus 2^31 - 1 with
// dividends below 2^51.
struct Operands {
  std::vector<double> a, b, r;
  Operands(int n, bool modulus) : a(n), b(n), r(n) {
    std::mt19937_64 engine(7);
    std::uniform_real_distribution<double> u(-1e6, 1e6), v(0.5, 100.0), w(0.0, 0x1p51);
    for (int i = 0; i < n; ++i) {
      a[i] = modulus ? std::floor(w(engine)) : u(engine);
      b[i] = modulus ? 2147483647.0 : v(engine);
    }
  }
};

__attribute__((noinline)) void SleefLoop(__m128d (*f)(__m128d, __m128d), int n, const double* a,
                                         const double* b, double* r) {
  int i = 0;
  for (; i + 2 <= n; i += 2) _mm_storeu_pd(r + i, f(_mm_loadu_pd(a + i), _mm_loadu_pd(b + i)));
  for (; i < n; ++i) r[i] = _mm_cvtsd_f64(f(_mm_set_sd(a[i]), _mm_set1_pd(b[i])));
}
__attribute__((noinline)) void ScalarLoop(double (*f)(double, double), int n, const double* a,
                                          const double* b, double* r) {
  for (int i = 0; i < n; ++i) r[i] = f(a[i], b[i]);
}

template <auto F>
__m128d Plain(__m128d a, __m128d b) {
  return F(a, b);
}

void RegisterRemainders() {
  struct Row {
    const char* name;
    bool modulus;
    void (*qor)(int, const double*, const double*, double*);
    __m128d (*sleef)(__m128d, __m128d);
    double (*glibc)(double, double);
  };
  const Row rows[] = {
      {"dFmod", false, _temdFmod, Plain<Sleef_fmodd2_sse2>, fmod},
      {"dFmod_2^31-1", true, _temdFmod, Plain<Sleef_fmodd2_sse2>, fmod},
      {"dRemainder", false, _temdRemainder, Plain<Sleef_remainderd2_sse2>, remainder},
  };
  for (const Row& row : rows) {
    Register(row.name, "qor", [row](int n) -> std::function<void()> {
      auto o = std::make_shared<Operands>(n, row.modulus);
      return [o, row, n] { row.qor(n, o->a.data(), o->b.data(), o->r.data()); };
    });
    Register(row.name, "sleef", [row](int n) -> std::function<void()> {
      auto o = std::make_shared<Operands>(n, row.modulus);
      return [o, row, n] { SleefLoop(row.sleef, n, o->a.data(), o->b.data(), o->r.data()); };
    });
    Register(row.name, "glibc", [row](int n) -> std::function<void()> {
      auto o = std::make_shared<Operands>(n, row.modulus);
      return [o, row, n] { ScalarLoop(row.glibc, n, o->a.data(), o->b.data(), o->r.data()); };
    });
  }
}

// Pack and unpack of doubles with 64-bit integers: stride 3, random indices, a mask with half
// its entries set.
struct Layout {
  std::vector<double> a, y;
  std::vector<int64_t> index, mask;
  explicit Layout(int n)
      : a(3 * static_cast<size_t>(n)), y(3 * static_cast<size_t>(n)), index(n), mask(n) {
    std::mt19937_64 engine(9);
    for (size_t i = 0; i < a.size(); ++i) a[i] = static_cast<double>(i);
    for (int i = 0; i < n; ++i)
      index[i] = static_cast<int64_t>(engine() % n), mask[i] = engine() & 1;
  }
};

__attribute__((noinline)) void LoopPackI(int64_t n, const double* a, int64_t inc, double* y) {
  for (int64_t i = 0; i < n; ++i) y[i] = a[i * inc];
}
__attribute__((noinline)) void LoopPackV(int64_t n, const double* a, const int64_t* ix, double* y) {
  for (int64_t i = 0; i < n; ++i) y[i] = a[ix[i]];
}
__attribute__((noinline)) void LoopPackM(int64_t n, const double* a, const int64_t* m, double* y) {
  int64_t k = 0;
  for (int64_t i = 0; i < n; ++i) {
    if (m[i] != 0) y[k++] = a[i];
  }
}
__attribute__((noinline)) void LoopUnpackI(int64_t n, const double* a, double* y, int64_t inc) {
  for (int64_t i = 0; i < n; ++i) y[i * inc] = a[i];
}
__attribute__((noinline)) void LoopUnpackV(int64_t n, const double* a, double* y,
                                           const int64_t* ix) {
  for (int64_t i = 0; i < n; ++i) y[ix[i]] = a[i];
}
__attribute__((noinline)) void LoopUnpackM(int64_t n, const double* a, double* y,
                                           const int64_t* m) {
  int64_t k = 0;
  for (int64_t i = 0; i < n; ++i) {
    if (m[i] != 0) y[i] = a[k++];
  }
}

void RegisterPacks() {
  using Call = std::function<void(Layout&, int64_t)>;
  const struct {
    const char* name;
    Call qor, loop;
  } rows[] = {
      {"dPackI", [](Layout& l, int64_t n) { _temdPackI(n, l.a.data(), 3, l.y.data(), 8); },
       [](Layout& l, int64_t n) { LoopPackI(n, l.a.data(), 3, l.y.data()); }},
      {"dPackV",
       [](Layout& l, int64_t n) { _temdPackV(n, l.a.data(), l.index.data(), l.y.data(), 8); },
       [](Layout& l, int64_t n) { LoopPackV(n, l.a.data(), l.index.data(), l.y.data()); }},
      {"dPackM",
       [](Layout& l, int64_t n) { _temdPackM(n, l.a.data(), l.mask.data(), l.y.data(), 8); },
       [](Layout& l, int64_t n) { LoopPackM(n, l.a.data(), l.mask.data(), l.y.data()); }},
      {"dUnpackI", [](Layout& l, int64_t n) { _temdUnpackI(n, l.a.data(), l.y.data(), 3, 8); },
       [](Layout& l, int64_t n) { LoopUnpackI(n, l.a.data(), l.y.data(), 3); }},
      {"dUnpackV",
       [](Layout& l, int64_t n) { _temdUnpackV(n, l.a.data(), l.y.data(), l.index.data(), 8); },
       [](Layout& l, int64_t n) { LoopUnpackV(n, l.a.data(), l.y.data(), l.index.data()); }},
      {"dUnpackM",
       [](Layout& l, int64_t n) { _temdUnpackM(n, l.a.data(), l.y.data(), l.mask.data(), 8); },
       [](Layout& l, int64_t n) { LoopUnpackM(n, l.a.data(), l.y.data(), l.mask.data()); }},
  };
  for (const auto& row : rows) {
    for (const auto& [side, call] : {std::pair{"qor", row.qor}, std::pair{"loop", row.loop}}) {
      Register(row.name, side, [call = call](int n) -> std::function<void()> {
        auto l = std::make_shared<Layout>(n);
        return [l, call, n] { call(*l, n); };
      });
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  RegisterRemainders();
  RegisterPacks();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioTable table;
  benchmark::RunSpecifiedBenchmarks(&table);
  benchmark::Shutdown();
  return 0;
}
