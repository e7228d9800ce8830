/* Summary statistics: the task, its edit calls, its codes and statuses, and the basic
   estimates. A task holds pointers into the caller's arrays (counts, observations, weights,
   results); the caller keeps them alive until the task is deleted. Integer parameters are
   reached through pointers to 32-bit or, when the task's indexWidth is non-zero, 64-bit
   signed integers. */
#ifndef QOR_SS_H_
#define QOR_SS_H_

#include <stdint.h>

#include "qor/export.h"
#include "qor/threading.h"

QOR_EXTERN_C_BEGIN

/* The statistics task record; its layout is internal to the library. */
typedef struct rofSSTask rofSSTask;

/* Statuses; 0 is success. */
enum {
  ROF_SS_OK = 0,
  ROF_SS_BAD_PARAM_ID = -3,
  ROF_SS_NO_MEMORY = -4000,
  ROF_SS_BAD_DIMEN = -4001,
  ROF_SS_BAD_OBSERV_N = -4002,
  ROF_SS_BAD_STORAGE = -4003,
  ROF_SS_NO_INDICES = -4004,
  ROF_SS_NO_WEIGHTS = -4005,
  ROF_SS_NO_MEAN = -4006,
  ROF_SS_NO_RAW_MOM2 = -4007,
  ROF_SS_NO_RAW_MOM3 = -4008,
  ROF_SS_NO_RAW_MOM4 = -4009,
  ROF_SS_NO_CEN_MOM2 = -4010,
  ROF_SS_NO_CEN_MOM3 = -4011,
  ROF_SS_NO_CEN_MOM4 = -4012,
  ROF_SS_NO_KURTOSIS = -4013,
  ROF_SS_NO_SKEWNESS = -4014,
  ROF_SS_NO_MINIMUM = -4015,
  ROF_SS_NO_MAXIMUM = -4016,
  ROF_SS_NO_VARIATION = -4017,
  ROF_SS_NO_COV = -4018,
  ROF_SS_NO_COR = -4019,
  ROF_SS_NO_ACCUM_WEIGHT = -4020,
  ROF_SS_NO_QUANT_ORDER = -4021,
  ROF_SS_BAD_QUANT_ORDER_N = -4022,
  ROF_SS_NO_QUANTILES = -4023,
  ROF_SS_NO_ORDER_STATS = -4024,
  ROF_SS_NO_ROBUST_COV = -4027,
  ROF_SS_NO_ROBUST_MEAN = -4028,
  ROF_SS_BAD_METHOD = -4029,
  ROF_SS_NO_GROUP_INDICES = -4030,
  ROF_SS_NULL_TASK = -4031,
  ROF_SS_NO_OBSERV = -4032,
  ROF_SS_NO_POOLED_COV = -4034,
  ROF_SS_NO_POOLED_MEAN = -4035,
  ROF_SS_NO_GROUP_COV = -4036,
  ROF_SS_NO_GROUP_MEANS = -4037,
  ROF_SS_NO_GROUP_INDEX = -4038,
  ROF_SS_NO_OUTLIER_PARAMS = -4039,
  ROF_SS_BAD_OUTLIER_PARAM_N = -4040,
  ROF_SS_NO_OUTLIER_WEIGHTS = -4041,
  ROF_SS_NO_ROBUST_PARAMS = -4042,
  ROF_SS_BAD_ROBUST_PARAM_N = -4043,
  ROF_SS_NO_STORAGE = -4044,
  ROF_SS_NO_PARTIAL_INDICES = -4045,
  ROF_SS_NO_PARTIAL_COV = -4046,
  ROF_SS_NO_PARTIAL_COR = -4047,
  ROF_SS_NO_MISSING_PARAMS = -4048,
  ROF_SS_BAD_MISSING_PARAM_N = -4049,
  ROF_SS_BAD_MISSING_INIT_EST_N = -4052,
  ROF_SS_NO_MISSING_INIT_EST = -4053,
  ROF_SS_NO_MISSING_SIMUL = -4054,
  ROF_SS_BAD_MISSING_SIMUL_N = -4055,
  ROF_SS_BAD_MISSING_EST_N = -4056,
  ROF_SS_NO_MISSING_EST = -4057,
  ROF_SS_BAD_MISSING_PRIOR_N = -4061,
  ROF_SS_NO_MISSING_PRIOR = -4062,
  ROF_SS_NO_STREAM_PARAMS = -4065,
  ROF_SS_BAD_STREAM_PARAM_N = -4066,
  ROF_SS_NO_STREAM_ORDER = -4068,
  ROF_SS_BAD_STREAM_ORDER_N = -4069,
  ROF_SS_NO_STREAM_QUANTILES = -4070,
  ROF_SS_NO_PARAM_COR = -4071,
  ROF_SS_NO_EIGENVALUE = -4072,
  ROF_SS_NO_SUM = -4074,
  ROF_SS_NO_RAW_SUM2 = -4075,
  ROF_SS_NO_RAW_SUM3 = -4076,
  ROF_SS_NO_RAW_SUM4 = -4077,
  ROF_SS_NO_CEN_SUM2 = -4078,
  ROF_SS_NO_CEN_SUM3 = -4079,
  ROF_SS_NO_CEN_SUM4 = -4080,
  ROF_SS_NO_CROSS_PRODUCT = -4081,
  ROF_SS_NO_MEDIAN_ABS_DEV = -4082,
  ROF_SS_NO_MEAN_ABS_DEV = -4083,
  ROF_SS_NO_SORTED = -4084,
  ROF_SS_SORT_SUBSET_IN_PLACE = -4085,
  ROF_SS_EIGEN_FAILED = -5030,
  ROF_SS_FACTORIZATION_FAILED = -5041,
  ROF_SS_INVERSION_FAILED = -5042
};

