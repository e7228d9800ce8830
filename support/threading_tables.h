// Threading tables for callers of the statistics and fitting kernels.
#ifndef QOR_SUPPORT_THREADING_TABLES_H_
#define QOR_SUPPORT_THREADING_TABLES_H_

#include "qor/threading.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Runs every body on the calling thread, in index order; asks for one thread. */
const qorThreading* qor_support_serial_threading(void);

/* Answers `threads` (cut to 1..qor_support_pool_max_threads()) when asked for the thread
   count, and runs bodies on a process-wide pool of std::threads together with the calling
   thread. The pool grows on demand and lives until the process ends. One parallel run goes
   at a time; a body that starts a run of its own runs it on its own thread. */
const qorThreading* qor_support_pool_threading(int threads);
int qor_support_pool_max_threads(void);

#ifdef __cplusplus
}
#endif

#endif  // QOR_SUPPORT_THREADING_TABLES_H_
