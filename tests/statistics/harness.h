// A statistics task with every basic result array attached and filled with a sentinel.
#ifndef QOR_TESTS_STATISTICS_HARNESS_H_
#define QOR_TESTS_STATISTICS_HARNESS_H_

#include <stdint.h>

#include <map>
#include <random>
#include <vector>

#include "qor/ss.h"
#include "tests/statistics/reference.h"

namespace ss_test {
inline int NewTask(rofSSTask** t, const void* p, const void* n, const void* s, const double* x,
                   const double* w, const void* i) {
  return __rofdSSNewTask(t, p, n, s, x, w, i, 0);
}
inline int NewTask(rofSSTask** t, const void* p, const void* n, const void* s, const float* x,
                   const float* w, const void* i) {
  return __rofsSSNewTask(t, p, n, s, x, w, i, 0);
}
inline int Edit(rofSSTask* t, int id, const double* v) { return __rofdSSEditTask(t, id, v); }
inline int Edit(rofSSTask* t, int id, const float* v) { return __rofsSSEditTask(t, id, v); }
inline int Basic(rofSSTask* t, uint64_t e, uint32_t m, const qorThreading* th, double) {
  return _rofdSSBasic(t, e, m, th);
}
inline int Basic(rofSSTask* t, uint64_t e, uint32_t m, const qorThreading* th, float) {
  return _rofsSSBasic(t, e, m, th);
}

constexpr uint64_t kAllBasic = ROF_SS_MEAN | ROF_SS_RAW_MOM2 | ROF_SS_RAW_MOM3 |
                               ROF_SS_RAW_MOM4 | ROF_SS_CEN_MOM2 | ROF_SS_CEN_MOM3 |
                               ROF_SS_CEN_MOM4 | ROF_SS_KURTOSIS | ROF_SS_SKEWNESS |
                               ROF_SS_VARIATION | ROF_SS_COV | ROF_SS_COR | ROF_SS_SUM |
                               ROF_SS_RAW_SUM2 | ROF_SS_RAW_SUM3 | ROF_SS_RAW_SUM4 |
                               ROF_SS_CEN_SUM2 | ROF_SS_CEN_SUM3 | ROF_SS_CEN_SUM4 |
                               ROF_SS_CROSS_PRODUCT;
// The estimates that the sums and the cross-product can give.
constexpr uint64_t kMoments = ROF_SS_MEAN | ROF_SS_RAW_MOM2 | ROF_SS_RAW_MOM3 | ROF_SS_RAW_MOM4 |
                              ROF_SS_CEN_MOM2 | ROF_SS_CEN_MOM3 | ROF_SS_CEN_MOM4 |
                              ROF_SS_KURTOSIS | ROF_SS_SKEWNESS | ROF_SS_VARIATION | ROF_SS_COV |
                              ROF_SS_COR;

// Ids of the vector results and of the matrix results.
constexpr int kVectorIds[] = {7, 8, 9, 10, 11, 12, 13, 14, 15, 18, 67, 68, 69, 70, 71, 72, 73};
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
    for (double& v : s.x) v = static_cast<T>(v);
    for (double& v : s.weights) v = static_cast<T>(v);
    x.assign(s.x.begin(), s.x.end());
    w.assign(s.weights.begin(), s.weights.end());
    if (subset)
      for (int32_t v = 0; v < p; ++v) indices.push_back(v % 3 != 1);
    NewTask(&task, &p, &n, &storage, x.data(), w.empty() ? nullptr : w.data(),
            indices.empty() ? nullptr : indices.data());
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
    return Basic(task, estimates, method, threading, T());
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
