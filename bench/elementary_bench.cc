// Elementary functions (exponential, logarithm and trigonometric families, rounding functions,
// roots and powers, ErfInv, sAbs): each qor kernel against SLEEF's SSE2 1-ulp variant and glibc's
// libmvec SSE variant looped over the array, and glibc's scalar function (for ErfInv a scalar
// Newton reference) in a loop, at n = 1000 and n = 10^6, in one run. qor kernels are found by
// name, so absent ones are not registered. After the runs a table gives ns per element and the
// ratios qor/peer.
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

#include "bench/ratio_table.h"
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
__m128d _ZGVbN2v_sin(__m128d);
__m128d _ZGVbN2v_cos(__m128d);
__m128d _ZGVbN2v_tan(__m128d);
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
__m128d _ZGVbN2v_cbrt(__m128d);
__m128 _ZGVbN4v_cbrtf(__m128);
__m128d _ZGVbN2vv_hypot(__m128d, __m128d);
__m128d _ZGVbN2vv_pow(__m128d, __m128d);
__m128 _ZGVbN4vv_hypotf(__m128, __m128);
__m128 _ZGVbN4vv_powf(__m128, __m128);
__m128 _ZGVbN4v_sinf(__m128);
__m128 _ZGVbN4v_cosf(__m128);
__m128 _ZGVbN4v_tanf(__m128);
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

// glibc loops for the roots that libm lacks.
template <class T>
T InvSqrt(T x) { return T(1) / std::sqrt(x); }
template <class T>
T InvCbrt(T x) { return T(1) / std::cbrt(x); }
template <class T>
T Pow2o3(T x) { return std::cbrt(x * x); }
template <class T>
T Pow3o2(T x) { return x * std::sqrt(x); }

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
    {"dCeil",  Spread::kUniform,   -1e6,   1e6,    PlainD<Sleef_ceild2_sse2>,       nullptr,         ceil},
    {"dFloor", Spread::kUniform,   -1e6,   1e6,    PlainD<Sleef_floord2_sse2>,      nullptr,         floor},
    {"dTrunc", Spread::kUniform,   -1e6,   1e6,    PlainD<Sleef_truncd2_sse2>,      nullptr,         trunc},
    {"dRound", Spread::kUniform,   -1e6,   1e6,    PlainD<Sleef_roundd2_sse2>,      nullptr,         round},
    {"dRint",  Spread::kUniform,   -1e6,   1e6,    PlainD<Sleef_rintd2_sse2>,       nullptr,         rint},
    // SLEEF's square root has no 1-ulp variant: its 0.5-ulp one stands in.
    {"dSqrt",    Spread::kLogUniform, 1e-300, 1e300, PlainD<Sleef_sqrtd2_u05sse2>, nullptr,       sqrt},
    {"dInvSqrt", Spread::kLogUniform, 1e-300, 1e300, nullptr,                      nullptr,       InvSqrt<double>},
    {"dCbrt",    Spread::kUniform,   -1000,  1000,   PlainD<Sleef_cbrtd2_u10sse2>, _ZGVbN2v_cbrt, cbrt},
    {"dInvCbrt", Spread::kUniform,   -1000,  1000,   nullptr,                      nullptr,       InvCbrt<double>},
    {"dPow2o3",  Spread::kUniform,   -1000,  1000,   nullptr,                      nullptr,       Pow2o3<double>},
    {"dPow3o2",  Spread::kUniform,   0,      1000,   nullptr,                      nullptr,       Pow3o2<double>},
    {"dSin",   Spread::kUniform,   -100,   100,    PlainD<Sleef_sind2_u10sse2>,     _ZGVbN2v_sin,    sin},
    {"dCos",   Spread::kUniform,   -100,   100,    PlainD<Sleef_cosd2_u10sse2>,     _ZGVbN2v_cos,    cos},
    {"dTan",   Spread::kUniform,   -100,   100,    PlainD<Sleef_tand2_u10sse2>,     _ZGVbN2v_tan,    tan},
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
    {"sCeil",  Spread::kUniform,   -1e6,   1e6,    PlainF<Sleef_ceilf4_sse2>,       nullptr,         ceilf},
    {"sFloor", Spread::kUniform,   -1e6,   1e6,    PlainF<Sleef_floorf4_sse2>,      nullptr,         floorf},
    {"sTrunc", Spread::kUniform,   -1e6,   1e6,    PlainF<Sleef_truncf4_sse2>,      nullptr,         truncf},
    {"sRound", Spread::kUniform,   -1e6,   1e6,    PlainF<Sleef_roundf4_sse2>,      nullptr,         roundf},
    {"sRint",  Spread::kUniform,   -1e6,   1e6,    PlainF<Sleef_rintf4_sse2>,       nullptr,         rintf},
    {"sSqrt",    Spread::kLogUniform, 1e-37,  1e37,  PlainF<Sleef_sqrtf4_u05sse2>, nullptr,        sqrtf},
    {"sInvSqrt", Spread::kLogUniform, 1e-37,  1e37,  nullptr,                      nullptr,        InvSqrt<float>},
    {"sCbrt",    Spread::kUniform,   -1000,  1000,   PlainF<Sleef_cbrtf4_u10sse2>, _ZGVbN4v_cbrtf, cbrtf},
    {"sInvCbrt", Spread::kUniform,   -1000,  1000,   nullptr,                      nullptr,        InvCbrt<float>},
    {"sPow2o3",  Spread::kUniform,   -1000,  1000,   nullptr,                      nullptr,        Pow2o3<float>},
    {"sPow3o2",  Spread::kUniform,   0,      1000,   nullptr,                      nullptr,        Pow3o2<float>},
    {"sSin",   Spread::kUniform,   -100,   100,    PlainF<Sleef_sinf4_u10sse2>,     _ZGVbN4v_sinf,   sinf},
    {"sCos",   Spread::kUniform,   -100,   100,    PlainF<Sleef_cosf4_u10sse2>,     _ZGVbN4v_cosf,   cosf},
    {"sTan",   Spread::kUniform,   -100,   100,    PlainF<Sleef_tanf4_u10sse2>,     _ZGVbN4v_tanf,   tanf},
    {"sErfInv", Spread::kUniform,  -0.999, 0.999,  nullptr,                         nullptr,         ErfInvNewtonFloat},
};

