/* Creates an MCG31M1 stream, draws integers and doubles, and splits it by leapfrog. */
#include <stdint.h>
#include <stdio.h>

#include <qor/rof.h>

static int failures = 0;

static void check(const char* what, int status) {
  if (status != ROF_STATUS_OK) {
    printf("  %s failed with status %d\n", what, status);
    ++failures;
  }
}

/* x' = 1132489760 * x mod (2^31 - 1), one step at a time. */
static uint32_t step(uint32_t x) { return (uint32_t)((uint64_t)x * 1132489760u % 2147483647u); }

int main(void) {
  const uint32_t seed = 7;
  void* stream = NULL;
  check("new stream", __rofNewStreamEx(&stream, ROF_BRNG_MCG31M1, 1, &seed));
  if (stream == NULL) return 1;

  uint32_t ints[6];
  check("integers", __rofiBRngMCG31M1(stream, 6, ints));
  printf("  integers:");
  uint32_t x = seed;
  for (int i = 0; i < 6; ++i, x = step(x)) {
    printf(" %u", (unsigned)ints[i]);
    if (ints[i] != x) ++failures;
  }
  printf("\n");

  /* The double form continues the same sequence, mapped onto [10, 20). */
  double doubles[4];
  check("doubles", __rofdBRngMCG31M1(stream, 4, doubles, 10.0, 20.0));
  printf("  doubles on [10, 20):");
  for (int i = 0; i < 4; ++i, x = step(x)) {
    printf(" %.6f", doubles[i]);
    if (doubles[i] != 10.0 * (1.0 / 2147483647.0) * x + 10.0) ++failures;
  }
  printf("\n");

  /* Two streams that take the even and the odd elements of one sequence. */
  void* even = NULL;
  void* odd = NULL;
  check("copy", __rofCopyStream(&even, stream));
  check("copy", __rofCopyStream(&odd, stream));
  check("leapfrog", __rofLeapfrogStream(even, 0, 2));
  check("leapfrog", __rofLeapfrogStream(odd, 1, 2));
  uint32_t whole[8], halves[2][4];
  check("integers", __rofiBRngMCG31M1(stream, 8, whole));
  check("integers", __rofiBRngMCG31M1(even, 4, halves[0]));
  check("integers", __rofiBRngMCG31M1(odd, 4, halves[1]));
  printf("  leapfrog 0 and 1 of 2:");
  for (int i = 0; i < 8; ++i) {
    printf(" %u", (unsigned)halves[i % 2][i / 2]);
    if (halves[i % 2][i / 2] != whole[i]) ++failures;
  }
  printf("\n");

  __rofDeleteStream(&odd);
  __rofDeleteStream(&even);
  __rofDeleteStream(&stream);
  if (failures) printf("  %d failures\n", failures);
  return failures != 0;
}
