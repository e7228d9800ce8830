// The private heap of the per-thread records: zeroed blocks from the core allocator, all of
// which are released when the heap is destroyed.
#ifndef QOR_FRAME_PRIVATE_HEAP_H_
#define QOR_FRAME_PRIVATE_HEAP_H_

#include <stddef.h>

namespace tem {

struct PrivateHeap;

PrivateHeap* HeapCreate();
// A zeroed block of `size` bytes aligned to 16, or null.
void* HeapAlloc(PrivateHeap* heap, size_t size);
void HeapFree(PrivateHeap* heap, void* block);
// Releases the heap and every block still in it.
void HeapDestroy(PrivateHeap* heap);

}  // namespace tem

#endif  // QOR_FRAME_PRIVATE_HEAP_H_
