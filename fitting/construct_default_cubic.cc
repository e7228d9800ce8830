// Default cubic spline: no system is solved; ic[0..nx-3] are the second derivatives M at the
// inner breakpoints x[1..nx-2], and the boundary code settles the two end cells.
#include "fitting/construct_frame.h"

namespace df {
namespace {

template <class T, bool kColumns, bool kUniform, int kB>
struct DefaultCubic {
  static int Run(const dfTask& task) {
    const int64_t nx = task.nx, last = nx - 2;  // last cell
    Scratch<T> work(StepCount<kUniform>(nx));
    if (work.failed()) return dfErrNoMemory;
    const Partition<T, kUniform> p = MakePartition<T, kUniform>(task, work.get());
    const T* m = static_cast<const T*>(task.ic);
    const T* bc = static_cast<const T*>(task.bc);
    const T third = T(-1) / T(3), sixth = T(1) / T(6);

    for (int64_t k = 0; k < FunctionCount(task); ++k) {
      const Values<T, kColumns> y(task, k);
      T* c = Coeff<T>(task, k);
      for (int64_t i = 1; i + 2 < nx; ++i) {
        T* ci = c + 4 * i;
        ci[0] = y[i];
        ci[1] = (m[i - 1] * third - m[i] * sixth) * p.H(i) + p.DivH(y[i + 1] - y[i], i);
        ci[2] = m[i - 1] * T(0.5);
        ci[3] = p.DivH((m[i] - m[i - 1]) * sixth, i);
      }
      const T d0 = p.DivH(y[1] - y[0], 0), dn = p.DivH(y[nx - 1] - y[last], last);
      const T h0 = p.H(0), hn = p.H(last);
      T* first = c;
      T* end = c + 4 * last;
      first[0] = y[0];
      end[0] = y[last];
      end[2] = m[nx - 3] * T(0.5);
      if constexpr (kB == kNotAKnot) {
        // The end cells continue the third derivative of their neighbours.
        first[3] = c[4 + 3];
        first[2] = first[3] * T(-3) * h0 + m[0] * T(0.5);
        first[1] = d0 - (first[3] * h0 + first[2]) * h0;
        end[3] = c[4 * (nx - 3) + 3];
        end[1] = dn - (end[3] * hn + end[2]) * hn;
        continue;
      }
      // Second derivatives at the ends: 0 (free end), given, or the one value that makes the
      // first derivative periodic.
      T left = 0, right = 0;
      if constexpr (SecondAtLeft(kB)) left = bc[0];
      if constexpr (SecondAtRight(kB)) right = bc[1];
      if constexpr (kB == kPeriodic) {
        left = right = (T(6) * (d0 - dn) - h0 * m[0] - hn * m[nx - 3]) / (T(2) * (h0 + hn));
      }
      if constexpr (FirstAtLeft(kB)) {
        // p(0) = y[0], p'(0) = bc[0], p(h) = y[1], p''(h) = M[0].
        first[1] = bc[0];
        first[3] = (m[0] - T(2) * p.DivH(d0 - bc[0], 0)) / (T(4) * h0);
        first[2] = p.DivH(d0 - bc[0], 0) - first[3] * h0;
      } else {
        first[1] = d0 - h0 * (T(2) * left + m[0]) * sixth;
        first[2] = left * T(0.5);
        first[3] = p.DivH((m[0] - left) * sixth, 0);
      }
      if constexpr (FirstAtRight(kB)) {
        // p''(0) = M[nx-3], p(h) = y[nx-1], p'(h) = bc[1].
        end[3] = (bc[1] - dn - end[2] * hn) / (T(2) * hn * hn);
        end[1] = dn - end[2] * hn - end[3] * hn * hn;
      } else {
        end[3] = p.DivH((right - m[nx - 3]) * sixth, last);
        end[1] = dn - hn * (T(2) * m[nx - 3] + right) * sixth;
      }
    }
    return 0;
  }
};

template <class T>
int Construct(dfTask* task) {
  if (task->nx < 3) return dfErrBadNx;
  if (int status = CubicFrameStatus(*task); status != 0) return status;
  if (task->ic == nullptr) return dfErrBadIc;
  return Dispatch<DefaultCubic, T, kPeriodic + 1>(*task, BoundaryIndex(task->bcType));
}

}  // namespace
}  // namespace df

extern "C" {
int qor_df_kernel_dDFDefaultCubicSpline1D(dfTask* task, int, int, const qorThreading*) {
  return df::Construct<double>(task);
}
int qor_df_kernel_sDFDefaultCubicSpline1D(dfTask* task, int, int, const qorThreading*) {
  return df::Construct<float>(task);
}
}
