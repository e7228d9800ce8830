// The basic estimates: method dispatch, the block split over the caller's threads, the merge
// of the blocks in block order on the calling thread, and the closing step.
#include <string.h>

#include <algorithm>

#include "qor/core.h"
#include "statistics/basic_members.h"
#include "statistics/basic_request.h"
#include "statistics/basic_results.h"
#include "statistics/task.h"

namespace rof {
namespace ss {
namespace {

enum class Method { kOnePass, kFast, kUserMean, kDerivation };

constexpr uint32_t kComputeMethods =
    ROF_SS_METHOD_FAST | ROF_SS_METHOD_ONE_PASS | ROF_SS_METHOD_USER_MEAN;
constexpr uint32_t kDerivationMethods = ROF_SS_METHOD_FROM_CP | ROF_SS_METHOD_FROM_SUMS;
constexpr uint32_t kMatrixNeeds = kNeedCov | kNeedCor | kNeedCrossProduct;
// Fields that the derivations read and never write.
constexpr uint32_t kDerivationInputs =
    kNeedSum | 7u * kNeedRawSum2 | 7u * kNeedCenSum2 | kNeedCrossProduct;
// Below this many p*q element operations, or 16 observations, a block is not worth a thread.
constexpr int kBlockShift = 13;
constexpr int kObservationShift = 4;

// Decoded and checked call.
struct Plan {
  Method method;
  uint32_t required;
  int64_t p;
  int64_t n;
  bool columns;
};

int CountBits(uint32_t v) { return __builtin_popcount(v); }

int MatrixStorageStatus(const rofSSTask& task, uint32_t required) {
  if ((required & kNeedCov) && task.covStorage == nullptr) return ROF_SS_NO_STORAGE;
  if ((required & kNeedCor) && task.corStorage == nullptr) return ROF_SS_NO_STORAGE;
  if ((required & kNeedCrossProduct) && task.crossProductStorage == nullptr)
    return ROF_SS_NO_STORAGE;
  return ROF_SS_OK;
}

int Decode(const rofSSTask& task, uint64_t estimates, uint32_t method, Plan* plan) {
  const int compute = CountBits(method & kComputeMethods);
  if (compute == 1) {
    plan->method = (method & ROF_SS_METHOD_FAST)       ? Method::kFast
                   : (method & ROF_SS_METHOD_ONE_PASS) ? Method::kOnePass
                                                       : Method::kUserMean;
    plan->required = RequiredFields(
        estimates, plan->method == Method::kFast ? Column::kFast : Column::kOnePass);
    if (int status = MissingFieldStatus(task, plan->required)) return status;
    if (task.observN == nullptr || ReadInt(task, task.observN) < 1) return ROF_SS_BAD_OBSERV_N;
    if (task.observ == nullptr) return ROF_SS_NO_OBSERV;
    if (task.observStorage == nullptr) return ROF_SS_NO_STORAGE;
    const int64_t storage = ReadInt(task, task.observStorage);
    if ((storage & (ROF_SS_OBSERV_ROWS | ROF_SS_OBSERV_COLUMNS)) == 0) return ROF_SS_BAD_STORAGE;
    plan->n = ReadInt(task, task.observN);
    plan->columns = (storage & ROF_SS_OBSERV_ROWS) == 0;
  } else if (compute == 0 && (method & kDerivationMethods) != 0) {
    plan->method = Method::kDerivation;
    uint32_t required = RequiredFields(estimates, Column::kDerivation);
    // cov and cor come from the cross-product (0x200), the moments from the sums (0x400).
    if ((required & (kNeedCov | kNeedCor)) && !(method & ROF_SS_METHOD_FROM_CP))
      required |= kNeedNoRoute;
    if ((required & ~(kMatrixNeeds | kNeedNoRoute)) && !(method & ROF_SS_METHOD_FROM_SUMS))
      required |= kNeedNoRoute;
    plan->required = required;
    if (int status = MissingFieldStatus(task, required)) return status;
    if (task.accumWeight == nullptr && (task.observN == nullptr || task.weights != nullptr))
      return ROF_SS_NO_ACCUM_WEIGHT;
    plan->n = task.observN != nullptr ? ReadInt(task, task.observN) : 0;
    plan->columns = false;
  } else {
    return ROF_SS_BAD_METHOD;
  }
  if (int status = MatrixStorageStatus(task, plan->required)) return status;
  plan->p = ReadInt(task, task.dimen);
  if (plan->p < 1) return ROF_SS_BAD_DIMEN;
  // One variable reads the same in both storage forms.
  if (plan->p == 1) plan->columns = false;
  return ROF_SS_OK;
}

Content ContentOf(uint32_t required) {
  return {CentralOrder(required), RawOrder(required), WantsMatrix(required)};
}

int64_t BlockCount(const qorThreading* threading, const Plan& plan, bool matrix) {
  int64_t threads = 1;
  if (threading != nullptr && threading->threadCount != nullptr)
    threads = threading->threadCount(plan.n, plan.p, 0, 0);
  const int64_t q = matrix ? plan.p : 1;
  const int64_t blocks = std::min({threads, (q * plan.p * plan.n) >> kBlockShift,
                                   plan.n >> kObservationShift});
  return std::max<int64_t>(blocks, 1);
}

// One buffer for everything a call needs, carved in 128-byte steps: what one block's thread
// writes never shares a cache line (or an adjacent-line prefetch pair) with another block's.
class Workspace {
 public:
  explicit Workspace(size_t bytes) : base_(static_cast<char*>(qor_serv_allocate(bytes, 128))) {}
  ~Workspace() { qor_serv_deallocate(base_); }
  bool ok() const { return base_ != nullptr; }
  template <class U>
  U* Take(int64_t count) {
    U* at = reinterpret_cast<U*>(base_ + used_);
    used_ += Rounded(sizeof(U) * count);
    return at;
  }
  static size_t Rounded(size_t bytes) { return (bytes + 127) & ~size_t(127); }

