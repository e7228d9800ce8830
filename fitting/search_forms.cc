// One stretch of sites, searched on the calling thread in one output form, and the exported
// entry forms of the seven methods.
#include <string.h>

#include <algorithm>
#include <type_traits>

#include "fitting/search.h"
#include "fitting/search_cells.h"

namespace df {
namespace {

// Output type, truncation width and narrowing of each form.
template <CellForm F>
struct Form;
template <>
struct Form<CellForm::k32> {
  using Out = uint32_t;
  using Arith = int32_t;
  static Out Store(int64_t c) { return static_cast<uint32_t>(c); }
};
template <>
struct Form<CellForm::k64> {
  using Out = int64_t;
  using Arith = int64_t;
  static Out Store(int64_t c) { return c; }
};
template <>
struct Form<CellForm::k64Pack> {
  using Out = int64_t;
  using Arith = int32_t;
  static Out Store(int64_t c) { return static_cast<int32_t>(c); }
};

constexpr int64_t kHybridBlock = 2048;
constexpr int64_t kCallbackBlock = 128;
constexpr int kCallbackDone = 1000;

// Groups of four multiply by the reciprocal; the up to three sites behind them divide by the
// step, and may be numbered one off the multiplied formula. The single-precision u32 form
// works in groups of eight and multiplies throughout.
template <class T, CellForm F>
void UniformStretch(int64_t nx, const T* x, T step, int64_t n, const T* site,
                    typename Form<F>::Out* cell) {
  using I = typename Form<F>::Arith;
  const T x0 = x[0], x1 = x[1];
  const T inv = T(1) / step;
  const bool multiply_tail = sizeof(T) == sizeof(float) && F == CellForm::k32;
  const int64_t groups = multiply_tail ? n : n & ~int64_t{3};
  for (int64_t i = 0; i < groups; ++i) {
    const T s = site[i];
    cell[i] = Form<F>::Store(UniformCell<I>(nx, x0, x1, s, (s - x0) * inv));
  }
  for (int64_t i = groups; i < n; ++i) {
    const T s = site[i];
    cell[i] = Form<F>::Store(UniformCell<I>(nx, x0, x1, s, (s - x0) / step));
  }
}

// Blocks of 128 through the callback; sites it leaves unflagged are searched here.
template <class T, CellForm F>
int CallbackStretch(const SearchPlan<T>& plan, int64_t n, const T* site,
                    typename Form<F>::Out* cell, uint32_t* site_flags) {
  using I = typename Form<F>::Arith;
  const int64_t nx = plan.nx;
  const T* x = plan.x;
  const T inv = T(1) / plan.step;
  int status = 0;
  for (int64_t start = 0; start < n; start += kCallbackBlock) {
    int64_t count = std::min(kCallbackBlock, n - start);
    int64_t estimate[kCallbackBlock] = {};
    uint32_t flag[kCallbackBlock] = {};
    const T* s = site + start;
    auto* out = cell + start;
    const int result =
        plan.callback(&count, s, estimate, flag, plan.callback_data, plan.callback_length);
    if (result < 0) return result;
    if (site_flags != nullptr) memcpy(site_flags + start, flag, sizeof(uint32_t) * count);
    if (result == kCallbackDone) {
      for (int64_t i = 0; i < count; ++i) out[i] = Form<F>::Store(estimate[i]);
      status = 0;
      continue;
    }
    const int64_t groups = count & ~int64_t{3};
    for (int64_t i = 0; i < count; ++i) {
      int64_t c = estimate[i];
      if (flag[i] == 0) {
        if (plan.method == kUserDefSearch) {
          c = EstimatedCell(nx, x, estimate[i], s[i]);
        } else {
          const T offset = s[i] - x[0];
          c = UniformCell<I>(nx, x[0], x[1], s[i], i < groups ? offset * inv : offset / plan.step);
        }
      }
      out[i] = Form<F>::Store(c);
    }
    status = result;
  }
  return status;
}

// Hybrid cells of sites on an ascending partition of more than 100 breakpoints: groups of
// eight sites search the whole partition in lockstep. The last breakpoint and NaN sites
// keep the method's own answers.
template <class T, CellForm F>
void AscendingHybridBlock(int64_t nx, const T* x, int64_t n, const T* site,
                          typename Form<F>::Out* cell) {
  constexpr int kGroup = 8;
  const T last = x[nx - 1];
  int64_t i = 0;
  for (; i + kGroup <= n; i += kGroup) {
    int64_t found[kGroup];
    UpperBound<T, kGroup>(x, 0, nx, site + i, found);
    for (int g = 0; g < kGroup; ++g) {
      const T s = site[i + g];
      cell[i + g] = Form<F>::Store((s == last || s != s) ? HybridCell(nx, x, s) : found[g]);
    }
  }
  for (; i < n; ++i) cell[i] = Form<F>::Store(HybridCell(nx, x, site[i]));
}

template <class T, CellForm F>
int Stretch(const SearchPlan<T>& plan, int64_t n, const T* site, int64_t* cursor,
            typename Form<F>::Out* cell, uint32_t* site_flags) {
  const int64_t nx = plan.nx;
  const T* x = plan.x;
  switch (plan.method) {
    case kUniformSearch:
      UniformStretch<T, F>(nx, x, plan.step, n, site, cell);
      return 0;
    case kQuasiUniformSearch: {
      const T inv = T(1) / plan.step;
      for (int64_t i = 0; i < n; ++i) cell[i] = Form<F>::Store(QuasiUniformCell(nx, x, inv, site[i]));
      return 0;
    }
    case kSortedSearch: {
      int64_t c = cursor != nullptr ? std::clamp<int64_t>(*cursor, 0, nx) : 0;
      if (plan.ascending) {
        for (int64_t i = 0; i < n; ++i)
          cell[i] = Form<F>::Store(SortedCell<true>(nx, x, c, site[i]));
      } else {
        for (int64_t i = 0; i < n; ++i)
          cell[i] = Form<F>::Store(SortedCell<false>(nx, x, c, site[i]));
      }
      if (cursor != nullptr) *cursor = c;
      return 0;
    }
    case kPeakSearch:
      for (int64_t i = 0; i < n; ++i) cell[i] = Form<F>::Store(PeakCell(nx, x, site[i]));
      return 0;
    case kHybridSearch:
      if (nx <= 100) {
        for (int64_t i = 0; i < n; ++i) cell[i] = Form<F>::Store(HybridCell(nx, x, site[i]));
        return 0;
      }
      // Cells of a block gather in a local array and leave in one copy.
      for (int64_t start = 0; start < n; start += kHybridBlock) {
        const int64_t count = std::min(kHybridBlock, n - start);
        typename Form<F>::Out block[kHybridBlock];
        if (plan.ascending) AscendingHybridBlock<T, F>(nx, x, count, site + start, block);
        else
          for (int64_t i = 0; i < count; ++i)
            block[i] = Form<F>::Store(HybridCell(nx, x, site[start + i]));
        memcpy(cell + start, block, sizeof(block[0]) * count);
      }
      return 0;
    default:
      return CallbackStretch<T, F>(plan, n, site, cell, site_flags);
  }
}

// The form of the flags word: bits 1 and 0 set, i64 cells; bit 1 alone, u32 cells; bit 1
// clear, i64 cells with 64-bit arithmetic only when nx >= 2147483647.
inline CellForm FormOfFlags(uint32_t flags, int64_t nx) {
  if (flags & 2) return (flags & 1) ? CellForm::k64 : CellForm::k32;
  return nx > kPackLimit ? CellForm::k64 : CellForm::k64Pack;
}

// An entry form: the plan of its arguments, one stretch.
template <class T>
int Entry(int method, CellForm form, int64_t nx, const T* x, int64_t nsite, const T* site,
          int64_t* cursor, T step, void* cell, SearchCallBack<T> callback, void* data,
          int64_t length, uint32_t* site_flags) {
  SearchPlan<T> plan;
  plan.method = method;
  plan.nx = nx;
  plan.x = x;
  plan.step = step;
  plan.callback = callback;
  plan.callback_data = data;
  plan.callback_length = length;
  return SearchStretch(plan, form, nsite, site, cursor, cell, site_flags);
}

}  // namespace

template <class T>
int SearchStretch(const SearchPlan<T>& plan, CellForm form, int64_t nsite, const T* site,
                  int64_t* cursor, void* cell, uint32_t* site_flags) {
  if (nsite < 1) return 0;
  switch (form) {
    case CellForm::k32:
      return Stretch<T, CellForm::k32>(plan, nsite, site, cursor, static_cast<uint32_t*>(cell),
                                       site_flags);
    case CellForm::k64:
      return Stretch<T, CellForm::k64>(plan, nsite, site, cursor, static_cast<int64_t*>(cell),
                                       site_flags);
    default:
      return Stretch<T, CellForm::k64Pack>(plan, nsite, site, cursor,
                                           static_cast<int64_t*>(cell), site_flags);
  }
}

template int SearchStretch<double>(const SearchPlan<double>&, CellForm, int64_t, const double*,
                                   int64_t*, void*, uint32_t*);
template int SearchStretch<float>(const SearchPlan<float>&, CellForm, int64_t, const float*,
                                  int64_t*, void*, uint32_t*);

}  // namespace df

