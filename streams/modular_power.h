// Arithmetic modulo 2^31 - 1 and 2^59, shared by the congruential generators and their
// skip-ahead.
#ifndef QOR_STREAMS_MODULAR_POWER_H_
#define QOR_STREAMS_MODULAR_POWER_H_

#include <stdint.h>

#include "qor/rof.h"

namespace rof {

constexpr uint32_t kModulus2P31M1 = 0x7FFFFFFF;
constexpr uint64_t kMask59 = 0x7FFFFFFFFFFFFFFull;

// p mod (2^31 - 1) without division, for a product p of two values below 2^31:
// 2^31 = 1 (mod 2^31 - 1), so the high part folds onto the low one.
inline uint32_t Reduce2P31M1(uint64_t p) {
  const uint64_t r = (p & kModulus2P31M1) + (p >> 31);
  return static_cast<uint32_t>(r >= kModulus2P31M1 ? r - kModulus2P31M1 : r);
}

}  // namespace rof

#endif  // QOR_STREAMS_MODULAR_POWER_H_
