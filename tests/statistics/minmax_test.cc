// Minima and maxima: both layouts, indices, folding into the arrays' former content, statuses.
#include <gtest/gtest.h>

#include <algorithm>

#include "statistics/task.h"
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

TEST(SSMinmax, Statuses) {
  Sample s = MakeSample(2, 10, false, false, 12);
  Harness<double> h(s, false, 0);
  double lo[2] = {1e9, 1e9};
  EXPECT_EQ(_rofdSSMinmax(h.task, ROF_SS_MIN, 2), -4015);
  Edit(h.task, ROF_SS_ED_MINIMUM, lo);
  EXPECT_EQ(_rofdSSMinmax(h.task, ROF_SS_MAX, 2), -4016);
  EXPECT_EQ(_rofdSSMinmax(h.task, ROF_SS_MIN, 0x100), -4029);
  h.storage = 0x40000;
  EXPECT_EQ(_rofdSSMinmax(h.task, ROF_SS_MIN, 2), -4003);
  h.n = 0;
  EXPECT_EQ(_rofdSSMinmax(h.task, ROF_SS_MIN, 2), -4002);
  EXPECT_EQ(lo[0], 1e9);
  EXPECT_EQ(_rofdSSMinmax(nullptr, ROF_SS_MIN, 2), -4031);
}
}  // namespace
}  // namespace ss_test