// Two inputs, each uniform in its range.
template <class T>
struct BinaryRow {
  using V = typename Lanes<T>::V;
  const char* name;
  double a_lo, a_hi, b_lo, b_hi;
  V (*sleef)(V, V);
  V (*libmvec)(V, V);
  T (*glibc)(T, T);
};

template <auto F>
__m128d PlainD2(__m128d x, __m128d y) { return F(x, y); }
template <auto F>
__m128 PlainF2(__m128 x, __m128 y) { return F(x, y); }

// |b log2 a| stays below the bounds of the block path in double and in single precision.
const BinaryRow<double> kDoubleBinaryRows[] = {
    {"dHypot", -1e3, 1e3, -1e3, 1e3, PlainD2<Sleef_hypotd2_u05sse2>, _ZGVbN2vv_hypot, hypot},
    {"dPow",   0.5,  100, -20,  20,  PlainD2<Sleef_powd2_u10sse2>,   _ZGVbN2vv_pow,   pow},
    {"dPowr",  0.5,  100, -20,  20,  PlainD2<Sleef_powd2_u10sse2>,   _ZGVbN2vv_pow,   pow},
};
const BinaryRow<float> kFloatBinaryRows[] = {
    {"sHypot", -1e3, 1e3, -1e3, 1e3, PlainF2<Sleef_hypotf4_u05sse2>, _ZGVbN4vv_hypotf, hypotf},
    {"sPow",   0.5,  10,  -20,  20,  PlainF2<Sleef_powf4_u10sse2>,   _ZGVbN4vv_powf,   powf},
    {"sPowr",  0.5,  10,  -20,  20,  PlainF2<Sleef_powf4_u10sse2>,   _ZGVbN4vv_powf,   powf},
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

// `results` arrays of n elements follow each other in r.
template <class T, class Run>
void Register(const std::string& function, const char* side, const Row<T>& row, Run run,
              int results = 1) {
  for (int n : kSizes) {
    const std::string name = function + "/" + side + "/n:" + std::to_string(n);
    benchmark::RegisterBenchmark(name.c_str(), [row, run, n, results](benchmark::State& state) {
      const std::vector<T> a = MakeInputs(row, n);
      std::vector<T> r(static_cast<size_t>(n) * results);
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

template <class T>
std::vector<T> Uniform(double lo, double hi, int n, uint64_t seed) {
  std::mt19937_64 engine(seed);
  std::uniform_real_distribution<double> u(lo, hi);
  std::vector<T> v(n);
  for (T& x : v) x = static_cast<T>(u(engine));
  return v;
}

template <class T>
__attribute__((noinline)) void VectorLoop2(typename Lanes<T>::V (*f)(typename Lanes<T>::V,
                                                                     typename Lanes<T>::V),
                                           int n, const T* a, const T* b, T* r) {
  using L = Lanes<T>;
  int i = 0;
  for (; i + L::kWidth <= n; i += L::kWidth) L::Store(r + i, f(L::Load(a + i), L::Load(b + i)));
  if (i < n) {
    T in_a[L::kWidth] = {}, in_b[L::kWidth] = {}, out[L::kWidth];
    for (int j = 0; i + j < n; ++j) in_a[j] = a[i + j], in_b[j] = b[i + j];
    L::Store(out, f(L::Load(in_a), L::Load(in_b)));
    for (int j = 0; i + j < n; ++j) r[i + j] = out[j];
  }
}

template <class T>
__attribute__((noinline)) void ScalarLoop2(T (*f)(T, T), int n, const T* a, const T* b, T* r) {
  for (int i = 0; i < n; ++i) r[i] = f(a[i], b[i]);
}

template <class T, class Run>
void Register2(const BinaryRow<T>& row, const char* side, Run run) {
  for (int n : kSizes) {
    const std::string name = std::string(row.name) + "/" + side + "/n:" + std::to_string(n);
    benchmark::RegisterBenchmark(name.c_str(), [row, run, n](benchmark::State& state) {
      const std::vector<T> a = Uniform<T>(row.a_lo, row.a_hi, n, 12345);
      const std::vector<T> b = Uniform<T>(row.b_lo, row.b_hi, n, 54321);
      std::vector<T> r(n);
      for (auto _ : state) {
        run(n, a.data(), b.data(), r.data());
        benchmark::DoNotOptimize(r.data());
        benchmark::ClobberMemory();
      }
      state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(n));
    });
  }
}

template <class T>
void RegisterBinaryRow(const BinaryRow<T>& row) {
  using Kernel = void (*)(int, const T*, const T*, T*);
  auto qor = reinterpret_cast<Kernel>(dlsym(RTLD_DEFAULT, (std::string("_tem") + row.name).c_str()));
  if (qor == nullptr) return;
  Register2(row, "qor", [qor](int n, const T* a, const T* b, T* r) { qor(n, a, b, r); });
  auto f = row.sleef;
  Register2(row, "sleef", [f](int n, const T* a, const T* b, T* r) { VectorLoop2<T>(f, n, a, b, r); });
  auto v = row.libmvec;
  Register2(row, "libmvec", [v](int n, const T* a, const T* b, T* r) { VectorLoop2<T>(v, n, a, b, r); });
  auto g = row.glibc;
  Register2(row, "glibc", [g](int n, const T* a, const T* b, T* r) { ScalarLoop2<T>(g, n, a, b, r); });
}

// SinCos: sines to r, cosines to r + n. SLEEF returns both in a pair of registers; glibc's
// scalar sincos stores through pointers.
template <class T, class Pair, auto kSleef>
void RegisterSinCos(const char* function, T (*sin)(T), void (*sincos)(T, T*, T*)) {
  using Kernel = void (*)(int, const T*, T*, T*);
  using L = Lanes<T>;
  auto qor = reinterpret_cast<Kernel>(dlsym(RTLD_DEFAULT, (std::string("_tem") + function).c_str()));
  if (qor == nullptr) return;
  const Row<T> row{function, Spread::kUniform, -100, 100, nullptr, nullptr, sin};
  Register(function, "qor", row, [qor](int n, const T* a, T* r) { qor(n, a, r, r + n); }, 2);
  Register(function, "sleef", row, [](int n, const T* a, T* r) {
    int i = 0;
    for (; i + L::kWidth <= n; i += L::kWidth) {
      const Pair p = kSleef(L::Load(a + i));
      L::Store(r + i, p.x);
      L::Store(r + n + i, p.y);
    }
    for (; i < n; ++i) {
      T in[L::kWidth] = {a[i]}, s[L::kWidth], c[L::kWidth];
      const Pair p = kSleef(L::Load(in));
      L::Store(s, p.x);
      L::Store(c, p.y);
      r[i] = s[0], r[n + i] = c[0];
    }
  }, 2);
  Register(function, "glibc", row, [sincos](int n, const T* a, T* r) {
    for (int i = 0; i < n; ++i) sincos(a[i], r + i, r + n + i);
  }, 2);
}

// The table of RatioTable in fixed columns: ns per element of qor and the three peers, then the
// ratios qor/peer, below 1 when qor is faster.
class PeerColumns : public RatioTable {
 public:
  void Finalize() override {
    ConsoleReporter::Finalize();
    std::printf("\n%-18s %9s %9s %9s %9s   %s\n", "function n", "qor ns", "sleef ns",
                "libmvec ns", "glibc ns", "qor/sleef qor/libmvec qor/glibc");
    for (const auto& [key, sides] : ns()) {
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
  for (const auto& row : kDoubleBinaryRows) RegisterBinaryRow(row);
  for (const auto& row : kFloatBinaryRows) RegisterBinaryRow(row);
  RegisterSinCos<double, Sleef___m128d_2, Sleef_sincosd2_u10sse2>("dSinCos", sin, sincos);
  RegisterSinCos<float, Sleef___m128_2, Sleef_sincosf4_u10sse2>("sSinCos", sinf, sincosf);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  PeerColumns reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
