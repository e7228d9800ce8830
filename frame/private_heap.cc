// A heap that keeps its blocks on a list, so that destroying it frees the records of threads
// that never ended.
#include "frame/private_heap.h"

#include <string.h>

#include "qor/core.h"

namespace tem {

namespace {

struct alignas(16) BlockHeader {
  BlockHeader* prev;
  BlockHeader* next;
};

}  // namespace

struct PrivateHeap {
  int lock;
  BlockHeader* first;
};

PrivateHeap* HeapCreate() {
  auto* heap = static_cast<PrivateHeap*>(qor_serv_allocate(sizeof(PrivateHeap), 16));
  if (heap != nullptr) *heap = PrivateHeap{0, nullptr};
  return heap;
}

void* HeapAlloc(PrivateHeap* heap, size_t size) {
  auto* header = static_cast<BlockHeader*>(qor_serv_allocate(sizeof(BlockHeader) + size, 16));
  if (header == nullptr) return nullptr;
  memset(header + 1, 0, size);
  qor_serv_lock(&heap->lock);
  header->prev = nullptr;
  header->next = heap->first;
  if (heap->first != nullptr) heap->first->prev = header;
  heap->first = header;
  qor_serv_unlock(&heap->lock);
  return header + 1;
}

void HeapFree(PrivateHeap* heap, void* block) {
  if (block == nullptr) return;
  BlockHeader* header = static_cast<BlockHeader*>(block) - 1;
  qor_serv_lock(&heap->lock);
  if (header->prev != nullptr) {
    header->prev->next = header->next;
  } else {
    heap->first = header->next;
  }
  if (header->next != nullptr) header->next->prev = header->prev;
  qor_serv_unlock(&heap->lock);
  qor_serv_deallocate(header);
}

void HeapDestroy(PrivateHeap* heap) {
  for (BlockHeader* header = heap->first; header != nullptr;) {
    BlockHeader* next = header->next;
    qor_serv_deallocate(header);
    header = next;
  }
  qor_serv_deallocate(heap);
}

}  // namespace tem
