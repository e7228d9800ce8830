// Search accelerator: M+2 pairs (lo, hi) of breakpoint indices. Pair j covers the values
// with trunc((v - x[0]) * M / (x[nx-1] - x[0])) == j; pair M repeats pair M-1 for the right
// end, and pair M+1 takes a stray write of the last breakpoint.
#include "fitting/task_accelerator.h"

#include <string.h>

#include "fitting/truncate.h"
#include "qor/core.h"

namespace df {
namespace {

constexpr uint64_t kUnset = ~uint64_t{0};

template <class T>
void Fill(dfTask* task) {
  const int64_t nx = task->nx;
  const int64_t m = static_cast<int64_t>(task->cellCount);
  const T* x = X<T>(*task);
  uint64_t* lo = task->cellTable;  // lo[2*j], hi[2*j + 1]
  auto Lo = [lo](int64_t j) -> uint64_t& { return lo[2 * j]; };
  auto Hi = [lo](int64_t j) -> uint64_t& { return lo[2 * j + 1]; };

  for (int64_t j = 0; j < m; ++j) Lo(j) = Hi(j) = kUnset;
  const T scale = static_cast<T>(m) / (x[nx - 1] - x[0]);
  if constexpr (sizeof(T) == sizeof(double)) task->cellScale.d = scale;
  else task->cellScale.s = scale;
  Lo(0) = 0;
  for (int64_t i = 1; i < nx; ++i) {
    int64_t k = Truncate<int64_t>((x[i] - x[0]) * scale);
    // Only an unordered partition puts k outside [1, M]; such a breakpoint is left out.
    if (k <= 0 || k > m) continue;
    if (Hi(k - 1) == kUnset) Hi(k - 1) = static_cast<uint64_t>(i);
    Lo(k + 1) = static_cast<uint64_t>(i);
  }
  Hi(m - 1) = static_cast<uint64_t>(nx - 1);
  // Unset lo values take the bucket below, unset hi values the bucket above.
  for (int64_t up = 1, down = m - 2; up < m; ++up, --down) {
    if (Lo(up) == kUnset) Lo(up) = Lo(up - 1);
    if (Hi(down) == kUnset) Hi(down) = Hi(down + 1);
  }
  Lo(m) = Lo(m - 1);
  Hi(m) = Hi(m - 1);
}

}  // namespace

int64_t AcceleratorBuckets(int64_t nx) {
  int64_t m = nx / 16;
  if (m < 17) return 16;
  return m > 1024 ? 1024 : m;
}

int BuildAccelerator(dfTask* task) {
  qor_serv_deallocate(task->cellTable);
  const int64_t m = AcceleratorBuckets(task->nx);
  const size_t bytes = 16 * static_cast<size_t>(m) + 32;
  task->cellTable = static_cast<uint64_t*>(qor_serv_allocate(bytes, kTaskAlignment));
  if (task->cellTable == nullptr) {
    task->cellCount = 0;
    return dfErrNoMemory;
  }
  memset(task->cellTable, 0, bytes);
  task->cellCount = static_cast<uint64_t>(m);
  if (task->isDouble) Fill<double>(task);
  else Fill<float>(task);
  return 0;
}

}  // namespace df
