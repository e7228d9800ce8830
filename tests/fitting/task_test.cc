// The fitting task: refusals in order, tables, the search accelerator, allocation failures.
#include "tests/common/allocation_control.h"
#include "tests/fitting/construct_fixture.h"

namespace {
std::vector<double> Partition(int64_t nx) {
  std::vector<double> x(nx);
  for (int64_t i = 0; i < nx; ++i) x[i] = i * 0.5 + (i % 3) * 0.01;
  return x;
}

TEST(TaskTest, CreationRefusesBadArgumentsInOrderBeforeAllocating) {
  const struct { const char* name; int64_t nx, ny; bool x, y; uint64_t x_hint, y_hint; int status; }
  cases[] = {
      {"nx below 2 before null x", 1, 0, false, false, 3, 5, dfErrBadNx},
      {"null x before x hint", 2, 0, false, false, 3, 5, dfErrBadX},
      {"x hint 3", 4, 1, true, true, 3, 0, dfErrBadXHint},
      {"x hint 5", 4, 1, true, true, 5, 0, dfErrBadXHint},
      {"ny 0 with y", 4, 0, true, true, 1, 0, dfErrBadNy},
      {"ny 1 without y", 4, 1, true, false, 1, 0, dfErrBadY},
      {"y hint 64", 4, 1, true, true, 1, 64, dfErrBadYHint},
      {"y hint 17", 4, 1, true, true, 1, 17, dfErrBadYHint},
  };
  std::vector<double> x = Partition(8), y(8);
  for (const auto& c : cases) {
    alloc_control::FailAllocation(-1);
    dfTask* task = reinterpret_cast<dfTask*>(&x);  // must stay untouched
    EXPECT_EQ(qor_df_kernel_dNewTask1D(&task, c.nx, c.x ? x.data() : nullptr, c.x_hint, c.ny,
                                       c.y ? y.data() : nullptr, c.y_hint, 0), c.status) << c.name;
    EXPECT_EQ(alloc_control::Allocations(), 0) << c.name;
    EXPECT_EQ(task, reinterpret_cast<dfTask*>(&x)) << c.name;
  }
}

TEST(TaskTest, FieldsAndTablesOfANewTask) {
  std::vector<float> x = {0, 1, 2, 3, 4}, y(15);
  dfTask* task = nullptr;
  ASSERT_EQ(qor_df_kernel_sNewTask1D(&task, 5, x.data(), dfXNonUniform, 3, y.data(), dfYRows, 1), 0);
  EXPECT_TRUE(task->recordTag == 4 && task->isDouble == 0 && task->taskKind == 1 &&
              task->wideIndex == 1 && task->splineOrder == 0);
  EXPECT_EQ(task->yTable[2], y.data() + 10);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(task) % 128, 0u);
  EXPECT_EQ(qor_df_kernel_DeleteTask(&task), 0);
  EXPECT_EQ(task, nullptr);
  EXPECT_EQ(qor_df_kernel_DeleteTask(&task), dfErrNullTask);

  // Separate values set entry 0 only; no values, no table.
  std::vector<double> xd = Partition(5), yd(15);
  ASSERT_EQ(qor_df_kernel_dNewTask1D(&task, 5, xd.data(), 1, 3, yd.data(), dfYSeparate, 0), 0);
  EXPECT_TRUE(task->yTable[0] == yd.data() && task->yTable[1] == nullptr);
  qor_df_kernel_DeleteTask(&task);
  ASSERT_EQ(qor_df_kernel_dNewTask1D(&task, 5, xd.data(), 1, 0, nullptr, 0, 0), 0);
  EXPECT_EQ(task->yTable, nullptr);
  qor_df_kernel_DeleteTask(&task);
}

