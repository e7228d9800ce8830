// Quadratic spline through the breakpoints with a continuous first derivative; the value at
// the middle of the first cell (bc[0]) fixes the free parameter. Type 1, the knotted
// quadratic spline, has a worker of its own.
#include "fitting/construct_frame.h"
#include "fitting/construct_knotted_quadratic.h"

namespace df {
namespace {

// Midpoint values up to this many breakpoints stay on the stack.
constexpr int64_t kStackBreakpoints = 4094;

template <class T, bool kColumns, bool kUniform, int>
struct Quadratic {
  static int Run(const dfTask& task) {
    const int64_t nx = task.nx;
    // Midpoint values w (w[i+1] for cell i) and the steps.
    T stack[2 * kStackBreakpoints + 1];
    const bool on_stack = nx <= kStackBreakpoints;
    Scratch<T> heap(on_stack ? 0 : nx + 1 + StepCount<kUniform>(nx));
    if (heap.failed()) return dfErrNoMemory;
    T* const w = on_stack ? stack : heap.get();
    const Partition<T, kUniform> p = MakePartition<T, kUniform>(task, w + nx + 1);
    const T mid = static_cast<const T*>(task.bc)[0];

    for (int64_t k = 0; k < FunctionCount(task); ++k) {
      const Values<T, kColumns> y(task, k);
      w[1] = mid;
      for (int64_t i = 0; i + 3 <= nx; ++i) {
        const T a = p.H(i + 1);
        const T three = T(3) * y[i + 1];
        w[i + 2] = a * T(0.25) * (p.DivH(three + y[i + 2], i + 1) + p.DivH(three + y[i], i)) -
                   p.DivH(w[i + 1] * a, i);
      }
      T* c = Coeff<T>(task, k);
      for (int64_t i = 0; i + 1 < nx; ++i, c += 3) {
        const T half = p.H(i) / T(2), q = half * half;
        const T c2 = (y[i] - T(2) * w[i + 1] + y[i + 1]) * T(0.5) / q;
        c[0] = y[i];
        c[1] = p.DivH(T(2) * (w[i + 1] - (q * c2 + y[i])), i);
        c[2] = c2;
      }
    }
    return 0;
  }
};

template <class T>
int Construct(dfTask* task) {
  if (!IsStorageCode(task->yHint)) return dfErrBadYHint;
  if (task->splineType == dfQuadraticKnotted) return ConstructKnottedQuadratic<T>(*task);
  if (task->splineType != dfQuadraticDefault) return dfErrBadMethod;
  if (task->bcType != dfBcMidValue) return dfErrBadBcType;
  if (task->bc == nullptr) return dfErrBadBc;
  if (task->nx < 2) return dfErrBadNx;
  if (int status = TablesStatus(*task); status != 0) return status;
  return Dispatch<Quadratic, T, 1>(*task, 0);
}

}  // namespace
}  // namespace df

extern "C" {
int qor_df_kernel_dDFQuadraticSpline1D(dfTask* task, int, int, const qorThreading*) {
  return df::Construct<double>(task);
}
int qor_df_kernel_sDFQuadraticSpline1D(dfTask* task, int, int, const qorThreading*) {
  return df::Construct<float>(task);
}
}