 private:
  char* base_;
  size_t used_ = 0;
};

template <class T>
struct Job {
  MemberFn<T> member;
  const PassData<T>* in;
  Moments<T>* blocks;
  T* scratch;              // 2k values a block, `scratch_stride` apart
  int64_t scratch_stride;
  int64_t n;
  int64_t k;
};

template <class T>
void BlockBody(int64_t index, int64_t count, int64_t, void* args) {
  const auto* job = static_cast<const Job<T>*>(args);
  const int64_t begin = job->n * index / count, end = job->n * (index + 1) / count;
  job->member(*job->in, job->blocks[index], job->scratch + job->scratch_stride * index, begin, end);
}

template <class T>
void RunBlocks(const Job<T>& job, int64_t blocks, const qorThreading* threading) {
  if (blocks == 1) return BlockBody<T>(0, 1, job.n, const_cast<Job<T>*>(&job));
  threading->parallelFor(job.n, blocks, const_cast<Job<T>*>(&job), &BlockBody<T>);
}

// Plain sums of block b added into s.
template <class T>
void AddSums(Moments<T>& s, const Moments<T>& b, int64_t k) {
  s.w += b.w;
  s.w2 += b.w2;
  for (int64_t i = 0; i < Moments<T>::Values(k); ++i) s.mean[i] += b.mean[i];
}

// Sum form to running form around `centre`: raw sums become means of powers.
template <class T>
void ToRunning(Moments<T>& s, int64_t k, const T* centre) {
  memcpy(s.mean, centre, sizeof(T) * k);
  for (int64_t i = 0; i < 3 * k; ++i) s.raw[i] /= s.w;
}

template <class T>
int Basic(rofSSTask* task, uint64_t estimates, uint32_t method, const qorThreading* threading) {
  if (task == nullptr) return ROF_SS_NULL_TASK;
  Plan plan;
  if (int status = Decode(*task, estimates, method, &plan)) return status;
  const Content content = ContentOf(plan.required);
  const bool derivation = plan.method == Method::kDerivation;
  const int64_t blocks = derivation ? 1 : BlockCount(threading, plan, content.matrix);

  int64_t k = 0;
  for (int64_t i = 0; i < plan.p; ++i)
    k += task->indices == nullptr || ReadIntAt(*task, task->indices, i) != 0;
  if (k == 0) return ROF_SS_OK;

  // Variables, their bases, the total, the chunk of a two-pass call, the blocks, a centre,
  // and 2k of scratch for each block and for the merge and the closing step.
  const size_t values = Moments<T>::Values(k);
  const size_t bytes = Workspace::Rounded(sizeof(int64_t) * k) +
                       Workspace::Rounded(sizeof(T*) * k) +
                       Workspace::Rounded(sizeof(Moments<T>) * (blocks + 2)) +
                       Workspace::Rounded(sizeof(T) * values) * (blocks + 2) +
                       Workspace::Rounded(sizeof(T) * k) * 2 +
                       Workspace::Rounded(sizeof(T) * 2 * k) * (blocks + 1);
  Workspace space(bytes);
  if (!space.ok()) return ROF_SS_NO_MEMORY;
  int64_t* index = space.Take<int64_t>(k);
  for (int64_t i = 0, a = 0; i < plan.p; ++i)
    if (task->indices == nullptr || ReadIntAt(*task, task->indices, i) != 0) index[a++] = i;
  const T** base = space.Take<const T*>(k);
  Moments<T>* states = space.Take<Moments<T>>(blocks + 2);
  for (int64_t b = 0; b < blocks + 2; ++b) states[b].Attach(space.Take<T>(values), k);
  T* centre = space.Take<T>(k);
  T* data_mean = space.Take<T>(k);
  const int64_t scratch_stride = Workspace::Rounded(sizeof(T) * 2 * k) / sizeof(T);
  T* scratch = space.Take<T>(scratch_stride * (blocks + 1));
  T* own_scratch = scratch + scratch_stride * blocks;
  Moments<T>& total = states[0];
  Moments<T>& chunk = states[1];
  Moments<T>* block = states + 2;

  const Variables vars{index, k, plan.p};
  T* accum = Data<T>(task->accumWeight);
  if (derivation) {
    total.w = accum ? accum[0] : T(plan.n);
    total.w2 = accum ? accum[1] : T(plan.n);
  } else if (accum != nullptr) {
    total.w = accum[0];
    total.w2 = accum[1];
  }
  if (total.w != 0 || total.w2 != 0) ReadState(*task, plan.required, vars, content, total);
  memcpy(data_mean, total.mean, sizeof(T) * k);

  if (!derivation) {
    const T* x = Data<T>(task->observ);
    for (int64_t a = 0; a < k; ++a) base[a] = plan.columns ? x + index[a] : x + index[a] * plan.n;
    const bool weighted = task->weights != nullptr;
    PassData<T> in{base, plan.columns ? plan.p : 1, k, Data<T>(task->weights), centre};
    Job<T> job{nullptr, &in, blocks == 1 ? &chunk : block, scratch, scratch_stride, plan.n, k};
    auto sum_blocks = [&] {
      if (blocks > 1)
        for (int64_t b = 0; b < blocks; ++b) AddSums(chunk, block[b], k);
    };
    auto fresh_blocks = [&] {
      for (int64_t b = 0; b < blocks; ++b) block[b].Attach(block[b].mean, k);
    };
    switch (plan.method) {
      case Method::kOnePass:
        job.member = OnePassMember<T>(content, weighted);
        if (blocks == 1) job.blocks = &total;
        RunBlocks(job, blocks, threading);
        if (blocks > 1)
          for (int64_t b = 0; b < blocks; ++b) Merge(total, block[b], k, content, own_scratch);
        break;
      case Method::kFast:
        job.member = SumMember<T, kPlainSums>(content, weighted);
        RunBlocks(job, blocks, threading);
        sum_blocks();
        if (chunk.w == 0) break;
        for (int64_t a = 0; a < k; ++a) centre[a] = chunk.mean[a] / chunk.w;
        // Means and raw moments alone need no second pass.
        if (content.order > 0 || content.matrix) {
          job.member = SumMember<T, kCentredSums>(content, weighted);
          fresh_blocks();
          RunBlocks(job, blocks, threading);
          sum_blocks();
        }
        ToRunning(chunk, k, centre);
        Merge(total, chunk, k, content, own_scratch);
        break;
      case Method::kUserMean:
        for (int64_t a = 0; a < k; ++a) centre[a] = Data<T>(task->mean)[index[a]];
        // The total's centre is the caller's mean, so the merge only adds; the mean of the
        // data goes alone, for the sums.
        memcpy(total.mean, centre, sizeof(T) * k);
        job.member = SumMember<T, kBothSums>(content, weighted);
        RunBlocks(job, blocks, threading);
        sum_blocks();
        if (chunk.w == 0) break;
        for (int64_t a = 0; a < k; ++a)
          data_mean[a] = (data_mean[a] * total.w + chunk.mean[a]) / (total.w + chunk.w);
        ToRunning(chunk, k, centre);
        Merge(total, chunk, k, content, own_scratch);
        break;
      case Method::kDerivation:
        break;
    }
  }

  uint32_t write = plan.required;
  if (plan.method == Method::kUserMean) write &= ~kNeedMean;
  if (derivation) write &= ~kDerivationInputs;
  WriteResults(*task, write, vars, content, total,
               plan.method == Method::kUserMean ? data_mean : total.mean, own_scratch);
  if (!derivation && accum != nullptr) {
    accum[0] = total.w;
    accum[1] = total.w2;
  }
  return ROF_SS_OK;
}

}  // namespace
}  // namespace ss
}  // namespace rof

extern "C" {

QOR_API int _rofdSSBasic(rofSSTask* task, uint64_t estimates, uint32_t method,
                         const qorThreading* threading) {
  return rof::ss::Basic<double>(task, estimates, method, threading);
}
QOR_API int _rofsSSBasic(rofSSTask* task, uint64_t estimates, uint32_t method,
                         const qorThreading* threading) {
  return rof::ss::Basic<float>(task, estimates, method, threading);
}

}  // extern "C"