// Bucket trunc((v - x[0]) * scale) encloses v's breakpoints; a uniform task has no accelerator.
TEST(TaskTest, AcceleratorBucketsEncloseTheirValues) {
  for (int64_t nx : {2, 17, 271, 272, 5000, 20000}) {
    std::vector<double> x(nx);
    for (int64_t i = 0; i < nx; ++i) x[i] = i + 0.9 * (i * i % 7) / 7.0 + (i > nx / 2 ? 3 * i : 0);
    dfTask* task = nullptr;
    ASSERT_EQ(qor_df_kernel_dNewTask1D(&task, nx, x.data(), dfXNoHint, 0, nullptr, 0, 0), 0);
    const uint64_t m = task->cellCount;
    for (uint64_t s = 0; s <= 8 * m; ++s) {
      const double v = x[0] + (x[nx - 1] - x[0]) * s / (8 * m);
      const uint64_t j = static_cast<uint64_t>((v - x[0]) * task->cellScale.d);
      const int64_t i = std::min<int64_t>(fit_test::CellOf(x, v), nx - 1);
      ASSERT_LE(task->cellTable[2 * j], static_cast<uint64_t>(i - 1)) << nx << " " << v;
      ASSERT_GE(task->cellTable[2 * j + 1], static_cast<uint64_t>(i)) << nx << " " << v;
    }
    qor_df_kernel_DeleteTask(&task);
  }
  double ends[3] = {1.0, 2.0, 0.0 / 0.0};
  dfTask* task = nullptr;
  ASSERT_EQ(qor_df_kernel_dNewTask1D(&task, 1000, ends, dfXUniform, 0, nullptr, 0, 0), 0);
  EXPECT_TRUE(task->cellCount == 0 && task->cellTable == nullptr);
  EXPECT_EQ(qor_df_kernel_iEditVal(task, dfParamXHint, 2), 0);  // stores only
  EXPECT_EQ(task->cellTable, nullptr);
  qor_df_kernel_DeleteTask(&task);
}

TEST(TaskTest, ValueEditsRefuseAndQueriesReadBack) {
  const struct { int id; int64_t value; int status; } cases[] = {
      {13, 0, dfErrBadParam},           {24, 0, dfErrBadParam},
      {dfParamNx, 1, dfErrBadNx},       {dfParamNx, 9, 0},
      {dfParamXHint, 3, dfErrBadXHint}, {dfParamXHint, 2, 0},
      {dfParamNy, 0, dfErrBadNy},       {dfParamNy, 2, 0},
      {dfParamYHint, 48, dfErrBadYHint},{dfParamYHint, 32, 0},
      {dfParamOrder, -1, dfErrBadOrder},{dfParamOrder, 4, 0},
      {dfParamType, 6, dfErrBadType},   {dfParamType, 9, 0},
      {dfParamIcType, 3, dfErrBadIcType},{dfParamIcType, 9, 0},
      {dfParamBcType, -1, dfErrBadBcType},{dfParamBcType, 64, 0},
      {dfParamCoeffHint, 8, dfErrBadCoeffHint}, {dfParamCoeffHint, 128, 0},
      {dfParamAuxFlag, 2, dfErrBadFlagValue},   {dfParamAuxFlag, 1, 0},
  };
  std::vector<double> x = Partition(9), y(18);
  for (uint32_t wide : {0u, 1u}) {
    dfTask* task = nullptr;
    ASSERT_EQ(qor_df_kernel_dNewTask1D(&task, 9, x.data(), 1, 2, y.data(), 0, wide), 0);
    for (const auto& c : cases) {
      EXPECT_EQ(qor_df_kernel_iEditVal(task, c.id, c.value), c.status) << c.id << " " << c.value;
      if (c.status != 0) continue;
      int64_t result = -1;
      EXPECT_EQ(qor_df_kernel_iQueryVal(task, c.id, &result), 0);
      // A narrow task writes only the low 32 bits.
      EXPECT_EQ(result, wide ? c.value : (int64_t{-1} << 32) | c.value) << c.id;
    }
    int64_t result;  // and the refusals of queries and edits
    EXPECT_EQ(qor_df_kernel_iQueryVal(nullptr, dfParamNx, &result), dfErrNullTask);
    EXPECT_EQ(qor_df_kernel_iQueryVal(task, dfParamNx, nullptr), dfErrNullResult);
    EXPECT_EQ(qor_df_kernel_iQueryVal(task, 5, &result), dfErrBadParam);
    EXPECT_EQ(qor_df_kernel_iEditVal(nullptr, dfParamNx, 5), dfErrNullTask);
    qor_df_kernel_DeleteTask(&task);
  }
}

