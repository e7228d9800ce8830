// Creation, edits, queries and deletion of the fitting task. Checks run before the stores
// they guard; nothing is rolled back after a failure.
#include <string.h>

#include "fitting/task.h"
#include "fitting/task_accelerator.h"
#include "qor/core.h"

namespace df {
namespace {

// A pointer table of `count` entries plus one spare null entry, so that the query of the
// entry just past the table reads a null pointer inside the block. Null when count < 0 or
// the allocation fails.
void** AllocateTable(int64_t count) {
  if (count < 0) return nullptr;
  const size_t bytes = (static_cast<size_t>(count) + 1) * sizeof(void*);
  void** table = static_cast<void**>(qor_serv_allocate(bytes, kTaskAlignment));
  if (table != nullptr) memset(table, 0, bytes);
  return table;
}

// yTable of the task's nx, ny and yHint for the values y.
template <class T>
int MakeYTable(dfTask* task, const T* y) {
  qor_serv_deallocate(task->yTable);
  // One pointer for breakpoint-major values; otherwise the low 32 bits of ny, signed.
  const int64_t count = IsColumns(task->yHint) ? 1 : static_cast<int32_t>(task->ny);
  task->yTable = AllocateTable(count);
  if (task->yTable == nullptr) return dfErrNoMemory;
  task->yTable[0] = const_cast<T*>(y);
  if (task->yHint == dfYNoHint || task->yHint == dfYRows)
    for (int64_t k = 1; k < count; ++k) task->yTable[k] = const_cast<T*>(y) + k * task->nx;
  return 0;
}

// coeffTable of ny entries for the coefficient array scoeff: every function's stretch, or
// entry 0 only when bit 7 of the hint is set.
template <class T>
int MakeCoeffTable(dfTask* task, T* scoeff, uint64_t coeff_hint) {
  qor_serv_deallocate(task->coeffTable);
  task->coeffTable = AllocateTable(task->ny);
  if (task->coeffTable == nullptr) return dfErrNoMemory;
  task->coeffTable[0] = scoeff;
  if ((coeff_hint & dfYSeparate) == 0) {
    const int64_t order = task->splineOrder;
    // The knotted quadratic has nx coefficient groups, every other spline nx-1.
    const int64_t stride =
        task->splineType == dfQuadraticKnotted ? task->nx * order : task->nx * order - order;
    for (int64_t k = 1; k < task->ny; ++k) task->coeffTable[k] = scoeff + k * stride;
  }
  return 0;
}

template <class T>
int NewTask(dfTask** handle, int64_t nx, const T* x, uint64_t x_hint, int64_t ny, const T* y,
            uint64_t y_hint, uint32_t wide_index) {
  if (nx < 2) return dfErrBadNx;
  if (x == nullptr) return dfErrBadX;
  if (!IsPartitionCode(x_hint)) return dfErrBadXHint;
  if (ny == 0 && y != nullptr) return dfErrBadNy;
  if (ny != 0 && y == nullptr) return dfErrBadY;
  if (!IsStorageCode(y_hint)) return dfErrBadYHint;

  dfTask* task = static_cast<dfTask*>(qor_serv_allocate(sizeof(dfTask), kTaskAlignment));
  *handle = task;
  if (task == nullptr) return dfErrNoMemory;
  memset(task, 0, sizeof(dfTask));
  task->nx = nx;
  task->x = const_cast<T*>(x);
  task->xHint = x_hint;
  task->ny = ny;
  task->yHint = y_hint;
  if (y != nullptr && MakeYTable(task, y) != 0) return dfErrNoMemory;
  task->wideIndex = wide_index;
  task->recordTag = kRecordTag;
  task->isDouble = IsDouble<T>();
  task->taskKind = kTaskKind;
  task->cellTable = nullptr;
  if (x_hint == dfXUniform) return 0;
  return BuildAccelerator(task);
}

template <class T>
int EditPPSpline(dfTask* task, int64_t order, int64_t type, uint64_t bc_type, const T* bc,
                 int64_t ic_type, const T* ic, T* scoeff, uint64_t coeff_hint) {
  if (task == nullptr) return dfErrNullTask;
  if (order < 0) return dfErrBadOrder;
  if (type < 0) return dfErrBadType;
  task->splineOrder = order;
  task->splineType = type;
  if (bc == nullptr && bc_type >= 3 && bc_type != dfBcPeriodic) return dfErrBadBc;
  task->bcType = static_cast<int64_t>(bc_type);
  task->bc = const_cast<T*>(bc);
  if (ic_type != 0 && ic == nullptr) return dfErrBadIc;
  if (ic_type == 0 && ic != nullptr) return dfErrBadIcType;
  task->icType = ic_type;
  task->ic = const_cast<T*>(ic);
  if (scoeff != nullptr) {
    if (task->ny == 0) return dfErrBadNy;
    if (MakeCoeffTable(task, scoeff, coeff_hint) != 0) return dfErrNoMemory;
  }
  task->coeffHint = coeff_hint;
  return 0;
}

template <class T>
int EditPtr(dfTask* task, int id, const T* ptr) {
  if (task == nullptr) return dfErrNullTask;
  if (task->taskKind != kTaskKind) return 0;
  switch (id) {
    case dfParamX:
      if (ptr == nullptr) return dfErrBadX;
      task->x = const_cast<T*>(ptr);
      return 0;
    case dfParamY:
      if (ptr == nullptr) return dfErrBadY;
      return MakeYTable(task, ptr);
    case dfParamIc:
      if (ptr == nullptr) return dfErrBadIc;
      task->ic = const_cast<T*>(ptr);
      return 0;
    case dfParamBc:
      if (ptr == nullptr) return dfErrBadBc;
      task->bc = const_cast<T*>(ptr);
      return 0;
    case dfParamCoeff:
      if (ptr == nullptr) return dfErrBadCoeff;
      if (task->ny == 0) return dfErrBadNy;
      return MakeCoeffTable(task, const_cast<T*>(ptr), task->coeffHint);
    default:
      return dfErrBadParam;
  }
}

template <class T>
int QueryPtr(dfTask* task, int id, T** result) {
  if (task == nullptr) return dfErrNullTask;
  if (result == nullptr) return dfErrNullResult;
  if (task->taskKind != kTaskKind) return 0;
  // A table not made yet reads as a null entry.
  auto first = [](void** table) { return static_cast<T*>(table ? table[0] : nullptr); };
  switch (id) {
    case dfParamX: *result = static_cast<T*>(task->x); return 0;
    case dfParamY: *result = first(task->yTable); return 0;
    case dfParamIc: *result = static_cast<T*>(task->ic); return 0;
    case dfParamBc: *result = static_cast<T*>(task->bc); return 0;
    case dfParamCoeff: *result = first(task->coeffTable); return 0;
    default: return dfErrBadParam;
  }
}

bool InValueRange(int id) { return id >= dfParamNx && id <= dfParamAuxFlag; }

}  // namespace
}  // namespace df

