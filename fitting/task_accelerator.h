// The search accelerator of a task: buckets of equal width over [x[0], x[nx-1]], each with
// the range of breakpoint indices that encloses its values.
#ifndef QOR_FITTING_TASK_ACCELERATOR_H_
#define QOR_FITTING_TASK_ACCELERATOR_H_

#include "fitting/task.h"

namespace df {

// Number of buckets for nx breakpoints: nx/16 within [16, 1024].
int64_t AcceleratorBuckets(int64_t nx);

// Releases any old table and builds a new one from the task's x and nx in the task's real
// type. dfErrNoMemory leaves cellTable null.
int BuildAccelerator(dfTask* task);

}  // namespace df

#endif  // QOR_FITTING_TASK_ACCELERATOR_H_
