// The core allocator as the tests of internals see it: live blocks and allocations are counted,
// and one chosen allocation, or every one from a chosen allocation on, can be made to fail.
#ifndef QOR_TESTS_COMMON_ALLOCATION_CONTROL_H_
#define QOR_TESTS_COMMON_ALLOCATION_CONTROL_H_

namespace alloc_control {

long LiveBlocks();  // blocks of qor_serv_allocate not yet given back
// The allocation `index` calls from now (0 = the next) fails, -1: none; FailFrom fails every
// one from `index` on. Both restart the allocation count from 0.
void FailAllocation(int index);
void FailFrom(int index);
long Allocations();  // since the last FailAllocation or FailFrom
bool FailureHit();   // the planned failure has happened

// Fails every allocation from `index` on for its lifetime.
struct ScopedFailure {
  explicit ScopedFailure(int index) { FailFrom(index); }
  ~ScopedFailure() { FailAllocation(-1); }
};

// Runs `operation` with its k-th allocation failing, for k = 0, 1, ... until a run has no
// failure left to hit; `check(status)` sees each failing run, `clean_up` follows every run.
// Returns the number of failing runs.
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
