// Checks the constructors share, in the order they run them.
#ifndef QOR_FITTING_CONSTRUCT_FRAME_H_
#define QOR_FITTING_CONSTRUCT_FRAME_H_

#include "fitting/spline_access.h"
#include "qor/df_spline.h"

namespace df {

// Storage code, boundary code and its values, then the tables the workers write through.
inline int CubicFrameStatus(const dfTask& task) {
  if (!IsStorageCode(task.yHint)) return dfErrBadYHint;
  const int b = task.bcType >= 1 && task.bcType <= 64 ? BoundaryIndex(task.bcType) : -1;
  if (b < 0) return dfErrBadBcType;
  const bool hermite_ends = b == kPeriodic && (task.splineType == dfCubicDefault ||
                                               task.splineType == dfCubicHermite);
  if ((NeedsEndValues(b) || hermite_ends) && task.bc == nullptr) return dfErrBadBc;
  return TablesStatus(task);
}

}  // namespace df

#endif  // QOR_FITTING_CONSTRUCT_FRAME_H_
