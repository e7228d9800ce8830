// Natural cubic spline: the slopes d[0..nx-1] solve one tridiagonal system, factored once
// and solved for all functions of the task; each cell then takes its Hermite coefficients.
#include "fitting/construct_frame.h"
#include "qor/core_tridiagonal.h"

namespace df {
namespace {

template <class T> struct Solver;
template <> struct Solver<double> {
  static void Factor(const int* n, double* dl, double* d, const double* du, int* info) {
    ddttrfb_4dfl(n, dl, d, du, info);
  }
  static void Solve(const int* n, const int* nrhs, const double* dl, const double* d,
                    const double* du, double* b, const int* ldb, int* info) {
    ddttrsb_4dfl("N", n, nrhs, dl, d, du, b, ldb, info);
  }
};
template <> struct Solver<float> {
  static void Factor(const int* n, float* dl, float* d, const float* du, int* info) {
    sdttrfb_4dfl(n, dl, d, du, info);
  }
  static void Solve(const int* n, const int* nrhs, const float* dl, const float* d,
                    const float* du, float* b, const int* ldb, int* info) {
    sdttrsb_4dfl("N", n, nrhs, dl, d, du, b, ldb, info);
  }
};

// Writes the cubic of every cell from the slopes `d` (d[nx-1] is d[0] when `wrap`); one
// reciprocal of the step serves the three quotients of a cell.
template <class T, bool kColumns, bool kUniform>
void WriteCells(const Partition<T, kUniform>& p, const Values<T, kColumns>& y, const T* d,
                int64_t nx, bool wrap, T* c) {
  for (int64_t i = 0; i + 1 < nx; ++i, c += 4) {
    const T di = d[i], dn = (wrap && i + 2 == nx) ? d[0] : d[i + 1];
    const T inv = p.DivH(T(1), i);
    const T slope = (y[i + 1] - y[i]) * inv;
    c[0] = y[i];
    c[1] = di;
    c[2] = (T(3) * slope - T(2) * di - dn) * inv;
    c[3] = (di + dn - T(2) * slope) * inv * inv;
  }
}

template <class T, bool kColumns, bool kUniform, int kB>
struct NaturalCubic {
  static int Run(const dfTask& task) {
    const int64_t nx = task.nx, ny = FunctionCount(task);
    const T* bc = static_cast<const T*>(task.bc);
    if constexpr (kB == kPeriodic) {
      for (int64_t k = 0; k < ny; ++k) {
        const Values<T, kColumns> y(task, k);
        if (!(y[0] == y[nx - 1])) return dfErrBadPeriodic;
      }
    }
    // Periodic: nx-1 unknowns (d[nx-1] is d[0]) and one more column for Sherman-Morrison.
    const int64_t m = kB == kPeriodic ? nx - 1 : nx;
    const int64_t columns = kB == kPeriodic ? ny + 1 : ny;
    // The super-diagonal of the inner rows is the step array shifted by one (du[r] = h[r-1]),
    // so a non-uniform partition keeps its steps inside du, behind du[0].
    const int64_t du_size = kUniform ? m : 1 + StepCount<kUniform>(nx);
    Scratch<T> work(du_size + 2 * m + m * columns);
    if (work.failed()) return dfErrNoMemory;
    T* const du = work.get();
    T* const h = du + 1;
    T* const dl = du + du_size;
    T* const dd = dl + m;
    T* const b = dd + m;
    const Partition<T, kUniform> p = MakePartition<T, kUniform>(task, h);

    if (kB == kNotAKnot && nx == 3) {
      // Singular system: the parabola through the three points.
      for (int64_t k = 0; k < ny; ++k) Parabola(p, Values<T, kColumns>(task, k), Coeff<T>(task, k));
      return 0;
    }

    // Inner rows: the slope at x[r] couples with its two neighbours.
    for (int64_t r = 1; r + 1 < nx; ++r) {
      dl[r - 1] = p.H(r);
      dd[r] = T(2) * p.Span(r - 1, r + 1);
      du[r] = p.H(r - 1);
    }
    T alpha = 0, gamma = 0;  // corners of the cyclic system
    if constexpr (kB == kPeriodic) {
      const T hl = p.H(nx - 2);  // cell left of x[0] across the seam
      dd[0] = T(2) * (hl + p.H(0));
      if (m == 1) {
        dd[0] = dd[0] + hl + p.H(0);
      } else if (m == 2) {
        du[0] = hl + p.H(0);
        dl[0] = p.H(0) + p.H(1);
        dd[1] = T(2) * (p.H(0) + p.H(1));
      } else {
        du[0] = hl;
        alpha = p.H(0);
        // Sherman-Morrison: A = T + u*v^T with u = (gamma, 0, .., beta), v = (1, 0, .., alpha/gamma).
        gamma = -dd[0];
        const T beta = p.H(m - 2);
        dd[0] = dd[0] - gamma;
        dd[m - 1] = dd[m - 1] - alpha * beta / gamma;
        T* u = b + ny * m;
        for (int64_t r = 0; r < m; ++r) u[r] = 0;
        u[0] = gamma;
        u[m - 1] = beta;
      }
    } else {
      if constexpr (kB == kNotAKnot) {
        dd[0] = p.H(1);
        du[0] = p.Span(0, 2);
        dl[nx - 2] = p.Span(nx - 3, nx - 1);
        dd[nx - 1] = p.H(nx - 3);
      }
      if constexpr (FirstAtLeft(kB)) {
        dd[0] = 1;
        du[0] = 0;
      } else if constexpr (kB != kNotAKnot) {
        dd[0] = 2;
        du[0] = 1;
      }
      if constexpr (FirstAtRight(kB)) {
        dl[nx - 2] = 0;
        dd[nx - 1] = 1;
      } else if constexpr (kB != kNotAKnot) {
        dl[nx - 2] = 1;
        dd[nx - 1] = 2;
      }
    }

    for (int64_t k = 0; k < ny; ++k) {
      const Values<T, kColumns> y(task, k);
      T* rhs = b + k * m;
      T prev = p.DivH(y[1] - y[0], 0);
      for (int64_t r = 1; r + 1 < nx; ++r) {
        const T next = p.DivH(y[r + 1] - y[r], r);
        rhs[r] = T(3) * (p.H(r) * prev + p.H(r - 1) * next);
        prev = next;
      }
      const T first = p.DivH(y[1] - y[0], 0), last = p.DivH(y[nx - 1] - y[nx - 2], nx - 2);
      if constexpr (kB == kPeriodic) {
        const T hl = p.H(nx - 2), hr = p.H(0);
        rhs[0] = T(3) * (hr * last + hl * first);
      } else if constexpr (kB == kNotAKnot) {
        const T d1 = p.DivH(y[2] - y[1], 1), dm = p.DivH(y[nx - 2] - y[nx - 3], nx - 3);
        const T h0 = p.H(0), h1 = p.H(1), g = p.Span(0, 2);
        rhs[0] = ((h0 + T(2) * g) * h1 * first + h0 * h0 * d1) / g;
        const T hn = p.H(nx - 2), hm = p.H(nx - 3), gn = p.Span(nx - 3, nx - 1);
        rhs[nx - 1] = (last * hm * (T(2) * gn + hn) + dm * hn * hn) / gn;
      } else {
        if constexpr (FirstAtLeft(kB)) rhs[0] = bc[0];
        else if constexpr (SecondAtLeft(kB)) rhs[0] = T(3) * first - p.H(0) * bc[0] / T(2);
        else rhs[0] = T(3) * first;
        if constexpr (FirstAtRight(kB)) rhs[nx - 1] = bc[1];
        else if constexpr (SecondAtRight(kB)) rhs[nx - 1] = T(3) * last + p.H(nx - 2) * bc[1] / T(2);
        else rhs[nx - 1] = T(3) * last;
      }
    }

    const int n = int(m), nrhs = int(columns);
    int info = 0;
    Solver<T>::Factor(&n, dl, dd, du, &info);
    if (info == 0) Solver<T>::Solve(&n, &nrhs, dl, dd, du, b, &n, &info);
    if (info != 0) return dfErrSolver;

    if (kB == kPeriodic && m >= 3) {
      const T* z = b + ny * m;
      const T ratio = alpha / gamma;
      const T denominator = T(1) + z[0] + ratio * z[m - 1];
      for (int64_t k = 0; k < ny; ++k) {
        T* s = b + k * m;
        const T f = (s[0] + ratio * s[m - 1]) / denominator;
        for (int64_t r = 0; r < m; ++r) s[r] = s[r] - f * z[r];
      }
    }
    for (int64_t k = 0; k < ny; ++k)
      WriteCells(p, Values<T, kColumns>(task, k), b + k * m, nx, kB == kPeriodic, Coeff<T>(task, k));
    return 0;
  }

