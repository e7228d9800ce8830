/* Data fitting: the fitting task, its codes and statuses, and cell search. A task holds
   pointers into the caller's arrays (partition, function values, conditions, coefficients);
   the caller keeps them alive until the task is deleted. */
#ifndef QOR_DF_H_
#define QOR_DF_H_

#include <stdint.h>

#include "qor/export.h"
#include "qor/threading.h"

QOR_EXTERN_C_BEGIN

/* The fitting task record; its layout is internal to the library. */
typedef struct dfTask dfTask;

/* Statuses; 0 is success. */
enum {
  dfErrNullTask = -1000,
  dfErrNoMemory = -1001,
  dfErrBadMethod = -1002,
  dfErrBadNx = -1004,
  dfErrBadX = -1005,
  dfErrBadXHint = -1006,
  dfErrBadNy = -1007,
  dfErrBadY = -1008,
  dfErrBadYHint = -1009,
  dfErrBadOrder = -1010,
  dfErrBadType = -1011,
  dfErrBadIcType = -1012,
  dfErrBadIc = -1013,
  dfErrBadBcType = -1014,
  dfErrBadBc = -1015,
  dfErrBadCoeff = -1016,
  dfErrBadCoeffHint = -1017,
  dfErrBadPeriodic = -1018,
  dfErrBadParam = -1019,
  dfErrBadIndex = -1020,
  dfErrLookupMiss = -1022,
  dfErrBadDerOrder = -1024,
  dfErrNoValueOrder = -1025,
  dfErrBadSiteHint = -1026,
  dfErrBadOutputHint = -1028,
  dfErrBadLimits = -1034,
  dfErrBadFlagValue = -1036,
  dfErrNullResult = -1037,
  dfErrSolver = -1500
};

/* Partition codes (xHint). A uniform partition stores only its two ends in x[0], x[1]. */
enum { dfXNoHint = 0, dfXNonUniform = 1, dfXQuasiUniform = 2, dfXUniform = 4 };

/* Storage of the function values (yHint) and of the coefficients (coeffHint). */
enum { dfYNoHint = 0, dfYRows = 16, dfYColumns = 32, dfYSeparate = 128 };

/* Spline orders. */
enum { dfOrderStep = 0, dfOrderLinear = 2, dfOrderQuadratic = 3, dfOrderCubic = 4 };

/* Spline types; with order 2 any type means the linear spline (dfLinear). */
enum {
  dfLinear = 0,
  dfQuadraticDefault = 0,
  dfQuadraticKnotted = 1,
  dfCubicDefault = 0,
  dfCubicNatural = 2,
  dfCubicHermite = 3,
  dfCubicBessel = 4,
  dfCubicAkima = 5,
  dfLookup = 6,
  dfStepRight = 7,
  dfStepLeft = 8,
  dfCubicHyman = 9
};

/* Boundary conditions (bcType): sums of single-end bits. */
enum {
  dfBcNone = 0,
  dfBcNotAKnot = 1,
  dfBcFreeEnd = 2,
  dfBc1st1st = 12,
  dfBc2nd1st = 24,
  dfBc1st2nd = 36,
  dfBc2nd2nd = 48,
  dfBcPeriodic = 64,
  dfBcMidValue = 128
};

/* Internal conditions (icType); any code with bit 3 set passes a knot array. */
enum { dfIcNone = 0, dfIc1st = 1, dfIc2nd = 2, dfIcKnots = 8 };

/* Parameter identifiers: 1 to 5 for pointers, 14 to 23 for values. */
enum {
  dfParamX = 1,
  dfParamY = 2,
  dfParamIc = 3,
  dfParamBc = 4,
  dfParamCoeff = 5,
  dfParamNx = 14,
  dfParamXHint = 15,
  dfParamNy = 16,
  dfParamYHint = 17,
  dfParamOrder = 18,
  dfParamType = 19,
  dfParamIcType = 20,
  dfParamBcType = 21,
  dfParamCoeffHint = 22,
  dfParamAuxFlag = 23
};

/* Site hints of search and interpolation: two sites standing for an evenly spaced set, or
   sites in ascending order. */
enum { dfSiteUniform = 4, dfSiteSorted = 64 };

/* Data hint of a search: dhint[1] selects the hybrid (0.0) or the peak (1.0) search, dhint[4]
   is a breakpoint position in [0, nx] checked for the peak search. */
enum { dfDataHintMethod = 1, dfDataHintPeak = 4 };

