/* The seven cell-search methods, each in four forms (cells as the flags word says, u32 cells,
   i64 cells with 64-bit arithmetic, i64 cells widened from 32-bit arithmetic) and two real
   types. A form searches one stretch of sites on the calling thread; the drivers
   (qor_df_kernel_?DFSearch1D, interpolation) expand sites and share the work among threads.

   Arguments: nx, x, nsite, site, then the method's own (the cursor of the sorted method, the
   step of the uniform and quasi-uniform methods), three words carried but not read (the
   task's cellCount, cellTable and cellScale), the cell array, the flags word of the
   no-suffix form, and for the user-defined methods the callback, its two parameter words and
   an optional array that receives each site's flag (null: not written).
   Flags word: bit 1 set and bit 0 set: i64 cells; bit 1 set, bit 0 clear: u32 cells; bit 1
   clear: i64 cells, with 64-bit arithmetic only when nx >= 2147483647. */
#ifndef QOR_DF_SEARCH_METHODS_H_
#define QOR_DF_SEARCH_METHODS_H_

#include <stdint.h>

#include "qor/export.h"

QOR_EXTERN_C_BEGIN

#define QOR_DF_CARRIED uint64_t cellCount, const uint64_t *cellTable, const void *cellScale

/* The four forms of one method; LEAD are the method's arguments between site and the
   carried words, TRAIL those behind the cell array (and flags word). */
#define QOR_DF_SEARCH_FORMS(t, R, Method, LEAD, TRAIL)                                        \
  QOR_API int qor_df_kernel_##t##DF##Method##Search1D(int64_t nx, const R* x, int64_t nsite,  \
                                                     const R* site LEAD, QOR_DF_CARRIED,      \
                                                     void* cell, uint32_t flags TRAIL);        \
  QOR_API int qor_df_kernel_##t##DF##Method##Search1D32(int64_t nx, const R* x, int64_t nsite,\
                                                       const R* site LEAD, QOR_DF_CARRIED,    \
                                                       uint32_t* cell TRAIL);                  \
  QOR_API int qor_df_kernel_##t##DF##Method##Search1D64(int64_t nx, const R* x, int64_t nsite,\
                                                       const R* site LEAD, QOR_DF_CARRIED,    \
                                                       int64_t* cell TRAIL);                   \
  QOR_API int qor_df_kernel_##t##DF##Method##Search1D64Pack(                                  \
      int64_t nx, const R* x, int64_t nsite, const R* site LEAD, QOR_DF_CARRIED,              \
      int64_t* cell TRAIL);

#define QOR_DF_NONE
#define QOR_DF_STEP(R) , R step
#define QOR_DF_CURSOR , int64_t* cursor
#define QOR_DF_CB(CB) \
  , CB callback, void* callbackData, int64_t callbackLength, uint32_t* siteFlags

#define QOR_DF_SEARCH_METHODS(t, R, CB)                                    \
  QOR_DF_SEARCH_FORMS(t, R, Uniform, QOR_DF_STEP(R), QOR_DF_NONE)           \
  QOR_DF_SEARCH_FORMS(t, R, QuasiUniform, QOR_DF_STEP(R), QOR_DF_NONE)      \
  QOR_DF_SEARCH_FORMS(t, R, Sorted, QOR_DF_CURSOR, QOR_DF_NONE)             \
  QOR_DF_SEARCH_FORMS(t, R, Peak, QOR_DF_NONE, QOR_DF_NONE)                 \
  QOR_DF_SEARCH_FORMS(t, R, Hybrid, QOR_DF_NONE, QOR_DF_NONE)               \
  QOR_DF_SEARCH_FORMS(t, R, UserDef, QOR_DF_NONE, QOR_DF_CB(CB))            \
  QOR_DF_SEARCH_FORMS(t, R, UniUserDef, QOR_DF_STEP(R), QOR_DF_CB(CB))

QOR_DF_SEARCH_METHODS(d, double, dfdSearchCallBack)
QOR_DF_SEARCH_METHODS(s, float, dfsSearchCallBack)

#undef QOR_DF_SEARCH_METHODS
#undef QOR_DF_CB
#undef QOR_DF_CURSOR
#undef QOR_DF_STEP
#undef QOR_DF_NONE
#undef QOR_DF_SEARCH_FORMS
#undef QOR_DF_CARRIED

QOR_EXTERN_C_END

#endif /* QOR_DF_SEARCH_METHODS_H_ */
