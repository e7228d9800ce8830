// Cell search inside the library: method selection, one stretch of sites in one output form
// on the calling thread, and the whole run (site expansion, threads) of ?DFSearch1D.
// Interpolation calls SelectSearchMethod once and SearchStretch for each block of sites,
// keeping the sorted method's cursor from block to block.
#ifndef QOR_FITTING_SEARCH_H_
#define QOR_FITTING_SEARCH_H_

#include <stdint.h>

#include "fitting/task.h"
#include "qor/df.h"
#include "qor/threading.h"

namespace df {

enum SearchMethod : int {
  kUniformSearch = 0,
  kQuasiUniformSearch = 1,
  kSortedSearch = 2,
  kPeakSearch = 3,
  kHybridSearch = 4,
  kUserDefSearch = 5,
  kUniUserDefSearch = 6,
};

// How cells are written: u32, i64 from 64-bit arithmetic, i64 widened from 32-bit arithmetic.
enum class CellForm { k32, k64, k64Pack };

// The form a task's cells take: u32 when wideIndex is zero, else by nx.
inline CellForm CellFormOf(const dfTask& task) {
  if (task.wideIndex == 0) return CellForm::k32;
  return task.nx > kPackLimit ? CellForm::k64 : CellForm::k64Pack;
}

template <class T>
using SearchCallBack = int (*)(int64_t*, const T*, int64_t*, uint32_t*, void*, int64_t);

// What stays the same over the stretches of one search.
template <class T>
struct SearchPlan {
  int method = kHybridSearch;
  int64_t nx = 0;
  const T* x = nullptr;
  T step = 0;  // uniform, quasi-uniform and uniform user-defined methods
  bool ascending = false;  // x checked ascending: the sorted and hybrid methods take shortcuts
  SearchCallBack<T> callback = nullptr;
  void* callback_data = nullptr;
  int64_t callback_length = 0;
};

// The method ?DFSearch1D chooses: by callback, partition code, site hint, data hint. Returns
// 0 and sets *method, or dfErrBadSiteHint for a data hint that is refused.
template <class T>
int SelectSearchMethod(const dfTask& task, bool has_callback, int64_t site_hint, const T* dhint,
                       int* method);

// The plan of a method for a task: step from the partition, callback and its parameter.
template <class T>
SearchPlan<T> MakeSearchPlan(const dfTask& task, int method, SearchCallBack<T> callback,
                             const dfSearchCallBackParam* params);

// Sets plan->ascending for the sorted and hybrid methods when nsite sites are worth a pass
// over the partition and it is ascending.
template <class T>
void CheckAscending(SearchPlan<T>* plan, int64_t nsite);

// Cells of sites [0, nsite) into cell (uint32_t* for k32, int64_t* otherwise). `cursor` is
// the sorted method's (read and written back; may be null for the other methods),
// `site_flags` receives the callback's flags of the user-defined methods when not null.
// Returns 0, a callback's negative status, or its last non-negative result.
template <class T>
int SearchStretch(const SearchPlan<T>& plan, CellForm form, int64_t nsite, const T* site,
                  int64_t* cursor, void* cell, uint32_t* site_flags);

// The whole search of ?DFSearch1D: expands uniform sites (site hint 4), splits the sites
// among the threads of `threading` (null: the calling thread alone), finishes the rest on
// the calling thread.
template <class T>
int SearchSites(const SearchPlan<T>& plan, CellForm form, int64_t nsite, const T* site,
                int64_t site_hint, void* cell, const qorThreading* threading);

}  // namespace df

#endif  // QOR_FITTING_SEARCH_H_
