// The cell of one site under each search method. Cell 0 lies below x[0], cell i holds
// x[i-1] <= s < x[i], x[nx-1] itself is in cell nx-1 and cell nx lies above. Indices are
// 64-bit; only the uniform method's truncation has the width of the form's arithmetic.
#ifndef QOR_FITTING_SEARCH_CELLS_H_
#define QOR_FITTING_SEARCH_CELLS_H_

#include <stdint.h>

#include "fitting/search_ordered.h"
#include "fitting/truncate.h"

namespace df {

// First i in [from, end) with s < x[i], else end; two breakpoints a step.
template <class T>
inline int64_t WalkForward(const T* x, int64_t from, int64_t end, T s) {
  int64_t i = from;
  for (; i + 1 < end; i += 2) {
    if (s < x[i]) return i;
    if (s < x[i + 1]) return i + 1;
  }
  return (i < end && s < x[i]) ? i : end;
}

// First i from `from` down to 1 with x[i-1] <= s, else 0; two breakpoints a step.
template <class T>
inline int64_t WalkBackward(const T* x, int64_t from, T s) {
  int64_t i = from;
  for (; i >= 2; i -= 2) {
    if (x[i - 1] <= s) return i;
    if (x[i - 2] <= s) return i - 1;
  }
  return (i == 1 && x[0] <= s) ? 1 : 0;
}

// Halves [lo, hi] until at most `span` is left: hi = mid when x[mid] > s, else lo = mid.
template <class T>
inline void Bisect(const T* x, int64_t& lo, int64_t& hi, int64_t span, T s) {
  while (lo < hi - span) {
    const int64_t mid = (lo + hi) >> 1;
    const bool above = x[mid] > s;
    hi = above ? mid : hi;
    lo = above ? lo : mid;
  }
}

// Uniform partition of the ends x0, x1: `scaled` is (s-x0)*(1/step) or (s-x0)/step. A NaN
// runs through the truncation and gives the indefinite integer plus one.
template <class I, class T>
inline int64_t UniformCell(int64_t nx, T x0, T x1, T s, T scaled) {
  if (x0 > s) return 0;
  if (s == x1) return nx - 1;
  // Beyond the last cell the truncation could overflow; the cell is nx either way.
  if (static_cast<double>(scaled) >= static_cast<double>(nx - 1)) return nx;
  const int64_t k = Truncate<I>(scaled);
  return (k < nx - 1 ? k : nx - 1) + 1;
}

// Quasi-uniform partition: a guess from the mean step, corrected by short walks.
template <class T>
inline int64_t QuasiUniformCell(int64_t nx, const T* x, T inv, T s) {
  if (s == x[nx - 1]) return nx - 1;
  int64_t guess;
  if (x[0] > s) {
    guess = 0;
  } else if (s == x[1]) {
    guess = nx - 1;  // x[1] taken for the right end; the walk back corrects it
  } else {
    const T scaled = (s - x[0]) * inv;
    if (static_cast<double>(scaled) >= static_cast<double>(nx - 1)) guess = nx;
    else if (scaled == scaled) guess = Truncate<int64_t>(scaled) + 1;
    else guess = 0;  // NaN
  }
  int64_t c = guess;
  if (guess < nx && s >= x[guess]) c = WalkForward(x, guess + 1, nx, s);
  if (c == 0) return 0;
  return x[c - 1] > s ? WalkBackward(x, c - 1, s) : c;
}

// Sorted sites: bisection only forward of the cursor, which follows the cells. On an
// ascending partition a gallop from the cursor finds the same cell.
template <bool kAscending, class T>
inline int64_t SortedCell(int64_t nx, const T* x, int64_t& cursor, T s) {
  const T last = x[nx - 1];
  if (s == last) return nx - 1;
  if (x[0] > s) return cursor = 0;
  if (s >= last) return cursor = nx;
  int64_t cell = cursor;
  if (cursor < nx && s >= x[cursor]) {
    if (kAscending) {
      cell = GallopCell(nx, x, cursor, s);
    } else if (cursor >= nx - 2) {
      cell = nx - 1;
    } else {
      int64_t lo = cursor, hi = nx - 1;
      Bisect(x, lo, hi, 1, s);
      cell = s >= x[lo] ? hi : lo;
    }
  }
  return cursor = cell;
}

// Hybrid: bisection down to a span of 100, then a forward walk.
template <class T>
inline int64_t HybridCell(int64_t nx, const T* x, T s) {
  const T last = x[nx - 1];
  if (s > last) return nx;
  if (s == last) return nx - 1;
  if (x[0] > s) return 0;
  int64_t lo = 0, hi = nx;
  if (nx > 100) Bisect(x, lo, hi, 100, s);
  if (!(s >= x[lo])) return lo;  // NaN
  return WalkForward(x, lo + 1, hi, s);
}

// Peak: bisection down to a span of 40, then a walk either way.
template <class T>
inline int64_t PeakCell(int64_t nx, const T* x, T s) {
  if (s == x[nx - 1]) return nx - 1;
  int64_t lo = 0, hi = nx - 1;
  if (nx >= 42) Bisect(x, lo, hi, 40, s);
  if (s >= x[lo]) return WalkForward(x, lo + 1, nx, s);
  return WalkBackward(x, lo, s);
}

// User-defined search: the callback's estimate corrected by walks.
template <class T>
inline int64_t EstimatedCell(int64_t nx, const T* x, int64_t estimate, T s) {
  const T last = x[nx - 1];
  const int64_t c = estimate > 0 ? estimate : 0;
  if (c >= nx) return s == last ? nx - 1 : WalkBackward(x, nx, s);
  if (s >= x[c]) return s == last ? nx - 1 : WalkForward(x, c + 1, nx, s);
  if (s < x[c]) return WalkBackward(x, c, s);
  return c;  // NaN
}

}  // namespace df

#endif  // QOR_FITTING_SEARCH_CELLS_H_
