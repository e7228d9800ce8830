// A pair of values a generator carries in a stream chunk from one call to the next. A first
// field of -1 means the pair is empty.
#ifndef QOR_DISTRIBUTIONS_CARRIED_PAIR_H_
#define QOR_DISTRIBUTIONS_CARRIED_PAIR_H_

#include <stdint.h>

#include "qor/core.h"
#include "qor/rof.h"

namespace rof {
namespace dist {

inline constexpr int kChunkAlignment = 128;

// The stream's pair with chunk id `id`, made empty (-1, -1) and added if the stream has none.
// Null on failure, with the status in `*status`.
template <class T>
T* FindOrAddPair(void* stream, uint32_t id, int* status) {
  *status = ROF_STATUS_OK;
  if (void* found = __rofSearchChunk(stream, id)) return static_cast<T*>(found);
  T* pair = static_cast<T*>(qor_serv_allocate(2 * sizeof(T), kChunkAlignment));
  if (pair == nullptr) {
    *status = ROF_STATUS_NO_MEMORY;
    return nullptr;
  }
  pair[0] = pair[1] = T(-1);
  *status = __rofAddChunk(stream, id, nullptr, pair, 2 * sizeof(T));
  if (*status < 0) {
    qor_serv_deallocate(pair);
    return nullptr;
  }
  return pair;
}

}  // namespace dist
}  // namespace rof

#endif  // QOR_DISTRIBUTIONS_CARRIED_PAIR_H_
