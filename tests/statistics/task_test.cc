// The statistics task: creation checks in order, deletion, edits by id, group edits.
#include <gtest/gtest.h>
#include <stdint.h>

#include <set>

#include "qor/core.h"
#include "statistics/task.h"
#include "tests/common/allocation_control.h"

namespace {
TEST(SSNewTask, ChecksInOrder) {
  const int32_t zero = 0, one = 1, three = 3, ten = 10, rows = 0x10000, columns = 0x20000;
  const int32_t bad_storage = 0x2FFFF;
  const struct {
    const char* name;
    const int32_t *p, *n, *storage;
    bool x;
    int status;
  } cases[] = {
      {"null p", nullptr, &ten, &rows, true, -4001},
      {"p 0 before storage", &zero, &ten, nullptr, true, -4001},
      {"storage null before bad n", &three, &zero, nullptr, true, -4044},
      {"bad storage before bad n", &three, &zero, &bad_storage, true, -4003},
      {"n 0", &three, &zero, &columns, true, -4002},
      {"n null", &three, nullptr, &rows, true, -4002},
      {"no x: n and storage unchecked", &three, nullptr, nullptr, false, 0},
      {"rows", &three, &one, &rows, true, 0},
      {"columns", &three, &ten, &columns, true, 0},
  };
  double x[4] = {};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    rofSSTask* task = nullptr;
    const int status =
        __rofdSSNewTask(&task, c.p, c.n, c.storage, c.x ? x : nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(status, c.status);
    EXPECT_EQ(task != nullptr, c.status == 0);
    if (task == nullptr) continue;
    EXPECT_TRUE(task->layoutTag == 2 && task->layoutFlag == 1 && task->dimen == c.p);
    EXPECT_EQ(task->observ, c.x ? x : nullptr);
    __rofSSDeleteTask(&task);
  }
}

int g_cleanups = 0;

// A failed allocation leaves the handle null; deletion frees the buffer and runs the clean-up.
TEST(SSTask, FailedAllocationAndDeletion) {
  const long live = alloc_control::LiveBlocks();
  const int32_t p = 1;
  rofSSTask* task = reinterpret_cast<rofSSTask*>(0x1);
  {
    alloc_control::ScopedFailure fail(0);
    EXPECT_EQ(__rofdSSNewTask(&task, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 0), -4000);
    EXPECT_EQ(task, nullptr);
  }
  ASSERT_EQ(__rofdSSNewTask(&task, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 0);
  task->workBuffer = qor_serv_allocate(64, 128);
  task->cleanupCount = 1;
  task->cleanup[0] = [](rofSSTask*) { ++g_cleanups; };
  g_cleanups = 0;
  EXPECT_EQ(__rofSSDeleteTask(&task), 0);
  EXPECT_EQ(g_cleanups, 1);
  EXPECT_EQ(task, nullptr);
  EXPECT_EQ(alloc_control::LiveBlocks(), live);
  EXPECT_EQ(__rofSSDeleteTask(&task), 0);  // a cleared handle: nothing to do
  EXPECT_EQ(__rofSSDeleteTask(nullptr), -4031);
}

// The null status of each id from 1 to 79, and the ids that take integers.
const int kNullStatus[79] = {
    -4001, -4002, -4032, -4044, -4004, -4005, -4006, -4007, -4008, -4009,  // 1-10
    -4010, -4011, -4012, -4013, -4014, -4015, -4016, -4017, -4018, -4044,  // 11-20
    -4019, -4044, -4020, -4022, -4021, -4023, -4024, -4038, -4044, -4035,  // 21-30
    -4034, -4038, -4037, -4044, -4036, -4044, -4043, -4042, -4028, -4027,  // 31-40
    -4040, -4039, -4041, -4044, -4045, -4046, -4044, -4047, -4044, -4049,  // 41-50
    -4048, -4052, -4053, -4055, -4054, -4056, -4057, -4061, -4062, -4071,  // 51-60
    -4044, -4066, -4065, -4069, -4068, -4070, -4006, -4075, -4076, -4077,  // 61-70
    -4078, -4079, -4080, -4081, -4044, -4082, -4083, -4084, -4044,  // 71-79
};
const std::set<int> kIntegerIds = {
    1, 2, 4, 5, 20, 22, 24, 28, 29, 32, 34, 36, 37, 41, 44, 45, 47, 49, 50, 52, 54, 56, 58, 61, 62,
    64, 75, 79};

// The record's bytes, to see which field an edit touched.
std::set<size_t> ChangedWords(const rofSSTask& before, const rofSSTask& after) {
  std::set<size_t> changed;
  const auto* a = reinterpret_cast<const void* const*>(&before);
  const auto* b = reinterpret_cast<const void* const*>(&after);
  for (size_t i = 0; i < sizeof(rofSSTask) / sizeof(void*); ++i)
    if (a[i] != b[i]) changed.insert(i);
  return changed;
}

TEST(SSEditTask, EveryIdStoresOneFieldAndReportsItsNullStatus) {
  const int32_t p = 2;
  rofSSTask* task = nullptr;
  ASSERT_EQ(__rofdSSNewTask(&task, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 0);
  std::set<size_t> fields;
  double value = 0;
  for (int id = 1; id <= 79; ++id) {
    SCOPED_TRACE(id);
    const bool integer = kIntegerIds.count(id) == 1;
    const rofSSTask before = *task;
    EXPECT_EQ(integer ? __rofiSSEditTask(task, id, &value) : __rofdSSEditTask(task, id, &value), 0);
    const std::set<size_t> changed = ChangedWords(before, *task);
    ASSERT_EQ(changed.size(), 1u);
    EXPECT_TRUE(fields.insert(*changed.begin()).second) << "two ids share a field";
    const rofSSTask stored = *task;
    // A null value keeps the field and reports the id's status, in every form.
    EXPECT_EQ(integer ? __rofiSSEditTask(task, id, nullptr) : __rofdSSEditTask(task, id, nullptr),
              kNullStatus[id - 1]);
    if (!integer) EXPECT_EQ(__rofsSSEditTask(task, id, nullptr), kNullStatus[id - 1]);
    EXPECT_TRUE(ChangedWords(stored, *task).empty());
    EXPECT_EQ(integer ? __rofdSSEditTask(task, id, &value) : __rofiSSEditTask(task, id, &value),
              -3) << "the other kind of call knows no such id";
  }
  for (int id : {0, 80, -1}) EXPECT_EQ(__rofiSSEditTask(task, id, &value), -3) << id;
  EXPECT_EQ(__rofdSSEditTask(nullptr, 7, &value), -4031);
  EXPECT_EQ(__rofiSSEditTask(nullptr, 1, nullptr), -4031);
  __rofSSDeleteTask(&task);
}

TEST(SSGroupEdits, StoreNonNullArgumentsOnly) {
  const int32_t p = 2;
  rofSSTask* task = nullptr;
  ASSERT_EQ(__rofdSSNewTask(&task, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 0);
  double a[4], b[4];
  const int32_t storage = 1;
  EXPECT_EQ(__rofdSSEditCovCor(task, a, b, &storage, nullptr, nullptr), 0);
  EXPECT_TRUE(task->mean == a && task->cov == b && task->covStorage == &storage &&
              task->cor == nullptr);
  // All null: nothing changes; a field can not be cleared.
  const rofSSTask before = *task;
  EXPECT_EQ(__rofdSSEditCovCor(task, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(__rofdSSEditMoments(task, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                nullptr), 0);
  EXPECT_TRUE(ChangedWords(before, *task).empty());
  // Argument order of each call, by the last field it names.
  EXPECT_EQ(__rofdSSEditMoments(task, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, a), 0);
  EXPECT_EQ(task->cenMom4, a);
  EXPECT_EQ(__rofdSSEditSums(task, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, b), 0);
  EXPECT_EQ(task->cenSum4, b);
  EXPECT_EQ(__rofdSSEditCP(task, nullptr, a, b, &storage), 0);
  EXPECT_TRUE(task->sum == a && task->crossProduct == b && task->crossProductStorage == &storage);
  EXPECT_EQ(__rofdSSEditPartialCovCor(task, &storage, nullptr, nullptr, nullptr, nullptr, nullptr,
                                      nullptr, a, &p), 0);
  EXPECT_TRUE(task->partialIndices == &storage && task->partialCor == a &&
              task->partialCorStorage == &p);
  EXPECT_EQ(__rofdSSEditQuantiles(task, &p, a, b, a, &storage), 0);
  EXPECT_TRUE(task->quantOrderN == &p && task->orderStatsStorage == &storage);
  EXPECT_EQ(__rofdSSEditStreamQuantiles(task, &p, a, b, &storage, a), 0);
  EXPECT_TRUE(task->streamParamN == &storage && task->streamParams == a);
  EXPECT_EQ(__rofdSSEditPooledCovariance(task, &p, a, b, &storage, b, a), 0);
  EXPECT_TRUE(task->groupCovIndices == &storage && task->groupCov == a);
  EXPECT_EQ(__rofdSSEditMissingVals(task, &p, a, nullptr, nullptr, nullptr, nullptr, nullptr,
                                    nullptr, &storage, b), 0);
  EXPECT_TRUE(task->missingEstN == &storage && task->missingEst == b);
  EXPECT_EQ(__rofdSSEditOutDetect(task, &p, a, b), 0);
  EXPECT_EQ(task->outlierWeights, b);
  EXPECT_EQ(__rofdSSEditRCov(task, &storage, &p, a, b, a), 0);
  EXPECT_TRUE(task->robustCovStorage == &storage && task->robustCov == a);
  float f[2];
  EXPECT_EQ(__rofsSSEditMtxParametrz(task, f, &p, f, &storage), 0);
  EXPECT_TRUE(task->paramCor == f && task->paramCorStorage == &storage);
  EXPECT_EQ(__rofsSSEditOutDetect(nullptr, nullptr, nullptr, nullptr), -4031);
  EXPECT_EQ(__rofdSSEditMoments(nullptr, a, a, a, a, a, a, a), -4031);
  __rofSSDeleteTask(&task);
}
}  // namespace