// ---- Exported entry forms: seven methods, four forms, two types ----

#define DF_UNPAREN(...) __VA_ARGS__
#define DF_CARRIED uint64_t, const uint64_t*, const void*

// LEAD: the method's own arguments (declaration, then cursor and step handed on); TRAIL:
// the callback's (declaration, then callback, data, length, site flags handed on).
#define DF_FORM(t, R, Method, id, Suffix, CellPtr, form, LEAD, LEAD_ARGS, TRAIL, TRAIL_ARGS) \
  int qor_df_kernel_##t##DF##Method##Search1D##Suffix(int64_t nx, const R* x, int64_t nsite,  \
                                                     const R* site DF_UNPAREN LEAD,          \
                                                     DF_CARRIED, CellPtr cell DF_UNPAREN TRAIL) { \
    return df::Entry<R>(id, form, nx, x, nsite, site, DF_UNPAREN LEAD_ARGS, cell,            \
                        DF_UNPAREN TRAIL_ARGS);                                              \
  }

#define DF_FLAGS_FORM(t, R, Method, id, LEAD, LEAD_ARGS, TRAIL, TRAIL_ARGS)                  \
  int qor_df_kernel_##t##DF##Method##Search1D(int64_t nx, const R* x, int64_t nsite,         \
                                             const R* site DF_UNPAREN LEAD, DF_CARRIED,      \
                                             void* cell, uint32_t flags DF_UNPAREN TRAIL) {  \
    return df::Entry<R>(id, df::FormOfFlags(flags, nx), nx, x, nsite, site,                  \
                        DF_UNPAREN LEAD_ARGS, cell, DF_UNPAREN TRAIL_ARGS);                  \
  }