/* Storage of the observations (and of sorted observations). */
#define ROF_SS_OBSERV_ROWS 0x10000    /* one row a variable, n values a row */
#define ROF_SS_OBSERV_COLUMNS 0x20000 /* one column a variable, p values a row */

/* Storage of the matrix results (cov, cor, crossProduct and the others). */
#define ROF_SS_MATRIX_FULL 0     /* p by p */
#define ROF_SS_MATRIX_PACKED 1   /* upper triangle by columns: (i, j), i <= j, at i + j(j+1)/2 */
#define ROF_SS_MATRIX_DIAGONAL 2 /* p values */

/* Parameter ids of the edit calls. Integer ids go to __rofiSSEditTask, the others to
   __rofdSSEditTask and __rofsSSEditTask. */
enum {
  ROF_SS_ED_DIMEN = 1,
  ROF_SS_ED_OBSERV_N = 2,
  ROF_SS_ED_OBSERV = 3,
  ROF_SS_ED_OBSERV_STORAGE = 4,
  ROF_SS_ED_INDICES = 5,
  ROF_SS_ED_WEIGHTS = 6,
  ROF_SS_ED_MEAN = 7,
  ROF_SS_ED_RAW_MOM2 = 8,
  ROF_SS_ED_RAW_MOM3 = 9,
  ROF_SS_ED_RAW_MOM4 = 10,
  ROF_SS_ED_CEN_MOM2 = 11,
  ROF_SS_ED_CEN_MOM3 = 12,
  ROF_SS_ED_CEN_MOM4 = 13,
  ROF_SS_ED_KURTOSIS = 14,
  ROF_SS_ED_SKEWNESS = 15,
  ROF_SS_ED_MINIMUM = 16,
  ROF_SS_ED_MAXIMUM = 17,
  ROF_SS_ED_VARIATION = 18,
  ROF_SS_ED_COV = 19,
  ROF_SS_ED_COV_STORAGE = 20,
  ROF_SS_ED_COR = 21,
  ROF_SS_ED_COR_STORAGE = 22,
  ROF_SS_ED_ACCUM_WEIGHT = 23,
  ROF_SS_ED_QUANT_ORDER_N = 24,
  ROF_SS_ED_QUANT_ORDER = 25,
  ROF_SS_ED_QUANTILES = 26,
  ROF_SS_ED_ORDER_STATS = 27,
  ROF_SS_ED_GROUP_INDICES = 28,
  ROF_SS_ED_POOLED_COV_STORAGE = 29,
  ROF_SS_ED_POOLED_MEAN = 30,
  ROF_SS_ED_POOLED_COV = 31,
  ROF_SS_ED_GROUP_COV_INDICES = 32,
  ROF_SS_ED_GROUP_MEANS = 33,
  ROF_SS_ED_GROUP_COV_STORAGE = 34,
  ROF_SS_ED_GROUP_COV = 35,
  ROF_SS_ED_ROBUST_COV_STORAGE = 36,
  ROF_SS_ED_ROBUST_PARAM_N = 37,
  ROF_SS_ED_ROBUST_PARAMS = 38,
  ROF_SS_ED_ROBUST_MEAN = 39,
  ROF_SS_ED_ROBUST_COV = 40,
  ROF_SS_ED_OUTLIER_PARAM_N = 41,
  ROF_SS_ED_OUTLIER_PARAMS = 42,
  ROF_SS_ED_OUTLIER_WEIGHTS = 43,
  ROF_SS_ED_ORDER_STATS_STORAGE = 44,
  ROF_SS_ED_PARTIAL_INDICES = 45,
  ROF_SS_ED_PARTIAL_COV = 46,
  ROF_SS_ED_PARTIAL_COV_STORAGE = 47,
  ROF_SS_ED_PARTIAL_COR = 48,
  ROF_SS_ED_PARTIAL_COR_STORAGE = 49,
  ROF_SS_ED_MISSING_PARAM_N = 50,
  ROF_SS_ED_MISSING_PARAMS = 51,
  ROF_SS_ED_MISSING_INIT_EST_N = 52,
  ROF_SS_ED_MISSING_INIT_EST = 53,
  ROF_SS_ED_MISSING_SIMUL_N = 54,
  ROF_SS_ED_MISSING_SIMUL = 55,
  ROF_SS_ED_MISSING_EST_N = 56,
  ROF_SS_ED_MISSING_EST = 57,
  ROF_SS_ED_MISSING_PRIOR_N = 58,
  ROF_SS_ED_MISSING_PRIOR = 59,
  ROF_SS_ED_PARAM_COR = 60,
  ROF_SS_ED_PARAM_COR_STORAGE = 61,
  ROF_SS_ED_STREAM_PARAM_N = 62,
  ROF_SS_ED_STREAM_PARAMS = 63,
  ROF_SS_ED_STREAM_ORDER_N = 64,
  ROF_SS_ED_STREAM_ORDER = 65,
  ROF_SS_ED_STREAM_QUANTILES = 66,
  ROF_SS_ED_SUM = 67,
  ROF_SS_ED_RAW_SUM2 = 68,
  ROF_SS_ED_RAW_SUM3 = 69,
  ROF_SS_ED_RAW_SUM4 = 70,
  ROF_SS_ED_CEN_SUM2 = 71,
  ROF_SS_ED_CEN_SUM3 = 72,
  ROF_SS_ED_CEN_SUM4 = 73,
  ROF_SS_ED_CROSS_PRODUCT = 74,
  ROF_SS_ED_CROSS_PRODUCT_STORAGE = 75,
  ROF_SS_ED_MEDIAN_ABS_DEV = 76,
  ROF_SS_ED_MEAN_ABS_DEV = 77,
  ROF_SS_ED_SORTED = 78,
  ROF_SS_ED_SORTED_STORAGE = 79
};

