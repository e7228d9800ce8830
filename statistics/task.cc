// Creation, edits and deletion of the statistics task. Checks run before the stores they
// guard; an edit with a null value leaves its field as it was.
#include <stddef.h>
#include <string.h>

#include "qor/core.h"
#include "statistics/task.h"

namespace rof {
namespace ss {
namespace {

enum class Kind : uint8_t { kNone, kInteger, kData };

// One settable field: where it sits, whether it holds an integer parameter or floating data,
// and the status of an edit that gives it a null value.
struct Param {
  Kind kind;
  uint16_t offset;
  int16_t null_status;
};

constexpr int kFirstId = 1;
constexpr int kLastId = 79;

#define ROF_SS_PARAM(id, field, kind, status) \
  table[id] = Param{Kind::kind, static_cast<uint16_t>(offsetof(rofSSTask, field)), status}

struct ParamTable {
  Param table[kLastId + 1] = {};
  constexpr ParamTable() {
    ROF_SS_PARAM(1, dimen, kInteger, -4001);
    ROF_SS_PARAM(2, observN, kInteger, -4002);
    ROF_SS_PARAM(3, observ, kData, -4032);
    ROF_SS_PARAM(4, observStorage, kInteger, -4044);
    ROF_SS_PARAM(5, indices, kInteger, -4004);
    ROF_SS_PARAM(6, weights, kData, -4005);
    ROF_SS_PARAM(7, mean, kData, -4006);
    ROF_SS_PARAM(8, rawMom2, kData, -4007);
    ROF_SS_PARAM(9, rawMom3, kData, -4008);
    ROF_SS_PARAM(10, rawMom4, kData, -4009);
    ROF_SS_PARAM(11, cenMom2, kData, -4010);
    ROF_SS_PARAM(12, cenMom3, kData, -4011);
    ROF_SS_PARAM(13, cenMom4, kData, -4012);
    ROF_SS_PARAM(14, kurtosis, kData, -4013);
    ROF_SS_PARAM(15, skewness, kData, -4014);
    ROF_SS_PARAM(16, minimum, kData, -4015);
    ROF_SS_PARAM(17, maximum, kData, -4016);
    ROF_SS_PARAM(18, variation, kData, -4017);
    ROF_SS_PARAM(19, cov, kData, -4018);
    ROF_SS_PARAM(20, covStorage, kInteger, -4044);
    ROF_SS_PARAM(21, cor, kData, -4019);
    ROF_SS_PARAM(22, corStorage, kInteger, -4044);
    ROF_SS_PARAM(23, accumWeight, kData, -4020);
    ROF_SS_PARAM(24, quantOrderN, kInteger, -4022);
    ROF_SS_PARAM(25, quantOrder, kData, -4021);
    ROF_SS_PARAM(26, quantiles, kData, -4023);
    ROF_SS_PARAM(27, orderStats, kData, -4024);
    ROF_SS_PARAM(28, groupIndices, kInteger, -4038);
    ROF_SS_PARAM(29, pooledCovStorage, kInteger, -4044);
    ROF_SS_PARAM(30, pooledMean, kData, -4035);
    ROF_SS_PARAM(31, pooledCov, kData, -4034);
    ROF_SS_PARAM(32, groupCovIndices, kInteger, -4038);
    ROF_SS_PARAM(33, groupMeans, kData, -4037);
    ROF_SS_PARAM(34, groupCovStorage, kInteger, -4044);
    ROF_SS_PARAM(35, groupCov, kData, -4036);
    ROF_SS_PARAM(36, robustCovStorage, kInteger, -4044);
    ROF_SS_PARAM(37, robustParamN, kInteger, -4043);
    ROF_SS_PARAM(38, robustParams, kData, -4042);
    ROF_SS_PARAM(39, robustMean, kData, -4028);
    ROF_SS_PARAM(40, robustCov, kData, -4027);
    ROF_SS_PARAM(41, outlierParamN, kInteger, -4040);
    ROF_SS_PARAM(42, outlierParams, kData, -4039);
    ROF_SS_PARAM(43, outlierWeights, kData, -4041);
    ROF_SS_PARAM(44, orderStatsStorage, kInteger, -4044);
    ROF_SS_PARAM(45, partialIndices, kInteger, -4045);
    ROF_SS_PARAM(46, partialCov, kData, -4046);
    ROF_SS_PARAM(47, partialCovStorage, kInteger, -4044);
    ROF_SS_PARAM(48, partialCor, kData, -4047);
    ROF_SS_PARAM(49, partialCorStorage, kInteger, -4044);
    ROF_SS_PARAM(50, missingParamN, kInteger, -4049);
    ROF_SS_PARAM(51, missingParams, kData, -4048);
    ROF_SS_PARAM(52, missingInitEstN, kInteger, -4052);
    ROF_SS_PARAM(53, missingInitEst, kData, -4053);
    ROF_SS_PARAM(54, missingSimulN, kInteger, -4055);
    ROF_SS_PARAM(55, missingSimul, kData, -4054);
    ROF_SS_PARAM(56, missingEstN, kInteger, -4056);
    ROF_SS_PARAM(57, missingEst, kData, -4057);
    ROF_SS_PARAM(58, missingPriorN, kInteger, -4061);
    ROF_SS_PARAM(59, missingPrior, kData, -4062);
    ROF_SS_PARAM(60, paramCor, kData, -4071);
    ROF_SS_PARAM(61, paramCorStorage, kInteger, -4044);
    ROF_SS_PARAM(62, streamParamN, kInteger, -4066);
    ROF_SS_PARAM(63, streamParams, kData, -4065);
    ROF_SS_PARAM(64, streamOrderN, kInteger, -4069);
    ROF_SS_PARAM(65, streamOrder, kData, -4068);
    ROF_SS_PARAM(66, streamQuantiles, kData, -4070);
    // The sum shares the mean's status.
    ROF_SS_PARAM(67, sum, kData, -4006);
    ROF_SS_PARAM(68, rawSum2, kData, -4075);
    ROF_SS_PARAM(69, rawSum3, kData, -4076);
    ROF_SS_PARAM(70, rawSum4, kData, -4077);
    ROF_SS_PARAM(71, cenSum2, kData, -4078);
    ROF_SS_PARAM(72, cenSum3, kData, -4079);
    ROF_SS_PARAM(73, cenSum4, kData, -4080);
    ROF_SS_PARAM(74, crossProduct, kData, -4081);
    ROF_SS_PARAM(75, crossProductStorage, kInteger, -4044);
    ROF_SS_PARAM(76, medianAbsDev, kData, -4082);
    ROF_SS_PARAM(77, meanAbsDev, kData, -4083);
    ROF_SS_PARAM(78, sorted, kData, -4084);
    ROF_SS_PARAM(79, sortedStorage, kInteger, -4044);
  }
};
#undef ROF_SS_PARAM

constexpr ParamTable kParams;

// Data ids lie in 3..78, integer ids in 1..79.
constexpr int kFirstDataId = 3;
constexpr int kLastDataId = 78;

int Edit(rofSSTask* task, int id, const void* value, Kind kind, int first, int last) {
  if (task == nullptr) return ROF_SS_NULL_TASK;
  if (id < first || id > last || kParams.table[id].kind != kind) return ROF_SS_BAD_PARAM_ID;
  const Param& param = kParams.table[id];
  if (value == nullptr) return param.null_status;
  memcpy(reinterpret_cast<char*>(task) + param.offset, &value, sizeof value);
  return ROF_SS_OK;
}

template <class T>
int NewTask(rofSSTask** handle, const void* p, const void* n, const void* xstorage, const T* x,
            const T* weights, const void* indices, int32_t index_width) {
  rofSSTask probe{};
  probe.indexWidth = index_width;
  if (p == nullptr || ReadInt(probe, p) < 1) return ROF_SS_BAD_DIMEN;
  if (x != nullptr) {
    if (xstorage == nullptr) return ROF_SS_NO_STORAGE;
    const int64_t storage = ReadInt(probe, xstorage);
    if (storage != ROF_SS_OBSERV_ROWS && storage != ROF_SS_OBSERV_COLUMNS)
      return ROF_SS_BAD_STORAGE;
    if (n == nullptr || ReadInt(probe, n) < 1) return ROF_SS_BAD_OBSERV_N;
  }
  auto* task = static_cast<rofSSTask*>(qor_serv_allocate(sizeof(rofSSTask), kTaskAlignment));
  *handle = task;
  if (task == nullptr) return ROF_SS_NO_MEMORY;
  memset(task, 0, sizeof(rofSSTask));
  task->indexWidth = index_width;
  task->layoutTag = kLayoutTag;
  task->layoutFlag = kLayoutFlag;
  task->dimen = p;
  task->observN = n;
  task->observ = const_cast<T*>(x);
  task->observStorage = xstorage;
  task->weights = const_cast<T*>(weights);
  task->indices = indices;
  return ROF_SS_OK;
}

// Stores each non-null value into its field.
// The caller has checked the task.
template <class... Pairs>
int GroupEdit(rofSSTask*, Pairs... pairs) {
  auto store = [](auto& field, auto* value) {
    if (value != nullptr) field = value;
  };
  (store(*pairs.first, pairs.second), ...);
  return ROF_SS_OK;
}

template <class F, class V>
struct FieldValue {
  F* first;
  V* second;
};
template <class F, class V>
FieldValue<F, V> At(F& field, V* value) {
  return {&field, value};
}

}  // namespace
}  // namespace ss
}  // namespace rof

