// The core allocator as the frame and stream tests see it: live blocks are counted, and one
// chosen allocation can be made to fail.
#ifndef QOR_TESTS_COMMON_ALLOCATION_CONTROL_H_
#define QOR_TESTS_COMMON_ALLOCATION_CONTROL_H_

namespace alloc_control {

// Blocks of qor_serv_allocate not yet given back.
long LiveBlocks();

// The allocation `index` calls from now (0 = the next) returns null; -1 fails none.
void FailAllocation(int index);

// True when the planned failure has happened.
bool FailureHit();

// Runs `operation` with its k-th allocation failing, for k = 0, 1, ... until a run has no
// failure left to hit; `check(status)` sees each failing run, and `clean_up` follows every
// run. Returns the number of failing runs.
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
