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

// Caller rounds up, all unmasked: vector form (dAdd) rounds to nearest, loop form (dSub) up;
// the flags raised inside join the caller's own, whether or not the register was restored.
TEST(FpEnvTest, RoundingMasksAndFlagsOfBothForms) {
  const double a[1] = {1.0}, b[1] = {0x1p-60}, minus_b[1] = {-0x1p-60}, max[1] = {DBL_MAX};
  double vector_result[1], loop_result[1], overflow[1];
  Registers after_vector = CallUnder(kRoundUp, 0x37F, [&] { _temdAdd(1, a, b, vector_result); });
  Registers after_loop =
      CallUnder(kRoundUp | 0x1, 0x37F, [&] { _temdSub(1, a, minus_b, loop_result); });
  Registers quiet = CallUnder(0x1F80, 0x37F, [&] { _temdAdd(1, max, max, overflow); });
  EXPECT_EQ(vector_result[0], 1.0);
  EXPECT_EQ(loop_result[0], std::nextafter(1.0, 2.0));
  EXPECT_EQ(overflow[0], INFINITY);
  EXPECT_EQ(after_vector.mxcsr, kRoundUp | 0x20);
  EXPECT_EQ(after_loop.mxcsr, kRoundUp | 0x1 | 0x20);
  EXPECT_EQ(quiet.mxcsr, 0x1F80u | 0x28);
}

// The denormal field decides the vector form's flushing (dAdd of a denormal and 0), the loop
// form (dSub) keeps the caller's; trap bits never unmask a kernel; both words come back.
TEST(FpEnvTest, DenormalFieldTrapBitsAndCallersWords) {
  constexpr double kTiny = 0x1p-1070;
  const struct { uint32_t mode; bool loop; uint32_t caller; uint16_t x87; double a, b, r; }
  cases[] = {{0x280000, false, 0x1F80, 0x37F, kTiny, 0, 0},
             {0x140000, false, 0x1F80 | kFtz | kDaz, 0x37E, kTiny, 0, kTiny},
             {0x2, false, 0x1F80 | kFtz | kDaz, 0x0B72, kTiny, 0, kTiny},
             {0x80000, false, 0x1F80 | kFtz | kDaz, 0x0C7F, kTiny, 0, kTiny},
             {0x280000, true, 0x1F80, 0x0B72, kTiny, 0, kTiny},
             {0x140000, true, 0x1F80 | kDaz, 0x37F, kTiny, 0, 0},
             {TEM_ERRMODE_EXCEPT | 0xF000000, false, 0x0, 0x37F, 1, 0x1p-60, 1}};
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
    EXPECT_EQ(r, c.r) << std::hex << c.mode << " loop " << c.loop;
    EXPECT_EQ(after.mxcsr & ~0x3Fu, c.caller) << std::hex << c.mode;
    EXPECT_EQ(after.x87, c.x87) << std::hex << c.mode;
  }
}

}  // namespace
