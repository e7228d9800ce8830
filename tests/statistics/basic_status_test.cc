// Statuses of the basic and min/max estimates in check order, nothing stored on failure, and bad
// user input.
#include <gtest/gtest.h>
#include <math.h>

#include <functional>
#include <vector>

#include "statistics/task.h"
#include "support/threading_tables.h"
#include "tests/common/allocation_control.h"
#include "tests/statistics/harness.h"

namespace ss_test {
namespace {
using S = rofSSTask;
struct StatusCase {
  const char* name;
  std::vector<void* S::*> cleared;  // fields set to null
  uint64_t estimates;
  uint32_t method;
  int status;
  std::function<void(Harness<double>&)> setup = nullptr;  // other changes
  bool minmax = false;  // the call is the min/max one
};

TEST(SSStatus, ChecksInOrderAndStoreNothing) {
  auto n_zero = [](Harness<double>& h) { h.n = 0; };
  auto bad_storage = [](Harness<double>& h) { h.storage = 0x40000; };
  const StatusCase cases[] = {
      {"two methods", {}, ROF_SS_MEAN, 0x3, -4029},
      {"no method", {}, ROF_SS_MEAN, 0, -4029},
      {"sum by derivation", {}, ROF_SS_SUM, 0x200, -4029},
      {"cov derivation without 0x200", {}, ROF_SS_COV, 0x400, -4029},
      {"moments derivation without 0x400", {}, ROF_SS_MEAN, 0x200, -4029},
      {"mean missing", {&S::mean}, ROF_SS_CEN_MOM2, 2, -4006},
      {"raw before central", {&S::rawMom2, &S::cenMom2}, ROF_SS_CEN_MOM2, 2, -4007},
      {"fast central sum needs raw", {&S::rawMom3}, ROF_SS_CEN_SUM3, 1, -4008},
      {"one-pass central sum does not", {&S::rawMom3}, ROF_SS_CEN_SUM3, 2, 0},
      {"cov before kurtosis", {&S::cov, &S::kurtosis}, ROF_SS_COV | ROF_SS_KURTOSIS, 2, -4018},
      {"cor", {&S::cor}, ROF_SS_COR, 0x100, -4019},
      {"variation", {&S::variation}, ROF_SS_VARIATION, 2, -4017},
      {"sum", {&S::sum}, ROF_SS_SUM, 2, -4074},
      {"central sum 2", {&S::cenSum2}, ROF_SS_CEN_SUM2, 2, -4078},
      {"cross-product", {&S::crossProduct}, ROF_SS_CROSS_PRODUCT, 2, -4081},
      {"fields before n", {&S::mean}, ROF_SS_MEAN, 2, -4006, n_zero},
      {"n zero through the pointer", {}, ROF_SS_MEAN, 2, -4002, n_zero},
      {"n before x", {&S::observ}, ROF_SS_MEAN, 2, -4002, [](auto& h) { h.n = -5; }},
      {"x", {&S::observ}, ROF_SS_MEAN, 2, -4032},
      {"storage null", {}, ROF_SS_MEAN, 2, -4044, [](auto& h) { h.task->observStorage = nullptr; }},
      {"storage code", {}, ROF_SS_MEAN, 0x100, -4003, bad_storage},
      {"cov storage null", {}, ROF_SS_COV, 2, -4044, [](auto& h) { h.task->covStorage = nullptr; }},
      {"derivation needs weights", {&S::accumWeight}, ROF_SS_COV, 0x200, -4020},
      {"derivation from n", {&S::accumWeight, &S::weights}, ROF_SS_COV, 0x200, 0},
      {"min before max", {&S::minimum, &S::maximum}, ROF_SS_MIN | ROF_SS_MAX, 2, -4015, {}, true},
      {"max before method", {&S::maximum}, ROF_SS_MAX, 0x100, -4016, {}, true},
      {"min/max method", {}, ROF_SS_MIN, 0x100, -4029, {}, true},
      {"min/max n before storage", {}, ROF_SS_MIN, 2, -4002,
       [](auto& h) { h.n = 0; h.storage = 0x40000; }, true},
      {"min/max storage code", {}, ROF_SS_MIN, 2, -4003, bad_storage, true},
  };
  for (const StatusCase& c : cases) {
    SCOPED_TRACE(c.name);
    Sample s = MakeSample(3, 40, false, true, 1);
    Harness<double> h(s, false, ROF_SS_MATRIX_FULL);
    for (void* S::*field : c.cleared) h.task->*field = nullptr;
    if (c.setup) c.setup(h);
    const auto before = h.arrays;
    EXPECT_EQ(c.minmax ? _rofdSSMinmax(h.task, c.estimates, c.method)
                       : h.Run(c.estimates, c.method), c.status);
    if (c.status != 0) EXPECT_TRUE(before == h.arrays);
  }
  EXPECT_EQ(_rofdSSBasic(nullptr, ROF_SS_MEAN, 2, nullptr), -4031);
  EXPECT_EQ(_rofsSSBasic(nullptr, ROF_SS_MEAN, 2, nullptr), -4031);
  EXPECT_EQ(_rofdSSMinmax(nullptr, ROF_SS_MIN, 2), -4031);
}

TEST(SSBasicStatus, FailedAllocationStoresNothingAndLeaksNothing) {
  Sample s = MakeSample(4, 5000, true, true, 2);
  Harness<double> h(s, false, ROF_SS_MATRIX_PACKED);
  const auto before = h.arrays;
  const long live = alloc_control::LiveBlocks();
  const int failures = alloc_control::ForEachFailure(
      [&] { return h.Run(kAllBasic, ROF_SS_METHOD_FAST, qor_support_pool_threading(2)); },
      [&](int status) {
        EXPECT_EQ(status, -4000);
        EXPECT_TRUE(before == h.arrays);
        EXPECT_EQ(h.accum[0], 0.0);
      },
      [] {});
  EXPECT_GE(failures, 1);
  EXPECT_EQ(alloc_control::LiveBlocks(), live);
}

TEST(SSBasicBadInput, IndicesAllZeroStoreNothing) {
  Sample s = MakeSample(3, 100, false, false, 3);
  Harness<float> h(s, true, 0);
  for (int32_t& i : h.indices) i = 0;
  const auto before = h.arrays;
  EXPECT_EQ(h.Run(kAllBasic, ROF_SS_METHOD_ONE_PASS), 0);
  EXPECT_TRUE(before == h.arrays);
  EXPECT_EQ(h.accum[0], 0.0f);
}

TEST(SSBasicBadInput, AllWeightsZeroGiveZeroCovariance) {
  for (uint32_t method : {ROF_SS_METHOD_ONE_PASS, ROF_SS_METHOD_FAST, ROF_SS_METHOD_USER_MEAN}) {
    Sample s = MakeSample(3, 200, true, true, 4);
    for (double& w : s.weights) w = 0;
    Harness<double> h(s, false, ROF_SS_MATRIX_FULL);
    EXPECT_EQ(h.Run(ROF_SS_COV | ROF_SS_COR | ROF_SS_MEAN, method), 0);
    for (int id : {19, 21})
      for (double v : h.arrays[id]) EXPECT_EQ(v, 0.0) << method << " id " << id;
    EXPECT_EQ(h.accum[0], 0.0);
  }
}

TEST(SSBasicBadInput, NaNDataGiveNaNResultsOfItsVariable) {
  Sample s = MakeSample(3, 300, false, false, 5);
  s.x[1 * 300 + 17] = NAN;  // variable 1
  Harness<double> h(s, false, ROF_SS_MATRIX_FULL);
  EXPECT_EQ(h.Run(kAllBasic, ROF_SS_METHOD_ONE_PASS, qor_support_pool_threading(2)), 0);
  EXPECT_TRUE(isnan(h.arrays[7][1]));
  EXPECT_TRUE(isnan(h.arrays[19][1 * 3 + 1]));
  EXPECT_TRUE(isfinite(h.arrays[7][0]) && isfinite(h.arrays[7][2]));
  EXPECT_TRUE(isfinite(h.arrays[19][0 * 3 + 2]));
}

// 64-bit integers are read whole: the low 32 bits of this p are 3 and of these indices 1, 0, 1.
TEST(SSBasicBadInput, WideIntegersAreReadWhole) {
  Sample s = MakeSample(3, 50, true, false, 6);
  const int64_t p = 3, negative = -(int64_t(1) << 32) + 3, n = 50, storage = ROF_SS_OBSERV_COLUMNS;
  const int64_t indices[3] = {int64_t(1) << 32, 0, 1};
  rofSSTask* task = nullptr;
  EXPECT_EQ(__rofdSSNewTask(&task, &negative, &n, &storage, s.x.data(), nullptr, indices, 1),
            -4001);
  ASSERT_EQ(__rofdSSNewTask(&task, &p, &n, &storage, s.x.data(), nullptr, indices, 1), 0);
  double mean[3] = {-1, -1, -1};
  __rofdSSEditTask(task, ROF_SS_ED_MEAN, mean);
  EXPECT_EQ(_rofdSSBasic(task, ROF_SS_MEAN, ROF_SS_METHOD_FAST, nullptr), 0);
  const Reference r = Compute({&s}, nullptr);
  EXPECT_NEAR(mean[0], double(r.mean[0]), 1e-13);
  EXPECT_EQ(mean[1], -1);
  EXPECT_NEAR(mean[2], double(r.mean[2]), 1e-13);
  __rofSSDeleteTask(&task);
}
}  // namespace
}  // namespace ss_test
