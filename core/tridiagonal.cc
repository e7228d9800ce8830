// Tridiagonal LU without pivoting and its solves, for many right-hand sides at once.
#include <stddef.h>

#include "qor/core_tridiagonal.h"

namespace {

template <class T>
int Factor(int n, T* dl, T* d, const T* du) {
  for (int i = 0; i + 1 < n; ++i) {
    if (d[i] == T(0)) return i + 1;
    const T l = dl[i] / d[i];
    dl[i] = l;
    d[i + 1] = d[i + 1] - l * du[i];
  }
  if (n > 0 && d[n - 1] == T(0)) return n;
  return 0;
}

// L*U*x = b for kCols columns side by side: the columns' recurrences are independent, so
// running them together hides the latency of each chain. The back substitution multiplies by
// reciprocals taken ahead, a block at a time, which keeps the division out of the chain.
template <class T, int kCols>
void SolveN(int n, const T* dl, const T* d, const T* du, T* b, ptrdiff_t ldb) {
  for (int i = 1; i < n; ++i)
    for (int j = 0; j < kCols; ++j) b[i + j * ldb] = b[i + j * ldb] - dl[i - 1] * b[i - 1 + j * ldb];
  for (int j = 0; j < kCols; ++j) b[n - 1 + j * ldb] = b[n - 1 + j * ldb] / d[n - 1];
  constexpr int kBlock = 8;
  for (int top = n - 2; top >= 0; top -= kBlock) {
    const int count = top + 1 < kBlock ? top + 1 : kBlock;
    T inverse[kBlock];
    for (int k = 0; k < count; ++k) inverse[k] = T(1) / d[top - k];
    for (int k = 0; k < count; ++k) {
      const int i = top - k;
      for (int j = 0; j < kCols; ++j)
        b[i + j * ldb] = (b[i + j * ldb] - du[i] * b[i + 1 + j * ldb]) * inverse[k];
    }
  }
}

// U**T * L**T * x = b.
template <class T, int kCols>
void SolveT(int n, const T* dl, const T* d, const T* du, T* b, ptrdiff_t ldb) {
  for (int j = 0; j < kCols; ++j) b[j * ldb] = b[j * ldb] / d[0];
  for (int i = 1; i < n; ++i)
    for (int j = 0; j < kCols; ++j)
      b[i + j * ldb] = (b[i + j * ldb] - du[i - 1] * b[i - 1 + j * ldb]) / d[i];
  for (int i = n - 2; i >= 0; --i)
    for (int j = 0; j < kCols; ++j) b[i + j * ldb] = b[i + j * ldb] - dl[i] * b[i + 1 + j * ldb];
}

template <class T, bool kTransposed>
void SolveAll(int n, int nrhs, const T* dl, const T* d, const T* du, T* b, ptrdiff_t ldb) {
  int j = 0;
  for (; j + 4 <= nrhs; j += 4) {
    if constexpr (kTransposed) SolveT<T, 4>(n, dl, d, du, b + j * ldb, ldb);
    else SolveN<T, 4>(n, dl, d, du, b + j * ldb, ldb);
  }
  for (; j < nrhs; ++j) {
    if constexpr (kTransposed) SolveT<T, 1>(n, dl, d, du, b + j * ldb, ldb);
    else SolveN<T, 1>(n, dl, d, du, b + j * ldb, ldb);
  }
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
  if (plain) SolveAll<T, false>(*n, *nrhs, dl, d, du, b, *ldb);
  else SolveAll<T, true>(*n, *nrhs, dl, d, du, b, *ldb);
}

template <class T>
void Sv(const int* n, const int* nrhs, T* dl, T* d, T* du, T* b, const int* ldb, int* info) {
  if (*n < 0) *info = -1;
  else if (*nrhs < 0) *info = -2;
  else if (*ldb < (*n > 1 ? *n : 1)) *info = -7;
  else *info = Factor(*n, dl, d, du);
  if (*info != 0 || *n == 0 || *nrhs == 0) return;
  SolveAll<T, false>(*n, *nrhs, dl, d, du, b, *ldb);
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