using rof::ss::At;
using rof::ss::GroupEdit;

extern "C" {

QOR_API int __rofdSSNewTask(rofSSTask** task, const void* p, const void* n, const void* xstorage,
                            const double* x, const double* weights, const void* indices,
                            int32_t indexWidth) {
  return rof::ss::NewTask(task, p, n, xstorage, x, weights, indices, indexWidth);
}
QOR_API int __rofsSSNewTask(rofSSTask** task, const void* p, const void* n, const void* xstorage,
                            const float* x, const float* weights, const void* indices,
                            int32_t indexWidth) {
  return rof::ss::NewTask(task, p, n, xstorage, x, weights, indices, indexWidth);
}

QOR_API int __rofSSDeleteTask(rofSSTask** handle) {
  if (handle == nullptr) return ROF_SS_NULL_TASK;
  rofSSTask* task = *handle;
  if (task == nullptr) return ROF_SS_OK;
  qor_serv_deallocate(task->workBuffer);
  task->workBuffer = nullptr;
  // A clean-up function may register or drop others: the count is read again each time.
  for (int64_t i = 0; i < task->cleanupCount && i < 1; ++i) task->cleanup[i](task);
  qor_serv_deallocate(task);
  *handle = nullptr;
  return ROF_SS_OK;
}

QOR_API int __rofiSSEditTask(rofSSTask* task, int id, const void* value) {
  return rof::ss::Edit(task, id, value, rof::ss::Kind::kInteger, rof::ss::kFirstId,
                       rof::ss::kLastId);
}
QOR_API int __rofdSSEditTask(rofSSTask* task, int id, const double* value) {
  return rof::ss::Edit(task, id, value, rof::ss::Kind::kData, rof::ss::kFirstDataId,
                       rof::ss::kLastDataId);
}
QOR_API int __rofsSSEditTask(rofSSTask* task, int id, const float* value) {
  return rof::ss::Edit(task, id, value, rof::ss::Kind::kData, rof::ss::kFirstDataId,
                       rof::ss::kLastDataId);
}

#define ROF_SS_GROUP_EDIT_BODIES(t, T)                                                        \
  QOR_API int __rof##t##SSEditMoments(rofSSTask* task, T* mean, T* rawMom2, T* rawMom3,         \
                                      T* rawMom4, T* cenMom2, T* cenMom3, T* cenMom4) {         \
    if (task == nullptr) return ROF_SS_NULL_TASK;                                               \
    return GroupEdit(task, At(task->mean, mean), At(task->rawMom2, rawMom2),                    \
                     At(task->rawMom3, rawMom3), At(task->rawMom4, rawMom4),                    \
                     At(task->cenMom2, cenMom2), At(task->cenMom3, cenMom3),                    \
                     At(task->cenMom4, cenMom4));                                               \
  }                                                                                             \
  QOR_API int __rof##t##SSEditSums(rofSSTask* task, T* sum, T* rawSum2, T* rawSum3, T* rawSum4, \
                                   T* cenSum2, T* cenSum3, T* cenSum4) {                        \
    if (task == nullptr) return ROF_SS_NULL_TASK;                                               \
    return GroupEdit(task, At(task->sum, sum), At(task->rawSum2, rawSum2),                      \
                     At(task->rawSum3, rawSum3), At(task->rawSum4, rawSum4),                    \
                     At(task->cenSum2, cenSum2), At(task->cenSum3, cenSum3),                    \
                     At(task->cenSum4, cenSum4));                                               \
  }                                                                                             \
  QOR_API int __rof##t##SSEditCovCor(rofSSTask* task, T* mean, T* cov, const void* covStorage,  \
                                     T* cor, const void* corStorage) {                          \
    if (task == nullptr) return ROF_SS_NULL_TASK;                                               \
    return GroupEdit(task, At(task->mean, mean), At(task->cov, cov),                            \
                     At(task->covStorage, covStorage), At(task->cor, cor),                      \
                     At(task->corStorage, corStorage));                                         \
  }                                                                                             \
  QOR_API int __rof##t##SSEditCP(rofSSTask* task, T* mean, T* sum, T* crossProduct,             \
                                 const void* crossProductStorage) {                             \
    if (task == nullptr) return ROF_SS_NULL_TASK;                                               \
    return GroupEdit(task, At(task->mean, mean), At(task->sum, sum),                            \
                     At(task->crossProduct, crossProduct),                                      \
                     At(task->crossProductStorage, crossProductStorage));                       \
  }                                                                                             \
  QOR_API int __rof##t##SSEditPartialCovCor(                                                    \
      rofSSTask* task, const void* partialIndices, T* cov, const void* covStorage, T* cor,      \
      const void* corStorage, T* partialCov, const void* partialCovStorage, T* partialCor,      \
      const void* partialCorStorage) {                                                          \
    if (task == nullptr) return ROF_SS_NULL_TASK;                                               \
    return GroupEdit(task, At(task->partialIndices, partialIndices), At(task->cov, cov),        \
                     At(task->covStorage, covStorage), At(task->cor, cor),                      \
                     At(task->corStorage, corStorage), At(task->partialCov, partialCov),        \
                     At(task->partialCovStorage, partialCovStorage),                            \
                     At(task->partialCor, partialCor),                                          \
                     At(task->partialCorStorage, partialCorStorage));                           \
  }                                                                                             \
  QOR_API int __rof##t##SSEditQuantiles(rofSSTask* task, const void* quantOrderN,               \
                                        T* quantOrder, T* quantiles, T* orderStats,             \
                                        const void* orderStatsStorage) {                        \
    if (task == nullptr) return ROF_SS_NULL_TASK;                                               \
    return GroupEdit(task, At(task->quantOrderN, quantOrderN), At(task->quantOrder, quantOrder), \
                     At(task->quantiles, quantiles), At(task->orderStats, orderStats),          \
                     At(task->orderStatsStorage, orderStatsStorage));                           \
  }                                                                                             \
  QOR_API int __rof##t##SSEditStreamQuantiles(rofSSTask* task, const void* streamOrderN,        \
                                              T* streamOrder, T* streamQuantiles,               \
                                              const void* streamParamN, T* streamParams) {      \
    if (task == nullptr) return ROF_SS_NULL_TASK;                                               \
    return GroupEdit(task, At(task->streamOrderN, streamOrderN),                                \
                     At(task->streamOrder, streamOrder),                                        \
                     At(task->streamQuantiles, streamQuantiles),                                \
                     At(task->streamParamN, streamParamN), At(task->streamParams, streamParams)); \
  }                                                                                             \
  QOR_API int __rof##t##SSEditPooledCovariance(rofSSTask* task, const void* groupIndices,       \
                                               T* pooledMean, T* pooledCov,                     \
                                               const void* groupCovIndices, T* groupMeans,      \
                                               T* groupCov) {                                   \
    if (task == nullptr) return ROF_SS_NULL_TASK;                                               \
    return GroupEdit(task, At(task->groupIndices, groupIndices),                                \
                     At(task->pooledMean, pooledMean), At(task->pooledCov, pooledCov),          \
                     At(task->groupCovIndices, groupCovIndices),                                \
                     At(task->groupMeans, groupMeans), At(task->groupCov, groupCov));           \
  }                                                                                             \
  QOR_API int __rof##t##SSEditMissingVals(                                                      \
      rofSSTask* task, const void* missingParamN, T* missingParams,                             \
      const void* missingInitEstN, T* missingInitEst, const void* missingPriorN,                \
      T* missingPrior, const void* missingSimulN, T* missingSimul, const void* missingEstN,     \
      T* missingEst) {                                                                          \
    if (task == nullptr) return ROF_SS_NULL_TASK;                                               \
    return GroupEdit(task, At(task->missingParamN, missingParamN),                              \
                     At(task->missingParams, missingParams),                                    \
                     At(task->missingInitEstN, missingInitEstN),                                \
                     At(task->missingInitEst, missingInitEst),                                  \
                     At(task->missingPriorN, missingPriorN),                                    \
                     At(task->missingPrior, missingPrior),                                      \
                     At(task->missingSimulN, missingSimulN),                                    \
                     At(task->missingSimul, missingSimul), At(task->missingEstN, missingEstN),  \
                     At(task->missingEst, missingEst));                                         \
  }                                                                                             \
  QOR_API int __rof##t##SSEditOutDetect(rofSSTask* task, const void* outlierParamN,             \
                                        T* outlierParams, T* outlierWeights) {                  \
    if (task == nullptr) return ROF_SS_NULL_TASK;                                               \
    return GroupEdit(task, At(task->outlierParamN, outlierParamN),                              \
                     At(task->outlierParams, outlierParams),                                    \
                     At(task->outlierWeights, outlierWeights));                                 \
  }                                                                                             \
  QOR_API int __rof##t##SSEditRCov(rofSSTask* task, const void* robustCovStorage,               \
                                   const void* robustParamN, T* robustParams, T* robustMean,    \
                                   T* robustCov) {                                              \
    if (task == nullptr) return ROF_SS_NULL_TASK;                                               \
    return GroupEdit(task, At(task->robustCovStorage, robustCovStorage),                        \
                     At(task->robustParamN, robustParamN), At(task->robustParams, robustParams), \
                     At(task->robustMean, robustMean), At(task->robustCov, robustCov));         \
  }                                                                                             \
  QOR_API int __rof##t##SSEditMtxParametrz(rofSSTask* task, T* cor, const void* corStorage,     \
                                           T* paramCor, const void* paramCorStorage) {          \
    if (task == nullptr) return ROF_SS_NULL_TASK;                                               \
    return GroupEdit(task, At(task->cor, cor), At(task->corStorage, corStorage),                \
                     At(task->paramCor, paramCor), At(task->paramCorStorage, paramCorStorage)); \
  }
ROF_SS_GROUP_EDIT_BODIES(d, double)
ROF_SS_GROUP_EDIT_BODIES(s, float)
#undef ROF_SS_GROUP_EDIT_BODIES

}  // extern "C"
