// Counts the blocks of qor_serv_allocate that are live and makes chosen allocations fail.
// The library's objects are linked into the test binary, so the probe's definitions take the
// place of the core library's for them.
#ifndef QOR_TESTS_FITTING_TASK_ALLOCATION_PROBE_H_
#define QOR_TESTS_FITTING_TASK_ALLOCATION_PROBE_H_

namespace probe {

// Blocks handed out and not yet given back, over the whole process.
long LiveBlocks();
// Allocations made since the last Reset.
long Allocations();
// Lets `successes` allocations through, then fails every following one until Reset; a
// negative count never fails.
void FailAfter(long successes);
void Reset();

// Fails allocations after the given number for its lifetime.
struct ScopedFailure {
  explicit ScopedFailure(long successes) { FailAfter(successes); }
  ~ScopedFailure() { Reset(); }
};

}  // namespace probe

#endif  // QOR_TESTS_FITTING_TASK_ALLOCATION_PROBE_H_
