// The table of 128 shared read-only entries with reference counts, guarded by one spin lock.
// Entries stay packed from 0 to count - 1; a zero key is never in the table.
#include "streams/shared_data.h"

#include <x86intrin.h>

#include "qor/core.h"

using rof::kSharedEntries;

namespace {

rofRODataEntry g_entries[kSharedEntries];
int g_count = 0;  // written under the lock, read atomically outside it
int g_lock = 0;

class TableLock {
 public:
  TableLock() { qor_serv_lock(&g_lock); }
  ~TableLock() { qor_serv_unlock(&g_lock); }
  TableLock(const TableLock&) = delete;
  TableLock& operator=(const TableLock&) = delete;
};

bool IsZeroKey(const uint64_t key[2]) { return key == nullptr || (key[0] == 0 && key[1] == 0); }

void SetCount(int count) { __atomic_store_n(&g_count, count, __ATOMIC_RELAXED); }

// The entry of a nonzero key, or null; the lock must be held.
rofRODataEntry* FindLocked(const uint64_t key[2]) {
  for (int i = 0; i < g_count; ++i)
    if (g_entries[i].key[0] == key[0] && g_entries[i].key[1] == key[1]) return &g_entries[i];
  return nullptr;
}

}  // namespace

namespace rof {

int SharedEntryCount() { return __atomic_load_n(&g_count, __ATOMIC_RELAXED); }

void* ShareOrAdd(const uint64_t key[2], void* data) {
  TableLock lock;
  if (rofRODataEntry* entry = FindLocked(key)) {
    ++entry->references;
    return entry->data;
  }
  if (g_count < kSharedEntries) {
    g_entries[g_count] = rofRODataEntry{{key[0], key[1]}, 1, data};
    SetCount(g_count + 1);
  }
  return data;
}

}  // namespace rof

extern "C" {

QOR_API int __rofFindGlobRODataTableEntry(rofRODataEntry** entry, const uint64_t key[2]) {
  if (IsZeroKey(key)) return ROF_STATUS_RO_NOT_FOUND;
  TableLock lock;
  rofRODataEntry* found = FindLocked(key);
  if (found == nullptr) return ROF_STATUS_RO_NOT_FOUND;
  *entry = found;
  return ROF_STATUS_OK;
}

QOR_API int __rofCreateGlobRODataTableEntry(rofRODataEntry** entry, const uint64_t key[2],
                                            void* data) {
  TableLock lock;
  if (g_count >= kSharedEntries) return ROF_STATUS_RO_TABLE_FULL;
  g_entries[g_count] = rofRODataEntry{{key[0], key[1]}, 1, data};
  *entry = &g_entries[g_count];
  SetCount(g_count + 1);
  return ROF_STATUS_OK;
}

QOR_API void __rofRegisterGlobRODataReference(rofChunk* chunk, const uint64_t key[2]) {
  TableLock lock;
  rofRODataEntry* entry = FindLocked(key);
  if (entry == nullptr) return;
  ++entry->references;
  chunk->data = entry->data;
}

// The last reference frees the data and moves the last entry into the freed place; the scan
// goes on past that place, so the moved entry is not examined.
QOR_API void __rofUnregisterGlobRODataReference(const uint64_t key[2]) {
  TableLock lock;
  for (int i = 0; i < g_count; ++i) {
    rofRODataEntry& entry = g_entries[i];
    if (entry.key[0] != key[0] || entry.key[1] != key[1]) continue;
    if (entry.references-- != 1) continue;
    qor_serv_deallocate(entry.data);
    SetCount(g_count - 1);
    entry = g_entries[g_count];
  }
}

// The key's first word is the caller's; the second takes `tag`. While the key is in use the
// time-stamp counter is read and the lookup repeated, until another thread frees the key.
QOR_API int __rofGenerateNewGlobalRODataTableEntryId(uint64_t key[2], uint64_t tag) {
  key[1] = tag;
  rofRODataEntry* entry;
  do {
    (void)__rdtsc();
  } while (__rofFindGlobRODataTableEntry(&entry, key) == ROF_STATUS_OK);
  return ROF_STATUS_OK;
}

}  // extern "C"