  static void Parabola(const Partition<T, kUniform>& p, const Values<T, kColumns>& y, T* c) {
    const T d0 = p.DivH(y[1] - y[0], 0), d1 = p.DivH(y[2] - y[1], 1);
    const T q = (d1 - d0) / p.Span(0, 2);
    const T s0 = d0 - p.H(0) * q;
    const T row[8] = {y[0], s0, q, 0, y[1], d0 + p.H(0) * q, q, 0};
    for (int i = 0; i < 8; ++i) c[i] = row[i];
  }
};

template <class T>
int Construct(dfTask* task, int method) {
  if (method != 0) return dfErrBadMethod;
  if (task->nx < 2 || (task->nx == 2 && task->bcType == dfBcNotAKnot)) return dfErrBadNx;
  if (int status = CubicFrameStatus(*task); status != 0) return status;
  return Dispatch<NaturalCubic, T, kPeriodic + 1>(*task, BoundaryIndex(task->bcType));
}

}  // namespace
}  // namespace df

extern "C" {
int qor_df_kernel_dDFNaturalCubicSpline1D(dfTask* task, int, int method, const qorThreading*) {
  return df::Construct<double>(task, method);
}
int qor_df_kernel_sDFNaturalCubicSpline1D(dfTask* task, int, int method, const qorThreading*) {
  return df::Construct<float>(task, method);
}
}
