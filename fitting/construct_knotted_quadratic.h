// Knotted quadratic spline: nx pieces between the knots t[0..nx], with t[0] = x[0],
// t[nx] = x[nx-1] and one inner knot t[i] inside each cell (x[i-1], x[i]). Piece j holds the
// breakpoint x[j] and is stored as c0 + c1*u + c2*u^2 in u = s - x[j], so c0 = y[j].
#ifndef QOR_FITTING_CONSTRUCT_KNOTTED_QUADRATIC_H_
#define QOR_FITTING_CONSTRUCT_KNOTTED_QUADRATIC_H_

#include <stdint.h>

#include "fitting/task.h"

namespace df {

// Bit of the internal-condition code by which the worker places its own knots and reads no ic.
constexpr int64_t kOwnKnotLayout = 4;

// Inner knots of a task: the caller's knot array, or the middles of the cells.
template <class T>
struct Knots {
  const T* given;  // t[0..nx], or null for the middles

  // Inner knot i (1..nx-1) of the cell from `left` = x[i-1] to `right` = x[i].
  T Inner(int64_t i, T left, T right) const {
    return given != nullptr ? given[i] : T(0.5) * (left + right);
  }
  // Piece that holds site s of cell c (the cells of the breakpoints); `x.Left(i)` is x[i].
  template <class Breakpoints>
  int64_t Piece(int64_t c, int64_t nx, T s, const Breakpoints& x) const {
    if (c < 1) return 0;
    if (c >= nx) return nx - 1;
    return s >= Inner(c, x.Left(c - 1), x.Left(c)) ? c : c - 1;
  }
};

template <class T>
Knots<T> TaskKnots(const dfTask& task) {
  const bool given = (task.icType & dfIcKnots) != 0 && (task.icType & kOwnKnotLayout) == 0;
  return {given ? static_cast<const T*>(task.ic) : nullptr};
}

// Constructs the knotted quadratic spline of every function of the task; 0 or a status.
template <class T>
int ConstructKnottedQuadratic(const dfTask& task);

}  // namespace df

#endif  // QOR_FITTING_CONSTRUCT_KNOTTED_QUADRATIC_H_
