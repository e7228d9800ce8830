// Processor test for the vector AES class of processors.
#include <cpuid.h>

#include "qor/core.h"

namespace {

// XCR0 bits 1, 2, 5, 6, 7: SSE, AVX, opmask, upper ZMM halves and ZMM16-31 state saved.
constexpr unsigned kAvx512State = 0xE6;

unsigned long long ReadXcr0() {
  unsigned lo, hi;
  __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
  return (static_cast<unsigned long long>(hi) << 32) | lo;
}

}  // namespace

extern "C" QOR_API int qor_serv_cpuisicx(void) {
  unsigned eax, ebx, ecx, edx;
  if (!__get_cpuid(1, &eax, &ebx, &ecx, &edx)) return 0;
  const bool osxsave = (ecx >> 27) & 1;
  if (!osxsave || (ReadXcr0() & kAvx512State) != kAvx512State) return 0;
  if (__get_cpuid_max(0, nullptr) < 7) return 0;
  __cpuid_count(7, 0, eax, ebx, ecx, edx);
  const bool avx512f = (ebx >> 16) & 1;
  const bool vaes = (ecx >> 9) & 1;
  return avx512f && vaes ? 1 : 0;
}
