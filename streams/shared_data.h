// The process-wide table of shared read-only data, as the chunk operations use it.
#ifndef QOR_STREAMS_SHARED_DATA_H_
#define QOR_STREAMS_SHARED_DATA_H_

#include "qor/rof.h"

namespace rof {

constexpr int kSharedEntries = 128;

// Entries in use, read without the lock (the value may be stale by the time it is used).
int SharedEntryCount();

// Under the lock: if `key` has an entry, counts one more reference and returns the entry's
// data; otherwise makes an entry of `data` with one reference, if fewer than kSharedEntries
// are in use, and returns `data`.
void* ShareOrAdd(const uint64_t key[2], void* data);

}  // namespace rof

#endif  // QOR_STREAMS_SHARED_DATA_H_
