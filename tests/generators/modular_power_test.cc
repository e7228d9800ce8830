// Modular powers against repeated multiplication, against each other and against group orders.
#include <stdint.h>

#include "gtest/gtest.h"
#include "qor/rof.h"

namespace {
uint64_t SlowPow(uint64_t a, uint64_t e, uint64_t m) {
  uint64_t r = 1;
  for (uint64_t i = 0; i < e; ++i) r = static_cast<uint64_t>((unsigned __int128)r * a % m);
  return r;
}

TEST(ModularPowerTest, AgreesWithRepeatedProductsAndGroupOrders) {
  const uint64_t small[] = {0, 1, 2, 3, 31, 64, 1000};
  for (uint32_t m : {2u, 7u, 65521u, 4294967291u})
    for (uint32_t a : {0u, 1u, 3u, 1132489760u, 4294967290u})
      for (uint64_t e : small)
        EXPECT_EQ(__rofiPowMod(a, e, m), SlowPow(a, e, m)) << a << "^" << e << " mod " << m;
  EXPECT_EQ(__rofiPowMod(5, 0, 1), 1u) << "a zero exponent gives 1 for every modulus";
  for (uint64_t a : {uint64_t{0}, uint64_t{3}, uint64_t{302875106592253}, (uint64_t{1} << 59) - 1})
    for (uint64_t e : small) {
      EXPECT_EQ(__rofiPowMod2P59(a, e), SlowPow(a, e, 1ull << 59)) << a << "^" << e;
      const uint32_t a31 = static_cast<uint32_t>(a % 2147483647u);
      EXPECT_EQ(__rofiPowMod2P31M1(a31, e), SlowPow(a31, e, 2147483647u)) << a31 << "^" << e;
    }
  for (uint32_t a : {2u, 16807u, 2147483646u})
    for (uint64_t e : {2147483646ull, 0xFFFFFFFFFFFFFFFFull, 0x8000000000000001ull})
      EXPECT_EQ(__rofiPowMod2P31M1(a, e), __rofiPowMod(a, e, 2147483647u)) << a << "^" << e;
  // 2^31 - 1 is prime (Fermat); 302875106592253 = 5 mod 8 has order 2^57 modulo 2^59.
  EXPECT_EQ(__rofiPowMod2P31M1(1132489760u, 2147483646u), 1u);
  EXPECT_EQ(__rofiPowMod2P59(302875106592253ull, 1ull << 57), 1u);
  EXPECT_NE(__rofiPowMod2P59(302875106592253ull, 1ull << 56), 1u);
}
}  // namespace
