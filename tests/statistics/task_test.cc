// The statistics task: creation checks in their order, deletion, edits by id with their null
// statuses, group edits, and integer parameters at both widths.
#include <gtest/gtest.h>
#include <stdint.h>

#include <set>

#include "qor/core.h"
#include "statistics/task.h"
#include "tests/common/allocation_control.h"

namespace {

struct NewTaskCase {
  const char* name;
  bool p_null;
  int32_t p;
  bool n_null;
  int32_t n;
  bool storage_null;
  int32_t storage;
  bool x_null;
  int status;
};

TEST(SSNewTask, ChecksInOrder) {
  const NewTaskCase cases[] = {
      {"null p", true, 3, false, 10, false, 0x10000, false, -4001},
      {"p 0 before storage", false, 0, false, 10, true, 0, false, -4001},
      {"storage null before bad n", false, 3, false, 0, true, 0, false, -4044},
      {"bad storage before bad n", false, 3, false, 0, false, 0x30000 - 1, false, -4003},
      {"n 0", false, 3, false, 0, false, 0x20000, false, -4002},
      {"n null", false, 3, true, 0, false, 0x10000, false, -4002},
      {"no x: n and storage unchecked", false, 3, true, 0, true, 0, true, 0},
      {"rows", false, 3, false, 1, false, 0x10000, false, 0},
      {"columns", false, 3, false, 10, false, 0x20000, false, 0},
  };
  double x[4] = {};
  for (const NewTaskCase& c : cases) {
    SCOPED_TRACE(c.name);
    rofSSTask* task = nullptr;
    const int status = __rofdSSNewTask(&task, c.p_null ? nullptr : &c.p, c.n_null ? nullptr : &c.n,
                                       c.storage_null ? nullptr : &c.storage,
                                       c.x_null ? nullptr : x, nullptr, nullptr, 0);
    EXPECT_EQ(status, c.status);
    EXPECT_EQ(task != nullptr, c.status == 0);
    if (task == nullptr) continue;
    EXPECT_EQ(task->layoutTag, 2);
    EXPECT_EQ(task->layoutFlag, 1);
    EXPECT_EQ(task->dimen, &c.p);
    EXPECT_EQ(task->observ, c.x_null ? nullptr : x);
    EXPECT_EQ(__rofSSDeleteTask(&task), 0);
    EXPECT_EQ(task, nullptr);
  }
}

TEST(SSNewTask, WideIndicesAndFloatTwin) {
  const int64_t p = int64_t(1) << 32 | 3, n = 5, storage = 0x20000;  // 32-bit read would be 3
  float x[15] = {};
  rofSSTask* task = nullptr;
  EXPECT_EQ(__rofsSSNewTask(&task, &p, &n, &storage, x, nullptr, nullptr, 1), 0);
  EXPECT_EQ(rof::ss::ReadInt(*task, task->dimen), p);
  __rofSSDeleteTask(&task);
  const int64_t bad = int64_t(1) << 32;  // low 32 bits 0 but the value is positive
  EXPECT_EQ(__rofsSSNewTask(&task, &bad, &n, &storage, x, nullptr, nullptr, 1), 0);
  __rofSSDeleteTask(&task);
  const int64_t negative = -(int64_t(1) << 32) + 5;  // low 32 bits 5
  EXPECT_EQ(__rofsSSNewTask(&task, &negative, &n, &storage, x, nullptr, nullptr, 1), -4001);
}

TEST(SSNewTask, AllocationFailureLeavesHandleNull) {
  const int32_t p = 2;
  rofSSTask* task = reinterpret_cast<rofSSTask*>(0x1);
  alloc_control::ScopedFailure fail(0);
  EXPECT_EQ(__rofdSSNewTask(&task, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 0), -4000);
  EXPECT_EQ(task, nullptr);
}

int g_cleanups = 0;
void CountCleanup(rofSSTask*) { ++g_cleanups; }

TEST(SSDeleteTask, FreesBufferRunsCleanupAndClearsHandle) {
  const long live = alloc_control::LiveBlocks();
  const int32_t p = 1;
  rofSSTask* task = nullptr;
  ASSERT_EQ(__rofdSSNewTask(&task, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 0);
  task->workBuffer = qor_serv_allocate(64, 128);
  task->cleanupCount = 1;
  task->cleanup[0] = CountCleanup;
  g_cleanups = 0;
  EXPECT_EQ(__rofSSDeleteTask(&task), 0);
  EXPECT_EQ(g_cleanups, 1);
  EXPECT_EQ(task, nullptr);
  EXPECT_EQ(alloc_control::LiveBlocks(), live);
  EXPECT_EQ(__rofSSDeleteTask(&task), 0);  // a cleared handle: nothing to do
  EXPECT_EQ(__rofSSDeleteTask(nullptr), -4031);
}

// Every id with its kind and null status.
struct IdRow {
  int id;
  bool integer;
  int null_status;
};
const IdRow kIds[] = {
    {1, true, -4001},   {2, true, -4002},   {3, false, -4032},  {4, true, -4044},
    {5, true, -4004},   {6, false, -4005},  {7, false, -4006},  {8, false, -4007},
    {9, false, -4008},  {10, false, -4009}, {11, false, -4010}, {12, false, -4011},
    {13, false, -4012}, {14, false, -4013}, {15, false, -4014}, {16, false, -4015},
    {17, false, -4016}, {18, false, -4017}, {19, false, -4018}, {20, true, -4044},
    {21, false, -4019}, {22, true, -4044},  {23, false, -4020}, {24, true, -4022},
    {25, false, -4021}, {26, false, -4023}, {27, false, -4024}, {28, true, -4038},
    {29, true, -4044},  {30, false, -4035}, {31, false, -4034}, {32, true, -4038},
    {33, false, -4037}, {34, true, -4044},  {35, false, -4036}, {36, true, -4044},
    {37, true, -4043},  {38, false, -4042}, {39, false, -4028}, {40, false, -4027},
    {41, true, -4040},  {42, false, -4039}, {43, false, -4041}, {44, true, -4044},
    {45, true, -4045},  {46, false, -4046}, {47, true, -4044},  {48, false, -4047},
    {49, true, -4044},  {50, true, -4049},  {51, false, -4048}, {52, true, -4052},
    {53, false, -4053}, {54, true, -4055},  {55, false, -4054}, {56, true, -4056},
    {57, false, -4057}, {58, true, -4061},  {59, false, -4062}, {60, false, -4071},
    {61, true, -4044},  {62, true, -4066},  {63, false, -4065}, {64, true, -4069},
    {65, false, -4068}, {66, false, -4070}, {67, false, -4006}, {68, false, -4075},
    {69, false, -4076}, {70, false, -4077}, {71, false, -4078}, {72, false, -4079},
    {73, false, -4080}, {74, false, -4081}, {75, true, -4044},  {76, false, -4082},
    {77, false, -4083}, {78, false, -4084}, {79, true, -4044},
};

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
  for (const IdRow& row : kIds) {
    SCOPED_TRACE(row.id);
    const rofSSTask before = *task;
    const int status = row.integer ? __rofiSSEditTask(task, row.id, &value)
                                   : __rofdSSEditTask(task, row.id, &value);
    EXPECT_EQ(status, 0);
    const std::set<size_t> changed = ChangedWords(before, *task);
    ASSERT_EQ(changed.size(), 1u);
    EXPECT_TRUE(fields.insert(*changed.begin()).second) << "two ids share a field";
    const rofSSTask stored = *task;
    // A null value keeps the field and reports the id's status, in every form.
    EXPECT_EQ(row.integer ? __rofiSSEditTask(task, row.id, nullptr)
                          : __rofdSSEditTask(task, row.id, nullptr),
              row.null_status);
    if (!row.integer) EXPECT_EQ(__rofsSSEditTask(task, row.id, nullptr), row.null_status);
    EXPECT_TRUE(ChangedWords(stored, *task).empty());
    // The other kind of call does not know the id.
    if (row.integer) EXPECT_EQ(__rofdSSEditTask(task, row.id, &value), -3);
    else EXPECT_EQ(__rofiSSEditTask(task, row.id, &value), -3);
  }
  for (int id : {0, 80, -1}) EXPECT_EQ(__rofiSSEditTask(task, id, &value), -3);
  for (int id : {2, 79, 4}) EXPECT_EQ(__rofdSSEditTask(task, id, &value), -3);
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
  EXPECT_EQ(task->mean, a);
  EXPECT_EQ(task->cov, b);
  EXPECT_EQ(task->covStorage, &storage);
  EXPECT_EQ(task->cor, nullptr);
  // All null: nothing changes; a field can not be cleared.
  const rofSSTask before = *task;
  EXPECT_EQ(__rofdSSEditCovCor(task, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(__rofdSSEditMoments(task, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                nullptr),
            0);
  EXPECT_TRUE(ChangedWords(before, *task).empty());
  // Argument order of each call, by the last field it names.
  EXPECT_EQ(__rofdSSEditMoments(task, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, a), 0);
  EXPECT_EQ(task->cenMom4, a);
  EXPECT_EQ(__rofdSSEditSums(task, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, b), 0);
  EXPECT_EQ(task->cenSum4, b);
  EXPECT_EQ(__rofdSSEditCP(task, nullptr, a, b, &storage), 0);
  EXPECT_EQ(task->sum, a);
  EXPECT_EQ(task->crossProduct, b);
  EXPECT_EQ(task->crossProductStorage, &storage);
  EXPECT_EQ(__rofdSSEditPartialCovCor(task, &storage, nullptr, nullptr, nullptr, nullptr, nullptr,
                                      nullptr, a, &p),
            0);
  EXPECT_EQ(task->partialIndices, &storage);
  EXPECT_EQ(task->partialCor, a);
  EXPECT_EQ(task->partialCorStorage, &p);
  EXPECT_EQ(__rofdSSEditQuantiles(task, &p, a, b, a, &storage), 0);
  EXPECT_EQ(task->quantOrderN, &p);
  EXPECT_EQ(task->orderStatsStorage, &storage);
  EXPECT_EQ(__rofdSSEditStreamQuantiles(task, &p, a, b, &storage, a), 0);
  EXPECT_EQ(task->streamParamN, &storage);
  EXPECT_EQ(task->streamParams, a);
  EXPECT_EQ(__rofdSSEditPooledCovariance(task, &p, a, b, &storage, b, a), 0);
  EXPECT_EQ(task->groupCovIndices, &storage);
  EXPECT_EQ(task->groupCov, a);
  EXPECT_EQ(__rofdSSEditMissingVals(task, &p, a, nullptr, nullptr, nullptr, nullptr, nullptr,
                                    nullptr, &storage, b),
            0);
  EXPECT_EQ(task->missingEstN, &storage);
  EXPECT_EQ(task->missingEst, b);
  EXPECT_EQ(__rofdSSEditOutDetect(task, &p, a, b), 0);
  EXPECT_EQ(task->outlierWeights, b);
  EXPECT_EQ(__rofdSSEditRCov(task, &storage, &p, a, b, a), 0);
  EXPECT_EQ(task->robustCovStorage, &storage);
  EXPECT_EQ(task->robustCov, a);
  float f[2];
  EXPECT_EQ(__rofsSSEditMtxParametrz(task, f, &p, f, &storage), 0);
  EXPECT_EQ(task->paramCor, f);
  EXPECT_EQ(task->paramCorStorage, &storage);
  EXPECT_EQ(__rofsSSEditOutDetect(nullptr, nullptr, nullptr, nullptr), -4031);
  EXPECT_EQ(__rofdSSEditMoments(nullptr, a, a, a, a, a, a, a), -4031);
  __rofSSDeleteTask(&task);
}

}  // namespace
