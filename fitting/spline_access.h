// Typed access to a task's partition, function values and coefficients, as the spline
// workers see them: storage class and uniformity are template constants of each worker.
#ifndef QOR_FITTING_SPLINE_ACCESS_H_
#define QOR_FITTING_SPLINE_ACCESS_H_

#include <stddef.h>
#include <stdint.h>

#include <utility>

#include "fitting/task.h"
#include "qor/core.h"

namespace df {

// Boundary index of a boundary code: the dimension of the workers' tables.
enum Boundary {
  kNotAKnot = 0,
  kFreeEnd = 1,
  k1st1st = 2,
  k1st2nd = 3,
  k2nd1st = 4,
  k2nd2nd = 5,
  kPeriodic = 6,
  kNoBoundary = 7
};

// -1 for a code that no constructor takes.
inline int BoundaryIndex(uint64_t bc_type) {
  switch (bc_type) {
    case dfBcNotAKnot: return kNotAKnot;
    case dfBcFreeEnd: return kFreeEnd;
    case dfBc1st1st: return k1st1st;
    case dfBc1st2nd: return k1st2nd;
    case dfBc2nd1st: return k2nd1st;
    case dfBc2nd2nd: return k2nd2nd;
    case dfBcPeriodic: return kPeriodic;
    case dfBcNone: return kNoBoundary;
    default: return -1;
  }
}
constexpr bool FirstAtLeft(int b) { return b == k1st1st || b == k1st2nd; }
constexpr bool FirstAtRight(int b) { return b == k1st1st || b == k2nd1st; }
constexpr bool SecondAtLeft(int b) { return b == k2nd1st || b == k2nd2nd; }
constexpr bool SecondAtRight(int b) { return b == k1st2nd || b == k2nd2nd; }
// Codes whose bc array holds two end values.
constexpr bool NeedsEndValues(int b) { return b >= k1st1st && b <= k2nd2nd; }

// The partition. A non-uniform worker reads the steps from an array it filled once; a uniform
// one has a single step and replaces each division by it with a multiplication by 1/h.
template <class T, bool kUniform>
struct Partition;

template <class T>
struct Partition<T, false> {
  const T* x;
  const T* h;  // h[i] = x[i+1] - x[i]
  T H(int64_t i) const { return h[i]; }
  T Span(int64_t i, int64_t j) const { return x[j] - x[i]; }
  T DivH(T v, int64_t i) const { return v / h[i]; }
  T DivH2(T v, int64_t i) const { return v / (h[i] * h[i]); }
  T Left(int64_t i) const { return x[i]; }
};

template <class T>
struct Partition<T, true> {
  T x0, h, inv;
  T H(int64_t) const { return h; }
  T Span(int64_t i, int64_t j) const { return T(j - i) * h; }
  T DivH(T v, int64_t) const { return v * inv; }
  T DivH2(T v, int64_t) const { return v * inv * inv; }
  T Left(int64_t i) const { return T(i) * h + x0; }
};

// Number of step values a worker keeps for the partition (none when uniform).
template <bool kUniform>
int64_t StepCount(int64_t nx) {
  return kUniform ? 0 : nx - 1;
}

// Builds the partition; `h` has room for StepCount values.
template <class T, bool kUniform>
Partition<T, kUniform> MakePartition(const dfTask& task, T* h) {
  const T* x = X<T>(task);
  if constexpr (kUniform) {
    const T step = (x[1] - x[0]) / T(task.nx - 1);
    return {x[0], step, T(1) / step};
  } else {
    for (int64_t i = 0; i + 1 < task.nx; ++i) h[i] = x[i + 1] - x[i];
    return {x, h};
  }
}

// Values of function k: yTable[k][i], or y[i*ny + k] for breakpoint-major storage.
template <class T, bool kColumns>
struct Values {
  const T* p;
  int64_t stride;
  Values(const dfTask& task, int64_t k)
      : p(kColumns ? Y<T>(task, 0) + k : Y<T>(task, k)),
        stride(kColumns && task.ny > 1 ? task.ny : 1) {}
  T operator[](int64_t i) const { return kColumns ? p[i * stride] : p[i]; }
};

// Number of functions the workers run over.
inline int64_t FunctionCount(const dfTask& task) { return task.ny > 1 ? task.ny : 1; }

// Work space from the core allocator, released when the owner leaves scope.
template <class T>
class Scratch {
 public:
  // A count of 0 allocates nothing.
  explicit Scratch(int64_t count)
      : p_(count > 0 ? static_cast<T*>(qor_serv_allocate(size_t(count) * sizeof(T), 128))
                     : nullptr),
        failed_(count > 0 && p_ == nullptr) {}
  ~Scratch() { qor_serv_deallocate(p_); }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  T* get() const { return p_; }
  bool failed() const { return failed_; }

 private:
  T* p_;
  bool failed_;
};

// A worker is W<T, kColumns, kUniform, kBoundary>::Run(task); the table picks one by the
// task's storage class, uniformity and the boundary index.
template <class T>
using Worker = int (*)(const dfTask&);

template <template <class, bool, bool, int> class W, class T, bool kColumns, bool kUniform,
          size_t... kB>
int RunByBoundary(const dfTask& task, int boundary, std::index_sequence<kB...>) {
  static constexpr Worker<T> kRow[] = {&W<T, kColumns, kUniform, int(kB)>::Run...};
  return kRow[boundary](task);
}

template <template <class, bool, bool, int> class W, class T, int kBoundaries>
int Dispatch(const dfTask& task, int boundary) {
  constexpr auto kSeq = std::make_index_sequence<kBoundaries>{};
  const bool uniform = IsUniform(task);
  if (IsColumns(task.yHint))
    return uniform ? RunByBoundary<W, T, true, true>(task, boundary, kSeq)
                   : RunByBoundary<W, T, true, false>(task, boundary, kSeq);
  return uniform ? RunByBoundary<W, T, false, true>(task, boundary, kSeq)
                 : RunByBoundary<W, T, false, false>(task, boundary, kSeq);
}

// Tables the constructors need besides those the frame tests: no crash on a task without
// function values or coefficient destinations.
inline int TablesStatus(const dfTask& task) {
  if (task.yTable == nullptr) return dfErrBadY;
  if (task.coeffTable == nullptr) return dfErrBadCoeff;
  return 0;
}

}  // namespace df

#endif  // QOR_FITTING_SPLINE_ACCESS_H_
