// A symmetric p by p result in one of the three storage forms: full (both triangles), packed
// (upper triangle by columns) or diagonal.
#ifndef QOR_STATISTICS_MATRIX_STORAGE_H_
#define QOR_STATISTICS_MATRIX_STORAGE_H_

#include <stdint.h>

#include "qor/ss.h"

namespace rof {
namespace ss {

template <class T>
struct SymmetricMatrix {
  T* data;
  int64_t p;
  int64_t storage;  // ROF_SS_MATRIX_*; any other code reads as full

  bool Holds(int64_t i, int64_t j) const { return storage != ROF_SS_MATRIX_DIAGONAL || i == j; }
  // Element (i, j), i <= j, of a stored position.
  T Get(int64_t i, int64_t j) const { return data[Offset(i, j)]; }
  void Set(int64_t i, int64_t j, T value) const {
    if (!Holds(i, j)) return;
    data[Offset(i, j)] = value;
    if (storage != ROF_SS_MATRIX_PACKED && storage != ROF_SS_MATRIX_DIAGONAL)
      data[j * p + i] = value;
  }

 private:
  int64_t Offset(int64_t i, int64_t j) const {
    if (storage == ROF_SS_MATRIX_PACKED) return i + j * (j + 1) / 2;
    if (storage == ROF_SS_MATRIX_DIAGONAL) return i;
    return i * p + j;
  }
};

}  // namespace ss
}  // namespace rof

#endif  // QOR_STATISTICS_MATRIX_STORAGE_H_
