// The fitting task record and the helpers its users share: typed views of the caller's
// arrays and the rules of the partition and storage codes.
#ifndef QOR_FITTING_TASK_H_
#define QOR_FITTING_TASK_H_

#include <stdint.h>

#include "qor/df.h"

// Fields in this order; allocated with alignment 128 and zeroed before any field is set.
struct dfTask {
  uint32_t wideIndex;  // 0: integers handed back are 32-bit; otherwise 64-bit
  uint8_t recordTag;   // 4
  uint32_t isDouble;   // 1 for a d task, 0 for an s task
  uint32_t taskKind;   // 1 after creation
  int64_t nx;
  void* x;             // caller's partition (float or double)
  uint64_t xHint;
  int64_t ny;
  void** yTable;       // owned: ny pointers, or one for dfYColumns
  uint64_t yHint;
  int64_t splineOrder;
  int64_t splineType;
  int64_t icType;
  void* ic;            // caller's
  int64_t bcType;
  void* bc;            // caller's
  void** coeffTable;   // owned: ny pointers
  uint64_t coeffHint;
  uint32_t auxFlag;
  uint64_t cellCount;  // M, buckets of the search accelerator; 0 while there is none
  uint64_t* cellTable; // owned: M+2 pairs (lo, hi)
  union {
    float s;
    double d;
  } cellScale;         // M / (x[nx-1] - x[0]) in the task's type
};

namespace df {

constexpr uint8_t kRecordTag = 4;
constexpr uint32_t kTaskKind = 1;
constexpr int kTaskAlignment = 128;
// Cells above this are out of reach of 32-bit arithmetic in the search forms.
constexpr int64_t kPackLimit = 2147483646;

template <class T>
constexpr uint32_t IsDouble() {
  return sizeof(T) == sizeof(double) ? 1u : 0u;
}

template <class T>
inline const T* X(const dfTask& task) {
  return static_cast<const T*>(task.x);
}
template <class T>
inline const T* Y(const dfTask& task, int64_t k) {
  return static_cast<const T*>(task.yTable[k]);
}
template <class T>
inline T* Coeff(const dfTask& task, int64_t k) {
  return static_cast<T*>(task.coeffTable[k]);
}
template <class T>
inline T CellScale(const dfTask& task) {
  if constexpr (sizeof(T) == sizeof(double)) return task.cellScale.d;
  else return task.cellScale.s;
}

inline bool IsUniform(const dfTask& task) { return (task.xHint & dfXUniform) != 0; }
// Breakpoint-major values (y[i*ny + k]) are read apart from the other storage codes.
inline bool IsColumns(uint64_t hint) { return hint == dfYColumns; }

// 0, 16, 32 and 128: the value rotated right by 4 bits is 0, 1, 2 or 8.
inline bool IsStorageCode(uint64_t v) {
  uint64_t r = (v >> 4) | (v << 60);
  return r == 0 || r == 1 || r == 2 || r == 8;
}
inline bool IsPartitionCode(uint64_t v) { return v <= 4 && v != 3; }

}  // namespace df

#endif  // QOR_FITTING_TASK_H_