#define DF_THREE_FORMS(t, R, Method, id, LEAD, LEAD_ARGS, TRAIL, TRAIL_ARGS)                 \
  DF_FLAGS_FORM(t, R, Method, id, LEAD, LEAD_ARGS, TRAIL, TRAIL_ARGS)                        \
  DF_FORM(t, R, Method, id, 32, uint32_t*, df::CellForm::k32, LEAD, LEAD_ARGS, TRAIL,        \
          TRAIL_ARGS)                                                                        \
  DF_FORM(t, R, Method, id, 64, int64_t*, df::CellForm::k64, LEAD, LEAD_ARGS, TRAIL,         \
          TRAIL_ARGS)

#define DF_FOUR_FORMS(t, R, Method, id, LEAD, LEAD_ARGS, TRAIL, TRAIL_ARGS)                  \
  DF_THREE_FORMS(t, R, Method, id, LEAD, LEAD_ARGS, TRAIL, TRAIL_ARGS)                       \
  DF_FORM(t, R, Method, id, 64Pack, int64_t*, df::CellForm::k64Pack, LEAD, LEAD_ARGS, TRAIL, \
          TRAIL_ARGS)

// Arguments are expanded before these forward them, so that DF_NO_CALLBACK and DF_CALLBACK
// split into their two parts.
#define DF_FOUR_FORMS_(...) DF_FOUR_FORMS(__VA_ARGS__)
#define DF_THREE_FORMS_(...) DF_THREE_FORMS(__VA_ARGS__)

#define DF_NO_CALLBACK (), (nullptr, nullptr, 0, nullptr)
#define DF_CALLBACK(CB)                                                                 \
  (, CB callback, void* callbackData, int64_t callbackLength, uint32_t* siteFlags),     \
      (callback, callbackData, callbackLength, siteFlags)

#define DF_METHODS(t, R, CB)                                                                \
  DF_FOUR_FORMS_(t, R, Uniform, df::kUniformSearch, (, R step), (nullptr, step),             \
                DF_NO_CALLBACK)                                                             \
  DF_FOUR_FORMS_(t, R, QuasiUniform, df::kQuasiUniformSearch, (, R step), (nullptr, step),   \
                DF_NO_CALLBACK)                                                             \
  DF_FOUR_FORMS_(t, R, Sorted, df::kSortedSearch, (, int64_t * cursor), (cursor, R(0)),      \
                DF_NO_CALLBACK)                                                             \
  DF_FOUR_FORMS_(t, R, Peak, df::kPeakSearch, (), (nullptr, R(0)), DF_NO_CALLBACK)           \
  DF_FOUR_FORMS_(t, R, Hybrid, df::kHybridSearch, (), (nullptr, R(0)), DF_NO_CALLBACK)       \
  DF_FOUR_FORMS_(t, R, UniUserDef, df::kUniUserDefSearch, (, R step), (nullptr, step),       \
                DF_CALLBACK(CB))                                                            \
  /* The user-defined method has no truncation: its 64 and 64Pack forms are one routine. */ \
  DF_THREE_FORMS_(t, R, UserDef, df::kUserDefSearch, (), (nullptr, R(0)), DF_CALLBACK(CB))   \
  int qor_df_kernel_##t##DFUserDefSearch1D64Pack(int64_t, const R*, int64_t, const R*,      \
                                                 DF_CARRIED, int64_t*, CB, void*, int64_t,  \
                                                 uint32_t*)                                 \
      __attribute__((alias("qor_df_kernel_" #t "DFUserDefSearch1D64")));

extern "C" {
DF_METHODS(d, double, dfdSearchCallBack)
DF_METHODS(s, float, dfsSearchCallBack)
}
