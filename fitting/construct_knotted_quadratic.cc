// Knotted quadratic spline. Its derivative is piecewise linear between the knots, so the
// unknowns are the slopes m at the knots; the spline is y[0] plus the integral of the
// derivative. Each pair of neighbouring breakpoints gives one row: the integral of the
// derivative from x[j] to x[j+1] is y[j+1] - y[j]. The two end conditions complete the system:
// a row each, or, for not-a-knot, the knots t[1] and t[nx-1] leave the knot list.
#include "fitting/construct_knotted_quadratic.h"

#include "fitting/construct_frame.h"
#include "qor/core_tridiagonal.h"

namespace df {
namespace {

template <class T> struct Solver;
template <> struct Solver<double> {
  static void Run(const int* n, const int* nrhs, double* dl, double* d, double* du, double* b,
                  const int* ldb, int* info) {
    ddtsvb_4dfl(n, nrhs, dl, d, du, b, ldb, info);
  }
};
template <> struct Solver<float> {
  static void Run(const int* n, const int* nrhs, float* dl, float* d, float* du, float* b,
                  const int* ldb, int* info) {
    sdtsvb_4dfl(n, nrhs, dl, d, du, b, ldb, info);
  }
};

// A tridiagonal matrix of order n, cyclic when its corners are used; column n is column 0.
template <class T>
struct Band {
  T *dl, *d, *du;
  int64_t n;
  T low = 0, high = 0;  // corners A[n-1][0] and A[0][n-1]

  void Clear() {
    for (int64_t r = 0; r < n; ++r) d[r] = dl[r] = du[r] = 0;
    low = high = 0;
  }
  void Add(int64_t r, int64_t c, T v) {
    if (c == n) c = 0;
    if (c == r) d[r] += v;
    else if (c == r + 1) du[r] += v;
    else if (c + 1 == r) dl[c] += v;
    else if (r == 0) high += v;
    else low += v;
  }
};

template <class T, bool kColumns, bool kUniform, int kB>
struct KnottedQuadratic {
  // The knot t[i] leaves the list for a not-a-knot end.
  static constexpr bool kDropEnds = kB == kNotAKnot;
  static constexpr bool kCyclic = kB == kPeriodic;

  static int Run(const dfTask& task) {
    const int64_t nx = task.nx, ny = FunctionCount(task);
    if constexpr (kCyclic) {
      for (int64_t k = 0; k < ny; ++k) {
        const Values<T, kColumns> y(task, k);
        if (!(y[0] == y[nx - 1])) return dfErrBadPeriodic;
      }
    }
    // 64 bytes per knot: the knots, the steps, three diagonals and two right-hand sides.
    Scratch<T> work(int64_t(64 / sizeof(T)) * (nx + 1));
    if (work.failed()) return dfErrNoMemory;
    T* const t = work.get();
    T* const h = t + (nx + 1);
    Band<T> a{h + nx, h + 2 * nx + 1, h + 3 * nx + 2, 0};
    T* const b = h + 4 * nx + 3;
    const Partition<T, kUniform> p = MakePartition<T, kUniform>(task, h);

    // Knot list: t[0..q-1]; the slopes at t[0..n-1] are the unknowns (n = q-1 when cyclic).
    const Knots<T> knots = TaskKnots<T>(task);
    int64_t q = 0;
    t[q++] = p.Left(0);
    for (int64_t i = 1; i < nx; ++i)
      if (!kDropEnds || (i != 1 && i != nx - 1)) t[q++] = knots.Inner(i, p.Left(i - 1), p.Left(i));
    t[q++] = p.Left(nx - 1);
    a.n = kCyclic ? q - 1 : q;
    const int64_t n = a.n;
    const int64_t first_row = kDropEnds || kCyclic ? 0 : 1;
    const int64_t offset = kCyclic ? 1 : first_row;  // row of the first breakpoint pair
    const T* bc = static_cast<const T*>(task.bc);

    for (int64_t k = 0; k < ny; ++k) {
      const Values<T, kColumns> y(task, k);
      a.Clear();
      T* const rhs = b;
      for (int64_t i = 0; i < 2 * n; ++i) b[i] = 0;
      // Rows of the breakpoint pairs: integrals of the hat functions over [x[j], x[j+1]].
      int64_t s = 0;
      for (int64_t j = 0; j + 1 < nx; ++j) {
        const T lo = p.Left(j), hi = p.Left(j + 1);
        const int64_t r = j + offset;
        while (s + 2 < q && t[s + 1] <= lo) ++s;
        for (int64_t i = s; i + 1 < q && t[i] < hi; ++i) {
          const T l = lo > t[i] ? lo : t[i], u = hi < t[i + 1] ? hi : t[i + 1];
          const T width = t[i + 1] - t[i];
          const T fall = ((t[i + 1] - l) * (t[i + 1] - l) - (t[i + 1] - u) * (t[i + 1] - u)) / (T(2) * width);
          const T rise = ((u - t[i]) * (u - t[i]) - (l - t[i]) * (l - t[i])) / (T(2) * width);
          a.Add(r, i, fall);
          a.Add(r, i + 1, rise);
        }
        rhs[r] = y[j + 1] - y[j];
      }
      const T first = t[1] - t[0], last = t[q - 1] - t[q - 2];
      if constexpr (kCyclic) {
        // Equal second derivatives at both ends: (m1 - m0)/first = (m0 - m[n-1])/last.
        a.Add(0, 0, first + last);
        a.Add(0, 1, -last);
        a.Add(0, n - 1, -first);
      } else if constexpr (!kDropEnds) {
        if constexpr (FirstAtLeft(kB)) {
          a.Add(0, 0, 1);
          rhs[0] = bc[0];
        } else {
          a.Add(0, 0, -1);
          a.Add(0, 1, 1);
          rhs[0] = SecondAtLeft(kB) ? first * bc[0] : T(0);
        }
        if constexpr (FirstAtRight(kB)) {
          a.Add(n - 1, n - 1, 1);
          rhs[n - 1] = bc[1];
        } else {
          a.Add(n - 1, n - 2, -1);
          a.Add(n - 1, n - 1, 1);
          rhs[n - 1] = SecondAtRight(kB) ? last * bc[1] : T(0);
        }
      }
      if (int status = Solve(a, b); status != 0) return status;
      WritePieces(p, y, t, q, b, nx, Coeff<T>(task, k));
    }
    return 0;
  }

