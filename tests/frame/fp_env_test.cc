// Entry and exit of the floating-point environment: what each frame form forces, what it
// leaves, and what the caller gets back.
#include <cfloat>
#include <cmath>

#include "frame/fp_env.h"
#include "gtest/gtest.h"
#include "qor/tem.h"
#include "tests/frame/test_kernels.h"
#include "tests/frame/thread_runner.h"

namespace {

using test_kernels::g_record;

constexpr uint32_t kRoundUp = 0x4000, kFtz = 0x8000, kDaz = 0x40;

struct Registers { uint32_t mxcsr; uint16_t x87; };

// Calls `body` with the caller's registers set as given, and returns them as the call left
// them. Nothing between the loads and the reads does floating-point work of its own, so that
// unmasked caller settings cannot fire in the test.
template <class F>
__attribute__((noinline)) Registers CallUnder(uint32_t mxcsr, uint16_t x87, F body) {
  tem::ClearX87Exceptions();
  tem::WriteMxcsr(mxcsr);
  tem::LoadX87Control(x87);
  body();
  Registers after{tem::ReadMxcsr(), tem::ReadX87Control()};
  tem::LoadX87Control(0x37F);
  tem::WriteMxcsr(0x1F80);
  return after;
}

// The vector form runs to nearest with exceptions masked, the loop form under the caller's
// rounding with only the masks set; both give the caller its word back with the kernel's
// inexact flag ORed in. The caller rounds up with every exception unmasked.
TEST(FpEnvTest, VectorFormRunsToNearestAndLoopFormUnderTheCallersRounding) {
  using test_kernels::Sum;
  const double a[1] = {1.0}, b[1] = {0x1p-60};
  double vector_result[1], loop_result[1];
  Registers after_loop = CallUnder(kRoundUp, 0x37F, [&] {
    tem::Run<test_kernels::kLoopInfo, Sum>(1, tem::Contiguous<Sum>{{a, b}, {loop_result}});
  });
  const uint32_t inside_loop = g_record.mxcsr_inside;
  Registers after_vector = CallUnder(kRoundUp, 0x37F, [&] {
    tem::Run<test_kernels::kVectorInfo, Sum>(1, tem::Contiguous<Sum>{{a, b}, {vector_result}});
  });
  EXPECT_EQ(loop_result[0], std::nextafter(1.0, 2.0));
  EXPECT_EQ(vector_result[0], 1.0);
  EXPECT_EQ(inside_loop & ~0x3Fu, kRoundUp | 0x1F80) << "only the masks are set";
  EXPECT_EQ(after_loop.mxcsr, kRoundUp | 0x20);
  EXPECT_EQ(after_vector.mxcsr, kRoundUp | 0x20);
}

// The denormal field chooses the vector form's target; the loop form leaves flushing as the
// caller has it; trap bits of the mode never unmask the kernel. The caller gets its word back.
TEST(FpEnvTest, DenormalFieldAndTrapBits) {
  const struct { uint32_t mode; bool loop; uint32_t caller, inside; } cases[] = {
      {0x280000, false, 0x1F80 | kFtz, 0x9FC0}, {0x140000, false, 0x1F80 | kFtz, 0x1F80},
      {0x2, false, 0x1F80 | kFtz, 0x1F80},      {0x80000, false, 0x1F80 | kFtz, 0x1F80},
      {TEM_FTZDAZ_ON, true, 0x1F80 | kDaz, 0x1F80 | kDaz},
      {TEM_ERRMODE_EXCEPT | 0xF000000, false, 0x0, 0x1F80}};
  for (const auto& c : cases) {
    uint32_t inside = 0;
    Registers after{};
    OnFreshThread([&] {
      _temSetMode(c.mode);
      const double a[2] = {1, 2};
      double r[2];
      after = CallUnder(c.caller, 0x37F, [&] {
        if (c.loop) test_kernels::RunLoop<test_kernels::Doubling<double>>(2, a, r);
        else test_kernels::RunVector<test_kernels::Doubling<double>>(2, a, r);
      });
      inside = g_record.mxcsr_inside;
    });
    EXPECT_EQ(inside & ~0x3Fu, c.inside) << std::hex << c.mode;
    EXPECT_EQ(after.mxcsr, c.caller) << std::hex << c.mode;
  }
}

// Rounding and precision control stay; the masks are forced.
TEST(FpEnvTest, X87MasksAreSetForTheCallAndTheCallersWordComesBack) {
  const struct { uint16_t caller, inside; } cases[] = {
      {0x37F, 0x37F}, {0x37E, 0x37F}, {0x0B72, 0x0B7F}, {0x0C7F, 0x0C7F}};
  for (const auto& c : cases) {
    const double a[1] = {1};
    double r[1];
    Registers after = CallUnder(0x1F80, c.caller, [&] {
      test_kernels::RunVector<test_kernels::Doubling<double>>(1, a, r);
    });
    EXPECT_EQ(g_record.x87_inside, c.inside) << std::hex << c.caller;
    EXPECT_EQ(after.x87, c.caller);
    CallUnder(0x1F80, c.caller,
              [&] { test_kernels::RunLoop<test_kernels::Doubling<double>>(1, a, r); });
    EXPECT_EQ(g_record.x87_inside, c.inside) << std::hex << c.caller;
  }
}

TEST(FpEnvTest, FlagsRaisedInsideReachTheCaller) {
  // Overflow and inexact, whether or not the frame had to restore the register.
  const double a[2] = {DBL_MAX, 1}, b[2] = {DBL_MAX, 1};
  double r[2];
  Registers quiet = CallUnder(0x1F80, 0x37F, [&] { _temdAdd(2, a, b, r); });
  EXPECT_EQ(r[0], INFINITY);
  EXPECT_EQ(quiet.mxcsr, 0x1F80u | 0x28);
  Registers restored = CallUnder(kRoundUp | 0x1F80 | 0x1, 0x37F, [&] { _temdAdd(2, a, b, r); });
  EXPECT_EQ(restored.mxcsr, kRoundUp | 0x1F80 | 0x1 | 0x28) << "the caller's flags stay too";
}

}  // namespace