/* Interpolation: what `type` asks for, and the output layouts (rhint). */
enum { dfInterpValues = 1, dfInterpCells = 2, dfInterpCellsGiven = 4 };
enum { dfOutFSD = 16, dfOutFDS = 32, dfOutKernel = 128, dfOutSFD = 256, dfOutSDF = 512 };

/* A user search callback's parameter: a pointer and a length, handed on as they stand. */
typedef struct dfSearchCallBackParam {
  void* data;
  int64_t length;
} dfSearchCallBackParam;

/* User search callback, called once per block of at most 128 sites with the block's size,
   its sites, an estimate (cell) and a flag for each site, and the parameter's two words.
   Negative: the search stops with that status. 1000: the estimates are the block's cells.
   Other: sites whose flag is non-zero keep their estimate, the others are searched. */
typedef int (*dfdSearchCallBack)(int64_t* n, const double* site, int64_t* estimate,
                                 uint32_t* flag, void* data, int64_t length);
typedef int (*dfsSearchCallBack)(int64_t* n, const float* site, int64_t* estimate,
                                 uint32_t* flag, void* data, int64_t length);

/* ---- Task ---- */

QOR_API int qor_df_kernel_dNewTask1D(dfTask** task, int64_t nx, const double* x, uint64_t xHint,
                                     int64_t ny, const double* y, uint64_t yHint,
                                     uint32_t wideIndex);
QOR_API int qor_df_kernel_sNewTask1D(dfTask** task, int64_t nx, const float* x, uint64_t xHint,
                                     int64_t ny, const float* y, uint64_t yHint,
                                     uint32_t wideIndex);

QOR_API int qor_df_kernel_dEditPPSpline1D(dfTask* task, int64_t order, int64_t type,
                                          uint64_t bcType, const double* bc, int64_t icType,
                                          const double* ic, double* scoeff, uint64_t coeffHint);
QOR_API int qor_df_kernel_sEditPPSpline1D(dfTask* task, int64_t order, int64_t type,
                                          uint64_t bcType, const float* bc, int64_t icType,
                                          const float* ic, float* scoeff, uint64_t coeffHint);

QOR_API int qor_df_kernel_dEditPtr(dfTask* task, int id, const double* ptr);
QOR_API int qor_df_kernel_sEditPtr(dfTask* task, int id, const float* ptr);

/* One routine under both names: sets entry `index` of the function (id 2) or coefficient
   (id 5) table. */
QOR_API int qor_df_kernel_dEditIdxPtr(dfTask* task, int id, int64_t index, const void* ptr);
QOR_API int qor_df_kernel_sEditIdxPtr(dfTask* task, int id, int64_t index, const void* ptr);

QOR_API int qor_df_kernel_iEditVal(dfTask* task, int id, int64_t value);
/* Writes a 32-bit result for a task with wideIndex zero, a 64-bit result otherwise. */
QOR_API int qor_df_kernel_iQueryVal(dfTask* task, int id, void* result);

QOR_API int qor_df_kernel_dQueryPtr(dfTask* task, int id, double** result);
QOR_API int qor_df_kernel_sQueryPtr(dfTask* task, int id, float** result);
/* One routine under both names. */
QOR_API int qor_df_kernel_dQueryIdxPtr(dfTask* task, int id, int64_t index, void** result);
QOR_API int qor_df_kernel_sQueryIdxPtr(dfTask* task, int id, int64_t index, void** result);

QOR_API int qor_df_kernel_DeleteTask(dfTask** task);

/* ---- Cell search ---- */

/* Cells of `nsite` sites into `cell`: u32 cells for a task with wideIndex zero, i64 cells
   otherwise. Cell 0 lies below x[0], cell i holds x[i-1] <= s < x[i], x[nx-1] itself is in
   cell nx-1, cell nx lies above. `method` is not read. */
QOR_API int qor_df_kernel_dDFSearch1D(dfTask* task, int method, int64_t nsite,
                                      const double* site, int64_t sitehint, const double* dhint,
                                      void* cell, dfdSearchCallBack search_cb,
                                      const dfSearchCallBackParam* search_params,
                                      const qorThreading* threading);
QOR_API int qor_df_kernel_sDFSearch1D(dfTask* task, int method, int64_t nsite, const float* site,
                                      int64_t sitehint, const float* dhint, void* cell,
                                      dfsSearchCallBack search_cb,
                                      const dfSearchCallBackParam* search_params,
                                      const qorThreading* threading);

QOR_EXTERN_C_END

#include "qor/df_search_methods.h"
#include "qor/df_spline.h"

#endif /* QOR_DF_H_ */
