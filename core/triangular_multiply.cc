// Triangular matrix multiplies: the library's own loops over full and packed storage, and the
// full form forwarded to the system BLAS.
#include <stddef.h>

#include "qor/core_blas.h"

extern "C" {
// Fortran BLAS; the trailing lengths are the hidden lengths of the four character arguments.
void dtrmm_(const char* side, const char* uplo, const char* transa, const char* diag,
            const int* m, const int* n, const double* alpha, const double* a, const int* lda,
            double* b, const int* ldb, size_t, size_t, size_t, size_t);
void strmm_(const char* side, const char* uplo, const char* transa, const char* diag,
            const int* m, const int* n, const float* alpha, const float* a, const int* lda,
            float* b, const int* ldb, size_t, size_t, size_t, size_t);
}

namespace {

// The product's form, read from the character and size arguments.
struct Shape {
  bool left;       // op(A) * B; else B * op(A)
  bool upper;      // A's triangle
  bool transpose;  // op(A) = A'
  bool unit;       // diagonal taken as ones
  int m, n;
  int Order() const { return left ? m : n; }
};

inline char Letter(const char* c) { return (*c >= 'a' && *c <= 'z') ? char(*c - 'a' + 'A') : *c; }

// False for an argument BLAS would reject; lda is checked by the full forms.
bool Parse(const char* side, const char* uplo, const char* transa, const char* diag,
           const int* m, const int* n, const int* ldb, Shape* s) {
  const char si = Letter(side), up = Letter(uplo), tr = Letter(transa), di = Letter(diag);
  if ((si != 'L' && si != 'R') || (up != 'U' && up != 'L') ||
      (tr != 'N' && tr != 'T' && tr != 'C') || (di != 'U' && di != 'N'))
    return false;
  if (*m < 0 || *n < 0 || *ldb < (*m > 1 ? *m : 1)) return false;
  *s = Shape{si == 'L', up == 'U', tr != 'N', di == 'U', *m, *n};
  return true;
}

bool LdaFits(const Shape& s, const int* lda) {
  const int order = s.Order();
  return *lda >= (order > 1 ? order : 1);
}

// Entry (i, j) of A in its storage; only the stored triangle is asked for.
template <class T>
struct Full {
  const T* a;
  ptrdiff_t lda;
  T operator()(int i, int j) const { return a[i + j * lda]; }
};
template <class T>
struct PackedUpper {
  const T* a;
  T operator()(int i, int j) const { return a[i + ptrdiff_t(j) * (j + 1) / 2]; }
};
template <class T>
struct PackedLower {
  const T* a;
  ptrdiff_t order;
  T operator()(int i, int j) const { return a[i + ptrdiff_t(j) * (2 * order - j - 1) / 2]; }
};

// x := alpha * M x in place, M triangular of order `size`, x strided. The row form takes dot
// products of M's rows: a lower M overwrites x from the bottom up, an upper one from the top
// down, so each row reads only entries not yet overwritten.
template <class T, class Entry>
void MultiplyByRows(int size, bool lower, bool unit, T alpha, const Entry& entry, T* x,
                    ptrdiff_t stride) {
  auto row = [&](int i, int from, int to) {
    T sum = unit ? x[i * stride] : entry(i, i) * x[i * stride];
    for (int k = from; k < to; ++k) sum += entry(i, k) * x[k * stride];
    x[i * stride] = alpha * sum;
  };
  if (lower) {
    for (int i = size - 1; i >= 0; --i) row(i, 0, i);
  } else {
    for (int i = 0; i < size; ++i) row(i, i + 1, size);
  }
}

// The column form adds x_j times column j of M to the entries off the diagonal, taking the
// columns in the order that leaves x_j unchanged until its own turn.
template <class T, class Entry>
void MultiplyByColumns(int size, bool lower, bool unit, T alpha, const Entry& entry, T* x,
                       ptrdiff_t stride) {
  auto column = [&](int j, int from, int to) {
    const T scaled = alpha * x[j * stride];
    for (int i = from; i < to; ++i) x[i * stride] += scaled * entry(i, j);
    x[j * stride] = unit ? scaled : scaled * entry(j, j);
  };
  if (lower) {
    for (int j = size - 1; j >= 0; --j) column(j, j + 1, size);
  } else {
    for (int j = 0; j < size; ++j) column(j, 0, j);
  }
}

// op(A) multiplies each column of B from the left; B * op(A) is op(A)' applied to each row.
// M(i, k) is A(k, i) exactly when the side is left and A is transposed, or right and not
// transposed; then M's rows are A's columns and the row form runs, else the column form, so
// that A is always read down its columns, contiguous in both storages.
template <class T, class Storage>
void Multiply(const Shape& s, T alpha, const Storage& a, T* b, ptrdiff_t ldb) {
  if (s.m == 0 || s.n == 0) return;
  if (alpha == T(0)) {
    for (int j = 0; j < s.n; ++j)
      for (int i = 0; i < s.m; ++i) b[i + j * ldb] = T(0);
    return;
  }
  const bool swapped = s.left == s.transpose;
  const bool lower = swapped ? s.upper : !s.upper;
  const int count = s.left ? s.n : s.m;
  const ptrdiff_t step = s.left ? ldb : 1, stride = s.left ? 1 : ldb;
  const auto transposed = [&a](int i, int k) { return a(k, i); };
  for (int v = 0; v < count; ++v) {
    if (swapped) {
      MultiplyByRows(s.Order(), lower, s.unit, alpha, transposed, b + v * step, stride);
    } else {
      MultiplyByColumns(s.Order(), lower, s.unit, alpha, a, b + v * step, stride);
    }
  }
}

template <class T>
void OwnFull(const char* side, const char* uplo, const char* transa, const char* diag,
             const int* m, const int* n, const T* alpha, const T* a, const int* lda, T* b,
             const int* ldb) {
  Shape s;
  if (!Parse(side, uplo, transa, diag, m, n, ldb, &s) || !LdaFits(s, lda)) return;
  Multiply(s, *alpha, Full<T>{a, *lda}, b, *ldb);
}

template <class T>
void OwnPacked(const char* side, const char* uplo, const char* transa, const char* diag,
               const int* m, const int* n, const T* alpha, const T* ap, T* b, const int* ldb) {
  Shape s;
  if (!Parse(side, uplo, transa, diag, m, n, ldb, &s)) return;
  if (s.upper) {
    Multiply(s, *alpha, PackedUpper<T>{ap}, b, *ldb);
  } else {
    Multiply(s, *alpha, PackedLower<T>{ap, s.Order()}, b, *ldb);
  }
}

template <class T, class Trmm>
void Forward(Trmm trmm, const char* side, const char* uplo, const char* transa,
             const char* diag, const int* m, const int* n, const T* alpha, const T* a,
             const int* lda, T* b, const int* ldb) {
  Shape s;
  if (!Parse(side, uplo, transa, diag, m, n, ldb, &s) || !LdaFits(s, lda)) return;
  trmm(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb, 1, 1, 1, 1);
}

}  // namespace

