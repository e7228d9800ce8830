// Linear spline: c0 = y[i], c1 the slope of cell i.
#include "fitting/construct_frame.h"

namespace df {
namespace {

template <class T, bool kColumns, bool kUniform, int>
struct Linear {
  static int Run(const dfTask& task) {
    const int64_t nx = task.nx;
    const T* x = X<T>(task);
    // The uniform slope is (y[i+1]-y[i]) * (nx-1) * (1/(x[1]-x[0])), multiplied in this order.
    const T cells = T(nx - 1), inv = T(1) / (x[1] - x[0]);
    for (int64_t k = 0; k < FunctionCount(task); ++k) {
      const Values<T, kColumns> y(task, k);
      T* c = Coeff<T>(task, k);
      for (int64_t i = 0; i + 1 < nx; ++i, c += 2) {
        const T dy = y[i + 1] - y[i];
        c[0] = y[i];
        c[1] = kUniform ? dy * cells * inv : dy / (x[i + 1] - x[i]);
      }
    }
    return 0;
  }
};

template <class T>
int Construct(dfTask* task, int method) {
  if (method != 0) return dfErrBadMethod;
  if (task->nx < 2) return dfErrBadNx;
  if (!IsStorageCode(task->yHint)) return dfErrBadYHint;
  if (int status = TablesStatus(*task); status != 0) return status;
  return Dispatch<Linear, T, 1>(*task, 0);
}

}  // namespace
}  // namespace df

extern "C" {
int qor_df_kernel_dDFLinearSpline1D(dfTask* task, int, int method, const qorThreading*) {
  return df::Construct<double>(task, method);
}
int qor_df_kernel_sDFLinearSpline1D(dfTask* task, int, int method, const qorThreading*) {
  return df::Construct<float>(task, method);
}
}
