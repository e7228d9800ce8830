// The frame of every vector kernel: floating-point entry and exit, the element walk in blocks
// with one mask test per block, the scalar companion of flagged lanes, the dispatch of their
// errors, and the tail. A kernel K supplies only its formulas:
//
//   using T;                              float or double
//   kInputs, kResults                     1 or 2 each
//   kBlock                                lanes per block, a multiple of Vec<T>::kLanes
//   kCanFail                              whether any lane can be flagged
//   Compute(in[kInputs], out[kResults])   all lanes of one register, no tests
//   kComputeBlock (optional)              ComputeBlock(in[regs][kInputs], out[regs][kResults])
//                                         computes a block's registers together instead
//   Flag(in) -> lane bits                 lanes that need more than Compute (if kCanFail)
//   Settle(in, out, bits) -> bits         no-error loop: settles lanes by selects and returns
//                                         those left for the companion (if kCanFail)
//   Companion(in, out) -> status          one lane; stores the result the caller is to see
//   Element(in, out) -> status            one element of the loop form
//   kLoopBlocks (optional)                the loop form computes unflagged registers at once
//   kLoopInBlocks (optional)              a loop-form kernel whose companion never reports: it
//                                         walks in blocks, which no caller can tell apart
//   kLoopPairs (optional)                 with kLoopBlocks: the loop form computes two
//                                         unflagged registers in one step (Compute inlined)
#ifndef QOR_FRAME_KERNEL_FRAME_H_
#define QOR_FRAME_KERNEL_FRAME_H_

#include <stddef.h>

#include <type_traits>

#include "frame/error_dispatch.h"
#include "frame/fp_env.h"
#include "frame/function_list.h"
#include "frame/vec.h"

namespace tem {

// Trait<K>::value is K::member, an optional compile-time flag of a kernel, and false where the
// kernel leaves it out.
#define TEM_OPTIONAL_FLAG(Trait, member)                                                \
  template <class K, class = void>                                                      \
  struct Trait : std::false_type {};                                                    \
  template <class K>                                                                    \
  struct Trait<K, std::void_t<decltype(K::member)>> : std::bool_constant<K::member> {};

// Lanes beyond the count of a tail group hold this harmless value.
template <class T>
inline constexpr T kTailPad = T(0.75);

// Arrays of a contiguous call.
template <class K>
struct Contiguous {
  using T = typename K::T;
  const T* in[K::kInputs];
  T* out[K::kResults];

  const T& In(int k, int i) const { return in[k][i]; }
  T& Out(int k, int i) const { return out[k][i]; }
  Vec<T> Load(int k, int i, int count) const {
    return count == Vec<T>::kLanes ? Vec<T>::Load(in[k] + i)
                                   : Vec<T>::LoadPartial(in[k] + i, count, kTailPad<T>);
  }
  void Store(int k, int i, int count, Vec<T> v) const {
    if (count == Vec<T>::kLanes) {
      v.Store(out[k] + i);
    } else {
      v.StorePartial(out[k] + i, count);
    }
  }
  // `args` holds the element's inputs as they were before its result was stored.
  void Report(int code, int i, const T* args, const char* name) const {
    ReportLane(code, i, &args[0], &args[K::kInputs - 1], in[0], 1, out[0], 1,
               out[K::kResults - 1], 1, name);
  }
};

// Arrays and element strides of a strided call. Lanes are gathered and scattered one at a time.
template <class K>
struct Strided {
  using T = typename K::T;
  const T* in[K::kInputs];
  int in_inc[K::kInputs];
  T* out[K::kResults];
  int out_inc[K::kResults];

