// Test kernels run through the real frame, recording what it hands them.
#ifndef QOR_TESTS_FRAME_TEST_KERNELS_H_
#define QOR_TESTS_FRAME_TEST_KERNELS_H_

#include <cmath>
#include <vector>

#include "frame/kernel_frame.h"

namespace test_kernels {

inline constexpr tem::FunctionInfo kVectorInfo = {"vdTest", tem::Form::kVector, true};
inline constexpr tem::FunctionInfo kLoopInfo = {"vdTestLoop", tem::Form::kLoop, true};

// What the kernels saw on the calling thread.
struct Record {
  std::vector<double> companion_inputs;
  uint32_t mxcsr_inside = 0;
  uint16_t x87_inside = 0;
};
inline thread_local Record g_record;

inline void RecordRegisters() {
  g_record.mxcsr_inside = tem::ReadMxcsr();
  g_record.x87_inside = tem::ReadX87Control();
}

// 2x per lane; flags >= 1000, settles >= 1e6 to inf; the companion gives -x, reports >= 2000.
template <class E>
struct Doubling {
  using T = E;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 16 / sizeof(E) * 2;
  static constexpr bool kCanFail = true;
  static constexpr T kFlagFrom = 1000, kSettleFrom = 1e6, kReportFrom = 2000;

  static unsigned LaneBits(const tem::Vec<T>& x, T from) {
    alignas(16) T lanes[tem::Vec<T>::kLanes];
    x.StoreAligned(lanes);
    unsigned bits = 0;
    for (int i = 0; i < tem::Vec<T>::kLanes; ++i) bits |= unsigned(!(lanes[i] < from)) << i;
    return bits;
  }
  static void Compute(const tem::Vec<T> (&in)[1], tem::Vec<T> (&out)[1]) {
    RecordRegisters();
    out[0] = in[0] + in[0];
  }
  static int Flag(const tem::Vec<T> (&in)[1]) { return LaneBits(in[0], kFlagFrom); }
  static int Settle(const tem::Vec<T> (&in)[1], tem::Vec<T> (&out)[1], unsigned lanes) {
    alignas(16) T values[tem::Vec<T>::kLanes];
    out[0].StoreAligned(values);
    unsigned settled = LaneBits(in[0], kSettleFrom) & lanes;
    for (int i = 0; i < tem::Vec<T>::kLanes; ++i)
      if (settled & (1u << i)) values[i] = INFINITY;
    out[0] = tem::Vec<T>::LoadAligned(values);
    return lanes & ~settled;
  }
  static int Companion(const T (&in)[1], T (&out)[1]) {
    g_record.companion_inputs.push_back(in[0]);
    out[0] = -in[0];
    return in[0] >= kReportFrom || std::isnan(in[0]) ? TEM_STATUS_OVERFLOW : TEM_STATUS_OK;
  }
  static int Element(const T (&in)[1], T (&out)[1]) {
    RecordRegisters();
    return Companion(in, out);
  }
};

// Doubling whose loop form computes unflagged registers at once (Element doubles too).
template <class E>
struct BlockDoubling : Doubling<E> {
  static constexpr bool kLoopBlocks = true;
  static int Element(const E (&in)[1], E (&out)[1]) {
    if (in[0] >= Doubling<E>::kFlagFrom) return Doubling<E>::Companion(in, out);
    out[0] = in[0] + in[0];
    return TEM_STATUS_OK;
  }
};

template <class K>
void RunVector(int n, const typename K::T* a, typename K::T* r) {
  tem::Run<kVectorInfo, K>(n, tem::Contiguous<K>{{a}, {r}});
}
template <class K>
void RunLoop(int n, const typename K::T* a, typename K::T* r) {
  tem::Run<kLoopInfo, K>(n, tem::Contiguous<K>{{a}, {r}});
}
template <class K>
void RunVectorStrided(int n, const typename K::T* a, int inca, typename K::T* r, int incr) {
  tem::Run<kVectorInfo, K>(n, tem::Strided<K>{{a}, {inca}, {r}, {incr}});
}

}  // namespace test_kernels

#endif  // QOR_TESTS_FRAME_TEST_KERNELS_H_
