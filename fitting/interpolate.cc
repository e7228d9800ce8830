// Interpolation: the front routine classifies the task and checks the call; the driver runs
// blocks of 256 sites (searched once, evaluated for every function) on one or more threads.
#include <stddef.h>
#include <string.h>

#include "fitting/construct_knotted_quadratic.h"
#include "fitting/search.h"
#include "fitting/spline_access.h"

namespace df {
namespace {

constexpr int64_t kBlock = 256;
// Callback results up to this many reals stay on the stack.
constexpr int64_t kStackResults = 1024;
constexpr int kMaxDerivatives = 16;
// Distance from a breakpoint within which a uniform look-up site counts as on it: 2^-40.
constexpr double kLookupTolerance = 9.094947017729282e-13;

enum Kind { kLinearKind = 0, kQuadraticKind = 1, kCubicKind = 2, kKnottedKind = 3,
            kPolynomialKind = 4, kStepLeftKind = 5, kStepRightKind = 6, kLookupKind = 7 };

template <class T>
using InterpCallBack = int (*)(int64_t*, int64_t*, T*, T*, const void*);

// Which piece of the spline serves cell c, and where the piece starts.
template <class T>
struct Pieces {
  int64_t nx;
  const T* x;
  bool uniform;
  T step;
  int64_t Index(int64_t c) const {
    const int64_t j = c < 1 ? 0 : c - 1;
    return c >= nx ? j - 1 : j;
  }
  T Left(int64_t j) const { return uniform ? T(j) * step + x[0] : x[j]; }
  T Last() const { return uniform ? x[1] : x[nx - 1]; }
};

// Everything a block needs; shared read-only by the threads.
template <class T>
struct Plan {
  const dfTask* task;
  int kind, order, type;
  int64_t nsite, ny, nder, rhint;
  const T* site;
  bool expand;  // sites given as the ends of an evenly spaced set
  T site0, site_step;
  int derivative[kMaxDerivatives];  // derivative of each output slot
  bool value_wanted;  // dorder[0]: tabulated kinds write nothing without it
  bool has_callback;
  InterpCallBack<T> le_cb, re_cb, i_cb;
  const void *le_params, *re_params, *i_params;
  SearchPlan<T> search;
  CellForm form;
  Pieces<T> pieces;
  Knots<T> knots;  // pieces of the knotted quadratic spline
  T* r;
  void* cell;
};

// Derivative m of c0 + c1 t + ... + c[order-1] t^(order-1) at t, by Horner.
template <class T>
inline T Derivative(const T* c, int order, T t, int m) {
  if (m >= order) return T(0);
  T r = 0;
  for (int p = order - 1; p >= m; --p) {
    T f = 1;
    for (int q = 0; q < m; ++q) f = f * T(p - q);
    r = m == 0 ? r * t + c[p] : r * t + f * c[p];
  }
  return r;
}

template <class T>
inline T Value(const T* c, int order, T t) {
  switch (order) {
    case 2: return c[1] * t + c[0];
    case 3: return (c[2] * t + c[1]) * t + c[0];
    case 4: return ((c[3] * t + c[2]) * t + c[1]) * t + c[0];
    default: return Derivative(c, order, t, 0);
  }
}

// Index of the output of (function k, site s of the whole call, slot m).
template <class T>
inline size_t OutIndex(const Plan<T>& p, int64_t k, int64_t s, int64_t m, int64_t block_start,
                       int64_t block_size) {
  switch (p.rhint) {
    case dfOutFDS: return size_t((k * p.nder + m) * p.nsite + s);
    case dfOutSFD: return size_t((s * p.ny + k) * p.nder + m);
    case dfOutSDF: return size_t((s * p.nder + m) * p.ny + k);
    case dfOutKernel:  // block by block, function-major inside a block
      return size_t(block_start * p.ny * p.nder + (k * block_size + (s - block_start)) * p.nder + m);
    default: return size_t((k * p.nsite + s) * p.nder + m);
  }
}

template <class T>
inline T TableValue(const dfTask& task, int64_t k, int64_t idx) {
  if (IsColumns(task.yHint)) return Y<T>(task, 0)[idx * (task.ny > 1 ? task.ny : 1) + k];
  return Y<T>(task, k)[idx];
}

template <class T>
inline double Distance(T a, T b) {
  const double d = double(a - b);
  return d < 0 ? -d : d;
}

// The breakpoint a look-up site stands on, or -1.
template <class T>
int64_t LookupIndex(const Plan<T>& p, T s, int64_t c) {
  const Pieces<T>& q = p.pieces;
  if (c == 0) return -1;
  if (q.uniform) {
    if (s == q.x[1]) return q.nx - 1;
    if (Distance(s, q.Left(c - 1)) < kLookupTolerance) return c - 1;
    if (Distance(s, q.Left(c)) < kLookupTolerance) return c;
    return -1;
  }
  if (s == q.x[q.nx - 1]) return q.nx - 1;
  if (s == q.x[c - 1]) return c - 1;
  if (c < q.nx && s == q.x[c]) return c;
  return -1;
}

// Class of a cell: 0 below the partition, 2 above it, 1 inside.
inline int CellClass(int64_t c, int64_t nx) { return c == 0 ? 0 : (c >= nx ? 2 : 1); }
constexpr unsigned kAllClasses = 7;

// Standard evaluation of the block's sites whose class is in `classes` (bit per class), for
// every function.
template <class T>
void Evaluate(const Plan<T>& p, int64_t start, int64_t n, const T* s, const int64_t* c,
              const int64_t* lookup, unsigned classes) {
  const dfTask& task = *p.task;
  const Pieces<T>& q = p.pieces;
  for (int64_t k = 0; k < p.ny; ++k) {
    const T* coeff = p.kind <= kPolynomialKind ? Coeff<T>(task, k) : nullptr;
    for (int64_t i = 0; i < n; ++i) {
      if (!((classes >> CellClass(c[i], q.nx)) & 1)) continue;
      T* out = p.r;
      const auto put = [&](int64_t m, T v) { out[OutIndex(p, k, start + i, m, start, n)] = v; };
      if (p.kind <= kPolynomialKind) {
        const int64_t j = p.kind != kKnottedKind ? q.Index(c[i])
                          : p.knots.Piece(c[i], q.nx, s[i], q);
        const T t = s[i] - q.Left(j);
        const T* cj = coeff + j * p.order;
        for (int64_t m = 0; m < p.nder; ++m)
          put(m, p.derivative[m] == 0 ? Value(cj, p.order, t) : Derivative(cj, p.order, t, p.derivative[m]));
        continue;
      }
      int64_t idx;
      if (p.kind == kLookupKind) {
        idx = lookup[i];
      } else {
        idx = c[i] < 1 ? 0 : c[i] - 1;
        if (p.kind == kStepRightKind) idx += s[i] == q.Last() ? 1 : 0;
        else if (c[i] >= 1 && c[i] - 1 < q.nx - 1) idx += q.Left(c[i] - 1) != s[i] ? 1 : 0;
      }
      if (!p.value_wanted) continue;
      const T v = TableValue<T>(task, k, idx);
      for (int64_t m = 0; m < p.nder; ++m) put(m, p.derivative[m] == 0 ? v : T(0));
    }
  }
}

// Values alone of a piecewise polynomial of order kOrder at every site of the block: the
// piece and the offset into it are found once per site and serve every function.
template <class T, int kOrder>
void EvaluateValues(const Plan<T>& p, int64_t start, int64_t n, const T* s, const int64_t* c) {
  const Pieces<T>& q = p.pieces;
  int64_t piece[kBlock];
  T t[kBlock];
  for (int64_t i = 0; i < n; ++i) {
    piece[i] = q.Index(c[i]) * kOrder;
    t[i] = s[i] - q.Left(piece[i] / kOrder);
  }
  const size_t first = OutIndex(p, 0, start, 0, start, n);
  const size_t site_stride = OutIndex(p, 0, start + 1, 0, start, n) - first;
  for (int64_t k = 0; k < p.ny; ++k) {
    const T* coeff = Coeff<T>(*p.task, k);
    T* out = p.r + OutIndex(p, k, start, 0, start, n);
    for (int64_t i = 0; i < n; ++i) out[size_t(i) * site_stride] = Value(coeff + piece[i], kOrder, t[i]);
  }
}

// Sites of one class go to their callback with results laid out [site][function][slot].
template <class T>
int RunCallback(const Plan<T>& p, InterpCallBack<T> cb, const void* params, int64_t start,
                int64_t n, const T* s, const int64_t* c, int cls) {
  int64_t idx[kBlock], cells[kBlock];
  T sites[kBlock];
  int64_t count = 0;
  for (int64_t i = 0; i < n; ++i) {
    if (CellClass(c[i], p.pieces.nx) != cls) continue;
    idx[count] = i, cells[count] = c[i], sites[count] = s[i];
    ++count;
  }
  if (count == 0) return 0;
  const int64_t values = count * p.ny * p.nder;
  T stack[kStackResults];
  Scratch<T> heap(values > kStackResults ? values : 0);
  if (heap.failed()) return dfErrNoMemory;
  T* buf = values > kStackResults ? heap.get() : stack;
  for (int64_t v = 0; v < values; ++v) buf[v] = T(0);
  int64_t nn = count;
  const int status = cb(&nn, cells, sites, buf, params);
  if (status < 0) return status;
  for (int64_t j = 0; j < count; ++j)
    for (int64_t k = 0; k < p.ny; ++k)
      for (int64_t m = 0; m < p.nder; ++m)
        p.r[OutIndex(p, k, start + idx[j], m, start, n)] = buf[(j * p.ny + k) * p.nder + m];
  return 0;
}

template <class T>
int RunBlock(const Plan<T>& p, int64_t start, int64_t n, int64_t* cursor) {
  T sites[kBlock];
  int64_t c[kBlock], lookup[kBlock];
  const T* s = p.site + start;
  if (p.expand) {
    for (int64_t i = 0; i < n; ++i) sites[i] = T(start + i) * p.site_step + p.site0;
    s = sites;
  }
  const bool wide = p.task->wideIndex != 0;
  if (p.type == dfInterpCellsGiven) {
    for (int64_t i = 0; i < n; ++i)
      c[i] = wide ? static_cast<const int64_t*>(p.cell)[start + i]
                  : int64_t(static_cast<const uint32_t*>(p.cell)[start + i]);
  } else {
    uint32_t narrow[kBlock];
    const int status = SearchStretch(p.search, p.form, n, s, cursor,
                                     p.form == CellForm::k32 ? static_cast<void*>(narrow) : c, nullptr);
    if (status < 0) return status;
    if (p.form == CellForm::k32)
      for (int64_t i = 0; i < n; ++i) c[i] = narrow[i];
    if (p.type & dfInterpCells) {
      for (int64_t i = 0; i < n; ++i) {
        if (wide) static_cast<int64_t*>(p.cell)[start + i] = c[i];
        else static_cast<uint32_t*>(p.cell)[start + i] = uint32_t(c[i]);
      }
    }
  }
  if (!(p.type & dfInterpValues) && p.type != dfInterpCellsGiven) return 0;
  if (p.kind == kLookupKind) {
    for (int64_t i = 0; i < n; ++i)
      if ((lookup[i] = LookupIndex(p, s[i], c[i])) < 0) return dfErrLookupMiss;
  }
  // Sites of a class without a callback take the standard evaluation.
  const InterpCallBack<T> cbs[3] = {p.le_cb, p.i_cb, p.re_cb};
  const void* params[3] = {p.le_params, p.i_params, p.re_params};
  unsigned standard = 0;
  for (int cls = 0; cls < 3; ++cls) {
    if (cbs[cls] == nullptr) {
      standard |= 1u << cls;
      continue;
    }
    const int status = RunCallback(p, cbs[cls], params[cls], start, n, s, c, cls);
    if (status != 0) return status;
  }
  const bool values_alone = standard == kAllClasses && p.nder == 1 && p.derivative[0] == 0;
  if (values_alone && p.kind == kCubicKind) EvaluateValues<T, 4>(p, start, n, s, c);
  else if (values_alone && p.kind == kQuadraticKind) EvaluateValues<T, 3>(p, start, n, s, c);
  else if (values_alone && p.kind == kLinearKind) EvaluateValues<T, 2>(p, start, n, s, c);
  else if (standard != 0) Evaluate(p, start, n, s, c, lookup, standard);
  return 0;
}

template <class T>
struct Share {
  const Plan<T>* plan;
  int64_t blocks, per_thread;
  int status[64];
};

template <class T>
int RunBlocks(const Plan<T>& p, int64_t first, int64_t last) {
  int64_t cursor = 0;
  for (int64_t b = first; b < last; ++b) {
    const int64_t start = b * kBlock;
    const int64_t n = start + kBlock <= p.nsite ? kBlock : p.nsite - start;
    const int status = RunBlock(p, start, n, &cursor);
    if (status != 0) return status;
  }
  return 0;
}

template <class T>
void ThreadBody(int64_t t, int64_t, int64_t, void* raw) {
  Share<T>& share = *static_cast<Share<T>*>(raw);
  const int64_t first = t * share.per_thread;
  const int64_t last = first + share.per_thread < share.blocks ? first + share.per_thread : share.blocks;
  share.status[t] = first < last ? RunBlocks(*share.plan, first, last) : 0;
}

// 0 and the kind of a task, or dfErrBadType.
int Classify(const dfTask& task, bool all_callbacks, int* kind) {
  const int64_t order = task.splineOrder, type = task.splineType;
  if (order == 2) *kind = kLinearKind;
  else if (order == 3 && (type == 0 || type == 1)) *kind = type == 0 ? kQuadraticKind : kKnottedKind;
  else if (order == 4 && type >= 0 && type <= 9 && ((573 >> type) & 1)) *kind = kCubicKind;
  else if (order == 0 && type == dfLookup) *kind = kLookupKind;
  else if (order == 0 && (type == dfStepRight || type == dfStepLeft)) *kind = int(13 - type);
  else if (order == 0 && all_callbacks) *kind = kPolynomialKind;
  else if (order > 4) *kind = kPolynomialKind;
  else return dfErrBadType;
  return 0;
}

template <class T>
int Interpolate(dfTask* task, int type, int64_t nsite, const T* site, int64_t sitehint,
                int64_t ndorder, const void* dorder, const T* dhint, T* r, int64_t rhint,
                void* cell, InterpCallBack<T> le_cb, const void* le_params,
                InterpCallBack<T> re_cb, const void* re_params, InterpCallBack<T> i_cb,
                const void* i_params, SearchCallBack<T> search_cb,
                const dfSearchCallBackParam* search_params, const qorThreading* threading) {
  if (task == nullptr) return dfErrNullTask;
  Plan<T> p{};
  p.task = task;
  if (int status = Classify(*task, le_cb && re_cb && i_cb, &p.kind); status != 0) return status;
  int method = 7;
  if (type != dfInterpCellsGiven) {
    if (int status = SelectSearchMethod(*task, search_cb != nullptr, sitehint, dhint, &method);
        status != 0)
      return status;
  }
  if (rhint == 0) rhint = dfOutFSD;
  if (rhint != dfOutFSD && rhint != dfOutFDS && rhint != dfOutKernel && rhint != dfOutSFD &&
      rhint != dfOutSDF)
    return dfErrBadOutputHint;

  // Output slots: one for each wanted derivative, ascending; the value alone when none is.
  int64_t nder = 0;
  bool first_wanted = false;
  for (int64_t m = 0; m < ndorder && m < kMaxDerivatives && dorder != nullptr; ++m) {
    const int64_t want = task->wideIndex ? static_cast<const int64_t*>(dorder)[m]
                                         : static_cast<const int32_t*>(dorder)[m];
    if (want != 0) p.derivative[nder++] = int(m);
    if (m == 0) first_wanted = want != 0;
  }
  // The look-up refuses a call whose dorder[0] is zero, before that entry is defaulted.
  const bool value_asked = first_wanted;
  if (nder == 0) p.derivative[nder++] = 0, first_wanted = true;
  p.value_wanted = first_wanted;
  if (nsite < 1) return 0;

  p.order = p.kind == kLinearKind ? 2 : p.kind == kCubicKind ? 4
          : (p.kind == kQuadraticKind || p.kind == kKnottedKind) ? 3 : int(task->splineOrder);
  p.type = type;
  p.nsite = nsite;
  p.ny = task->ny > 1 ? task->ny : 1;
  p.nder = nder;
  p.rhint = rhint;
  p.site = site;
  p.expand = (sitehint & dfSiteUniform) != 0;
  if (p.expand) {
    p.site0 = site[0];
    p.site_step = (site[1] - site[0]) / T(nsite - 1);
  }
  p.has_callback = le_cb || re_cb || i_cb;
  p.le_cb = le_cb, p.re_cb = re_cb, p.i_cb = i_cb;
  p.le_params = le_params, p.re_params = re_params, p.i_params = i_params;
  if (method != 7) {
    p.search = MakeSearchPlan<T>(*task, method, search_cb, search_params);
    CheckAscending(&p.search, nsite);
  }
  p.form = CellFormOf(*task);
  const T* x = X<T>(*task);
  p.pieces = {task->nx, x, IsUniform(*task), IsUniform(*task) ? (x[1] - x[0]) / T(task->nx - 1) : T(0)};
  p.knots = TaskKnots<T>(*task);
  p.r = r;
  p.cell = cell;

  if (p.kind == kLookupKind) {
    // Every site is tested before the derivative orders.
    int64_t cursor = 0;
    for (int64_t start = 0; start < nsite; start += kBlock) {
      const int64_t n = start + kBlock <= nsite ? kBlock : nsite - start;
      T sites[kBlock];
      int64_t c[kBlock];
      const T* s = site + start;
      if (p.expand) {
        for (int64_t i = 0; i < n; ++i) sites[i] = T(start + i) * p.site_step + p.site0;
        s = sites;
      }
      if (type == dfInterpCellsGiven) {
        for (int64_t i = 0; i < n; ++i)
          c[i] = task->wideIndex ? static_cast<const int64_t*>(cell)[start + i]
                                 : int64_t(static_cast<const uint32_t*>(cell)[start + i]);
      } else {
        int64_t wide[kBlock];
        if (int status = SearchStretch(p.search, CellForm::k64, n, s, &cursor, wide, nullptr); status < 0)
          return status;
        for (int64_t i = 0; i < n; ++i) c[i] = wide[i];
      }
      for (int64_t i = 0; i < n; ++i)
        if (LookupIndex(p, s[i], c[i]) < 0) return dfErrLookupMiss;
    }
    if (ndorder != 1) return dfErrBadDerOrder;
    if (!value_asked) return dfErrNoValueOrder;
  }

  if (p.has_callback && (type & dfInterpValues || type == dfInterpCellsGiven)) {
    // A callback may leave sites untouched.
    const size_t total = size_t(nsite) * size_t(p.ny) * size_t(nder);
    memset(r, 0, total * sizeof(T));
  }

  const int64_t blocks = (nsite + kBlock - 1) / kBlock;
  int64_t threads = threading != nullptr && nsite >= kBlock
                        ? threading->threadCount(nsite, task->nx, 0, 0) : 1;
  if (method == kUserDefSearch || method == kUniUserDefSearch) threads = 1;
  if (threads > blocks) threads = blocks;
  if (threads > 64) threads = 64;
  if (threads <= 1) return RunBlocks(p, 0, blocks);
  Share<T> share{&p, blocks, (blocks + threads - 1) / threads, {}};
  threading->parallelFor(threads, threads, &share, ThreadBody<T>);
  for (int64_t t = 0; t < threads; ++t)
    if (share.status[t] != 0) return share.status[t];
  return 0;
}

}  // namespace
}  // namespace df

