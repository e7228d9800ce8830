// Statistics test helpers: a long double two-pass reference of the basic estimates, and a task
// with every basic result array attached and filled with a sentinel.
#ifndef QOR_TESTS_STATISTICS_HARNESS_H_
#define QOR_TESTS_STATISTICS_HARNESS_H_

#include <math.h>
#include <stdint.h>

#include <map>
#include <random>
#include <vector>

#include "qor/ss.h"

namespace ss_test {
using Real = long double;

// Observations of p variables, n of them, as one would hold them in either storage.
struct Sample {
  int64_t p = 0, n = 0;
  bool columns = false;
  std::vector<double> x;        // rows: x[v * n + i]; columns: x[i * p + v]
  std::vector<double> weights;  // empty: all 1
  double At(int64_t v, int64_t i) const { return columns ? x[i * p + v] : x[v * n + i]; }
  double Weight(int64_t i) const { return weights.empty() ? 1.0 : weights[i]; }
};

struct Reference {
  Real w = 0, w2 = 0;
  std::vector<Real> mean, raw[3], cen[3];  // raw: means of x^2..x^4; cen: sums of (x-m)^2..4
  std::vector<Real> abs_raw[4];            // weighted means of |x|^1..4, error scales
  std::vector<Real> abs_cen[3];            // sums of w (|x-m| + slack |x|)^2..4, error scales
  std::vector<Real> cross;                 // p by p

