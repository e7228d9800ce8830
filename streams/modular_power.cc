// Modular powers for the skip-ahead of the congruential generators: right-to-left binary
// exponentiation with 64-bit products.
#include "streams/modular_power.h"

extern "C" {

QOR_API uint32_t __rofiPowMod(uint32_t a, uint64_t e, uint32_t m) {
  uint64_t result = 1, base = a;
  for (; e != 0; e >>= 1) {
    if (e & 1) result = result * base % m;
    base = base * base % m;
  }
  return static_cast<uint32_t>(result);
}

QOR_API uint32_t __rofiPowMod2P31M1(uint32_t a, uint64_t e) {
  uint32_t result = 1, base = a;
  for (; e != 0; e >>= 1) {
    if (e & 1) result = rof::Reduce2P31M1(static_cast<uint64_t>(result) * base);
    base = rof::Reduce2P31M1(static_cast<uint64_t>(base) * base);
  }
  return result;
}

// Only the low 59 bits count, so the squared base may wrap in 64 bits.
QOR_API uint64_t __rofiPowMod2P59(uint64_t a, uint64_t e) {
  uint64_t result = 1, base = a;
  for (; e != 0; e >>= 1) {
    if (e & 1) result = (result * base) & rof::kMask59;
    base *= base;
  }
  return result;
}

}  // extern "C"
