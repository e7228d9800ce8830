// Modular powers against repeated multiplication and against each other.
#include <stdint.h>

#include "gtest/gtest.h"
#include "qor/rof.h"

namespace {
uint64_t SlowPow(uint64_t a, uint64_t e, uint64_t m) {
  uint64_t r = 1 % m;
  for (uint64_t i = 0; i < e; ++i) r = static_cast<uint64_t>((unsigned __int128)r * a % m);
  return r;
}

TEST(ModularPowerTest, SmallExponentsAgreeWithRepeatedProducts) {
  const uint32_t moduli[] = {2, 7, 65521, 4294967291u, 4294967087u};
  const uint32_t bases[] = {0, 1, 2, 3, 1132489760, 4294967290u};
  for (uint32_t m : moduli)
    for (uint32_t a : bases)
      for (uint64_t e : {1u, 2u, 3u, 31u, 64u, 1000u})
        EXPECT_EQ(__rofiPowMod(a, e, m), SlowPow(a, e, m)) << a << "^" << e << " mod " << m;
}

TEST(ModularPowerTest, ZeroExponentIsOneForEveryModulus) {
  for (uint32_t m : {1u, 2u, 2147483647u}) EXPECT_EQ(__rofiPowMod(5, 0, m), 1u);
  EXPECT_EQ(__rofiPowMod2P31M1(0, 0), 1u);
  EXPECT_EQ(__rofiPowMod2P59(0, 0), 1u);
}

TEST(ModularPowerTest, MersenneAndPowerOfTwoModuli) {
  const uint64_t exponents[] = {1, 2, 8, 255, 1000003, 2147483646, 0xFFFFFFFFFFFFFFFFull,
                                0x8000000000000001ull};
  for (uint32_t a : {2u, 16807u, 1132489760u, 2147483646u})
    for (uint64_t e : exponents)
      EXPECT_EQ(__rofiPowMod2P31M1(a, e), __rofiPowMod(a, e, 2147483647u)) << a << "^" << e;
  // 2^31 - 1 is prime: a^(m - 1) = 1 (Fermat).
  EXPECT_EQ(__rofiPowMod2P31M1(1132489760u, 2147483646u), 1u);
  const uint64_t kMask = (1ull << 59) - 1;
  for (uint64_t a : {uint64_t{3}, uint64_t{302875106592253}, kMask})
    for (uint64_t e : {1ull, 2ull, 13ull, 1000ull})
      EXPECT_EQ(__rofiPowMod2P59(a, e), SlowPow(a, e, 1ull << 59)) << a << "^" << e;
  // 13^13 has order 2^57 modulo 2^59 (an odd multiplier = 5 mod 8).
  EXPECT_EQ(__rofiPowMod2P59(302875106592253ull, 1ull << 57), 1u);
  EXPECT_NE(__rofiPowMod2P59(302875106592253ull, 1ull << 56), 1u);
}
}  // namespace
