/* Tridiagonal solvers of libqor_core.so for the spline constructors. They follow LAPACK's
   calling pattern (arguments by reference, column-major right-hand sides, status in `info`)
   but factor without pivoting, so the matrix must admit an LU factorisation with non-zero
   pivots (diagonally dominant matrices do).

   `dl` holds the n-1 sub-diagonal, `d` the n diagonal and `du` the n-1 super-diagonal entries.
   The factorisation is twisted: rows above the middle row n/2 are eliminated downwards, rows
   below it upwards (two independent recurrences, run side by side), and the middle row takes
   both. It overwrites `d` with the pivots and leaves `dl` and `du` unchanged; the solves take
   the multipliers from them.

   info = 0: success; info = -i: argument i is illegal; info = i > 0: the pivot of row i
   (1-based) is exactly zero, the factorisation stopped there and no solution was computed. */
#ifndef QOR_CORE_TRIDIAGONAL_H_
#define QOR_CORE_TRIDIAGONAL_H_

#include "qor/export.h"

QOR_EXTERN_C_BEGIN

/* Factors A without pivoting. */
QOR_API void ddttrfb_4dfl(const int* n, double* dl, double* d, const double* du, int* info);
QOR_API void sdttrfb_4dfl(const int* n, float* dl, float* d, const float* du, int* info);

/* Solves A*X = B ("N") or A**T*X = B ("T" or "C") with the factors of ?dttrfb_4dfl; B is
   n x nrhs, column-major with leading dimension ldb >= max(1, n), overwritten by X. */
QOR_API void ddttrsb_4dfl(const char* trans, const int* n, const int* nrhs, const double* dl,
                          const double* d, const double* du, double* b, const int* ldb,
                          int* info);
QOR_API void sdttrsb_4dfl(const char* trans, const int* n, const int* nrhs, const float* dl,
                          const float* d, const float* du, float* b, const int* ldb, int* info);

/* Factor and solve A*X = B in one call. */
QOR_API void ddtsvb_4dfl(const int* n, const int* nrhs, double* dl, double* d, double* du,
                         double* b, const int* ldb, int* info);
QOR_API void sdtsvb_4dfl(const int* n, const int* nrhs, float* dl, float* d, float* du, float* b,
                         const int* ldb, int* info);

QOR_EXTERN_C_END

#endif /* QOR_CORE_TRIDIAGONAL_H_ */