/* Estimate bits of the compute calls (64-bit mask). */
#define ROF_SS_MEAN 0x1ULL
#define ROF_SS_RAW_MOM2 0x2ULL
#define ROF_SS_RAW_MOM3 0x4ULL
#define ROF_SS_RAW_MOM4 0x8ULL
#define ROF_SS_CEN_MOM2 0x10ULL
#define ROF_SS_CEN_MOM3 0x20ULL
#define ROF_SS_CEN_MOM4 0x40ULL
#define ROF_SS_KURTOSIS 0x80ULL
#define ROF_SS_SKEWNESS 0x100ULL
#define ROF_SS_VARIATION 0x200ULL
#define ROF_SS_MIN 0x400ULL
#define ROF_SS_MAX 0x800ULL
#define ROF_SS_COV 0x1000ULL
#define ROF_SS_COR 0x2000ULL
#define ROF_SS_SUM 0x2000000ULL
#define ROF_SS_RAW_SUM2 0x4000000ULL
#define ROF_SS_RAW_SUM3 0x8000000ULL
#define ROF_SS_RAW_SUM4 0x10000000ULL
#define ROF_SS_CEN_SUM2 0x20000000ULL
#define ROF_SS_CEN_SUM3 0x40000000ULL
#define ROF_SS_CEN_SUM4 0x80000000ULL
#define ROF_SS_CROSS_PRODUCT 0x100000000ULL

/* Method bits of the compute calls. */
#define ROF_SS_METHOD_FAST 0x1u         /* two passes: means first, central sums second */
#define ROF_SS_METHOD_ONE_PASS 0x2u     /* one pass of weighted running updates */
#define ROF_SS_METHOD_USER_MEAN 0x100u  /* central sums around the caller's mean */
#define ROF_SS_METHOD_FROM_CP 0x200u    /* cov and cor from crossProduct and accumWeight */
#define ROF_SS_METHOD_FROM_SUMS 0x400u  /* moments from the sums and accumWeight */

/* Task lifecycle. p, n, xstorage, indices point to integers of the width indexWidth states. */
QOR_API int __rofdSSNewTask(rofSSTask** task, const void* p, const void* n, const void* xstorage,
                            const double* x, const double* weights, const void* indices,
                            int32_t indexWidth);
