// Minima and maxima: both layouts, indices, folding into the arrays' former content.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/statistics/harness.h"

namespace ss_test {
namespace {
TEST(SSMinmax, FoldsEveryMarkedVariableIntoTheArrays) {
  for (bool columns : {false, true})
    for (bool subset : {false, true}) {
      Sample s = MakeSample(5, 333, columns, false, 11);
      Harness<float> h(s, subset, 0);
      std::vector<float> lo(5, 4.0f), hi(5, 4.5f);  // inside every range but variable 0's
      Edit(h.task, ROF_SS_ED_MINIMUM, lo.data());
      Edit(h.task, ROF_SS_ED_MAXIMUM, hi.data());
      ASSERT_EQ(_rofsSSMinmax(h.task, ROF_SS_MIN | ROF_SS_MAX, ROF_SS_METHOD_FAST), 0);
      for (int64_t v = 0; v < 5; ++v) {
        float want_lo = 4.0f, want_hi = 4.5f;
        for (int64_t i = 0; i < 333; ++i) {
          want_lo = std::min(want_lo, float(s.At(v, i)));
          want_hi = std::max(want_hi, float(s.At(v, i)));
        }
        EXPECT_EQ(lo[v], h.Active(v) ? want_lo : 4.0f) << v;
        EXPECT_EQ(hi[v], h.Active(v) ? want_hi : 4.5f) << v;
      }
    }
}

}  // namespace
}  // namespace ss_test
