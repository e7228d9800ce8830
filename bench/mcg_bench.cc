// MCG31M1 and MCG59 through the library against the plain one-at-a-time recurrence of the
// same generator and against std::minstd_rand, integers and doubles on [0, 1).
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "qor/rof.h"

namespace {

constexpr uint64_t kA31 = 1132489760, kM31 = 0x7FFFFFFF;
constexpr uint64_t kA59 = 302875106592253ull, kMask59 = (1ull << 59) - 1;

// One side of a comparison: fills n integers or n doubles and keeps its state between calls.
struct Qor {
  explicit Qor(int brng) {
    const uint32_t seed = 1;
    __rofNewStreamEx(&stream, brng, 1, &seed);
    const int row = (brng >> 20) - 1;
    ints = __RegBrngsNew[row].iBrng;
    doubles = __RegBrngsNew[row].dBrng;
  }
  ~Qor() { __rofDeleteStream(&stream); }
  Qor(const Qor&) = delete;
  Qor& operator=(const Qor&) = delete;
  void Integers(int n, void* r) { ints(stream, n, r); }
  void Doubles(int n, double* r) { doubles(stream, n, r, 0.0, 1.0); }
  void* stream = nullptr;
  rofiBrngFn ints;
  rofdBrngFn doubles;
};

// The peers stay out of line, so that each pass is one call, as in the library. Their doubles
// are k * x + a on [a, b) as in the library, with a and b read from the object at run time.
struct Interval {
  double a = 0.0, b = 1.0;
};

struct Scalar31 : Interval {
  uint32_t x = 1;
  static uint32_t Step(uint32_t x) {
    const uint64_t p = kA31 * x;
    const uint64_t r = (p & kM31) + (p >> 31);
    return static_cast<uint32_t>(r >= kM31 ? r - kM31 : r);
  }
  __attribute__((noinline)) void Integers(int n, void* out) {
    uint32_t* r = static_cast<uint32_t*>(out);
    for (int i = 0; i < n; ++i, x = Step(x)) r[i] = x;
  }
  __attribute__((noinline)) void Doubles(int n, double* r) {
    const double k = (b - a) * (1.0 / 2147483647.0);
    for (int i = 0; i < n; ++i, x = Step(x)) r[i] = k * x + a;
  }
};

struct Scalar59 : Interval {
  uint64_t x = 1;
  __attribute__((noinline)) void Integers(int n, void* out) {
    uint64_t* r = static_cast<uint64_t*>(out);
    for (int i = 0; i < n; ++i, x = (kA59 * x) & kMask59) r[i] = x;
  }
  __attribute__((noinline)) void Doubles(int n, double* r) {
    const double k = (b - a) * 0x1p-59;
    for (int i = 0; i < n; ++i, x = (kA59 * x) & kMask59)
      r[i] = k * static_cast<double>(static_cast<int64_t>(x)) + a;
  }
};

struct Minstd : Interval {
  std::minstd_rand engine;
  __attribute__((noinline)) void Integers(int n, void* out) {
    uint32_t* r = static_cast<uint32_t*>(out);
    for (int i = 0; i < n; ++i) r[i] = static_cast<uint32_t>(engine());
  }
  __attribute__((noinline)) void Doubles(int n, double* r) {
    const double k = (b - a) * (1.0 / 2147483647.0);
    for (int i = 0; i < n; ++i) r[i] = k * static_cast<double>(engine()) + a;
  }
};

// `make` gives the side, so that each benchmark starts from a fresh state.
template <class Make>
void BM_Integers(benchmark::State& state, Make make) {
  const int n = static_cast<int>(state.range(0));
  auto side = make();
  std::vector<uint64_t> r(n);  // room for 64-bit words
  for (auto _ : state) {
    side.Integers(n, r.data());
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
}

template <class Make>
void BM_Doubles(benchmark::State& state, Make make) {
  const int n = static_cast<int>(state.range(0));
  auto side = make();
  std::vector<double> r(n);
  for (auto _ : state) {
    side.Doubles(n, r.data());
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
}

void Sizes(benchmark::internal::Benchmark* b) { b->ArgName("n")->Arg(1000)->Arg(1000000); }

auto Mcg31m1() { return Qor(ROF_BRNG_MCG31M1); }
auto Mcg59() { return Qor(ROF_BRNG_MCG59); }
auto Plain31() { return Scalar31(); }
auto Plain59() { return Scalar59(); }
auto StdMinstd() { return Minstd(); }

BENCHMARK_CAPTURE(BM_Integers, mcg31m1_qor, Mcg31m1)->Apply(Sizes);
BENCHMARK_CAPTURE(BM_Integers, mcg31m1_scalar, Plain31)->Apply(Sizes);
BENCHMARK_CAPTURE(BM_Integers, mcg59_qor, Mcg59)->Apply(Sizes);
BENCHMARK_CAPTURE(BM_Integers, mcg59_scalar, Plain59)->Apply(Sizes);
BENCHMARK_CAPTURE(BM_Integers, minstd_rand, StdMinstd)->Apply(Sizes);

BENCHMARK_CAPTURE(BM_Doubles, mcg31m1_qor, Mcg31m1)->Apply(Sizes);
BENCHMARK_CAPTURE(BM_Doubles, mcg31m1_scalar, Plain31)->Apply(Sizes);
BENCHMARK_CAPTURE(BM_Doubles, mcg59_qor, Mcg59)->Apply(Sizes);
BENCHMARK_CAPTURE(BM_Doubles, mcg59_scalar, Plain59)->Apply(Sizes);
BENCHMARK_CAPTURE(BM_Doubles, minstd_rand, StdMinstd)->Apply(Sizes);

}  // namespace
