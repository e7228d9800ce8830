// Tridiagonal elimination without pivoting and its solves, for many right-hand sides at once.
#include <stddef.h>

#include "qor/core_tridiagonal.h"

namespace {

// Twisted elimination: the rows above the middle row k = n/2 are eliminated downwards, the rows
// below it upwards, and row k takes both. The two recurrences are independent, so each loop runs
// them side by side: step s of `top` and of `bottom` in turn while both have steps left. A step
// returns false to stop the whole run.
template <class Top, class Bottom>
inline bool Twisted(int top_steps, int bottom_steps, Top top, Bottom bottom) {
  int s = 0;
  for (; s < top_steps && s < bottom_steps; ++s) {
    if (!top(s) || !bottom(s)) return false;
  }
  for (int t = s; t < top_steps; ++t) {
    if (!top(t)) return false;
  }
  for (int t = s; t < bottom_steps; ++t) {
    if (!bottom(t)) return false;
  }
  return true;
}

// The pivots of the twisted elimination replace d; dl and du are kept, since the solves take
// their multipliers from them. Returns the 1-based row of the zero pivot that stopped it, or 0.
template <class T>
int Factor(int n, const T* dl, T* d, const T* du) {
  if (n == 0) return 0;
  const int k = n / 2;
  int zero = 0;
  auto usable = [&](int i) {
    if (d[i] == T(0)) zero = i + 1;
    return zero == 0;
  };
  const bool run = Twisted(
      k - 1, n - k - 2,
      [&](int i) {
        if (!usable(i)) return false;
        d[i + 1] = d[i + 1] - dl[i] * du[i] / d[i];
        return true;
      },
      [&](int s) {
        const int i = n - 1 - s;
        if (!usable(i)) return false;
        d[i - 1] = d[i - 1] - du[i - 1] * dl[i - 1] / d[i];
        return true;
      });
  if (!run) return zero;
  if (k > 0) {
    if (!usable(k - 1)) return zero;
    d[k] = d[k] - dl[k - 1] * du[k - 1] / d[k - 1];
  }
  if (k + 1 < n) {
    if (!usable(k + 1)) return zero;
    d[k] = d[k] - du[k] * dl[k] / d[k + 1];
  }
  usable(k);
  return zero;
}

// A*x = b for kCols columns side by side, `lower` and `upper` the sub- and super-diagonal (A**T
// swaps them: its twisted pivots are A's). Each row is multiplied by its pivot's reciprocal,
// which keeps divisions out of the recurrences.
template <class T, int kCols>
void Solve(int n, const T* lower, const T* d, const T* upper, T* b, ptrdiff_t ldb) {
  const int k = n / 2;
  auto eliminate = [&](int to, int from, T multiplier) {
    for (int j = 0; j < kCols; ++j) b[to + j * ldb] = b[to + j * ldb] - multiplier * b[from + j * ldb];
    return true;
  };
  Twisted(
      k - 1, n - k - 2, [&](int i) { return eliminate(i + 1, i, lower[i] / d[i]); },
      [&](int s) {
        const int i = n - 1 - s;
        return eliminate(i - 1, i, upper[i - 1] / d[i]);
      });
  if (k > 0) eliminate(k, k - 1, lower[k - 1] / d[k - 1]);
  if (k + 1 < n) eliminate(k, k + 1, upper[k] / d[k + 1]);
  for (int j = 0; j < kCols; ++j) b[k + j * ldb] = b[k + j * ldb] / d[k];
  auto substitute = [&](int to, int from, T coupling) {
    const T inverse = T(1) / d[to];
    for (int j = 0; j < kCols; ++j)
      b[to + j * ldb] = (b[to + j * ldb] - coupling * b[from + j * ldb]) * inverse;
    return true;
  };
  Twisted(
      k, n - k - 1,
      [&](int s) {
        const int i = k - 1 - s;
        return substitute(i, i + 1, upper[i]);
      },
      [&](int s) {
        const int i = k + 1 + s;
        return substitute(i, i - 1, lower[i - 1]);
      });
}

template <class T>
void SolveAll(int n, int nrhs, const T* lower, const T* d, const T* upper, T* b, ptrdiff_t ldb) {
  int j = 0;
  for (; j + 4 <= nrhs; j += 4) Solve<T, 4>(n, lower, d, upper, b + j * ldb, ldb);
  for (; j < nrhs; ++j) Solve<T, 1>(n, lower, d, upper, b + j * ldb, ldb);
}

template <class T>
void Trf(const int* n, T* dl, T* d, const T* du, int* info) {
  if (*n < 0) {
    *info = -1;
    return;
  }
  *info = Factor(*n, dl, d, du);
}

template <class T>
void Trs(const char* trans, const int* n, const int* nrhs, const T* dl, const T* d, const T* du,
         T* b, const int* ldb, int* info) {
  const char t = *trans;
  const bool plain = t == 'N' || t == 'n';
  const bool transposed = t == 'T' || t == 't' || t == 'C' || t == 'c';
  if (!plain && !transposed) *info = -1;
  else if (*n < 0) *info = -2;
  else if (*nrhs < 0) *info = -3;
  else if (*ldb < (*n > 1 ? *n : 1)) *info = -8;
  else *info = 0;
  if (*info != 0 || *n == 0 || *nrhs == 0) return;
  if (plain) SolveAll(*n, *nrhs, dl, d, du, b, *ldb);
  else SolveAll(*n, *nrhs, du, d, dl, b, *ldb);
}

template <class T>
void Sv(const int* n, const int* nrhs, T* dl, T* d, T* du, T* b, const int* ldb, int* info) {
  if (*n < 0) *info = -1;
  else if (*nrhs < 0) *info = -2;
  else if (*ldb < (*n > 1 ? *n : 1)) *info = -7;
  else *info = Factor(*n, dl, d, du);
  if (*info != 0 || *n == 0 || *nrhs == 0) return;
  SolveAll(*n, *nrhs, dl, d, du, b, *ldb);
}

}  // namespace

extern "C" {

void ddttrfb_4dfl(const int* n, double* dl, double* d, const double* du, int* info) {
  Trf(n, dl, d, du, info);
}
void sdttrfb_4dfl(const int* n, float* dl, float* d, const float* du, int* info) {
  Trf(n, dl, d, du, info);
}
void ddttrsb_4dfl(const char* trans, const int* n, const int* nrhs, const double* dl,
                  const double* d, const double* du, double* b, const int* ldb, int* info) {
  Trs(trans, n, nrhs, dl, d, du, b, ldb, info);
}
void sdttrsb_4dfl(const char* trans, const int* n, const int* nrhs, const float* dl,
                  const float* d, const float* du, float* b, const int* ldb, int* info) {
  Trs(trans, n, nrhs, dl, d, du, b, ldb, info);
}
void ddtsvb_4dfl(const int* n, const int* nrhs, double* dl, double* d, double* du, double* b,
                 const int* ldb, int* info) {
  Sv(n, nrhs, dl, d, du, b, ldb, info);
}
void sdtsvb_4dfl(const int* n, const int* nrhs, float* dl, float* d, float* du, float* b,
                 const int* ldb, int* info) {
  Sv(n, nrhs, dl, d, du, b, ldb, info);
}

}  // extern "C"
