// Sin, Cos, SinCos and Tan of doubles. Every finite lane stays in the block path, huge ones
// included; only infinities and NaNs are flagged.
#include <math.h>

#include "frame/kernel_frame.h"
#include "kernels/trig_reduction.h"

namespace tem {
namespace trig {
namespace {

template <Op kOp>
struct DoubleKernel {
  using T = double;
  // Tan's longer chains gain from a block of 8 registers, the others' from 4.
  static constexpr int kInputs = 1, kResults = ResultsOf(kOp), kBlock = kOp == Op::kTan ? 16 : 8;
  static constexpr bool kCanFail = true, kComputeBlock = true;

  template <int kRegs>
  [[gnu::always_inline]] static void ComputeBlock(const D (&in)[kRegs][1],
                                                  D (&out)[kRegs][kResults]) {
    trig::ComputeBlock<kOp, kRegs>(in, out);
  }
  // 0x7FEFFFFF: above it, an infinity or a NaN.
  static int Flag(const D (&in)[1]) { return in[0].HighWordAbove(0x7FEFFFFF); }
  // x - x: NaN for an infinity, the quieted NaN for a NaN.
  static int Settle(const D (&in)[1], D (&out)[kResults], int) {
    const D nan = in[0] - in[0];
    const D special = _mm_cmpunord_pd(nan.raw, nan.raw);
    for (D& y : out) y = D::Select(special, nan, y);
    return 0;
  }
  static int Companion(const double (&in)[1], double (&out)[kResults]) {
    const double x = in[0];
    for (double& y : out) y = isinf(x) ? x - x : x + x;
    return isinf(x) ? TEM_STATUS_ERRDOM : TEM_STATUS_OK;
  }
};

}  // namespace
}  // namespace trig
}  // namespace tem

TEM_ENTRIES_A_R(d, Sin, tem::trig::DoubleKernel<tem::trig::Op::kSin>)
TEM_ENTRIES_A_R(d, Cos, tem::trig::DoubleKernel<tem::trig::Op::kCos>)
TEM_ENTRIES_A_R2(d, SinCos, tem::trig::DoubleKernel<tem::trig::Op::kSinCos>)
TEM_ENTRIES_A_R(d, Tan, tem::trig::DoubleKernel<tem::trig::Op::kTan>)
