/* The threading table: how a caller lends its threads to the statistics and data-fitting
   kernels. The library starts no threads; a kernel asks entry 4 how many threads to use and
   runs its bodies through entry 0. libqor_support offers a serial table and a thread-pool
   table of this type (support/threading_tables.h). */
#ifndef QOR_THREADING_H_
#define QOR_THREADING_H_

#include <stdint.h>

#include "qor/export.h"

QOR_EXTERN_C_BEGIN

/* One body of a parallel run: `index` in [0, count), `count` the number of bodies of the run,
   `word` the `total` the kernel handed to entry 0, `args` the kernel's argument block. */
typedef void (*qorThreadBody)(int64_t index, int64_t count, int64_t word, void* args);

typedef struct qorThreading {
  /* Entry 0. Calls body(i, blocks, total, args) once for every i in [0, blocks), possibly on
     several threads at once, and returns when all calls are done; the result is 0 (kernels
     ignore it). Statistics calls it as parallelFor(total, blocks, context, worker); data
     fitting as parallelFor(T, T, args, body), so that a body gets the thread index, the
     thread count T, T again as its word, and the argument block. */
  int (*parallelFor)(int64_t total, int64_t blocks, void* args, qorThreadBody body);
  /* Entries 1 to 3: not used by the kernels; may be null. */
  void (*reserved[3])(void);
  /* Entry 4. The number of threads to use, at least 1 for a useful answer (an answer of 1 or
     less makes a kernel run on the calling thread). The four arguments describe the work and
     depend on the kernel: data fitting passes the number of sites or cells first and the
     number of breakpoints second, and zeros behind. */
  int (*threadCount)(int64_t a, int64_t b, int64_t c, int64_t d);
} qorThreading;

QOR_EXTERN_C_END

#endif /* QOR_THREADING_H_ */