  const T& In(int k, int i) const { return in[k][static_cast<ptrdiff_t>(i) * in_inc[k]]; }
  T& Out(int k, int i) const { return out[k][static_cast<ptrdiff_t>(i) * out_inc[k]]; }
  Vec<T> Load(int k, int i, int count) const {
    return Vec<T>::Gather(&In(k, i), in_inc[k], count, kTailPad<T>);
  }
  void Store(int k, int i, int count, Vec<T> v) const { v.Scatter(&Out(k, i), out_inc[k], count); }
  void Report(int code, int i, const T* args, const char* name) const {
    constexpr int kR2 = K::kResults - 1;
    ReportLane(code, i, &args[0], &args[K::kInputs - 1], in[0], in_inc[0], out[0], out_inc[0],
               out[kR2], out_inc[kR2], name);
  }
  bool AllUnitStrides() const {
    for (int inc : in_inc) {
      if (inc != 1) return false;
    }
    for (int inc : out_inc) {
      if (inc != 1) return false;
    }
    return true;
  }
};

// Flagged lanes of one group, in increasing lane order: the companion's result goes through
// the dispatch to the result arrays and comes back, as a callback may have changed it.
template <class K, int kRegs, class Io>
void HandleFlaggedLanes(const Io& io, int first, unsigned mask, const Vec<typename K::T> (&x)[kRegs][K::kInputs],
                        Vec<typename K::T> (&y)[kRegs][K::kResults], const char* name) {
  using T = typename K::T;
  constexpr int kLanes = Vec<T>::kLanes;
  alignas(16) T in[K::kInputs][kRegs * kLanes];
  alignas(16) T out[K::kResults][kRegs * kLanes];
  for (int r = 0; r < kRegs; ++r) {
    for (int k = 0; k < K::kInputs; ++k) x[r][k].StoreAligned(&in[k][r * kLanes]);
    for (int k = 0; k < K::kResults; ++k) y[r][k].StoreAligned(&out[k][r * kLanes]);
  }
  for (int lane = 0; mask != 0; ++lane, mask >>= 1) {
    if ((mask & 1) == 0) continue;
    T lane_in[K::kInputs], lane_out[K::kResults];
    for (int k = 0; k < K::kInputs; ++k) lane_in[k] = in[k][lane];
    for (int k = 0; k < K::kResults; ++k) lane_out[k] = out[k][lane];
    int code = K::Companion(lane_in, lane_out);
    for (int k = 0; k < K::kResults; ++k) out[k][lane] = lane_out[k];
    if (code == 0) continue;
    const int i = first + lane;
    for (int k = 0; k < K::kResults; ++k) io.Out(k, i) = out[k][lane];
    io.Report(code, i, lane_in, name);
    for (int k = 0; k < K::kResults; ++k) out[k][lane] = io.Out(k, i);
  }
  for (int r = 0; r < kRegs; ++r) {
    for (int k = 0; k < K::kResults; ++k) y[r][k] = Vec<T>::LoadAligned(&out[k][r * kLanes]);
  }
}

template <class V, int kRegs, int kWidth>
[[gnu::always_inline]] inline void CopyRegisters(const V (&from)[kRegs][kWidth], V (&to)[kRegs][kWidth]) {
  for (int r = 0; r < kRegs; ++r) {
    for (int k = 0; k < kWidth; ++k) to[r][k] = from[r][k];
  }
}

// Kernels that set kComputeBlock supply ComputeBlock(x[kRegs][kInputs], y[kRegs][kResults])
// in place of Compute, so that the chains of a block's registers can overlap.
TEM_OPTIONAL_FLAG(ComputesBlocks, kComputeBlock)

// The stores of a group's results, `count` real lanes.
template <class K, int kRegs, class Io>
[[gnu::always_inline]] inline void StoreGroup(const Io& io, int first, int count,
                                              const Vec<typename K::T> (&y)[kRegs][K::kResults]) {
  constexpr int kLanes = Vec<typename K::T>::kLanes;
#pragma GCC unroll 16
  for (int r = 0; r < kRegs; ++r) {
    const int lanes = count - r * kLanes < kLanes ? count - r * kLanes : kLanes;
    for (int k = 0; k < K::kResults; ++k) io.Store(k, first + r * kLanes, lanes, y[r][k]);
  }
}

// The results of a group's registers: Compute on each, or ComputeBlock on all.
template <class K, int kRegs>
[[gnu::always_inline]] inline void ComputeGroup(const Vec<typename K::T> (&x)[kRegs][K::kInputs],
                                                Vec<typename K::T> (&y)[kRegs][K::kResults]) {
  if constexpr (ComputesBlocks<K>::value) {
    K::ComputeBlock(x, y);
  } else {
#pragma GCC unroll 16
    for (int r = 0; r < kRegs; ++r) K::Compute(x[r], y[r]);
  }
}

// A group with flagged lanes, out of line: its results, then in the no-error mode the lanes
// Settle decides, then the companion for the lanes left, then the stores of the whole group.
template <class K, int kRegs, class Io>
[[gnu::noinline, gnu::cold]] void FinishFlaggedGroup(const Io& io, int first, int count, unsigned mask,
                                                     bool no_error,
                                                     const Vec<typename K::T> (&x)[kRegs][K::kInputs],
                                                     const char* name) {
  constexpr int kLanes = Vec<typename K::T>::kLanes;
  Vec<typename K::T> y[kRegs][K::kResults];
  ComputeGroup<K, kRegs>(x, y);
  if (no_error) {
    unsigned left = 0;
    for (int r = 0; r < kRegs; ++r) {
      unsigned lanes = (mask >> (r * kLanes)) & ((1u << kLanes) - 1);
      if (lanes != 0) left |= static_cast<unsigned>(K::Settle(x[r], y[r], lanes)) << (r * kLanes);
    }
    mask = left;
  }
  if (mask != 0) HandleFlaggedLanes<K, kRegs>(io, first, mask, x, y, name);
  StoreGroup<K, kRegs>(io, first, count, y);
}

// One block of kRegs registers, or a tail group of one register with `count` real lanes.
// Inlined into the walk, so that a block's registers and constants stay in registers. The flags
// come first: a group with a flagged lane is computed and finished out of line on a copy of its
// inputs, so that the fast path needs the inputs no longer than its own arithmetic does.
template <class K, int kRegs, class Io>
[[gnu::always_inline]] inline void RunGroup(const Io& io, int first, int count, bool no_error, const char* name) {
  using V = Vec<typename K::T>;
  constexpr int kLanes = V::kLanes;
  V x[kRegs][K::kInputs];
  unsigned mask = 0;
  // Unrolled, so that a block stays in registers on the fast path.
#pragma GCC unroll 16
  for (int r = 0; r < kRegs; ++r) {
    const int lanes = count - r * kLanes < kLanes ? count - r * kLanes : kLanes;
    for (int k = 0; k < K::kInputs; ++k) x[r][k] = io.Load(k, first + r * kLanes, lanes);
    if constexpr (K::kCanFail) mask |= static_cast<unsigned>(K::Flag(x[r])) << (r * kLanes);
  }
  if constexpr (K::kCanFail) {
    mask &= (1u << count) - 1;
    if (mask != 0) {
      V flagged_x[kRegs][K::kInputs];
      CopyRegisters(x, flagged_x);
      FinishFlaggedGroup<K, kRegs>(io, first, count, mask, no_error, flagged_x, name);
      return;
    }
  }
  V y[kRegs][K::kResults];
  ComputeGroup<K, kRegs>(x, y);
  StoreGroup<K, kRegs>(io, first, count, y);
}

// Vector form: blocks of K::kBlock lanes, then tail groups of one register. The loop kind is
// chosen once per call from the error field.
template <class K, class Io>
void WalkVector(int n, const Io& io, uint32_t mode, const char* name) {
  constexpr int kLanes = Vec<typename K::T>::kLanes;
  constexpr int kRegs = K::kBlock / kLanes;
  static_assert(K::kBlock % kLanes == 0 && K::kBlock <= 16, "a block is whole registers");
  const bool no_error = (mode & 0xFF00) == TEM_ERRMODE_NOERR;
  const int blocks_end = n - n % K::kBlock;
  int i = 0;
  for (; i < blocks_end; i += K::kBlock) RunGroup<K, kRegs>(io, i, K::kBlock, no_error, name);
  for (; i < n; i += kLanes) RunGroup<K, 1>(io, i, n - i < kLanes ? n - i : kLanes, no_error, name);
}

// Kernels whose element rule has a common path that Compute gives for whole registers set
// kLoopBlocks; the loop form then runs registers whose lanes Flag leaves clear in one go.
TEM_OPTIONAL_FLAG(LoopBlocks, kLoopBlocks)

// The element of a kLoopBlocks kernel for an input that Flag leaves clear: lane 0 of Compute
// on a register that repeats it, so that lone elements and whole registers agree bit for bit.
// False for a flagged input, which is the element rule's own.
template <class K>
bool ElementByCompute(const typename K::T (&in)[1], typename K::T (&out)[1]) {
  using V = Vec<typename K::T>;
  const V x[1] = {V::Set(in[0])};
  if (K::Flag(x) != 0) return false;
  V y[1];
  K::Compute(x, y);
  alignas(16) typename K::T lanes[V::kLanes];
  y[0].StoreAligned(lanes);
  out[0] = lanes[0];
  return true;
}

// Kernels with kLoopBlocks whose registers pair well set kLoopPairs as well.
TEM_OPTIONAL_FLAG(LoopPairs, kLoopPairs)

// Loop form: element by element, each status reported as soon as its result is stored. With
// LoopBlocks a register without flagged lanes is computed and stored at once: its lanes report
// nothing and Element gives the same results; a register with a flagged lane goes element by
// element, so that only the element rule raises flags for special inputs. With LoopPairs two
// such registers go in one step.
template <class K, class Io>
void WalkLoop(int n, const Io& io, const char* name) {
  using T = typename K::T;
  const auto element = [&](int i) {
    T in[K::kInputs], out[K::kResults];
    for (int k = 0; k < K::kInputs; ++k) in[k] = io.In(k, i);
    int code = K::Element(in, out);
    for (int k = 0; k < K::kResults; ++k) io.Out(k, i) = out[k];
    if (code != 0) io.Report(code, i, in, name);
  };
  int i = 0;
  if constexpr (LoopBlocks<K>::value) {
    constexpr int kLanes = Vec<T>::kLanes;
    const auto run_register = [&](int first) {
      Vec<T> x[K::kInputs], y[K::kResults];
      for (int k = 0; k < K::kInputs; ++k) x[k] = io.Load(k, first, kLanes);
      if (K::Flag(x) == 0) {
        K::Compute(x, y);
        for (int k = 0; k < K::kResults; ++k) io.Store(k, first, kLanes, y[k]);
      } else {
        for (int j = first; j < first + kLanes; ++j) element(j);
      }
    };
    if constexpr (LoopPairs<K>::value) {
      // Two registers a step, so that their chains overlap; a pair with a flagged lane goes
      // register by register, in order.
      for (; i <= n - 2 * kLanes; i += 2 * kLanes) {
        Vec<T> x[2][K::kInputs], y[2][K::kResults];
        for (int r = 0; r < 2; ++r) {
          for (int k = 0; k < K::kInputs; ++k) x[r][k] = io.Load(k, i + r * kLanes, kLanes);
        }
        if ((K::Flag(x[0]) | K::Flag(x[1])) == 0) {
          K::Compute(x[0], y[0]);
          K::Compute(x[1], y[1]);
          for (int r = 0; r < 2; ++r) {
            for (int k = 0; k < K::kResults; ++k) io.Store(k, i + r * kLanes, kLanes, y[r][k]);
          }
        } else {
          run_register(i);
          run_register(i + kLanes);
        }
      }
    }
    for (; i <= n - kLanes; i += kLanes) run_register(i);
  }
  for (; i < n; ++i) element(i);
}

TEM_OPTIONAL_FLAG(LoopInBlocks, kLoopInBlocks)

// A kernel call in the frame form of function F. A count of zero or less does nothing.
template <const FunctionInfo& F, class K, class Io>
void Run(int n, const Io& io) {
  static_assert(F.form != Form::kNone, "pack and unpack kernels have no frame");
  static_assert(F.have, "the function list marks this kernel as absent");
  if constexpr (F.form == Form::kVector) {
    FpFrame frame = FpFrame::ForVector();
    if (n > 0) WalkVector<K>(n, io, frame.mode(), F.error_name);
  } else {
    FpFrame frame = FpFrame::ForLoop();
    if (n <= 0) return;
    // Mode 0 takes the loop with the companion; it reports nothing here.
    if constexpr (LoopInBlocks<K>::value) {
      WalkVector<K>(n, io, 0, F.error_name);
    } else {
      WalkLoop<K>(n, io, F.error_name);
    }
  }
}

// A strided vector-form kernel with every stride 1 is the contiguous function's slot 1.
template <const FunctionInfo& F, class K>
bool ForwardsToContiguous(const Strided<K>& io) {
  return F.form == Form::kVector && io.AllUnitStrides();
}

template <class Fn>
Fn Slot(TemKernelSlot (&table)[3], int slot) {
  return reinterpret_cast<Fn>(table[slot]);
}

}  // namespace tem