  // W - W2 / W, exactly 0 for a single observation.
  Real CovDivisor() const { return (w * w - w2) / w; }
};

// Reference of all chunks together; `centre` replaces the mean; `slack` widens the central
// sums' scales by a computed mean's rounding, which decides them for constant variables.
inline Reference Compute(const std::vector<const Sample*>& chunks, const double* centre,
                         Real slack = 0) {
  Reference r;
  const int64_t p = chunks[0]->p;
  r.mean.assign(p, 0);
  for (auto* group : {r.raw, r.cen, r.abs_cen})
    for (int k = 0; k < 3; ++k) group[k].assign(p, 0);
  for (auto& v : r.abs_raw) v.assign(p, 0);
  r.cross.assign(p * p, 0);
  for (const Sample* s : chunks)
    for (int64_t i = 0; i < s->n; ++i) {
      const Real w = s->Weight(i);
      r.w += w;
      r.w2 += w * w;
      for (int64_t v = 0; v < p; ++v) {
        const Real x = s->At(v, i);
        r.mean[v] += w * x;
        Real power = x * x, abs_power = fabsl(x);
        for (int k = 0; k < 3; ++k, power *= x) r.raw[k][v] += w * power;
        for (int k = 0; k < 4; ++k, abs_power *= fabsl(x)) r.abs_raw[k][v] += w * abs_power;
      }
    }
  for (int64_t v = 0; v < p; ++v) {
    r.mean[v] /= r.w;
    for (int k = 0; k < 3; ++k) r.raw[k][v] /= r.w;
    for (int k = 0; k < 4; ++k) r.abs_raw[k][v] /= r.w;
  }
  std::vector<Real> c(p);
  for (int64_t v = 0; v < p; ++v) c[v] = centre ? Real(centre[v]) : r.mean[v];
  std::vector<Real> d(p);
  for (const Sample* s : chunks)
    for (int64_t i = 0; i < s->n; ++i) {
      const Real w = s->Weight(i);
      for (int64_t v = 0; v < p; ++v) {
        const Real x = s->At(v, i);
        d[v] = x - c[v];
        const Real e = fabsl(d[v]) + slack * fabsl(x);
        Real power = d[v] * d[v], abs_power = e * e;
        for (int k = 0; k < 3; ++k, power *= d[v], abs_power *= e) {
          r.cen[k][v] += w * power;
          r.abs_cen[k][v] += w * abs_power;
        }
      }
      for (int64_t a = 0; a < p; ++a)
        for (int64_t b = a; b < p; ++b) r.cross[a * p + b] += w * d[a] * d[b];
    }
  for (int64_t a = 0; a < p; ++a)
    for (int64_t b = 0; b < a; ++b) r.cross[a * p + b] = r.cross[b * p + a];
  return r;
}
inline int Edit(rofSSTask* t, int id, const double* v) { return __rofdSSEditTask(t, id, v); }
inline int Edit(rofSSTask* t, int id, const float* v) { return __rofsSSEditTask(t, id, v); }

// The estimates that the sums and the cross-product can give, and all basic estimates.
constexpr uint64_t kMoments = ROF_SS_MEAN | ROF_SS_RAW_MOM2 | ROF_SS_RAW_MOM3 | ROF_SS_RAW_MOM4 |
                              ROF_SS_CEN_MOM2 | ROF_SS_CEN_MOM3 | ROF_SS_CEN_MOM4 |
                              ROF_SS_KURTOSIS | ROF_SS_SKEWNESS | ROF_SS_VARIATION | ROF_SS_COV |
                              ROF_SS_COR;
constexpr uint64_t kAllBasic = kMoments | ROF_SS_SUM | ROF_SS_RAW_SUM2 | ROF_SS_RAW_SUM3 |
                               ROF_SS_RAW_SUM4 | ROF_SS_CEN_SUM2 | ROF_SS_CEN_SUM3 |
                               ROF_SS_CEN_SUM4 | ROF_SS_CROSS_PRODUCT;
constexpr int kMomentIds[] = {7, 8, 9, 10, 11, 12, 13, 14, 15, 18, 19, 21};  // kMoments' results

// Ids of the vector results and of the matrix results.
constexpr int kVectorIds[] = {7,  8,  9,  10, 11, 12, 13, 14, 15, 16,
                              17, 18, 67, 68, 69, 70, 71, 72, 73};
constexpr int kMatrixIds[] = {19, 21, 74};
constexpr double kSentinel = 12345.0;

// Sample with offsets of a few spreads, skewed values, optional weights with some zeros.
inline Sample MakeSample(int64_t p, int64_t n, bool columns, bool weighted, uint64_t seed) {
  Sample s;
  s.p = p;
  s.n = n;
  s.columns = columns;
  s.x.resize(p * n);
  std::mt19937_64 gen(seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  for (int64_t i = 0; i < n; ++i)
    for (int64_t v = 0; v < p; ++v) {
      const double a = u(gen);
      const double value = 3.0 + 0.7 * v + (1.0 + 0.1 * v) * (a + 0.5 * a * a * a + 0.3 * a * a);
      (columns ? s.x[i * p + v] : s.x[v * n + i]) = value;
    }
  if (weighted) {
    s.weights.resize(n);
    for (int64_t i = 0; i < n; ++i) s.weights[i] = i % 7 == 3 ? 0.0 : 0.5 + 0.75 * (u(gen) + 1);
  }
  return s;
}

// Rounds the values and weights of s to T in place.
template <class T>
void RoundTo(Sample& s) {
  for (auto* values : {&s.x, &s.weights})
    for (double& v : *values) v = static_cast<T>(v);
}

template <class T>
struct Harness {
  int32_t p, n, storage;
  std::vector<T> x, w;
  std::vector<int32_t> indices;
  int32_t matrix_storage[3] = {0, 0, 0};  // cov, cor, crossProduct
  std::map<int, std::vector<T>> arrays;
  T accum[2] = {0, 0};
  rofSSTask* task = nullptr;

  // A task over s (rounded to T in place), indices when `subset`: variables v % 3 != 1.
  Harness(Sample& s, bool subset, int32_t form) : p(s.p), n(s.n) {
    storage = s.columns ? ROF_SS_OBSERV_COLUMNS : ROF_SS_OBSERV_ROWS;
    RoundTo<T>(s);
    x.assign(s.x.begin(), s.x.end());
    w.assign(s.weights.begin(), s.weights.end());
    if (subset)
      for (int32_t v = 0; v < p; ++v) indices.push_back(v % 3 != 1);
    T* const weights = w.empty() ? nullptr : w.data();
    const int32_t* const marks = indices.empty() ? nullptr : indices.data();
    if constexpr (sizeof(T) == 8)
      __rofdSSNewTask(&task, &p, &n, &storage, x.data(), weights, marks, 0);
    else
      __rofsSSNewTask(&task, &p, &n, &storage, x.data(), weights, marks, 0);
    for (int id : kVectorIds) arrays[id].assign(p, T(kSentinel));
    for (int id : kMatrixIds) arrays[id].assign(int64_t(p) * p, T(kSentinel));
    for (auto& [id, a] : arrays) Edit(task, id, a.data());
    for (int32_t& m : matrix_storage) m = form;
    __rofiSSEditTask(task, ROF_SS_ED_COV_STORAGE, &matrix_storage[0]);
    __rofiSSEditTask(task, ROF_SS_ED_COR_STORAGE, &matrix_storage[1]);
    __rofiSSEditTask(task, ROF_SS_ED_CROSS_PRODUCT_STORAGE, &matrix_storage[2]);
    Edit(task, ROF_SS_ED_ACCUM_WEIGHT, accum);
  }
  ~Harness() { __rofSSDeleteTask(&task); }
  Harness(const Harness&) = delete;

  bool Active(int64_t v) const { return indices.empty() || indices[v] != 0; }
  int Run(uint64_t estimates, uint32_t method, const qorThreading* threading = nullptr) {
    if constexpr (sizeof(T) == 8) return _rofdSSBasic(task, estimates, method, threading);
    return _rofsSSBasic(task, estimates, method, threading);
  }
  // Element (a, b), a <= b, of a matrix result in its storage form; null if not stored.
  const T* MatrixAt(int id, int64_t a, int64_t b) const {
    const int32_t form = matrix_storage[id == 19 ? 0 : id == 21 ? 1 : 2];
    const std::vector<T>& m = arrays.at(id);
    if (form == ROF_SS_MATRIX_PACKED) return &m[a + b * (b + 1) / 2];
    if (form == ROF_SS_MATRIX_DIAGONAL) return a == b ? &m[a] : nullptr;
    return &m[a * p + b];
  }
};
}  // namespace ss_test

#endif  // QOR_TESTS_STATISTICS_HARNESS_H_
