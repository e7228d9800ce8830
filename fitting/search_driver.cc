// ?DFSearch1D: method selection, expansion of uniform sites, the split among threads.
#include <algorithm>

#include "fitting/search.h"
#include "fitting/search_ordered.h"
#include "qor/core.h"

namespace df {
namespace {

constexpr int64_t kStackSites = 4096;
constexpr int64_t kHybridBlock = 2048;
constexpr int64_t kHybridScanLimit = 100;

// Sites i*d + a for the ends a = site[0], site[1]; 1/(nsite-1) is taken once.
template <class T>
void ExpandSites(const T* site, int64_t nsite, T* out) {
  const T a = site[0];
  const T d = (site[1] - a) * (T(1) / static_cast<T>(nsite - 1));
  for (int64_t i = 0; i < nsite; ++i) out[i] = static_cast<T>(i) * d + a;
}

inline void* CellAt(void* cell, CellForm form, int64_t index) {
  const size_t width = form == CellForm::k32 ? sizeof(uint32_t) : sizeof(int64_t);
  return static_cast<char*>(cell) + width * index;
}

template <class T>
struct ThreadArgs {
  const SearchPlan<T>* plan;
  CellForm form;
  const T* site;
  void* cell;
  int64_t per_thread;
};

// Thread t searches its own stretch at t*per_thread, a sorted search from cursor 0.
template <class T>
void SearchBody(int64_t t, int64_t, int64_t, void* raw) {
  const auto& args = *static_cast<ThreadArgs<T>*>(raw);
  const int64_t start = t * args.per_thread;
  int64_t cursor = 0;
  SearchStretch(*args.plan, args.form, args.per_thread, args.site + start, &cursor,
                CellAt(args.cell, args.form, start), nullptr);
}

// Sites per thread: nsite/T; the hybrid search over more than 100 breakpoints hands out
// whole blocks of 2048 only, with no more threads than blocks.
template <class T>
int64_t SitesPerThread(const SearchPlan<T>& plan, int64_t nsite, int64_t* threads) {
  if (plan.method == kHybridSearch && plan.nx > kHybridScanLimit) {
    const int64_t blocks = nsite / kHybridBlock;
    *threads = std::min(*threads, blocks);
    return *threads > 0 ? blocks / *threads * kHybridBlock : 0;
  }
  return nsite / *threads;
}

}  // namespace

template <class T>
int SelectSearchMethod(const dfTask& task, bool has_callback, int64_t site_hint, const T* dhint,
                       int* method) {
  if (has_callback) {
    *method = task.xHint == dfXUniform ? kUniUserDefSearch : kUserDefSearch;
    return 0;
  }
  if (task.xHint == dfXUniform) *method = kUniformSearch;
  else if (task.xHint == dfXQuasiUniform) *method = kQuasiUniformSearch;
  else if (site_hint == dfSiteSorted) *method = kSortedSearch;
  else *method = kHybridSearch;
  if (*method != kHybridSearch || dhint == nullptr) return 0;
  const T choice = dhint[dfDataHintMethod];
  if (choice == T(0)) return 0;
  if (choice != T(1)) return dfErrBadSiteHint;
  const double peak = dhint[dfDataHintPeak];
  if (!(peak >= 0 && peak <= static_cast<double>(task.nx))) return dfErrBadSiteHint;
  *method = kPeakSearch;
  return 0;
}

template <class T>
SearchPlan<T> MakeSearchPlan(const dfTask& task, int method, SearchCallBack<T> callback,
                             const dfSearchCallBackParam* params) {
  SearchPlan<T> plan;
  plan.method = method;
  plan.nx = task.nx;
  plan.x = X<T>(task);
  const T intervals = static_cast<T>(task.nx - 1);
  if (method == kUniformSearch || method == kUniUserDefSearch)
    plan.step = (plan.x[1] - plan.x[0]) / intervals;
  else if (method == kQuasiUniformSearch)
    plan.step = (plan.x[task.nx - 1] - plan.x[0]) / intervals;
  plan.callback = callback;
  if (params != nullptr) {
    plan.callback_data = params->data;
    plan.callback_length = params->length;
  }
  return plan;
}

template <class T>
void CheckAscending(SearchPlan<T>* plan, int64_t nsite) {
  if (plan->method != kSortedSearch && plan->method != kHybridSearch) return;
  if (nsite < 1 || nsite > INT64_MAX / kOrderedSiteShare) return;
  if (nsite * kOrderedSiteShare < plan->nx) return;
  plan->ascending = IsAscending(plan->x, plan->nx);
}

template <class T>
int SearchSites(const SearchPlan<T>& plan, CellForm form, int64_t nsite, const T* site,
                int64_t site_hint, void* cell, const qorThreading* threading) {
  if (nsite < 1) return 0;
  T on_stack[kStackSites];
  T* allocated = nullptr;
  if (site_hint == dfSiteUniform) {
    T* expanded = on_stack;
    if (nsite > kStackSites) {
      allocated = static_cast<T*>(qor_serv_allocate(sizeof(T) * nsite, kTaskAlignment));
      if (allocated == nullptr) return dfErrNoMemory;
      expanded = allocated;
    }
    ExpandSites(site, nsite, expanded);
    site = expanded;
  }
  int64_t threads = threading != nullptr ? threading->threadCount(nsite, plan.nx, 0, 0) : 1;
  // The callback runs on the calling thread only.
  if (plan.method == kUserDefSearch || plan.method == kUniUserDefSearch) threads = 1;
  int64_t done = 0;
  if (threads > 1) {
    ThreadArgs<T> args{&plan, form, site, cell, SitesPerThread(plan, nsite, &threads)};
    if (args.per_thread > 0) {
      threading->parallelFor(threads, threads, &args, SearchBody<T>);
      done = args.per_thread * threads;
    }
  }
  int64_t cursor = 0;
  const int status = SearchStretch(plan, form, nsite - done, site + done, &cursor,
                                   CellAt(cell, form, done), nullptr);
  qor_serv_deallocate(allocated);
  return status;
}

template int SelectSearchMethod<double>(const dfTask&, bool, int64_t, const double*, int*);
template int SelectSearchMethod<float>(const dfTask&, bool, int64_t, const float*, int*);
template SearchPlan<double> MakeSearchPlan<double>(const dfTask&, int, SearchCallBack<double>,
                                                   const dfSearchCallBackParam*);
template SearchPlan<float> MakeSearchPlan<float>(const dfTask&, int, SearchCallBack<float>,
                                                 const dfSearchCallBackParam*);
template void CheckAscending<double>(SearchPlan<double>*, int64_t);
template void CheckAscending<float>(SearchPlan<float>*, int64_t);
template int SearchSites<double>(const SearchPlan<double>&, CellForm, int64_t, const double*,
                                 int64_t, void*, const qorThreading*);
template int SearchSites<float>(const SearchPlan<float>&, CellForm, int64_t, const float*,
                                int64_t, void*, const qorThreading*);

namespace {

template <class T>
int DFSearch(dfTask* task, int64_t nsite, const T* site, int64_t site_hint, const T* dhint,
             void* cell, SearchCallBack<T> callback, const dfSearchCallBackParam* params,
             const qorThreading* threading) {
  if (task == nullptr) return dfErrNullTask;
  int method = 0;
  const int status = SelectSearchMethod(*task, callback != nullptr, site_hint, dhint, &method);
  if (status != 0) return status;
  SearchPlan<T> plan = MakeSearchPlan(*task, method, callback, params);
  CheckAscending(&plan, nsite);
  const int result = SearchSites(plan, CellFormOf(*task), nsite, site, site_hint, cell, threading);
  return result < 0 ? result : 0;
}

}  // namespace
}  // namespace df

extern "C" {

int qor_df_kernel_dDFSearch1D(dfTask* task, int, int64_t nsite, const double* site,
                              int64_t sitehint, const double* dhint, void* cell,
                              dfdSearchCallBack search_cb,
                              const dfSearchCallBackParam* search_params,
                              const qorThreading* threading) {
  return df::DFSearch(task, nsite, site, sitehint, dhint, cell, search_cb, search_params,
                      threading);
}

int qor_df_kernel_sDFSearch1D(dfTask* task, int, int64_t nsite, const float* site,
                              int64_t sitehint, const float* dhint, void* cell,
                              dfsSearchCallBack search_cb,
                              const dfSearchCallBackParam* search_params,
                              const qorThreading* threading) {
  return df::DFSearch(task, nsite, site, sitehint, dhint, cell, search_cb, search_params,
                      threading);
}

}  // extern "C"
