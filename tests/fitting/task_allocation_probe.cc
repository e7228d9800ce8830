// Interposed core allocator: the real one is reached through RTLD_NEXT.
#include "tests/fitting/task_allocation_probe.h"

#include <dlfcn.h>
#include <stddef.h>

#include <atomic>

namespace {

std::atomic<long> g_live{0};
std::atomic<long> g_allocations{0};
std::atomic<long> g_fail_after{-1};

template <class Fn>
Fn Next(const char* name) {
  return reinterpret_cast<Fn>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" void* qor_serv_allocate(size_t size, int alignment) {
  using AllocateFn = void* (*)(size_t, int);
  static const AllocateFn real = Next<AllocateFn>("qor_serv_allocate");
  long made = g_allocations.fetch_add(1);
  long limit = g_fail_after.load();
  if (limit >= 0 && made >= limit) return nullptr;
  void* block = real(size, alignment);
  if (block != nullptr) ++g_live;
  return block;
}

extern "C" void qor_serv_deallocate(void* block) {
  using DeallocateFn = void (*)(void*);
  static const DeallocateFn real = Next<DeallocateFn>("qor_serv_deallocate");
  if (block != nullptr) --g_live;
  real(block);
}

namespace probe {

long LiveBlocks() { return g_live.load(); }
long Allocations() { return g_allocations.load(); }
void FailAfter(long successes) {
  g_allocations = 0;
  g_fail_after = successes;
}
void Reset() {
  g_fail_after = -1;
  g_allocations = 0;
}

}  // namespace probe
