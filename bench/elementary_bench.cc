// Exponential and logarithm families, ErfInv and sAbs: each qor kernel against SLEEF's SSE2
// 1-ulp variant and glibc's libmvec SSE variant looped over the array, and glibc's scalar function
// (for ErfInv a scalar Newton reference) in a loop, at
// n = 1000 and n = 10^6, in one run. qor kernels are found by name, so absent ones are not
// registered. After the runs a table gives ns per element and the ratios qor/peer.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <emmintrin.h>
#include <sleef.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "qor/tem.h"
#include "tools/erfinv_newton.h"

extern "C" {
// libmvec's SSE variants (x86_64 vector ABI, 'b' = SSE).
__m128d _ZGVbN2v_exp(__m128d);
__m128d _ZGVbN2v_exp2(__m128d);
__m128d _ZGVbN2v_exp10(__m128d);
__m128d _ZGVbN2v_expm1(__m128d);
__m128d _ZGVbN2v_sinh(__m128d);
__m128d _ZGVbN2v_cosh(__m128d);
__m128d _ZGVbN2v_tanh(__m128d);
__m128d _ZGVbN2v_log(__m128d);
__m128d _ZGVbN2v_log2(__m128d);
__m128d _ZGVbN2v_log10(__m128d);
__m128d _ZGVbN2v_log1p(__m128d);
__m128d _ZGVbN2v_asinh(__m128d);
__m128d _ZGVbN2v_acosh(__m128d);
__m128d _ZGVbN2v_atanh(__m128d);
__m128 _ZGVbN4v_expf(__m128);
__m128 _ZGVbN4v_exp2f(__m128);
__m128 _ZGVbN4v_exp10f(__m128);
__m128 _ZGVbN4v_expm1f(__m128);
__m128 _ZGVbN4v_sinhf(__m128);
__m128 _ZGVbN4v_coshf(__m128);
__m128 _ZGVbN4v_tanhf(__m128);
__m128 _ZGVbN4v_logf(__m128);
__m128 _ZGVbN4v_log2f(__m128);
__m128 _ZGVbN4v_log10f(__m128);
__m128 _ZGVbN4v_log1pf(__m128);
__m128 _ZGVbN4v_asinhf(__m128);
__m128 _ZGVbN4v_acoshf(__m128);
__m128 _ZGVbN4v_atanhf(__m128);
}

