// Each generator refuses the methods it lacks through the public entries; the stream stays.
#include <stdint.h>

#include "tests/generators/test_stream.h"

namespace {
TEST(RefusedMethodsTest, EachGeneratorRefusesWhatItLacksAndTheStreamStays) {
  const struct {
    int brng, method, status;
  } cases[] = {{ROF_BRNG_MCG31M1, rofInitSkipAheadEx, ROF_STATUS_NO_SKIPAHEAD_EX},
               {ROF_BRNG_MCG31M1, 4, ROF_STATUS_BAD_METHOD},
               {ROF_BRNG_MCG59, rofInitSkipAheadEx, ROF_STATUS_NO_SKIPAHEAD_EX},
               {ROF_BRNG_MCG59, -1, ROF_STATUS_BAD_METHOD},
               {ROF_BRNG_MT19937, rofInitLeapfrog, ROF_STATUS_NO_LEAPFROG},
               {ROF_BRNG_MT19937, rofInitSkipAheadEx, ROF_STATUS_NO_SKIPAHEAD_EX},
               {ROF_BRNG_MT19937, 1000, ROF_STATUS_BAD_METHOD},
               {ROF_BRNG_MT2203, rofInitLeapfrog, ROF_STATUS_NO_LEAPFROG},
               {ROF_BRNG_MT2203, rofInitSkipAhead, ROF_STATUS_NO_SKIPAHEAD},
               {ROF_BRNG_MT2203, rofInitSkipAheadEx, ROF_STATUS_NO_SKIPAHEAD_EX},
               {ROF_BRNG_MT2203, 7, ROF_STATUS_BAD_METHOD}};
  const uint64_t digits[2] = {1, 0};
  for (const auto& c : cases) {
    Stream s(c.brng, {12345}), fresh(c.brng, {12345});
    const int status = c.method == rofInitLeapfrog    ? __rofLeapfrogStream(s, 1, 2)
                       : c.method == rofInitSkipAhead ? __rofSkipAheadStream(s, 1)
                       : c.method == rofInitSkipAheadEx
                           ? __rofSkipAheadStreamEx(s, 2, digits)
                           : Row(c.brng).initStream(c.method, s, 1, digits);
    EXPECT_EQ(status, c.status) << c.brng << " " << c.method;
    // Two words of either width: MCG59's are 64 bits.
    EXPECT_EQ(s.Words<uint64_t>(2), fresh.Words<uint64_t>(2)) << c.brng << " " << c.method;
  }
  Stream s(ROF_BRNG_MCG59, {1});
  EXPECT_EQ(__rofLeapfrogStream(s, 0, -1), ROF_STATUS_BAD_STREAM_COUNT);
}
}  // namespace
