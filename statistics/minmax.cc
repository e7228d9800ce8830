// Minima and maxima, folded into what the result arrays already hold, so that a run continues
// over several calls; the caller starts the arrays from the first observation.
#include "qor/core.h"
#include "statistics/task.h"

namespace rof {
namespace ss {
namespace {

constexpr uint32_t kMinmaxMethods = ROF_SS_METHOD_FAST | ROF_SS_METHOD_ONE_PASS;

template <class T, bool kMin, bool kMax>
void Scan(const T* x, int64_t count, int64_t stride, T* lo, T* hi) {
  T low = kMin ? *lo : T(0), high = kMax ? *hi : T(0);
  for (int64_t i = 0; i < count; ++i) {
    const T v = x[i * stride];
    if (kMin && v < low) low = v;
    if (kMax && v > high) high = v;
  }
  if (kMin) *lo = low;
  if (kMax) *hi = high;
}

template <class T, bool kMin, bool kMax>
void Minmax(const rofSSTask& task, int64_t p, int64_t n, bool columns) {
  const T* x = Data<T>(task.observ);
  T* lo = Data<T>(task.minimum);
  T* hi = Data<T>(task.maximum);
  auto marked = [&](int64_t i) {
    return task.indices == nullptr || ReadIntAt(task, task.indices, i) != 0;
  };
  if (!columns) {
    for (int64_t i = 0; i < p; ++i)
      if (marked(i)) Scan<T, kMin, kMax>(x + i * n, n, 1, lo + i, hi + i);
    return;
  }
  // Column storage: one observation after the other, across the marked variables.
  for (int64_t obs = 0; obs < n; ++obs) {
    const T* row = x + obs * p;
    for (int64_t i = 0; i < p; ++i)
      if (marked(i)) Scan<T, kMin, kMax>(row + i, 1, 1, lo + i, hi + i);
  }
}

template <class T>
int MinmaxCall(rofSSTask* task, uint64_t estimates, uint32_t method) {
  if (task == nullptr) return ROF_SS_NULL_TASK;
  const bool want_min = (estimates & ROF_SS_MIN) != 0, want_max = (estimates & ROF_SS_MAX) != 0;
  if (want_min && task->minimum == nullptr) return ROF_SS_NO_MINIMUM;
  if (want_max && task->maximum == nullptr) return ROF_SS_NO_MAXIMUM;
  if ((method & kMinmaxMethods) == 0) return ROF_SS_BAD_METHOD;
  if (task->observN == nullptr || ReadInt(*task, task->observN) < 1) return ROF_SS_BAD_OBSERV_N;
  if (task->observ == nullptr) return ROF_SS_NO_OBSERV;
  if (task->observStorage == nullptr) return ROF_SS_NO_STORAGE;
  const int64_t storage = ReadInt(*task, task->observStorage);
  if ((storage & (ROF_SS_OBSERV_ROWS | ROF_SS_OBSERV_COLUMNS)) == 0) return ROF_SS_BAD_STORAGE;
  const int64_t p = ReadInt(*task, task->dimen);
  if (p < 1) return ROF_SS_BAD_DIMEN;
  const int64_t n = ReadInt(*task, task->observN);
  const bool columns = p > 1 && (storage & ROF_SS_OBSERV_ROWS) == 0;
  if (want_min && want_max) Minmax<T, true, true>(*task, p, n, columns);
  else if (want_min) Minmax<T, true, false>(*task, p, n, columns);
  else if (want_max) Minmax<T, false, true>(*task, p, n, columns);
  return ROF_SS_OK;
}

}  // namespace
}  // namespace ss
}  // namespace rof

extern "C" {

QOR_API int _rofdSSMinmax(rofSSTask* task, uint64_t estimates, uint32_t method) {
  return rof::ss::MinmaxCall<double>(task, estimates, method);
}
QOR_API int _rofsSSMinmax(rofSSTask* task, uint64_t estimates, uint32_t method) {
  return rof::ss::MinmaxCall<float>(task, estimates, method);
}

}  // extern "C"