namespace {

// Vector register and scalar function of each element type.
template <class T>
struct Lanes;
template <>
struct Lanes<double> {
  using V = __m128d;
  static constexpr int kWidth = 2;
  static V Load(const double* p) { return _mm_loadu_pd(p); }
  static void Store(double* p, V v) { _mm_storeu_pd(p, v); }
};
template <>
struct Lanes<float> {
  using V = __m128;
  static constexpr int kWidth = 4;
  static V Load(const float* p) { return _mm_loadu_ps(p); }
  static void Store(float* p, V v) { _mm_storeu_ps(p, v); }
};

// Inputs of the fast path: inside the range where no lane is flagged.
enum class Spread { kUniform, kLogUniform };

template <class T>
struct Row {
  using V = typename Lanes<T>::V;
  const char* name;  // qor function: _tem<name>
  Spread spread;
  double lo, hi;
  V (*sleef)(V);     // nullptr where SLEEF has none
  V (*libmvec)(V);   // nullptr where libmvec has none
  T (*glibc)(T);
};

// ErfInv has no SLEEF or libm peer: its scalar column is Newton's method on glibc's erf and
// erfc, in double for both types.
float ErfInvNewtonFloat(float x) { return static_cast<float>(erfinv_reference::ErfInvNewton(x)); }

// SLEEF declares its functions with const-qualified results; this gives them the plain
// signature of a row (the call becomes a jump).
template <auto F>
__m128d PlainD(__m128d x) { return F(x); }
template <auto F>
__m128 PlainF(__m128 x) { return F(x); }

// clang-format off
const Row<double> kDoubleRows[] = {
    {"dExp",   Spread::kUniform,   -700,   700,    PlainD<Sleef_expd2_u10sse2>,     _ZGVbN2v_exp,    exp},
    {"dExp2",  Spread::kUniform,   -1020,  1020,   PlainD<Sleef_exp2d2_u10sse2>,    _ZGVbN2v_exp2,   exp2},
    {"dExp10", Spread::kUniform,   -300,   300,    PlainD<Sleef_exp10d2_u10sse2>,   _ZGVbN2v_exp10,  exp10},
    {"dExpm1", Spread::kUniform,   -30,    700,    PlainD<Sleef_expm1d2_u10sse2>,   _ZGVbN2v_expm1,  expm1},
    {"dSinh",  Spread::kUniform,   -660,   660,    PlainD<Sleef_sinhd2_u10sse2>,    _ZGVbN2v_sinh,   sinh},
    {"dCosh",  Spread::kUniform,   -660,   660,    PlainD<Sleef_coshd2_u10sse2>,    _ZGVbN2v_cosh,   cosh},
    {"dTanh",  Spread::kUniform,   -20,    20,     PlainD<Sleef_tanhd2_u10sse2>,    _ZGVbN2v_tanh,   tanh},
    {"dLn",    Spread::kLogUniform, 1e-300, 1e300,  PlainD<Sleef_logd2_u10sse2>,     _ZGVbN2v_log,    log},
    {"dLog2",  Spread::kLogUniform, 1e-300, 1e300,  PlainD<Sleef_log2d2_u10sse2>,    _ZGVbN2v_log2,   log2},
    {"dLog10", Spread::kLogUniform, 1e-300, 1e300,  PlainD<Sleef_log10d2_u10sse2>,   _ZGVbN2v_log10,  log10},
    {"dLog1p", Spread::kUniform,   -0.9,   1000,   PlainD<Sleef_log1pd2_u10sse2>,   _ZGVbN2v_log1p,  log1p},
    {"dLogb",  Spread::kLogUniform, 1e-300, 1e300,  nullptr,                         nullptr,         logb},
    {"dAsinh", Spread::kUniform,   -1000,  1000,   PlainD<Sleef_asinhd2_u10sse2>,   _ZGVbN2v_asinh,  asinh},
    {"dAcosh", Spread::kUniform,   1,      1000,   PlainD<Sleef_acoshd2_u10sse2>,   _ZGVbN2v_acosh,  acosh},
    {"dAtanh", Spread::kUniform,   -0.999, 0.999,  PlainD<Sleef_atanhd2_u10sse2>,   _ZGVbN2v_atanh,  atanh},
    {"dErfInv", Spread::kUniform,  -0.999, 0.999,  nullptr,                         nullptr,         erfinv_reference::ErfInvNewton},
};
const Row<float> kFloatRows[] = {
    {"sAbs",   Spread::kUniform,   -1000,  1000,   PlainF<Sleef_fabsf4_sse2>,       nullptr,         fabsf},
    {"sExp",   Spread::kUniform,   -87,    87,     PlainF<Sleef_expf4_u10sse2>,     _ZGVbN4v_expf,   expf},
    {"sExp2",  Spread::kUniform,   -125,   127,    PlainF<Sleef_exp2f4_u10sse2>,    _ZGVbN4v_exp2f,  exp2f},
    {"sExp10", Spread::kUniform,   -37,    38,     PlainF<Sleef_exp10f4_u10sse2>,   _ZGVbN4v_exp10f, exp10f},
    {"sExpm1", Spread::kUniform,   -15,    88,     PlainF<Sleef_expm1f4_u10sse2>,   _ZGVbN4v_expm1f, expm1f},
    {"sSinh",  Spread::kUniform,   -88,    88,     PlainF<Sleef_sinhf4_u10sse2>,    _ZGVbN4v_sinhf,  sinhf},
    {"sCosh",  Spread::kUniform,   -88,    88,     PlainF<Sleef_coshf4_u10sse2>,    _ZGVbN4v_coshf,  coshf},
    {"sTanh",  Spread::kUniform,   -10,    10,     PlainF<Sleef_tanhf4_u10sse2>,    _ZGVbN4v_tanhf,  tanhf},
    {"sLn",    Spread::kLogUniform, 1e-37,  1e37,   PlainF<Sleef_logf4_u10sse2>,     _ZGVbN4v_logf,   logf},
    {"sLog2",  Spread::kLogUniform, 1e-37,  1e37,   PlainF<Sleef_log2f4_u10sse2>,    _ZGVbN4v_log2f,  log2f},
    {"sLog10", Spread::kLogUniform, 1e-37,  1e37,   PlainF<Sleef_log10f4_u10sse2>,   _ZGVbN4v_log10f, log10f},
    {"sLog1p", Spread::kUniform,   -0.9,   1000,   PlainF<Sleef_log1pf4_u10sse2>,   _ZGVbN4v_log1pf, log1pf},
    {"sLogb",  Spread::kLogUniform, 1e-37,  1e37,   nullptr,                         nullptr,         logbf},
    {"sAsinh", Spread::kUniform,   -1000,  1000,   PlainF<Sleef_asinhf4_u10sse2>,   _ZGVbN4v_asinhf, asinhf},
    {"sAcosh", Spread::kUniform,   1,      1000,   PlainF<Sleef_acoshf4_u10sse2>,   _ZGVbN4v_acoshf, acoshf},
    {"sAtanh", Spread::kUniform,   -0.999, 0.999,  PlainF<Sleef_atanhf4_u10sse2>,   _ZGVbN4v_atanhf, atanhf},
    {"sErfInv", Spread::kUniform,  -0.999, 0.999,  nullptr,                         nullptr,         ErfInvNewtonFloat},
};
// clang-format on

constexpr int kSizes[] = {1000, 1000000};

template <class T>
std::vector<T> MakeInputs(const Row<T>& row, int n) {
  std::mt19937_64 engine(12345);
  std::vector<T> a(n);
  if (row.spread == Spread::kUniform) {
    std::uniform_real_distribution<double> u(row.lo, row.hi);
    for (T& x : a) x = static_cast<T>(u(engine));
  } else {
    std::uniform_real_distribution<double> u(std::log(row.lo), std::log(row.hi));
    for (T& x : a) x = static_cast<T>(std::exp(u(engine)));
  }
  return a;
}

// The peers' loops, out of line like the library's kernels. A vector peer runs whole registers,
// then the tail in a padded register.
template <class T>
__attribute__((noinline)) void VectorLoop(typename Row<T>::V (*f)(typename Row<T>::V), int n,
                                          const T* a, T* r) {
  using L = Lanes<T>;
  int i = 0;
  for (; i + L::kWidth <= n; i += L::kWidth) L::Store(r + i, f(L::Load(a + i)));
  if (i < n) {
    T in[L::kWidth] = {}, out[L::kWidth];
    for (int j = 0; i + j < n; ++j) in[j] = a[i + j];
    L::Store(out, f(L::Load(in)));
    for (int j = 0; i + j < n; ++j) r[i + j] = out[j];
  }
}

template <class T>
__attribute__((noinline)) void ScalarLoop(T (*f)(T), int n, const T* a, T* r) {
  for (int i = 0; i < n; ++i) r[i] = f(a[i]);
}

template <class T, class Run>
void Register(const std::string& function, const char* side, const Row<T>& row, Run run) {
  for (int n : kSizes) {
    const std::string name = function + "/" + side + "/n:" + std::to_string(n);
    benchmark::RegisterBenchmark(name.c_str(), [row, run, n](benchmark::State& state) {
      const std::vector<T> a = MakeInputs(row, n);
      std::vector<T> r(n);
      for (auto _ : state) {
        run(n, a.data(), r.data());
        benchmark::DoNotOptimize(r.data());
        benchmark::ClobberMemory();
      }
      state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
    });
  }
}

template <class T>
void RegisterRow(const Row<T>& row) {
  using Kernel = void (*)(int, const T*, T*);
  auto qor = reinterpret_cast<Kernel>(dlsym(RTLD_DEFAULT, (std::string("_tem") + row.name).c_str()));
  if (qor == nullptr) return;
  Register(row.name, "qor", row, [qor](int n, const T* a, T* r) { qor(n, a, r); });
  if (row.sleef != nullptr) {
    auto f = row.sleef;
    Register(row.name, "sleef", row, [f](int n, const T* a, T* r) { VectorLoop<T>(f, n, a, r); });
  }
  if (row.libmvec != nullptr) {
    auto f = row.libmvec;
    Register(row.name, "libmvec", row,
             [f](int n, const T* a, T* r) { VectorLoop<T>(f, n, a, r); });
  }
  auto g = row.glibc;
  Register(row.name, "glibc", row, [g](int n, const T* a, T* r) { ScalarLoop<T>(g, n, a, r); });
}

// The console output, then a table of ns per element (median run when repeated) and the
// ratios qor/peer, below 1 when qor is faster.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.error_occurred) continue;
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median") continue;
      const auto items = run.counters.find("items_per_second");
      if (items == run.counters.end() || items->second.value <= 0) continue;
      // "dExp/qor/n:1000" or "dExp/qor/n:1000_median": function/side/size.
      std::string name = run.run_name.str();
      const size_t first = name.find('/'), second = name.find('/', first + 1);
      const std::string key = name.substr(0, first) + " " + name.substr(second + 3);
      ns_[key][name.substr(first + 1, second - first - 1)] = 1e9 / items->second.value;
    }
  }

  void Finalize() override {
    ConsoleReporter::Finalize();
    std::printf("\n%-18s %9s %9s %9s %9s   %s\n", "function n", "qor ns", "sleef ns",
                "libmvec ns", "glibc ns", "qor/sleef qor/libmvec qor/glibc");
    for (const auto& [key, sides] : ns_) {
      auto ns = [&](const char* side) {
        const auto it = sides.find(side);
        return it == sides.end() ? NAN : it->second;
      };
      const double qor = ns("qor");
      std::printf("%-18s %9.3f %9.3f %9.3f %9.3f   %9.2f %11.2f %9.2f\n", key.c_str(), qor,
                  ns("sleef"), ns("libmvec"), ns("glibc"), qor / ns("sleef"),
                  qor / ns("libmvec"), qor / ns("glibc"));
    }
  }

 private:
  std::map<std::string, std::map<std::string, double>> ns_;
};

}  // namespace

int main(int argc, char** argv) {
  // The kernels run in the thread's mode; naming it also keeps libqor.so linked, since every
  // kernel is found by name.
  char mode[16];
  std::snprintf(mode, sizeof mode, "0x%X", _temGetMode());
  benchmark::AddCustomContext("qor mode", mode);
  for (const auto& row : kDoubleRows) RegisterRow(row);
  for (const auto& row : kFloatRows) RegisterRow(row);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
