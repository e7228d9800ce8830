// Interposes the core allocator for the library objects linked into the test binary; the real
// functions are reached through RTLD_NEXT.
#include "tests/common/allocation_control.h"

#include <dlfcn.h>
#include <stddef.h>

#include <atomic>

namespace {

std::atomic<long> g_live{0};
std::atomic<int> g_countdown{-1};
std::atomic<bool> g_hit{false};

template <class Fn>
Fn Next(const char* name) {
  return reinterpret_cast<Fn>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" void* qor_serv_allocate(size_t size, int alignment) {
  using AllocateFn = void* (*)(size_t, int);
  static const AllocateFn real = Next<AllocateFn>("qor_serv_allocate");
  if (g_countdown.load() >= 0 && g_countdown.fetch_sub(1) == 0) {
    g_hit = true;
    return nullptr;
  }
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

namespace alloc_control {

long LiveBlocks() { return g_live.load(); }

void FailAllocation(int index) {
  g_hit = false;
  g_countdown = index;
}

bool FailureHit() { return g_hit.load(); }

}  // namespace alloc_control