TEST(TaskTest, SplineEditStoresStepByStep) {
  std::vector<double> x = Partition(6), y(12), coeff(64), bc(2), ic(6);
  dfTask* task = nullptr;
  ASSERT_EQ(qor_df_kernel_dNewTask1D(&task, 6, x.data(), 1, 2, y.data(), 0, 0), 0);
  const auto edit = [&](auto... a) { return qor_df_kernel_dEditPPSpline1D(task, a...); };
  EXPECT_EQ(qor_df_kernel_dEditPPSpline1D(nullptr, 4, 2, 0, nullptr, 0, nullptr, nullptr, 0),
            dfErrNullTask);
  EXPECT_EQ(edit(-1, 2, 0, nullptr, 0, nullptr, nullptr, 0), dfErrBadOrder);
  EXPECT_EQ(edit(4, -1, 0, nullptr, 0, nullptr, nullptr, 0), dfErrBadType);
  // The order and type stay when a later step refuses.
  EXPECT_EQ(edit(4, 2, 12, nullptr, 0, nullptr, nullptr, 0), dfErrBadBc);
  EXPECT_EQ(task->splineOrder, 4);
  EXPECT_EQ(edit(4, 2, 64, nullptr, 1, nullptr, nullptr, 0), dfErrBadIc);
  EXPECT_EQ(task->bcType, 64);
  EXPECT_EQ(edit(4, 2, 2, nullptr, 0, ic.data(), nullptr, 0), dfErrBadIcType);
  // Cubic: 4*(nx-1) reals a function; knotted quadratic: 3*nx; separate: entry 0 only.
  ASSERT_EQ(edit(4, 2, 12, bc.data(), 0, nullptr, coeff.data(), 0), 0);
  EXPECT_EQ(task->coeffTable[1], coeff.data() + 20);
  ASSERT_EQ(edit(3, 1, 1, nullptr, 8, ic.data(), coeff.data(), 0), 0);
  EXPECT_EQ(task->coeffTable[1], coeff.data() + 18);
  ASSERT_EQ(edit(2, 0, 1, nullptr, 0, nullptr, coeff.data(), 128), 0);
  EXPECT_EQ(task->coeffTable[1], nullptr);
  // No coefficient array: the table stays and the hint is stored.
  void** table = task->coeffTable;
  ASSERT_EQ(edit(2, 0, 1, nullptr, 0, nullptr, nullptr, 16), 0);
  EXPECT_TRUE(task->coeffTable == table && task->coeffHint == 16);
  qor_df_kernel_DeleteTask(&task);

  ASSERT_EQ(qor_df_kernel_dNewTask1D(&task, 6, x.data(), 1, 0, nullptr, 0, 0), 0);
  EXPECT_EQ(edit(2, 0, 1, nullptr, 0, nullptr, coeff.data(), 0), dfErrBadNy);
  qor_df_kernel_DeleteTask(&task);
}

