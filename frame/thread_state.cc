// Lifecycle of the per-thread records: a pthread key whose destructor is the thread-detach
// path, a library constructor for process attach and a destructor for unload.
#include "frame/thread_state.h"

#include <pthread.h>

#include "frame/private_heap.h"
#include "qor/core.h"

namespace tem {

namespace {

constexpr uint32_t kNoIndex = 0xFFFFFFFF;
constexpr int kStorageMessage = 773;

uint32_t g_storage_index = kNoIndex;
PrivateHeap* g_heap = nullptr;
int g_storage_lock = 0;
int g_heap_lock = 0;

uint32_t StorageIndex() { return __atomic_load_n(&g_storage_index, __ATOMIC_ACQUIRE); }

void ReportStorageFailure() { qor_serv_print(1, kStorageMessage, 0); }

// Thread detach: the key's destructor receives the ending thread's record.
void FreeThreadRecord(void* record) {
  PrivateHeap* heap = __atomic_load_n(&g_heap, __ATOMIC_ACQUIRE);
  if (StorageIndex() == kNoIndex || heap == nullptr) return;
  HeapFree(heap, record);
}

temThreadState* temCreateThreadState() {
  PrivateHeap* heap = __atomic_load_n(&g_heap, __ATOMIC_ACQUIRE);
  if (heap == nullptr) {
    qor_serv_lock(&g_heap_lock);
    heap = __atomic_load_n(&g_heap, __ATOMIC_ACQUIRE);
    if (heap == nullptr) {
      heap = HeapCreate();
      __atomic_store_n(&g_heap, heap, __ATOMIC_RELEASE);
    }
    qor_serv_unlock(&g_heap_lock);
    if (heap == nullptr) {
      ReportStorageFailure();
      return nullptr;
    }
  }
  uint32_t index = StorageIndex();
  auto* record = static_cast<temThreadState*>(HeapAlloc(heap, sizeof(temThreadState)));
  if (record == nullptr || index == kNoIndex || pthread_setspecific(index, record) != 0) {
    HeapFree(heap, record);
    ReportStorageFailure();
    return nullptr;
  }
  // InterfInputVectorPointer keeps what the heap delivered (zero) until it is set.
  record->Mode = 0;
  record->ErrStatus = 0;
  record->ErrorCallBack = nullptr;
  return record;
}

bool temInitThreadStorage() {
  bool allocated = false;
  bool failed = false;
  qor_serv_lock(&g_storage_lock);
  if (StorageIndex() == kNoIndex) {
    pthread_key_t key;
    if (pthread_key_create(&key, FreeThreadRecord) == 0) {
      __atomic_store_n(&g_storage_index, static_cast<uint32_t>(key), __ATOMIC_RELEASE);
      allocated = true;
    } else {
      failed = true;
    }
  }
  qor_serv_unlock(&g_storage_lock);
  if (failed) {
    ReportStorageFailure();
    return false;
  }
  return allocated ? temCreateThreadState() != nullptr : true;
}

// Process attach. A load cannot be refused from here: a failure has printed message 773, and
// the first call that needs a record tries again and ends the process if it fails too.
__attribute__((constructor)) void ProcessAttach() { temInitThreadStorage(); }

// Unload: the calling thread's record, the key and the heap with the records of threads that
// never ended.
__attribute__((destructor)) void ProcessDetach() {
  uint32_t index = StorageIndex();
  if (index == kNoIndex) return;
  PrivateHeap* heap = __atomic_load_n(&g_heap, __ATOMIC_ACQUIRE);
  void* record = pthread_getspecific(index);
  if (record != nullptr && heap != nullptr) HeapFree(heap, record);
  pthread_setspecific(index, nullptr);
  __atomic_store_n(&g_storage_index, kNoIndex, __ATOMIC_RELEASE);
  pthread_key_delete(index);
  __atomic_store_n(&g_heap, static_cast<PrivateHeap*>(nullptr), __ATOMIC_RELEASE);
  if (heap != nullptr) HeapDestroy(heap);
}

}  // namespace

temThreadState* temGetThreadState() {
  uint32_t index = StorageIndex();
  if (index == kNoIndex) {
    if (!temInitThreadStorage()) qor_serv_exit(3);
    index = StorageIndex();
  }
  if (auto* record = static_cast<temThreadState*>(pthread_getspecific(index))) return record;
  if (temThreadState* record = temCreateThreadState()) return record;
  qor_serv_exit(3);
  return nullptr;
}

}  // namespace tem
