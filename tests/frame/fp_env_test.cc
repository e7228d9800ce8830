// The floating-point environment each frame form forces, leaves and gives back.
#include <cfloat>
#include <cmath>
#include <thread>

#include "frame/fp_env.h"
#include "gtest/gtest.h"
#include "qor/tem.h"

namespace {

constexpr uint32_t kRoundUp = 0x4000, kFtz = 0x8000, kDaz = 0x40;

struct Registers { uint32_t mxcsr; uint16_t x87; };

// Runs `body` under the given caller registers (no FP work around it); returns them after.
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

// Vector form (dAdd) to nearest and flushing by the mode, loop form (dSub) under the caller's
// words; flags join the caller's, traps never unmask, both words come back (flags -1: unchecked).
TEST(FpEnvTest, RoundingFlushingFlagsAndCallersWords) {
  constexpr double kTiny = 0x1p-1070;
  const struct { uint32_t mode; bool loop; uint32_t caller; uint16_t x87; double a, b, r;
                 int flags; } cases[] = {
      {0, false, kRoundUp, 0x37F, 1, 0x1p-60, 1, 0x20},
      {0, true, kRoundUp | 0x1, 0x37F, 1, -0x1p-60, 1 + 0x1p-52, 0x21},
      {0, false, 0x1F80, 0x37F, DBL_MAX, DBL_MAX, INFINITY, 0x28},
      {0x280000, false, 0x1F80, 0x37F, kTiny, 0, 0, -1},
      {0x140000, false, 0x1F80 | kFtz | kDaz, 0x37E, kTiny, 0, kTiny, -1},
      {0x80000, false, 0x1F80 | kFtz | kDaz, 0x0C7F, kTiny, 0, kTiny, -1},
      {0x280000, true, 0x1F80, 0x0B72, kTiny, 0, kTiny, -1},
      {0x140000, true, 0x1F80 | kDaz, 0x37F, kTiny, 0, 0, -1},
      {TEM_ERRMODE_EXCEPT | 0xF000000, false, 0x0, 0x37F, 1, 0x1p-60, 1, -1}};
  for (const auto& c : cases) {
    double r = -1;
    Registers after{};
    std::thread([&] {
      _temSetMode(c.mode);
      after = CallUnder(c.caller, c.x87, [&] {
        if (c.loop) _temdSub(1, &c.a, &c.b, &r);
        else _temdAdd(1, &c.a, &c.b, &r);
      });
    }).join();
    SCOPED_TRACE(testing::Message() << std::hex << c.mode << " caller " << c.caller);
    EXPECT_EQ(r, c.r);
    EXPECT_EQ(after.mxcsr & ~0x3Fu, c.caller & ~0x3Fu);
    if (c.flags >= 0) EXPECT_EQ(after.mxcsr & 0x3F, unsigned(c.flags));
    EXPECT_EQ(after.x87, c.x87);
  }
}

}  // namespace
