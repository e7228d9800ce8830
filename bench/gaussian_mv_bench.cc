// The factor multiply of the multivariate Gaussian: the core library's own loops against the
// system BLAS dtrmm and the packed form, on 4096 vectors; and the whole generator against GSL's
// gsl_ran_multivariate_gaussian, both on MT19937.
#include <benchmark/benchmark.h>
#include <gsl/gsl_linalg.h>
#include <gsl/gsl_randist.h>
#include <gsl/gsl_rng.h>
#include <math.h>

#include <cstdint>
#include <vector>

#include "qor/core_blas.h"
#include "qor/rof.h"

namespace {

constexpr int kVectors = 4096;

// A lower factor with a positive diagonal, stored as the generator reads it in full storage
// (upper triangle of a column-major array holding L') and in packed storage (L by columns).
struct Factor {
  explicit Factor(int d) : d(d), full(size_t(d) * d) {
    for (int i = 0; i < d; ++i)
      for (int k = 0; k <= i; ++k) full[k + i * d] = i == k ? 1.0 + i : 0.1 * sin(i + 3.0 * k);
    for (int k = 0; k < d; ++k)
      for (int i = k; i < d; ++i) packed.push_back(full[k + i * d]);
  }
  int d;
  std::vector<double> full, packed;
};

enum Form { kOwn, kBlas, kPacked };

template <Form form>
void BM_Multiply(benchmark::State& state) {
  const int d = static_cast<int>(state.range(0)), n = kVectors;
  const Factor f(d);
  const double one = 1;
  std::vector<double> b(size_t(d) * n, 1.0);
  for (auto _ : state) {
    if (form == kOwn)
      qor_blas_xdtrmm_4tem("L", "U", "T", "N", &d, &n, &one, f.full.data(), &d, b.data(), &d);
    else if (form == kBlas)
      qor_blas4tem_dtrmm("L", "U", "T", "N", &d, &n, &one, f.full.data(), &d, b.data(), &d);
    else
      qor_blas4tem_dptrmm("L", "L", "N", "N", &d, &n, &one, f.packed.data(), b.data(), &d);
    benchmark::DoNotOptimize(b.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * int64_t(d) * n);
}

void BM_GaussianMV_qor(benchmark::State& state) {
  const int d = static_cast<int>(state.range(0)), storage = static_cast<int>(state.range(1));
  const Factor f(d);
  const std::vector<double> a(d, 0.5);
  std::vector<double> r(size_t(d) * kVectors);
  void* stream = nullptr;
  const unsigned int seed = 1;
  __rofNewStreamEx(&stream, ROF_BRNG_MT19937, 1, &seed);
  const double* t = storage == ROF_MATRIX_FULL ? f.full.data() : f.packed.data();
  for (auto _ : state) {
    _rofdRngGaussianMV(ROF_GAUSSIAN_ICDF, stream, kVectors, r.data(), d, storage, a.data(), t);
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  __rofDeleteStream(&stream);
  state.SetItemsProcessed(state.iterations() * int64_t(d) * kVectors);
}

// GSL draws one vector a call: d Ziggurat normals, then L z + mu through dtrmv.
void BM_GaussianMV_gsl(benchmark::State& state) {
  const int d = static_cast<int>(state.range(0));
  const Factor f(d);
  gsl_rng* rng = gsl_rng_alloc(gsl_rng_mt19937);
  gsl_matrix* lower = gsl_matrix_calloc(d, d);
  for (int i = 0; i < d; ++i)
    for (int k = 0; k <= i; ++k) gsl_matrix_set(lower, i, k, f.full[k + i * d]);
  gsl_vector* mu = gsl_vector_alloc(d);
  gsl_vector_set_all(mu, 0.5);
  std::vector<double> r(size_t(d) * kVectors);
  for (auto _ : state) {
    for (int v = 0; v < kVectors; ++v) {
      gsl_vector_view x = gsl_vector_view_array(&r[size_t(v) * d], d);
      gsl_ran_multivariate_gaussian(rng, mu, lower, &x.vector);
    }
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  gsl_vector_free(mu);
  gsl_matrix_free(lower);
  gsl_rng_free(rng);
  state.SetItemsProcessed(state.iterations() * int64_t(d) * kVectors);
}

void Orders(benchmark::internal::Benchmark* b) {
  for (int d : {3, 10, 11, 37, 100}) b->Arg(d);
}

BENCHMARK_TEMPLATE(BM_Multiply, kOwn)->Apply(Orders);
BENCHMARK_TEMPLATE(BM_Multiply, kBlas)->Apply(Orders);
BENCHMARK_TEMPLATE(BM_Multiply, kPacked)->Apply(Orders);
BENCHMARK(BM_GaussianMV_qor)->ArgsProduct({{3, 11, 37}, {ROF_MATRIX_FULL, ROF_MATRIX_PACKED}});
BENCHMARK(BM_GaussianMV_gsl)->Arg(3)->Arg(11)->Arg(37);

}  // namespace