extern "C" {
int qor_df_kernel_dDFInterpolate1D(dfTask* task, int type, int, int64_t nsite, const double* site,
                                   int64_t sitehint, int64_t ndorder, const void* dorder,
                                   const double* dhint, double* r, int64_t rhint, void* cell,
                                   dfdInterpCallBack le_cb, const void* le_params,
                                   dfdInterpCallBack re_cb, const void* re_params,
                                   dfdInterpCallBack i_cb, const void* i_params,
                                   dfdSearchCallBack search_cb,
                                   const dfSearchCallBackParam* search_params,
                                   const qorThreading* threading) {
  return df::Interpolate<double>(task, type, nsite, site, sitehint, ndorder, dorder, dhint, r,
                                 rhint, cell, le_cb, le_params, re_cb, re_params, i_cb, i_params,
                                 search_cb, search_params, threading);
}
int qor_df_kernel_sDFInterpolate1D(dfTask* task, int type, int, int64_t nsite, const float* site,
                                   int64_t sitehint, int64_t ndorder, const void* dorder,
                                   const float* dhint, float* r, int64_t rhint, void* cell,
                                   dfsInterpCallBack le_cb, const void* le_params,
                                   dfsInterpCallBack re_cb, const void* re_params,
                                   dfsInterpCallBack i_cb, const void* i_params,
                                   dfsSearchCallBack search_cb,
                                   const dfSearchCallBackParam* search_params,
                                   const qorThreading* threading) {
  return df::Interpolate<float>(task, type, nsite, site, sitehint, ndorder, dorder, dhint, r,
                                rhint, cell, le_cb, le_params, re_cb, re_params, i_cb, i_params,
                                search_cb, search_params, threading);
}
}
