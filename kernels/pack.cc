// Gathers and scatters between a vector and a strided, indexed or masked layout, for all four
// element types. Elements are copied whole as bits (a signalling NaN passes unchanged); these
// kernels have no floating-point frame and report nothing.
//
// `width` 1 means 32-bit integers throughout: only the low 32 bits of the count and stride
// count, sign-extended, and index or mask entries are int32. Any other width means 64 bits.
#include <stdint.h>
#include <string.h>

#include "frame/function_list.h"

namespace tem {

namespace {

template <class T>
inline void Copy(T& to, const T& from) {
  memcpy(&to, &from, sizeof(T));
}

inline int64_t Integer(int64_t value, int width) {
  return width == 1 ? static_cast<int32_t>(value) : value;
}

// Calls body with the index or mask array as int32 or int64 entries.
template <class Body>
inline void WithEntries(const void* entries, int width, Body body) {
  if (width == 1) {
    body(static_cast<const int32_t*>(entries));
  } else {
    body(static_cast<const int64_t*>(entries));
  }
}

template <class T>
void PackI(int64_t n, const T* a, int64_t inca, T* y, int width) {
  n = Integer(n, width), inca = Integer(inca, width);
#pragma GCC unroll 8
  for (int64_t i = 0; i < n; ++i) Copy(y[i], a[i * inca]);
}

template <class T>
void PackV(int64_t n, const T* a, const void* ia, T* y, int width) {
  n = Integer(n, width);
  WithEntries(ia, width, [&](auto index) {
#pragma GCC unroll 8
    for (int64_t i = 0; i < n; ++i) Copy(y[i], a[index[i]]);
  });
}

template <class T>
void PackM(int64_t n, const T* a, const void* ma, T* y, int width) {
  n = Integer(n, width);
  WithEntries(ma, width, [&](auto mask) {
    int64_t k = 0;
    for (int64_t i = 0; i < n; ++i) {
      if (mask[i] != 0) Copy(y[k++], a[i]);
    }
  });
}

template <class T>
void UnpackI(int64_t n, const T* a, T* y, int64_t incy, int width) {
  n = Integer(n, width), incy = Integer(incy, width);
#pragma GCC unroll 8
  for (int64_t i = 0; i < n; ++i) Copy(y[i * incy], a[i]);
}

// In increasing i, so that of repeated indices the later element stays.
template <class T>
void UnpackV(int64_t n, const T* a, T* y, const void* iy, int width) {
  n = Integer(n, width);
  WithEntries(iy, width, [&](auto index) {
#pragma GCC unroll 8
    for (int64_t i = 0; i < n; ++i) Copy(y[index[i]], a[i]);
  });
}

template <class T>
void UnpackM(int64_t n, const T* a, T* y, const void* my, int width) {
  n = Integer(n, width);
  WithEntries(my, width, [&](auto mask) {
    int64_t k = 0;
    for (int64_t i = 0; i < n; ++i) {
      if (mask[i] != 0) Copy(y[i], a[k++]);
    }
  });
}

}  // namespace

}  // namespace tem

#define TEM_PACK_ENTRIES(t, T)                                                                    \
  extern "C" void tem_kernel_##t##PackI(int64_t n, const T* a, int64_t inca, T* y, int width) {   \
    tem::PackI(n, a, inca, y, width);                                                             \
  }                                                                                               \
  extern "C" void tem_kernel_##t##PackV(int64_t n, const T* a, const void* ia, T* y, int width) { \
    tem::PackV(n, a, ia, y, width);                                                               \
  }                                                                                               \
  extern "C" void tem_kernel_##t##PackM(int64_t n, const T* a, const void* ma, T* y, int width) { \
    tem::PackM(n, a, ma, y, width);                                                               \
  }                                                                                               \
  extern "C" void tem_kernel_##t##UnpackI(int64_t n, const T* a, T* y, int64_t incy, int width) { \
    tem::UnpackI(n, a, y, incy, width);                                                           \
  }                                                                                               \
  extern "C" void tem_kernel_##t##UnpackV(int64_t n, const T* a, T* y, const void* iy,            \
                                          int width) {                                            \
    tem::UnpackV(n, a, y, iy, width);                                                             \
  }                                                                                               \
  extern "C" void tem_kernel_##t##UnpackM(int64_t n, const T* a, T* y, const void* my,            \
                                          int width) {                                            \
    tem::UnpackM(n, a, y, my, width);                                                             \
  }
TEM_PACK_ENTRIES(s, float)
TEM_PACK_ENTRIES(d, double)
TEM_PACK_ENTRIES(c, TemComplex8)
TEM_PACK_ENTRIES(z, TemComplex16)
