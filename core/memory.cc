// Aligned allocation and the bounded copy of the core services.
#include <stdlib.h>
#include <string.h>

#include "qor/core.h"

extern "C" {

QOR_API void* qor_serv_allocate(size_t size, int alignment) {
  size_t align = alignment < static_cast<int>(sizeof(void*)) ? sizeof(void*)
                                                              : static_cast<size_t>(alignment);
  if ((align & (align - 1)) != 0) return nullptr;
  void* memory = nullptr;
  // A zero-byte request still yields a unique block, so that NULL always means failure.
  if (posix_memalign(&memory, align, size == 0 ? 1 : size) != 0) return nullptr;
  return memory;
}

QOR_API void qor_serv_deallocate(void* memory) { free(memory); }

QOR_API int qor_serv_memcpy_s(void* dest, size_t dest_size, const void* src, size_t count) {
  constexpr int kInvalid = 22;
  constexpr int kRange = 34;
  if (dest == nullptr) return kInvalid;
  if (src == nullptr) {
    memset(dest, 0, dest_size);
    return kInvalid;
  }
  if (count > dest_size) {
    memset(dest, 0, dest_size);
    return kRange;
  }
  memmove(dest, src, count);
  return 0;
}

}  // extern "C"
