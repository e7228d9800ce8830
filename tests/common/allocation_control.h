// The core allocator as tests see it: blocks and allocations counted, failures planted.
#ifndef QOR_TESTS_COMMON_ALLOCATION_CONTROL_H_
#define QOR_TESTS_COMMON_ALLOCATION_CONTROL_H_

namespace alloc_control {

long LiveBlocks();  // blocks of qor_serv_allocate not yet given back
// Allocation `index` from now (0: the next; -1: none) fails, all from it with `and_after`.
void FailAllocation(int index, bool and_after = false);
long Allocations();  // since the last FailAllocation
bool FailureHit();   // the planned failure has happened

// Fails every allocation from `index` on for its lifetime.
struct ScopedFailure {
  explicit ScopedFailure(int index) { FailAllocation(index, true); }
  ~ScopedFailure() { FailAllocation(-1); }
};

// Fails allocation k = 0, 1, ... of `operation` until none is hit; `check` sees failed runs.
template <class Operation, class Check, class CleanUp>
int ForEachFailure(Operation operation, Check check, CleanUp clean_up) {
  for (int k = 0;; ++k) {
    FailAllocation(k);
    const int status = operation();
    const bool hit = FailureHit();
    FailAllocation(-1);
    if (hit) check(status);
    clean_up();
    if (!hit) return k;
  }
}

}  // namespace alloc_control

#endif  // QOR_TESTS_COMMON_ALLOCATION_CONTROL_H_
