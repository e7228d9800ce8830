// Interposes the core allocator of the linked library objects; RTLD_NEXT finds the real one.
#include "tests/common/allocation_control.h"

#include <dlfcn.h>
#include <stddef.h>

#include <atomic>

namespace {

std::atomic<long> g_live{0}, g_made{0}, g_fail_first{-1};
std::atomic<bool> g_fail_rest{false}, g_hit{false};

}  // namespace

extern "C" void* qor_serv_allocate(size_t size, int alignment) {
  static const auto real =
      reinterpret_cast<void* (*)(size_t, int)>(dlsym(RTLD_NEXT, "qor_serv_allocate"));
  const long made = g_made.fetch_add(1), first = g_fail_first.load();
  if (first >= 0 && (made == first || (g_fail_rest && made > first))) {
    g_hit = true;
    return nullptr;
  }
  void* block = real(size, alignment);
  g_live += block != nullptr;
  return block;
}

extern "C" void qor_serv_deallocate(void* block) {
  static const auto real =
      reinterpret_cast<void (*)(void*)>(dlsym(RTLD_NEXT, "qor_serv_deallocate"));
  g_live -= block != nullptr;
  real(block);
}

namespace alloc_control {

long LiveBlocks() { return g_live.load(); }
long Allocations() { return g_made.load(); }
bool FailureHit() { return g_hit.load(); }

void FailAllocation(int index, bool and_after) {
  g_fail_first = -1;  // no failure while the count restarts
  g_made = 0;
  g_hit = false;
  g_fail_rest = and_after;
  g_fail_first = index;
}

}  // namespace alloc_control
