// The statistics task record and the helpers its users share: reads of integer parameters at
// the task's width and typed views of the caller's arrays.
#ifndef QOR_STATISTICS_TASK_H_
#define QOR_STATISTICS_TASK_H_

#include <stdint.h>

#include "qor/ss.h"

// Fields in this order. Integer parameters are `const void*` (32 or 64 bits by indexWidth),
// floating data `void*` (float or double by the calls that read them). Allocated with
// alignment 128 and zeroed before any field is set.
struct rofSSTask {
  int32_t indexWidth;  // 0: integer parameters are 32-bit; otherwise 64-bit
  int32_t layoutTag;   // 2
  int32_t layoutFlag;  // 1
  const void* dimen;
  const void* observN;
  const void* indices;
  void* observ;
  void* weights;
  void* accumWeight;
  const void* observStorage;
  void* paramCor;
  const void* paramCorStorage;
  void* mean;
  void* rawMom2;
  void* rawMom3;
  void* rawMom4;
  void* cenMom2;
  void* cenMom3;
  void* cenMom4;
  void* sum;
  void* rawSum2;
  void* rawSum3;
  void* rawSum4;
  void* cenSum2;
  void* cenSum3;
  void* cenSum4;
  void* kurtosis;
  void* skewness;
  void* variation;
  void* minimum;
  void* maximum;
  const void* covStorage;
  void* cov;
  const void* corStorage;
  void* cor;
  const void* crossProductStorage;
  void* crossProduct;
  const void* groupIndices;
  const void* groupCovIndices;
  void* groupMeans;
  void* groupCov;
  const void* groupCovStorage;
  void* pooledMean;
  void* pooledCov;
  const void* pooledCovStorage;
  const void* quantOrderN;
  void* quantOrder;
  void* quantiles;
  void* orderStats;
  const void* orderStatsStorage;
  const void* streamOrderN;
  void* streamOrder;
  void* streamQuantiles;
  void* sketch;  // owned (streaming quantiles)
  const void* streamParamN;
  void* streamParams;
  void* meanAbsDev;
  void* medianAbsDev;
  const void* robustParamN;
  void* robustParams;
  void* robustMean;
  void* robustCov;
  const void* robustCovStorage;
  const void* outlierParamN;
  void* outlierParams;
  void* outlierWeights;
  const void* partialIndices;
  void* partialCov;
  const void* partialCovStorage;
  void* partialCor;
  const void* partialCorStorage;
  const void* missingParamN;
  void* missingParams;
  const void* missingInitEstN;
  void* missingInitEst;
  const void* missingPriorN;
  void* missingPrior;
  const void* missingSimulN;
  void* missingSimul;
  const void* missingEstN;
  void* missingEst;
  void* sorted;
  const void* sortedStorage;
  // Arguments of the Mahalanobis pass of outlier detection: rows, columns, three arrays, the
  // row-block count and its array.
  void* mahalanobis[6];
  int64_t cleanupCount;
  void (*cleanup[1])(rofSSTask*);  // at most one clean-up function is registered
  void* workBuffer;                // owned, freed on deletion
};

namespace rof {
namespace ss {

constexpr int32_t kLayoutTag = 2;
constexpr int32_t kLayoutFlag = 1;
constexpr int kTaskAlignment = 128;

// An integer parameter at the task's width; the pointer must not be null.
inline int64_t ReadInt(const rofSSTask& task, const void* value) {
  if (task.indexWidth != 0) return *static_cast<const int64_t*>(value);
  return *static_cast<const int32_t*>(value);
}
// Entry k of an integer array at the task's width.
inline int64_t ReadIntAt(const rofSSTask& task, const void* array, int64_t k) {
  if (task.indexWidth != 0) return static_cast<const int64_t*>(array)[k];
  return static_cast<const int32_t*>(array)[k];
}

template <class T>
inline T* Data(void* field) {
  return static_cast<T*>(field);
}

}  // namespace ss
}  // namespace rof

#endif  // QOR_STATISTICS_TASK_H_