TEST(TaskTest, PointerEditsAndQueries) {
  std::vector<double> x = Partition(6), x2 = Partition(6), y(12), coeff(64);
  dfTask* task = nullptr;
  ASSERT_EQ(qor_df_kernel_dNewTask1D(&task, 6, x.data(), 1, 2, y.data(), 32, 0), 0);
  const struct { int id, null_status; } ptr_cases[] = {
      {dfParamX, dfErrBadX},   {dfParamY, dfErrBadY},         {dfParamIc, dfErrBadIc},
      {dfParamBc, dfErrBadBc}, {dfParamCoeff, dfErrBadCoeff}, {6, dfErrBadParam}};
  for (const auto& c : ptr_cases)
    EXPECT_EQ(qor_df_kernel_dEditPtr(task, c.id, nullptr), c.null_status) << c.id;
  EXPECT_EQ(qor_df_kernel_dEditPtr(task, dfParamX, x2.data()), 0);
  EXPECT_EQ(qor_df_kernel_dEditPtr(task, dfParamCoeff, coeff.data()), 0);
  double* result = nullptr;
  for (const auto& [id, stored] : {std::pair{dfParamX, &x2}, {dfParamCoeff, &coeff}}) {
    EXPECT_EQ(qor_df_kernel_dQueryPtr(task, id, &result), 0);
    EXPECT_EQ(result, stored->data());
  }
  EXPECT_EQ(qor_df_kernel_dQueryPtr(task, 0, &result), dfErrBadParam);
  EXPECT_EQ(qor_df_kernel_dQueryPtr(task, 1, nullptr), dfErrNullResult);
  EXPECT_EQ(qor_df_kernel_dQueryPtr(nullptr, 1, &result), dfErrNullTask);

  // Indexed access: breakpoint-major values refuse, the index test comes next.
  void* entry = nullptr;
  EXPECT_EQ(qor_df_kernel_sEditIdxPtr(task, dfParamY, 0, y.data()), dfErrBadYHint);
  EXPECT_EQ(qor_df_kernel_dEditIdxPtr(task, dfParamCoeff, 2, coeff.data()), dfErrBadIndex);
  EXPECT_EQ(qor_df_kernel_dEditIdxPtr(task, dfParamCoeff, 1, nullptr), dfErrBadCoeff);
  EXPECT_EQ(qor_df_kernel_dEditIdxPtr(task, dfParamCoeff, 1, coeff.data() + 7), 0);
  EXPECT_EQ(qor_df_kernel_dEditIdxPtr(task, 3, 0, coeff.data()), dfErrBadParam);
  EXPECT_EQ(qor_df_kernel_sQueryIdxPtr(task, dfParamCoeff, 1, &entry), 0);
  EXPECT_EQ(entry, coeff.data() + 7);
  // The entry just past the table may be queried, not edited.
  EXPECT_EQ(qor_df_kernel_dQueryIdxPtr(task, dfParamCoeff, 2, &entry), 0);
  EXPECT_EQ(qor_df_kernel_dQueryIdxPtr(task, dfParamCoeff, 3, &entry), dfErrBadIndex);
  EXPECT_EQ(qor_df_kernel_dQueryIdxPtr(task, dfParamY, 0, &entry), dfErrBadYHint);
  EXPECT_EQ(qor_df_kernel_dQueryIdxPtr(task, 4, 0, &entry), dfErrBadParam);
  EXPECT_EQ(qor_df_kernel_dQueryIdxPtr(task, 2, 0, nullptr), dfErrNullResult);
  qor_df_kernel_DeleteTask(&task);
}

// Each allocation of creation and of the edits fails in turn; no block stays behind.
TEST(TaskTest, AllocationFailuresLeakNothing) {
  std::vector<float> x(300), y(600), coeff(4 * 600);
  for (int i = 0; i < 300; ++i) x[i] = static_cast<float>(i);
  const long live = alloc_control::LiveBlocks();
  dfTask* task = nullptr;
  const auto create = [&] {
    return qor_df_kernel_sNewTask1D(&task, 300, x.data(), 1, 2, y.data(), 0, 0);
  };
  const int failing_runs = alloc_control::ForEachFailure(
      create, [](int status) { EXPECT_EQ(status, dfErrNoMemory); },
      [&] {
        if (task != nullptr) qor_df_kernel_DeleteTask(&task);
        EXPECT_EQ(alloc_control::LiveBlocks(), live);
      });
  EXPECT_EQ(failing_runs, 3);
  ASSERT_EQ(create(), 0);
  {
    alloc_control::ScopedFailure failure(0);
    EXPECT_EQ(qor_df_kernel_sEditPtr(task, dfParamY, y.data()), dfErrNoMemory);
    EXPECT_EQ(task->yTable, nullptr);
    EXPECT_EQ(qor_df_kernel_sEditPPSpline1D(task, 4, 2, 2, nullptr, 0, nullptr, coeff.data(), 0),
              dfErrNoMemory);
    EXPECT_EQ(qor_df_kernel_iEditVal(task, dfParamXHint, 1), dfErrNoMemory);
    EXPECT_EQ(task->cellTable, nullptr);
  }
  EXPECT_EQ(qor_df_kernel_iEditVal(task, dfParamXHint, 1), 0);
  EXPECT_NE(task->cellTable, nullptr);
  qor_df_kernel_DeleteTask(&task);
  EXPECT_EQ(alloc_control::LiveBlocks(), live);
}
}  // namespace
