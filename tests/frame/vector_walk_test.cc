// The element walk of both frame forms, driven by a test kernel: blocks, tails, flagged lanes,
// the no-error loop, companion order, write-back through the dispatch, strides.
#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <random>
#include <vector>

#include "gtest/gtest.h"
#include "qor/tem.h"
#include "tests/frame/test_kernels.h"
#include "tests/frame/thread_runner.h"

namespace {

using test_kernels::Doubling;
using test_kernels::g_record;

template <class T>
class VectorWalkTest : public testing::Test {};
using RealTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(VectorWalkTest, RealTypes);

// What the frame must produce for one element, and whether the companion sees and reports it.
template <class T>
struct Expected { T value; bool companion, reported; };

template <class T>
Expected<T> Model(T x, bool no_error) {
  using K = Doubling<T>;
  if (x < K::kFlagFrom) return {x + x, false, false};
  if (no_error && !(x < K::kSettleFrom)) return {T(INFINITY), false, false};
  return {-x, true, !(x < K::kReportFrom)};
}

template <class T>
std::vector<T> MixedInputs(int n, unsigned seed) {
  std::mt19937 gen(seed);
  const T kinds[] = {T(1.5), T(-3), T(1500), T(2500), T(2e6), T(NAN), T(999.5), T(0)};
  std::vector<T> a(n);
  for (T& x : a) x = kinds[gen() % 8];
  return a;
}

template <class T>
bool SameValue(T x, T y) { return (std::isnan(x) && std::isnan(y)) || x == y; }

TYPED_TEST(VectorWalkTest, EveryLengthMatchesTheElementModel) {
  using T = TypeParam;
  const T kSentinel = T(-77);
  for (uint32_t error_field : {0x1A00u, 0x2000u}) {
    const bool no_error = error_field == 0x2000;
    for (int n = 0; n <= 40; ++n) {
      const std::vector<T> a = MixedInputs<T>(n, 17 * n + 3);
      std::vector<T> r(n + 8, kSentinel);
      int status = 0;
      std::vector<double> companions;
      OnFreshThread([&] {
        _temSetMode(error_field);
        g_record = {};
        test_kernels::RunVector<Doubling<T>>(n, a.data(), r.data());
        status = _temGetErrStatus();
        companions = g_record.companion_inputs;
      });
      std::vector<double> expected_companions;
      bool any_reported = false;
      for (int i = 0; i < n; ++i) {
        Expected<T> e = Model(a[i], no_error);
        EXPECT_TRUE(SameValue(r[i], e.value)) << "n " << n << " i " << i << " a " << a[i];
        if (e.companion) expected_companions.push_back(a[i]);
        any_reported |= e.reported;
      }
      for (int i = n; i < n + 8; ++i) EXPECT_EQ(r[i], kSentinel) << "n " << n << " wrote past";
      ASSERT_EQ(companions.size(), expected_companions.size()) << "n " << n;
      for (size_t k = 0; k < companions.size(); ++k)
        EXPECT_TRUE(SameValue(companions[k], expected_companions[k])) << "order at " << k;
      EXPECT_EQ(status, any_reported && !no_error ? TEM_STATUS_OVERFLOW : 0) << "n " << n;
    }
  }
}

TYPED_TEST(VectorWalkTest, NegativeCountDoesNothing) {
  using T = TypeParam;
  const T a[4] = {1, 2, 3, 4};
  T r[4] = {9, 9, 9, 9};
  test_kernels::RunVector<Doubling<T>>(-3, a, r);
  test_kernels::RunLoop<Doubling<T>>(-1, a, r);
  for (T x : r) EXPECT_EQ(x, 9);
}

// A buffer whose end touches an unmapped page: reading past it faults.
template <class T>
struct GuardedArray {
  explicit GuardedArray(int n) : page(sysconf(_SC_PAGESIZE)) {
    base = static_cast<char*>(
        mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    mprotect(base + page, page, PROT_NONE);
    data = reinterpret_cast<T*>(base + page) - n;
  }
  ~GuardedArray() { munmap(base, 2 * page); }
  long page;
  char* base;
  T* data;
};

TYPED_TEST(VectorWalkTest, TailReadsAndWritesNothingPastTheEnd) {
  using T = TypeParam;
  for (int n : {1, 2, 3, 5, 7, 9}) {
    GuardedArray<T> in(n), out(n);
    for (int i = 0; i < n; ++i) in.data[i] = T(i);
    test_kernels::RunVector<Doubling<T>>(n, in.data, out.data);
    test_kernels::RunVectorStrided<Doubling<T>>(n, in.data, 1, out.data, 1);
    for (int i = 0; i < n; ++i) EXPECT_EQ(out.data[i], T(2 * i));
  }
}

// What a callback saw (the index and first argument of each reported element), and what it
// does: sets Res1 to `new_res1` and returns `result`.
struct Reports {
  std::vector<int> indices;
  std::vector<double> args;
  int result;
  double new_res1;
};
thread_local Reports g_reports;

int RecordingCallback(temErrorContext* c) {
  g_reports.indices.push_back(c->Index);
  g_reports.args.push_back(c->Arg1);
  c->Res1 = g_reports.new_res1;
  return g_reports.result;
}

// Runs `body` on a fresh thread whose callback records each report.
template <class F>
Reports ReportsOf(int result, double new_res1, F body) {
  Reports reports;
  OnFreshThread([&] {
    g_reports = {{}, {}, result, new_res1};
    _temSetErrorCallBack(RecordingCallback);
    body();
    reports = g_reports;
  });
  return reports;
}

// Each report in order, with the argument as it was (in place too); the Res1 of a callback that
// returns 0 reaches the store, in blocks and in the loop form. 1500 is flagged silently.
TYPED_TEST(VectorWalkTest, ReportsAndCallbackReplacementsReachTheStore) {
  using T = TypeParam;
  const std::vector<T> block = {1, 2500, 2, 1500, 4, 5, 3000, 6, 7, 8, 9, 10, 11, 12, 13, 14, 4000};
  const struct { bool loop, in_place; int result; std::vector<T> a; std::vector<int> indices;
                 std::vector<T> r; } cases[] = {
      {false, false, 0, block, {1, 6, 16},
       {2, 55, 4, -1500, 8, 10, 55, 12, 14, 16, 18, 20, 22, 24, 26, 28, 55}},
      {false, true, 1, {1, 2, 2500, 4, 5}, {2}, {2, 4, -2500, 8, 10}},
      {true, false, 0, {2500, 1, 3000, 2}, {0, 2}, {55, -1, 55, -2}}};
  for (const auto& c : cases) {
    std::vector<T> a = c.a, r(a.size());
    T* out = c.in_place ? a.data() : r.data();
    const Reports reports = ReportsOf(c.result, 55, [&] {
      if (c.loop) test_kernels::RunLoop<Doubling<T>>(int(a.size()), a.data(), out);
      else test_kernels::RunVector<Doubling<T>>(int(a.size()), a.data(), out);
    });
    ASSERT_EQ(reports.indices, c.indices);
    for (size_t k = 0; k < c.indices.size(); ++k) EXPECT_EQ(reports.args[k], c.a[c.indices[k]]);
    EXPECT_EQ(std::vector<T>(out, out + a.size()), c.r);
  }
}

TYPED_TEST(VectorWalkTest, StridedWalkUsesElementNumbersAndEachStride) {
  using T = TypeParam;
  const int n = 11;
  for (int inca : {0, 1, 2, -3}) {
    for (int incr : {1, 3, -2}) {
      std::vector<T> a(40), r(40, T(-77));
      for (int i = 0; i < 40; ++i) a[i] = i == 9 ? T(2500) : T(i);
      const T* a0 = inca < 0 ? a.data() + (n - 1) * -inca : a.data();
      T* r0 = incr < 0 ? r.data() + (n - 1) * -incr : r.data();
      const Reports reports = ReportsOf(
          1, 0, [&] { test_kernels::RunVectorStrided<Doubling<T>>(n, a0, inca, r0, incr); });
      std::vector<int> expected_indices;
      for (int i = 0; i < n; ++i) {
        const T x = a0[static_cast<ptrdiff_t>(i) * inca];
        EXPECT_EQ(r0[static_cast<ptrdiff_t>(i) * incr], Model(x, false).value) << inca << incr;
        if (x == T(2500)) expected_indices.push_back(i);
      }
      EXPECT_EQ(reports.indices, expected_indices) << inca << " " << incr;
      for (double arg : reports.args) EXPECT_EQ(arg, 2500);
      EXPECT_EQ(std::count(r.begin(), r.end(), T(-77)), 40 - n) << inca << " " << incr;
    }
  }
}

// Clean registers are stored at once; a register with a flagged lane and the tail go element
// by element, in order, each report as its result is stored; nothing is written past the end.
TYPED_TEST(VectorWalkTest, LoopBlocksTakeCleanRegistersAtOnce) {
  using T = TypeParam;
  constexpr int kLanes = tem::Vec<T>::kLanes;
  std::vector<T> a, by_element;
  for (int i = 0; i < kLanes; ++i) a.push_back(T(1 + i));
  for (int i = 0; i < kLanes; ++i) {
    a.push_back(i == kLanes - 1 ? T(2500) : T(10 + i));
    by_element.push_back(a.back());
  }
  for (int i = 0; i < kLanes; ++i) a.push_back(T(20 + i));
  a.push_back(T(7));
  by_element.push_back(T(7));
  const int n = static_cast<int>(a.size());
  std::vector<T> r(n + 1, T(-77));
  std::vector<double> elements;
  const Reports reports = ReportsOf(0, 55, [&] {
    g_record = {};
    test_kernels::RunLoop<test_kernels::BlockDoubling<T>>(n, a.data(), r.data());
    elements = g_record.element_inputs;
  });
  EXPECT_EQ(elements, std::vector<double>(by_element.begin(), by_element.end()));
  EXPECT_EQ(reports.indices, (std::vector<int>{2 * kLanes - 1}));
  for (int i = 0; i < n; ++i) EXPECT_EQ(r[i], i == 2 * kLanes - 1 ? T(55) : a[i] + a[i]) << i;
  EXPECT_EQ(r[n], T(-77));
}

int g_slot_one_calls = 0;
void SlotOneSpy(int, const double*, const double*, double*) { ++g_slot_one_calls; }

// With every stride 1 the strided kernel is the contiguous function's slot 1, read at call time.
TEST(StridedFormTest, UnitStridesGoThroughSlotOneOfTheContiguousTable) {
  using Add = void (*)(int, const double*, const double*, double*);
  Add saved = qor_tem_kernel_dAdd_ttab[1];
  qor_tem_kernel_dAdd_ttab[1] = SlotOneSpy;
  const double a[3] = {1, 2, 3};
  double r[3] = {0, 0, 0};
  _temdAddI(3, a, 1, a, 1, r, 1);
  const int unit_calls = g_slot_one_calls;
  _temdAddI(2, a, 1, a, 1, r, 2);
  qor_tem_kernel_dAdd_ttab[1] = saved;
  EXPECT_EQ(unit_calls, 1);
  EXPECT_EQ(g_slot_one_calls, 1) << "another stride runs the strided frame itself";
  EXPECT_EQ(r[2], 4.0);
}

}  // namespace