extern "C" {

QOR_API void qor_blas_xdtrmm_4tem(const char* side, const char* uplo, const char* transa,
                                  const char* diag, const int* m, const int* n,
                                  const double* alpha, const double* a, const int* lda,
                                  double* b, const int* ldb) {
  OwnFull(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
QOR_API void qor_blas_xstrmm_4tem(const char* side, const char* uplo, const char* transa,
                                  const char* diag, const int* m, const int* n,
                                  const float* alpha, const float* a, const int* lda, float* b,
                                  const int* ldb) {
  OwnFull(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}

QOR_API void qor_blas4tem_dtrmm(const char* side, const char* uplo, const char* transa,
                                const char* diag, const int* m, const int* n,
                                const double* alpha, const double* a, const int* lda, double* b,
                                const int* ldb) {
  Forward(dtrmm_, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
QOR_API void qor_blas4tem_strmm(const char* side, const char* uplo, const char* transa,
                                const char* diag, const int* m, const int* n, const float* alpha,
                                const float* a, const int* lda, float* b, const int* ldb) {
  Forward(strmm_, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}

QOR_API void qor_blas4tem_dptrmm(const char* side, const char* uplo, const char* transa,
                                 const char* diag, const int* m, const int* n,
                                 const double* alpha, const double* ap, double* b,
                                 const int* ldb) {
  OwnPacked(side, uplo, transa, diag, m, n, alpha, ap, b, ldb);
}
QOR_API void qor_blas4tem_sptrmm(const char* side, const char* uplo, const char* transa,
                                 const char* diag, const int* m, const int* n, const float* alpha,
                                 const float* ap, float* b, const int* ldb) {
  OwnPacked(side, uplo, transa, diag, m, n, alpha, ap, b, ldb);
}

}  // extern "C"