// Kernel symbols of one function and its strided form, for each argument shape. The frame
// form, error name and signature come from the function list.
#define TEM_ENTRIES_A_R(t, stem, K)                                                     \
  extern "C" void tem_kernel_##t##stem(int n, const K::T* a, K::T* r) {                \
    tem::Run<tem::fn::t##stem, K>(n, tem::Contiguous<K>{{a}, {r}});                     \
  }                                                                                     \
  extern "C" void tem_kernel_##t##stem##I(int n, const K::T* a, int inca, K::T* r,      \
                                          int incr) {                                   \
    const tem::Strided<K> io{{a}, {inca}, {r}, {incr}};                                 \
    if (tem::ForwardsToContiguous<tem::fn::t##stem##I>(io)) {                           \
      return tem::Slot<decltype(&tem_kernel_##t##stem)>(tem_ttab_##t##stem, 1)(n, a, r); \
    }                                                                                   \
    tem::Run<tem::fn::t##stem##I, K>(n, io);                                            \
  }

#define TEM_ENTRIES_A_AB_R(t, stem, K)                                                     \
  extern "C" void tem_kernel_##t##stem(int n, const K::T* a, const K::T* b, K::T* r) {    \
    tem::Run<tem::fn::t##stem, K>(n, tem::Contiguous<K>{{a, b}, {r}});                     \
  }                                                                                        \
  extern "C" void tem_kernel_##t##stem##I(int n, const K::T* a, int inca, const K::T* b,   \
                                          int incb, K::T* r, int incr) {                   \
    const tem::Strided<K> io{{a, b}, {inca, incb}, {r}, {incr}};                           \
    if (tem::ForwardsToContiguous<tem::fn::t##stem##I>(io)) {                              \
      return tem::Slot<decltype(&tem_kernel_##t##stem)>(tem_ttab_##t##stem, 1)(n, a, b, r); \
    }                                                                                      \
    tem::Run<tem::fn::t##stem##I, K>(n, io);                                               \
  }

#define TEM_ENTRIES_A_R2(t, stem, K)                                                          \
  extern "C" void tem_kernel_##t##stem(int n, const K::T* a, K::T* r1, K::T* r2) {           \
    tem::Run<tem::fn::t##stem, K>(n, tem::Contiguous<K>{{a}, {r1, r2}});                      \
  }                                                                                           \
  extern "C" void tem_kernel_##t##stem##I(int n, const K::T* a, int inca, K::T* r1, int incr1, \
                                          K::T* r2, int incr2) {                              \
    const tem::Strided<K> io{{a}, {inca}, {r1, r2}, {incr1, incr2}};                          \
    if (tem::ForwardsToContiguous<tem::fn::t##stem##I>(io)) {                                 \
      return tem::Slot<decltype(&tem_kernel_##t##stem)>(tem_ttab_##t##stem, 1)(n, a, r1, r2); \
    }                                                                                         \
    tem::Run<tem::fn::t##stem##I, K>(n, io);                                                  \
  }

#endif  // QOR_FRAME_KERNEL_FRAME_H_
