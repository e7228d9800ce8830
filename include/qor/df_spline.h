/* Data fitting: spline construction and interpolation. A constructor writes the coefficients
   of every function of a task through its coefficient table: cell i (x[i] to x[i+1]) owns
   `order` reals, lowest power first, of the polynomial in t = s - x[i]. The `format` word and
   the threading table of the constructors are not read by these constructors. */
#ifndef QOR_DF_SPLINE_H_
#define QOR_DF_SPLINE_H_

#include <stdint.h>

#include "qor/df.h"

QOR_EXTERN_C_BEGIN

/* ---- Construction; 0 or a status ---- */

/* c0 = y[i], c1 the cell's slope. `method` must be 0. */
QOR_API int qor_df_kernel_dDFLinearSpline1D(dfTask* task, int format, int method,
                                            const qorThreading* threading);
QOR_API int qor_df_kernel_sDFLinearSpline1D(dfTask* task, int format, int method,
                                            const qorThreading* threading);

/* Type 0: C1 quadratic through the breakpoints, bc[0] the value at the middle of the first
   cell (bcType dfBcMidValue). */
QOR_API int qor_df_kernel_dDFQuadraticSpline1D(dfTask* task, int format, int method,
                                               const qorThreading* threading);
QOR_API int qor_df_kernel_sDFQuadraticSpline1D(dfTask* task, int format, int method,
                                               const qorThreading* threading);

/* Cubic from the second derivatives ic[0..nx-3] at the inner breakpoints. */
QOR_API int qor_df_kernel_dDFDefaultCubicSpline1D(dfTask* task, int format, int method,
                                                  const qorThreading* threading);
QOR_API int qor_df_kernel_sDFDefaultCubicSpline1D(dfTask* task, int format, int method,
                                                  const qorThreading* threading);

/* C2 cubic; one tridiagonal factorisation serves all functions. `method` must be 0. */
QOR_API int qor_df_kernel_dDFNaturalCubicSpline1D(dfTask* task, int format, int method,
                                                  const qorThreading* threading);
QOR_API int qor_df_kernel_sDFNaturalCubicSpline1D(dfTask* task, int format, int method,
                                                  const qorThreading* threading);

QOR_EXTERN_C_END

#endif /* QOR_DF_SPLINE_H_ */