using df::kTaskKind;

extern "C" {

int qor_df_kernel_dNewTask1D(dfTask** task, int64_t nx, const double* x, uint64_t xHint,
                             int64_t ny, const double* y, uint64_t yHint, uint32_t wideIndex) {
  return df::NewTask(task, nx, x, xHint, ny, y, yHint, wideIndex);
}
int qor_df_kernel_sNewTask1D(dfTask** task, int64_t nx, const float* x, uint64_t xHint,
                             int64_t ny, const float* y, uint64_t yHint, uint32_t wideIndex) {
  return df::NewTask(task, nx, x, xHint, ny, y, yHint, wideIndex);
}

int qor_df_kernel_dEditPPSpline1D(dfTask* task, int64_t order, int64_t type, uint64_t bcType,
                                  const double* bc, int64_t icType, const double* ic,
                                  double* scoeff, uint64_t coeffHint) {
  return df::EditPPSpline(task, order, type, bcType, bc, icType, ic, scoeff, coeffHint);
}
int qor_df_kernel_sEditPPSpline1D(dfTask* task, int64_t order, int64_t type, uint64_t bcType,
                                  const float* bc, int64_t icType, const float* ic,
                                  float* scoeff, uint64_t coeffHint) {
  return df::EditPPSpline(task, order, type, bcType, bc, icType, ic, scoeff, coeffHint);
}

int qor_df_kernel_dEditPtr(dfTask* task, int id, const double* ptr) {
  return df::EditPtr(task, id, ptr);
}
int qor_df_kernel_sEditPtr(dfTask* task, int id, const float* ptr) {
  return df::EditPtr(task, id, ptr);
}

int qor_df_kernel_dEditIdxPtr(dfTask* task, int id, int64_t index, const void* ptr) {
  if (task == nullptr) return dfErrNullTask;
  if (task->taskKind != kTaskKind) return 0;
  const bool in_range = index >= 0 && index < task->ny;
  if (id == dfParamCoeff) {
    if (!in_range) return dfErrBadIndex;
    // A null table (no coefficient array attached yet) has no entry to set.
    if (ptr == nullptr || task->coeffTable == nullptr) return dfErrBadCoeff;
    task->coeffTable[index] = const_cast<void*>(ptr);
    return 0;
  }
  if (id == dfParamY) {
    if (df::IsColumns(task->yHint)) return dfErrBadYHint;
    if (!in_range) return dfErrBadIndex;
    if (ptr == nullptr || task->yTable == nullptr) return dfErrBadY;
    task->yTable[index] = const_cast<void*>(ptr);
    return 0;
  }
  return dfErrBadParam;
}
int qor_df_kernel_sEditIdxPtr(dfTask*, int, int64_t, const void*)
    __attribute__((alias("qor_df_kernel_dEditIdxPtr")));

int qor_df_kernel_iEditVal(dfTask* task, int id, int64_t value) {
  if (task == nullptr) return dfErrNullTask;
  if (task->taskKind != kTaskKind) return 0;
  if (!df::InValueRange(id)) return dfErrBadParam;
  const uint64_t bits = static_cast<uint64_t>(value);
  switch (id) {
    case dfParamNx:
      if (value < 2) return dfErrBadNx;
      task->nx = value;
      return 0;
    case dfParamXHint:
      if (!df::IsPartitionCode(bits)) return dfErrBadXHint;
      task->xHint = bits;
      return bits == dfXNonUniform ? df::BuildAccelerator(task) : 0;
    case dfParamNy:
      if (value < 1) return dfErrBadNy;
      task->ny = value;
      return 0;
    case dfParamYHint:
      if (!df::IsStorageCode(bits)) return dfErrBadYHint;
      task->yHint = bits;
      return 0;
    case dfParamOrder:
      if (value < 0) return dfErrBadOrder;
      task->splineOrder = value;
      return 0;
    case dfParamType:
      if ((value < 0 || value > dfCubicAkima) && value != dfCubicHyman) return dfErrBadType;
      task->splineType = value;
      return 0;
    case dfParamIcType:
      if (value > dfIc2nd && (value & dfIcKnots) == 0) return dfErrBadIcType;
      task->icType = value;
      return 0;
    case dfParamBcType:
      if (value < 0) return dfErrBadBcType;
      task->bcType = value;
      return 0;
    case dfParamCoeffHint:
      if (!df::IsStorageCode(bits)) return dfErrBadCoeffHint;
      task->coeffHint = bits;
      return 0;
    default:  // dfParamAuxFlag
      if (bits > 1) return dfErrBadFlagValue;
      task->auxFlag = static_cast<uint32_t>(bits);
      return 0;
  }
}

int qor_df_kernel_iQueryVal(dfTask* task, int id, void* result) {
  if (task == nullptr) return dfErrNullTask;
  if (result == nullptr) return dfErrNullResult;
  if (task->taskKind != kTaskKind) return 0;
  if (!df::InValueRange(id)) return dfErrBadParam;
  int64_t value = 0;
  switch (id) {
    case dfParamNx: value = task->nx; break;
    case dfParamXHint: value = static_cast<int64_t>(task->xHint); break;
    case dfParamNy: value = task->ny; break;
    case dfParamYHint: value = static_cast<int64_t>(task->yHint); break;
    case dfParamOrder: value = task->splineOrder; break;
    case dfParamType: value = task->splineType; break;
    case dfParamIcType: value = task->icType; break;
    case dfParamBcType: value = task->bcType; break;
    case dfParamCoeffHint: value = static_cast<int64_t>(task->coeffHint); break;
    default: value = static_cast<int32_t>(task->auxFlag); break;
  }
  if (task->wideIndex == 0)
    *static_cast<uint32_t*>(result) = static_cast<uint32_t>(value);
  else
    *static_cast<int64_t*>(result) = value;
  return 0;
}

int qor_df_kernel_dQueryPtr(dfTask* task, int id, double** result) {
  return df::QueryPtr(task, id, result);
}
int qor_df_kernel_sQueryPtr(dfTask* task, int id, float** result) {
  return df::QueryPtr(task, id, result);
}

int qor_df_kernel_dQueryIdxPtr(dfTask* task, int id, int64_t index, void** result) {
  if (task == nullptr) return dfErrNullTask;
  if (result == nullptr) return dfErrNullResult;
  // The entry just past the table (index == ny) is readable: the tables keep a spare one.
  if (index < 0 || index > task->ny) return dfErrBadIndex;
  if (task->taskKind != kTaskKind) return 0;
  if (id == dfParamCoeff) {
    *result = task->coeffTable ? task->coeffTable[index] : nullptr;
    return 0;
  }
  if (id == dfParamY) {
    if (df::IsColumns(task->yHint)) return dfErrBadYHint;
    *result = task->yTable ? task->yTable[index] : nullptr;
    return 0;
  }
  return dfErrBadParam;
}
int qor_df_kernel_sQueryIdxPtr(dfTask*, int, int64_t, void**)
    __attribute__((alias("qor_df_kernel_dQueryIdxPtr")));

int qor_df_kernel_DeleteTask(dfTask** handle) {
  if (handle == nullptr || *handle == nullptr) return dfErrNullTask;
  dfTask* task = *handle;
  qor_serv_deallocate(task->yTable);
  qor_serv_deallocate(task->coeffTable);
  qor_serv_deallocate(task->cellTable);
  qor_serv_deallocate(task);
  *handle = nullptr;
  return 0;
}

}  // extern "C"