QOR_API int __rofsSSNewTask(rofSSTask** task, const void* p, const void* n, const void* xstorage,
                            const float* x, const float* weights, const void* indices,
                            int32_t indexWidth);
QOR_API int __rofSSDeleteTask(rofSSTask** task);

/* Edits of one parameter by id; a null value leaves the field alone and returns its status. */
QOR_API int __rofiSSEditTask(rofSSTask* task, int id, const void* value);
QOR_API int __rofdSSEditTask(rofSSTask* task, int id, const double* value);
QOR_API int __rofsSSEditTask(rofSSTask* task, int id, const float* value);

/* Group edits: each non-null argument is stored, each null one leaves its field alone. Integer
   arguments (counts, storage codes, index lists) are const void* of the task's width. */
#define ROF_SS_GROUP_EDITS(t, T)                                                              \
  QOR_API int __rof##t##SSEditMoments(rofSSTask* task, T* mean, T* rawMom2, T* rawMom3,         \
                                      T* rawMom4, T* cenMom2, T* cenMom3, T* cenMom4);          \
  QOR_API int __rof##t##SSEditSums(rofSSTask* task, T* sum, T* rawSum2, T* rawSum3, T* rawSum4, \
                                   T* cenSum2, T* cenSum3, T* cenSum4);                         \
  QOR_API int __rof##t##SSEditCovCor(rofSSTask* task, T* mean, T* cov, const void* covStorage,  \
                                     T* cor, const void* corStorage);                           \
  QOR_API int __rof##t##SSEditCP(rofSSTask* task, T* mean, T* sum, T* crossProduct,             \
                                 const void* crossProductStorage);                              \
  QOR_API int __rof##t##SSEditPartialCovCor(                                                    \
      rofSSTask* task, const void* partialIndices, T* cov, const void* covStorage, T* cor,      \
      const void* corStorage, T* partialCov, const void* partialCovStorage, T* partialCor,      \
      const void* partialCorStorage);                                                           \
  QOR_API int __rof##t##SSEditQuantiles(rofSSTask* task, const void* quantOrderN,               \
                                        T* quantOrder, T* quantiles, T* orderStats,             \
                                        const void* orderStatsStorage);                         \
  QOR_API int __rof##t##SSEditStreamQuantiles(rofSSTask* task, const void* streamOrderN,        \
                                              T* streamOrder, T* streamQuantiles,               \
                                              const void* streamParamN, T* streamParams);       \
  QOR_API int __rof##t##SSEditPooledCovariance(rofSSTask* task, const void* groupIndices,       \
                                               T* pooledMean, T* pooledCov,                     \
                                               const void* groupCovIndices, T* groupMeans,      \
                                               T* groupCov);                                    \
  QOR_API int __rof##t##SSEditMissingVals(                                                      \
      rofSSTask* task, const void* missingParamN, T* missingParams,                             \
      const void* missingInitEstN, T* missingInitEst, const void* missingPriorN,                \
      T* missingPrior, const void* missingSimulN, T* missingSimul, const void* missingEstN,     \
      T* missingEst);                                                                           \
  QOR_API int __rof##t##SSEditOutDetect(rofSSTask* task, const void* outlierParamN,             \
                                        T* outlierParams, T* outlierWeights);                   \
  QOR_API int __rof##t##SSEditRCov(rofSSTask* task, const void* robustCovStorage,               \
                                   const void* robustParamN, T* robustParams, T* robustMean,    \
                                   T* robustCov);                                               \
  QOR_API int __rof##t##SSEditMtxParametrz(rofSSTask* task, T* cor, const void* corStorage,     \
                                           T* paramCor, const void* paramCorStorage);
ROF_SS_GROUP_EDITS(d, double)
ROF_SS_GROUP_EDITS(s, float)
#undef ROF_SS_GROUP_EDITS

/* Basic estimates: moments, sums, covariance, correlation, cross-products, kurtosis,
   skewness, variation, by the method bits; threading may be null (one thread). */
QOR_API int _rofdSSBasic(rofSSTask* task, uint64_t estimates, uint32_t method,
                         const qorThreading* threading);
QOR_API int _rofsSSBasic(rofSSTask* task, uint64_t estimates, uint32_t method,
                         const qorThreading* threading);

/* Minima (ROF_SS_MIN) and maxima (ROF_SS_MAX), folded into the arrays' former content. */
QOR_API int _rofdSSMinmax(rofSSTask* task, uint64_t estimates, uint32_t method);
QOR_API int _rofsSSMinmax(rofSSTask* task, uint64_t estimates, uint32_t method);

QOR_EXTERN_C_END

#endif /* QOR_SS_H_ */
