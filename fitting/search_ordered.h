// Faster searches for a partition known to be ascending (x[i] <= x[i+1], no NaN). There the
// cell the hybrid and sorted methods give for a non-NaN site below the last breakpoint is
// the number of breakpoints at or below the site, which these routines find without the
// methods' linear walks and branchy bisections.
#ifndef QOR_FITTING_SEARCH_ORDERED_H_
#define QOR_FITTING_SEARCH_ORDERED_H_

#include <stdint.h>

namespace df {

// Searches with the shortcuts pay for a pass over the partition when the sites outnumber
// the breakpoints by this much at least (nsite * kOrderedSiteShare >= nx).
constexpr int64_t kOrderedSiteShare = 32;

// Whether x[0..nx) is ascending; a NaN makes it not.
template <class T>
bool IsAscending(const T* x, int64_t nx) {
  bool ascending = true;
  for (int64_t i = 0; i + 1 < nx; ++i) ascending &= x[i] <= x[i + 1];
  return ascending;
}

// For each site of a group: `from` plus the number of x[i] <= s in [from, from+n), n >= 1.
// The sites halve the same lengths in lockstep, so the loads of a group are independent and
// overlap in memory.
template <class T, int kGroup>
inline void UpperBound(const T* x, int64_t from, int64_t n, const T* s, int64_t* index) {
  int64_t base[kGroup];
  for (int g = 0; g < kGroup; ++g) base[g] = from;
  while (n > 1) {
    const int64_t half = n >> 1;
    for (int g = 0; g < kGroup; ++g) {
      __builtin_prefetch(x + base[g] + (half >> 1));
      __builtin_prefetch(x + base[g] + half + (half >> 1));
    }
    for (int g = 0; g < kGroup; ++g) base[g] = x[base[g] + half] <= s[g] ? base[g] + half : base[g];
    n -= half;
  }
  for (int g = 0; g < kGroup; ++g) index[g] = base[g] + (x[base[g]] <= s[g] ? 1 : 0);
}

// Sorted method, step 4, for s >= x[c] and s < x[nx-1]: gallops from the cursor (1, 2, 4,
// ... breakpoints ahead) to a bracket, then halves it.
template <class T>
inline int64_t GallopCell(int64_t nx, const T* x, int64_t c, T s) {
  int64_t lo = c, step = 1;
  while (lo + step < nx - 1 && x[lo + step] <= s) {
    lo += step;
    step <<= 1;
  }
  const int64_t hi = lo + step < nx - 1 ? lo + step : nx - 1;  // x[hi] > s
  int64_t cell;
  UpperBound<T, 1>(x, lo, hi - lo, &s, &cell);
  return cell;
}

}  // namespace df

#endif  // QOR_FITTING_SEARCH_ORDERED_H_