  // Solves a*m = b[0..n-1] in place; a cyclic matrix by Sherman-Morrison with b[n..2n-1].
  static int Solve(Band<T>& a, T* b) {
    const int64_t n = a.n;
    const bool corners = kCyclic && n >= 3;
    T gamma = 0;
    if (corners) {
      gamma = -a.d[0];
      a.d[0] = a.d[0] - gamma;
      a.d[n - 1] = a.d[n - 1] - a.low * a.high / gamma;
      b[n] = gamma;
      b[2 * n - 1] = a.low;
    }
    const int order = int(n), nrhs = corners ? 2 : 1;
    int info = 0;
    Solver<T>::Run(&order, &nrhs, a.dl, a.d, a.du, b, &order, &info);
    if (info != 0) return dfErrSolver;
    if (corners) {
      const T* z = b + n;
      const T ratio = a.high / gamma;
      const T f = (b[0] + ratio * b[n - 1]) / (T(1) + z[0] + ratio * z[n - 1]);
      for (int64_t r = 0; r < n; ++r) b[r] = b[r] - f * z[r];
    }
    return 0;
  }

  // Piece j lies in knot interval i of the list; its derivative there runs from m[i] to m[i+1].
  static void WritePieces(const Partition<T, kUniform>& p, const Values<T, kColumns>& y,
                          const T* t, int64_t q, const T* m, int64_t nx, T* c) {
    const int64_t dropped = kDropEnds ? 1 : 0;
    for (int64_t j = 0; j < nx; ++j, c += 3) {
      int64_t i = j - dropped;
      i = i < 0 ? 0 : (i > q - 2 ? q - 2 : i);
      const T m0 = m[i], m1 = kCyclic && i + 2 == q ? m[0] : m[i + 1];
      const T slope = (m1 - m0) / (t[i + 1] - t[i]);
      c[0] = y[j];
      c[1] = m0 + slope * (p.Left(j) - t[i]);
      c[2] = slope * T(0.5);
    }
  }
};

// -1013 unless the caller's knots start at x[0], end at x[nx-1] and put one knot strictly
// inside each cell.
template <class T>
int KnotsStatus(const dfTask& task) {
  const Knots<T> knots = TaskKnots<T>(task);
  if (knots.given == nullptr) return 0;
  const T* x = X<T>(task);
  const int64_t nx = task.nx;
  const bool uniform = IsUniform(task);
  const T step = uniform ? (x[1] - x[0]) / T(nx - 1) : T(0);
  const auto at = [&](int64_t i) { return uniform ? T(i) * step + x[0] : x[i]; };
  const T* k = knots.given;
  if (!(k[0] == x[0]) || !(k[nx] == (uniform ? x[1] : x[nx - 1]))) return dfErrBadIc;
  for (int64_t i = 1; i < nx; ++i)
    if (!(at(i - 1) < k[i] && k[i] < at(i))) return dfErrBadIc;
  return 0;
}

}  // namespace

template <class T>
int ConstructKnottedQuadratic(const dfTask& task) {
  if ((task.icType & dfIcKnots) == 0) return dfErrBadIcType;
  const int b = BoundaryIndex(task.bcType);
  if (b < 0 || b == kNoBoundary) return dfErrBadBcType;
  if (NeedsEndValues(b) && task.bc == nullptr) return dfErrBadBc;
  if (task.nx < 2 || (task.nx == 2 && b == kNotAKnot)) return dfErrBadNx;
  if (int status = TablesStatus(task); status != 0) return status;
  if (int status = KnotsStatus<T>(task); status != 0) return status;
  return Dispatch<KnottedQuadratic, T, kPeriodic + 1>(task, b);
}

template int ConstructKnottedQuadratic<double>(const dfTask&);
template int ConstructKnottedQuadratic<float>(const dfTask&);

}  // namespace df
