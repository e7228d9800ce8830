/* Triangular matrix multiplies of libqor_core.so, with the argument lists of the Fortran BLAS
   routine ?trmm: every argument by pointer, matrices column-major, characters compared by their
   first letter without regard to case.

     B := alpha * op(A) * B   (side "L", A of order m)
     B := alpha * B * op(A)   (side "R", A of order n)

   B is m x n with leading dimension ldb; op(A) is A ("N") or its transpose ("T" or "C"); A is
   upper ("U") or lower ("L") triangular, its other triangle never read; diag "U" takes the
   diagonal as ones without reading it, "N" reads it. alpha = 0 sets B to zero.

   Arguments BLAS would reject (an unknown letter, m or n below 0, lda below max(1, order of A),
   ldb below max(1, m)) leave B untouched: these calls never reach the system BLAS's error
   handler, which would end the process. */
#ifndef QOR_CORE_BLAS_H_
#define QOR_CORE_BLAS_H_

#include "qor/export.h"

QOR_EXTERN_C_BEGIN

/* The library's own loops, for the small orders where a BLAS call costs more than the work. */
QOR_API void qor_blas_xdtrmm_4tem(const char* side, const char* uplo, const char* transa,
                                  const char* diag, const int* m, const int* n,
                                  const double* alpha, const double* a, const int* lda,
                                  double* b, const int* ldb);
QOR_API void qor_blas_xstrmm_4tem(const char* side, const char* uplo, const char* transa,
                                  const char* diag, const int* m, const int* n,
                                  const float* alpha, const float* a, const int* lda, float* b,
                                  const int* ldb);

/* The system BLAS's dtrmm and strmm, after the checks above. */
QOR_API void qor_blas4tem_dtrmm(const char* side, const char* uplo, const char* transa,
                                const char* diag, const int* m, const int* n,
                                const double* alpha, const double* a, const int* lda, double* b,
                                const int* ldb);
QOR_API void qor_blas4tem_strmm(const char* side, const char* uplo, const char* transa,
                                const char* diag, const int* m, const int* n, const float* alpha,
                                const float* a, const int* lda, float* b, const int* ldb);

/* The same product with A packed column by column as in LAPACK's packed storage: for upper A,
   A(i, j) (i <= j, 0-based) is ap[i + j (j + 1) / 2]; for lower A of order k, A(i, j) (i >= j)
   is ap[i + j (2k - j - 1) / 2]. ap holds k (k + 1) / 2 values; there is no lda. */
QOR_API void qor_blas4tem_dptrmm(const char* side, const char* uplo, const char* transa,
                                 const char* diag, const int* m, const int* n,
                                 const double* alpha, const double* ap, double* b,
                                 const int* ldb);
QOR_API void qor_blas4tem_sptrmm(const char* side, const char* uplo, const char* transa,
                                 const char* diag, const int* m, const int* n, const float* alpha,
                                 const float* ap, float* b, const int* ldb);

QOR_EXTERN_C_END

#endif /* QOR_CORE_BLAS_H_ */
