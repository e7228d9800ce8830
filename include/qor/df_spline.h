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

/* ---- Interpolation ---- */

/* Extrapolation and interpolation callbacks: called once per block of at most 256 sites
   with the number of sites `n`, their cells (i64), the sites, and a zeroed result stretch of
   n * ny * nder reals laid out [site][function][derivative]. A negative result ends the
   call with that status. */
typedef int (*dfdInterpCallBack)(int64_t* n, int64_t* cell, double* site, double* r,
                                 const void* params);
typedef int (*dfsInterpCallBack)(int64_t* n, int64_t* cell, float* site, float* r,
                                 const void* params);

/* Values and derivatives of a task's spline, or of its tabulated data, at `nsite` sites.
   type: 1 results in r, 2 cells in cell (u32, or i64 for a task with wideIndex), both bits
   together, or 4: cells are given in `cell` and no search runs. dorder: ndorder flags (i32,
   or i64 with wideIndex), entry m asking for derivative m; none set means the value alone.
   rhint: the nesting of function, site and derivative in r (dfOutFSD, dfOutFDS, dfOutSFD,
   dfOutSDF; dfOutKernel: block by block; 0 as dfOutFSD). Sites outside the partition take the
   end polynomials unless le_cb / re_cb take them; i_cb takes the sites inside. `method` is
   not read. */
QOR_API int qor_df_kernel_dDFInterpolate1D(
    dfTask* task, int type, int method, int64_t nsite, const double* site, int64_t sitehint,
    int64_t ndorder, const void* dorder, const double* dhint, double* r, int64_t rhint,
    void* cell, dfdInterpCallBack le_cb, const void* le_params, dfdInterpCallBack re_cb,
    const void* re_params, dfdInterpCallBack i_cb, const void* i_params,
    dfdSearchCallBack search_cb, const dfSearchCallBackParam* search_params,
    const qorThreading* threading);
QOR_API int qor_df_kernel_sDFInterpolate1D(
    dfTask* task, int type, int method, int64_t nsite, const float* site, int64_t sitehint,
    int64_t ndorder, const void* dorder, const float* dhint, float* r, int64_t rhint,
    void* cell, dfsInterpCallBack le_cb, const void* le_params, dfsInterpCallBack re_cb,
    const void* re_params, dfsInterpCallBack i_cb, const void* i_params,
    dfsSearchCallBack search_cb, const dfSearchCallBackParam* search_params,
    const qorThreading* threading);

QOR_EXTERN_C_END

#endif /* QOR_DF_SPLINE_H_ */
