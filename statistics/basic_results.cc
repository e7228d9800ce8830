// Reading the running state from the task's arrays and the closing formulas.
#include "statistics/basic_results.h"

#include <math.h>

#include "statistics/basic_request.h"
#include "statistics/matrix_storage.h"
#include "statistics/reciprocal_roots.h"

namespace rof {
namespace ss {
namespace {

template <class T>
SymmetricMatrix<T> Matrix(const rofSSTask& task, void* data, const void* storage, int64_t p) {
  return {Data<T>(data), p, ReadInt(task, storage)};
}

bool Has(uint32_t required, uint32_t need) { return (required & need) != 0; }

void* const rofSSTask::*const kRawMom[] = {&rofSSTask::rawMom2, &rofSSTask::rawMom3,
                                           &rofSSTask::rawMom4};
void* const rofSSTask::*const kRawSum[] = {&rofSSTask::rawSum2, &rofSSTask::rawSum3,
                                           &rofSSTask::rawSum4};
void* const rofSSTask::*const kCenMom[] = {&rofSSTask::cenMom2, &rofSSTask::cenMom3,
                                           &rofSSTask::cenMom4};
void* const rofSSTask::*const kCenSum[] = {&rofSSTask::cenSum2, &rofSSTask::cenSum3,
                                           &rofSSTask::cenSum4};

}  // namespace

template <class T>
void ReadState(const rofSSTask& task, uint32_t required, const Variables& v, Content c,
               Moments<T>& m) {
  const T w = m.w, w2 = m.w2;
  const int64_t k = v.k;
  // cenMom2 = S2 W / (W^2 - W2), cenMom3 = S3 / W, cenMom4 = S4 / W.
  const T cen_factor[3] = {(w * w - w2) / w, w, w};
  for (int64_t a = 0; a < k; ++a) {
    const int64_t i = v.index[a];
    if (Has(required, kNeedSum)) m.mean[a] = Data<T>(task.sum)[i] / w;
    else if (Has(required, kNeedMean)) m.mean[a] = Data<T>(task.mean)[i];
    for (int r = 0; r < 3; ++r) {
      if (Has(required, kNeedRawSum2 << r)) m.raw[r * k + a] = Data<T>(task.*kRawSum[r])[i] / w;
      else if (Has(required, kNeedRawMom2 << r)) m.raw[r * k + a] = Data<T>(task.*kRawMom[r])[i];
      if (Has(required, kNeedCenSum2 << r)) m.cen[r * k + a] = Data<T>(task.*kCenSum[r])[i];
      else if (Has(required, kNeedCenMom2 << r))
        m.cen[r * k + a] = Data<T>(task.*kCenMom[r])[i] * cen_factor[r];
    }
  }
  if (!c.matrix) return;
  T* cross = m.cross;
  if (Has(required, kNeedCrossProduct) || Has(required, kNeedCov)) {
    const bool from_cp = Has(required, kNeedCrossProduct);
    const auto src = from_cp ? Matrix<T>(task, task.crossProduct, task.crossProductStorage, v.p)
                             : Matrix<T>(task, task.cov, task.covStorage, v.p);
    const T scale = from_cp ? T(1) : w - w2 / w;
    for (int64_t a = 0; a < k; ++a)
      for (int64_t b = a; b < k; ++b)
        if (src.Holds(v.index[a], v.index[b]))
          cross[a * k + b] = src.Get(v.index[a], v.index[b]) * scale;
  } else if (Has(required, kNeedCor)) {
    // The diagonal of cor holds the variances; the rest scales by their roots.
    const auto src = Matrix<T>(task, task.cor, task.corStorage, v.p);
    const T scale = w - w2 / w;
    for (int64_t a = 0; a < k; ++a) cross[a * k + a] = src.Get(v.index[a], v.index[a]) * scale;
    for (int64_t a = 0; a < k; ++a)
      for (int64_t b = a + 1; b < k; ++b)
        if (src.Holds(v.index[a], v.index[b]))
          cross[a * k + b] = src.Get(v.index[a], v.index[b]) *
                             sqrt(cross[a * k + a] * cross[b * k + b]);
  }
}

template <class T>
void WriteResults(const rofSSTask& task, uint32_t write, const Variables& v, Content c,
                  const Moments<T>& m, const T* data_mean, T* scratch) {
  const T w = m.w, w2 = m.w2;
  const int64_t k = v.k;
  for (int64_t a = 0; a < k; ++a) {
    const int64_t i = v.index[a];
    const T mean = m.mean[a];
    if (Has(write, kNeedMean)) Data<T>(task.mean)[i] = mean;
    if (Has(write, kNeedSum)) Data<T>(task.sum)[i] = data_mean[a] * w;
    for (int r = 0; r < 3; ++r) {
      if (Has(write, kNeedRawMom2 << r)) Data<T>(task.*kRawMom[r])[i] = m.raw[r * k + a];
      if (Has(write, kNeedRawSum2 << r)) Data<T>(task.*kRawSum[r])[i] = m.raw[r * k + a] * w;
      if (Has(write, kNeedCenSum2 << r)) Data<T>(task.*kCenSum[r])[i] = m.cen[r * k + a];
    }
    const T s2 = m.cen[a], s3 = m.cen[k + a], s4 = m.cen[2 * k + a];
    const T cen2 = s2 * w / (w * w - w2), cen3 = s3 / w, cen4 = s4 / w;
    if (Has(write, kNeedCenMom2)) Data<T>(task.cenMom2)[i] = cen2;
    if (Has(write, kNeedCenMom2 << 1)) Data<T>(task.cenMom3)[i] = cen3;
    if (Has(write, kNeedCenMom2 << 2)) Data<T>(task.cenMom4)[i] = cen4;
    if (Has(write, kNeedKurtosis)) Data<T>(task.kurtosis)[i] = cen4 / (cen2 * cen2) - 3;
    if (Has(write, kNeedSkewness)) Data<T>(task.skewness)[i] = cen3 / sqrt(cen2 * cen2 * cen2);
    if (Has(write, kNeedVariation)) Data<T>(task.variation)[i] = sqrt(cen2) / mean;
  }
  if (!c.matrix) return;
  const T* cross = m.cross;
  // No weight at all: cov and cor are zero.
  const T scale = w > 0 ? T(1) / (w - w2 / w) : T(0);
  if (Has(write, kNeedCrossProduct)) {
    const auto cp = Matrix<T>(task, task.crossProduct, task.crossProductStorage, v.p);
    for (int64_t a = 0; a < k; ++a)
      for (int64_t b = a; b < k; ++b) cp.Set(v.index[a], v.index[b], cross[a * k + b]);
  }
  if (Has(write, kNeedCov)) {
    const auto cov = Matrix<T>(task, task.cov, task.covStorage, v.p);
    for (int64_t a = 0; a < k; ++a)
      for (int64_t b = a; b < k; ++b) cov.Set(v.index[a], v.index[b], cross[a * k + b] * scale);
  }
  if (Has(write, kNeedCor)) {
    const auto cor = Matrix<T>(task, task.cor, task.corStorage, v.p);
    T* diagonal = scratch;
    T* root = scratch + k;
    for (int64_t a = 0; a < k; ++a) diagonal[a] = cross[a * k + a];
    ReciprocalRoots(static_cast<int>(k), diagonal, root);
    for (int64_t a = 0; a < k; ++a) {
      cor.Set(v.index[a], v.index[a], diagonal[a] * scale);
      for (int64_t b = a + 1; b < k; ++b)
        cor.Set(v.index[a], v.index[b], w > 0 ? cross[a * k + b] * root[a] * root[b] : T(0));
    }
  }
}

template void ReadState(const rofSSTask&, uint32_t, const Variables&, Content, Moments<float>&);
template void ReadState(const rofSSTask&, uint32_t, const Variables&, Content, Moments<double>&);
template void WriteResults(const rofSSTask&, uint32_t, const Variables&, Content,
                           const Moments<float>&, const float*, float*);
template void WriteResults(const rofSSTask&, uint32_t, const Variables&, Content,
                           const Moments<double>&, const double*, double*);

}  // namespace ss
}  // namespace rof
