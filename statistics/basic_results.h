// The running state of a basic-estimates run as the task's result arrays hold it: read at the
// start of a call (continuation, derivation) and written by the closing formulas at its end.
#ifndef QOR_STATISTICS_BASIC_RESULTS_H_
#define QOR_STATISTICS_BASIC_RESULTS_H_

#include <stdint.h>

#include "statistics/moments.h"
#include "statistics/task.h"

namespace rof {
namespace ss {

// The processed variables: `index[a]` for a in [0, k), in increasing order.
struct Variables {
  const int64_t* index;
  int64_t k;
  int64_t p;
};

// Fills m (running form; m.w and m.w2 already set) from the arrays that `required` names:
// sums before moments, the cross-product before cov before cor.
template <class T>
void ReadState(const rofSSTask& task, uint32_t required, const Variables& v, Content c,
               Moments<T>& m);

// Writes the arrays of `write` from m by the closing formulas; the sums of x are
// `data_mean` times W (the mean of m but for a run around the caller's mean). `scratch` holds
// 2k values.
template <class T>
void WriteResults(const rofSSTask& task, uint32_t write, const Variables& v, Content c,
                  const Moments<T>& m, const T* data_mean, T* scratch);

}  // namespace ss
}  // namespace rof

#endif  // QOR_STATISTICS_BASIC_RESULTS_H_
