// The element walk of both frame forms, driven by a test kernel run through the real frame.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <thread>
#include <random>
#include <vector>

#include "callback_script.h"
#include "frame/kernel_frame.h"
#include "gtest/gtest.h"
#include "qor/tem.h"

namespace {

constexpr tem::FunctionInfo kVectorInfo = {"vdTest", tem::Form::kVector, true};
constexpr tem::FunctionInfo kLoopInfo = {"vdTestLoop", tem::Form::kLoop, true};

thread_local std::vector<double> g_companion_inputs;  // on the calling thread

// 2x per lane; flags >= 1000, settles >= 1e6 to inf; the companion gives -x, reports >= 2000.
template <class E>
struct Doubling {
  using T = E;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 16 / sizeof(E) * 2;
  static constexpr bool kCanFail = true;
  static constexpr T kFlagFrom = 1000, kSettleFrom = 1e6, kReportFrom = 2000;

  static unsigned LaneBits(const tem::Vec<T>& x, T from) {
    alignas(16) T lanes[tem::Vec<T>::kLanes];
    x.StoreAligned(lanes);
    unsigned bits = 0;
    for (int i = 0; i < tem::Vec<T>::kLanes; ++i) bits |= unsigned(!(lanes[i] < from)) << i;
    return bits;
  }
  static void Compute(const tem::Vec<T> (&in)[1], tem::Vec<T> (&out)[1]) {
    out[0] = in[0] + in[0];
  }
  static int Flag(const tem::Vec<T> (&in)[1]) { return LaneBits(in[0], kFlagFrom); }
  static int Settle(const tem::Vec<T> (&in)[1], tem::Vec<T> (&out)[1], unsigned lanes) {
    alignas(16) T values[tem::Vec<T>::kLanes];
    out[0].StoreAligned(values);
    unsigned settled = LaneBits(in[0], kSettleFrom) & lanes;
    for (int i = 0; i < tem::Vec<T>::kLanes; ++i)
      if (settled & (1u << i)) values[i] = INFINITY;
    out[0] = tem::Vec<T>::LoadAligned(values);
    return lanes & ~settled;
  }
  static int Companion(const T (&in)[1], T (&out)[1]) {
    g_companion_inputs.push_back(in[0]);
    out[0] = -in[0];
    return in[0] >= kReportFrom || std::isnan(in[0]) ? TEM_STATUS_OVERFLOW : TEM_STATUS_OK;
  }
  static int Element(const T (&in)[1], T (&out)[1]) { return Companion(in, out); }
};

// Doubling whose loop form computes unflagged registers at once (Element doubles too).
template <class E>
struct BlockDoubling : Doubling<E> {
  static constexpr bool kLoopBlocks = true;
  static int Element(const E (&in)[1], E (&out)[1]) {
    if (in[0] >= Doubling<E>::kFlagFrom) return Doubling<E>::Companion(in, out);
    out[0] = in[0] + in[0];
    return TEM_STATUS_OK;
  }
};

template <const tem::FunctionInfo& kInfo, class K>
void Run(int n, const typename K::T* a, typename K::T* r) {
  tem::Run<kInfo, K>(n, tem::Contiguous<K>{{a}, {r}});
}

template <class T>
class VectorWalkTest : public testing::Test {};
using RealTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(VectorWalkTest, RealTypes);

template <class T>
bool SameValue(T x, T y) { return (std::isnan(x) && std::isnan(y)) || x == y; }

// Every length and both error fields; arrays end at an inaccessible page; n < 0 does nothing.
TYPED_TEST(VectorWalkTest, EveryLengthMatchesTheElementModel) {
  using T = TypeParam;
  const T kinds[] = {T(1.5), T(-3), T(1500), T(2500), T(2e6), T(NAN), T(999.5), T(0)};
  const long page = sysconf(_SC_PAGESIZE);
  char* pages = static_cast<char*>(
      mmap(nullptr, 4 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  ASSERT_NE(pages, MAP_FAILED);
  mprotect(pages + page, page, PROT_NONE);
  mprotect(pages + 3 * page, page, PROT_NONE);
  for (uint32_t error_field : {0x1A00u, 0x2000u}) {
    const bool no_error = error_field == 0x2000;
    for (int n = -1; n <= 40; ++n) {
      T *a = reinterpret_cast<T*>(pages + page) - std::max(n, 0),
        *r = reinterpret_cast<T*>(pages + 3 * page) - std::max(n, 0);
      std::mt19937 gen(17 * n + 3);
      for (int i = 0; i < n; ++i) a[i] = kinds[gen() % 8];
      int status = 0;
      std::vector<double> companions, expected_companions;
      std::thread([&] {
        _temSetMode(error_field);
        g_companion_inputs.clear();
        Run<kVectorInfo, Doubling<T>>(n, a, r);
        if (n < 0) Run<kLoopInfo, Doubling<T>>(n, a, r);
        status = _temGetErrStatus();
        companions = g_companion_inputs;
      }).join();
      bool any_reported = false;
      for (int i = 0; i < n; ++i) {  // doubled, or settled to inf, or the companion's -x
        using K = Doubling<T>;
        const bool flagged = !(a[i] < K::kFlagFrom), settled = no_error && !(a[i] < K::kSettleFrom);
        const T expected = !flagged ? a[i] + a[i] : settled ? T(INFINITY) : -a[i];
        EXPECT_TRUE(SameValue(r[i], expected)) << "n " << n << " i " << i << " a " << a[i];
        if (flagged && !settled) expected_companions.push_back(a[i]);
        any_reported |= flagged && !settled && !(a[i] < K::kReportFrom);
      }
      ASSERT_EQ(companions.size(), expected_companions.size()) << "n " << n;
      for (size_t k = 0; k < companions.size(); ++k)
        EXPECT_TRUE(SameValue(companions[k], expected_companions[k])) << "order at " << k;
      EXPECT_EQ(status, any_reported && !no_error ? TEM_STATUS_OVERFLOW : 0) << "n " << n;
    }
  }
  munmap(pages, 4 * page);
}

// Reports in order with element numbers and original args; callback Res1 reaches the store.
// Forms: v vector, l loop, b loop in blocks (kLoopBlocks), s strided at -3.
TYPED_TEST(VectorWalkTest, ReportsAndCallbackReplacementsReachTheStore) {
  using T = TypeParam;
  const std::vector<T> block = {1, 2500, 2, 1500, 4, 5, 3000, 6, 7, 8, 9, 10, 11, 12, 13, 14, 4000};
  const struct { char form; bool in_place; int result; std::vector<T> a; std::vector<int> indices;
                 std::vector<T> r; } cases[] = {
      {'v', false, 0, block, {1, 6, 16},
       {2, 55, 4, -1500, 8, 10, 55, 12, 14, 16, 18, 20, 22, 24, 26, 28, 55}},
      {'v', true, 1, {1, 2, 2500, 4, 5}, {2}, {2, 4, -2500, 8, 10}},
      {'l', false, 0, {2500, 1, 3000, 2}, {0, 2}, {55, -1, 55, -2}},
      {'b', false, 0, {1, 2, 3, 2500, 5, 6, 7, 8, 9}, {3}, {2, 4, 6, 55, 10, 12, 14, 16, 18}},
      {'s', false, 0, {1, 2500, 3, 4, 5, 6, 3000}, {1, 6}, {2, 55, 6, 8, 10, 12, 55}}};
  for (const auto& c : cases) {
    const int n = int(c.a.size()), inc = c.form == 's' ? -3 : 1, step = std::abs(inc);
    std::vector<T> a(n * step, T(-77)), r(n * step + 1, T(-77));
    T* a0 = inc < 0 ? &a[(n - 1) * step] : a.data();  // element i at a0[i * inc]
    T* r0 = c.in_place ? a0 : inc < 0 ? &r[(n - 1) * step] : r.data();
    for (int i = 0; i < n; ++i) a0[i * inc] = c.a[i];
    CallbackScript script;
    script.result = c.result, script.new_res1 = 55;
    WithCallback(script, 0, [&] {
      if (c.form == 'v') Run<kVectorInfo, Doubling<T>>(n, a0, r0);
      if (c.form == 'l') Run<kLoopInfo, Doubling<T>>(n, a0, r0);
      if (c.form == 'b') Run<kLoopInfo, BlockDoubling<T>>(n, a0, r0);
      if (c.form == 's')
        tem::Run<kVectorInfo, Doubling<T>>(n, tem::Strided<Doubling<T>>{{a0}, {inc}, {r0}, {inc}});
    });
    ASSERT_EQ(script.seen.size(), c.indices.size()) << c.form;
    for (size_t k = 0; k < c.indices.size(); ++k) {
      EXPECT_EQ(script.seen[k].Index, c.indices[k]) << c.form << " report " << k;
      EXPECT_EQ(script.seen[k].Arg1, c.a[c.indices[k]]) << c.form << " report " << k;
    }
    for (int i = 0; i < n; ++i) EXPECT_EQ(r0[i * inc], c.r[i]) << c.form << " i " << i;
    if (!c.in_place) EXPECT_EQ(std::count(r.begin(), r.end(), T(-77)), n * (step - 1) + 1);
  }
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
