// A stream's list of chunks: cached data that outlives one call, newest first. A chunk with a
// key known to the shared table holds a reference to the shared data instead of its own.
#include <string.h>

#include "qor/core.h"
#include "streams/registry.h"
#include "streams/shared_data.h"

using rof::kSharedEntries;
using rof::ShareOrAdd;
using rof::SharedEntryCount;

namespace {

constexpr int kChunkAlignment = 128;

rofChunk*& Head(void* stream) { return static_cast<rofStreamHeader*>(stream)->chunks; }
const rofChunk* Head(const void* stream) {
  return static_cast<const rofStreamHeader*>(stream)->chunks;
}

bool IsShared(const uint64_t key[2]) {
  rofRODataEntry* entry;
  return __rofFindGlobRODataTableEntry(&entry, key) == ROF_STATUS_OK;
}

// Drops the node's reference to shared data, or frees its private data; then the node.
void ReleaseChunk(rofChunk* chunk) {
  if (IsShared(chunk->key))
    __rofUnregisterGlobRODataReference(chunk->key);
  else
    qor_serv_deallocate(chunk->data);
  qor_serv_deallocate(chunk);
}

}  // namespace

extern "C" {

QOR_API int __rofAddChunk(void* stream, uint32_t id, const uint64_t key[2], void* data,
                          int size) {
  rofChunk* chunk = static_cast<rofChunk*>(qor_serv_allocate(sizeof(rofChunk), kChunkAlignment));
  if (chunk == nullptr) return ROF_STATUS_NO_MEMORY;
  chunk->id = id;
  chunk->size = size;
  chunk->data = data;
  chunk->key[0] = key != nullptr ? key[0] : 0;
  chunk->key[1] = key != nullptr ? key[1] : 0;
  // A known key shares the table's data and leaves `data` to its owner. With 127 entries in
  // use, one short of the capacity, a new key stays private. Otherwise a new key gets an
  // entry. The lookup is repeated under the table's lock, which another thread may have
  // changed since, so that one key never gets two entries.
  const bool zero_key = chunk->key[0] == 0 && chunk->key[1] == 0;
  if (!IsShared(chunk->key) && SharedEntryCount() >= kSharedEntries - 1)
    chunk->key[0] = chunk->key[1] = 0;
  else if (!zero_key)
    chunk->data = ShareOrAdd(chunk->key, data);
  chunk->next = Head(stream);
  Head(stream) = chunk;
  return ROF_STATUS_OK;
}

QOR_API void* __rofSearchChunk(const void* stream, uint32_t id) {
  for (const rofChunk* chunk = Head(stream); chunk != nullptr; chunk = chunk->next)
    if (chunk->id == id) return chunk->data;
  return nullptr;
}

QOR_API int __rofGetNumChunks(const void* stream) {
  int count = 0;
  for (const rofChunk* chunk = Head(stream); chunk != nullptr; chunk = chunk->next) ++count;
  return count;
}

QOR_API void __rofDeleteChunks(void* stream) {
  rofChunk* chunk = Head(stream);
  while (chunk != nullptr) {
    rofChunk* next = chunk->next;
    ReleaseChunk(chunk);
    chunk = next;
  }
  Head(stream) = nullptr;
}

// The head becomes the last node kept, not the first: when several are kept, the earlier
// ones drop out of the list unreleased. Callers rely on this exact outcome.
QOR_API void __rofDeleteChunksById(void* stream, uint32_t id) {
  rofChunk* last_kept = nullptr;
  rofChunk* chunk = Head(stream);
  while (chunk != nullptr) {
    rofChunk* next = chunk->next;
    if (chunk->id == id) {
      ReleaseChunk(chunk);
      if (last_kept != nullptr) last_kept->next = next;
    } else {
      last_kept = chunk;
    }
    chunk = next;
  }
  Head(stream) = last_kept;
}

// Each add goes to the head, so the copies stand in reverse order. On failure every chunk of
// the destination, old or new, is released.
QOR_API int __rofCopyChunks(void* destination, const void* source) {
  int status = ROF_STATUS_OK;
  for (const rofChunk* chunk = Head(source); chunk != nullptr; chunk = chunk->next) {
    const bool shared = IsShared(chunk->key);
    void* data = chunk->data;
    if (!shared) {
      data = qor_serv_allocate(static_cast<size_t>(chunk->size), kChunkAlignment);
      if (data == nullptr) {
        status = ROF_STATUS_NO_MEMORY;
        break;
      }
      if (chunk->size > 0) memcpy(data, chunk->data, static_cast<size_t>(chunk->size));
    }
    status = __rofAddChunk(destination, chunk->id, chunk->key, data, chunk->size);
    if (status != ROF_STATUS_OK) {
      if (!shared) qor_serv_deallocate(data);
      break;
    }
  }
  if (status != ROF_STATUS_OK) __rofDeleteChunks(destination);
  return status;
}

}  // extern "C"
