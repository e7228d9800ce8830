// Core services of libqor_core.so: allocation, bounded copy, spin lock, environment, numbered
// messages, exit and the processor test.
#include <cpuid.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "qor/core.h"

// Sanitizer allocators abort on an impossible size unless told to return NULL, as the system
// allocator does; ImpossibleSizeGivesNull needs that NULL.
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }
extern "C" const char* __tsan_default_options() { return "allocator_may_return_null=1"; }

namespace {

using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

bool IsAligned(const void* p, size_t alignment) {
  return reinterpret_cast<uintptr_t>(p) % alignment == 0;
}

// --- Allocation ---

struct AlignmentCase {
  int requested;
  size_t expected;  // the alignment the block must have
};

class AllocateAlignmentTest : public testing::TestWithParam<AlignmentCase> {};

TEST_P(AllocateAlignmentTest, BlockIsAlignedAndWritable) {
  const AlignmentCase& c = GetParam();
  for (size_t size : {size_t{1}, size_t{24}, size_t{1000}, size_t{1} << 20}) {
    void* p = qor_serv_allocate(size, c.requested);
    ASSERT_NE(p, nullptr) << "size " << size;
    EXPECT_TRUE(IsAligned(p, c.expected)) << p << " size " << size;
    // The whole block belongs to the caller (a sanitizer build catches a short block).
    memset(p, 0xA5, size);
    EXPECT_EQ(static_cast<unsigned char*>(p)[size - 1], 0xA5);
    qor_serv_deallocate(p);
  }
}

// Alignments below the size of a pointer, power of two or not, count as a pointer's.
INSTANTIATE_TEST_SUITE_P(
    Alignments, AllocateAlignmentTest,
    testing::Values(AlignmentCase{0, sizeof(void*)}, AlignmentCase{3, sizeof(void*)},
                    AlignmentCase{16, 16}, AlignmentCase{128, 128}, AlignmentCase{4096, 4096}),
    [](const testing::TestParamInfo<AlignmentCase>& info) {
      return "Align" + std::to_string(info.param.requested);
    });

TEST(AllocateTest, NonPowerOfTwoAlignmentGivesNull) {
  for (int alignment : {12, 24, 48, 96, 100, 4095, 4097}) {
    void* p = qor_serv_allocate(64, alignment);
    EXPECT_EQ(p, nullptr) << "alignment " << alignment;
    qor_serv_deallocate(p);
  }
}

TEST(AllocateTest, SizeZeroGivesDistinctBlocks) {
  void* first = qor_serv_allocate(0, 64);
  void* second = qor_serv_allocate(0, 64);
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  EXPECT_NE(first, second);
  EXPECT_TRUE(IsAligned(first, 64));
  EXPECT_TRUE(IsAligned(second, 64));
  qor_serv_deallocate(first);
  qor_serv_deallocate(second);
}

TEST(AllocateTest, ImpossibleSizeGivesNull) {
  EXPECT_EQ(qor_serv_allocate(SIZE_MAX, 64), nullptr);
  EXPECT_EQ(qor_serv_allocate(SIZE_MAX - 4096, 8), nullptr);
}

// --- Bounded copy ---

constexpr char kSource[] = "ABCDEFGHIJKLMNOP";
constexpr char kUntouched = '.';

struct CopyCase {
  const char* label;
  bool null_dest;
  bool null_src;
  size_t dest_size;
  size_t count;
  int expected_code;
  // The destination buffer afterwards; it starts as all kUntouched.
  const char* expected_dest;
};

class MemcpySTest : public testing::TestWithParam<CopyCase> {};

TEST_P(MemcpySTest, CodeAndDestination) {
  const CopyCase& c = GetParam();
  char dest[17];
  memset(dest, kUntouched, 16);
  dest[16] = '\0';
  const int code = qor_serv_memcpy_s(c.null_dest ? nullptr : dest, c.dest_size,
                                     c.null_src ? nullptr : kSource, c.count);
  EXPECT_EQ(code, c.expected_code);
  EXPECT_EQ(std::string(dest, 16), std::string(c.expected_dest, 16));
}

// Cleared bytes are written as '\0' in the expected buffers.
INSTANTIATE_TEST_SUITE_P(
    Cases, MemcpySTest,
    testing::Values(CopyCase{"Partial", false, false, 8, 5, 0, "ABCDE..........."},
                    CopyCase{"ExactFit", false, false, 8, 8, 0, "ABCDEFGH........"},
                    CopyCase{"ZeroCount", false, false, 8, 0, 0, "................"},
                    CopyCase{"WholeBuffer", false, false, 16, 16, 0, "ABCDEFGHIJKLMNOP"},
                    CopyCase{"CountOneOver", false, false, 8, 9, 34, "\0\0\0\0\0\0\0\0........"},
                    CopyCase{"CountFarOver", false, false, 4, 16, 34, "\0\0\0\0............"},
                    CopyCase{"NullSource", false, true, 6, 3, 22, "\0\0\0\0\0\0.........."},
                    CopyCase{"NullSourceZeroCount", false, true, 6, 0, 22,
                             "\0\0\0\0\0\0.........."},
                    CopyCase{"NullDest", true, false, 8, 3, 22, "................"},
                    CopyCase{"BothNull", true, true, 8, 3, 22, "................"}),
    [](const testing::TestParamInfo<CopyCase>& info) { return std::string(info.param.label); });

// --- Spin lock ---

TEST(SpinLockTest, GivesMutualExclusion) {
  constexpr int kThreads = 4;
  constexpr int kIncrements = 100000;
  int lock_word = 0;
  long counter = 0;  // plain on purpose: only the lock keeps the increments whole
  std::atomic<int> inside{0};
  std::atomic<bool> overlapped{false};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < kIncrements; ++i) {
        qor_serv_lock(&lock_word);
        if (inside.fetch_add(1) != 0) overlapped = true;
        counter = counter + 1;
        inside.fetch_sub(1);
        qor_serv_unlock(&lock_word);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(counter, long{kThreads} * kIncrements);
  EXPECT_FALSE(overlapped);
}

// --- Environment ---

constexpr char kVariable[] = "QOR_CORE_TEST_VARIABLE";
constexpr char kFill = '#';

struct GetenvCase {
  const char* label;
  const char* value;  // nullptr: the variable is absent
  int size;
  int expected_return;
  const char* expected_buffer;
};

class GetenvTest : public testing::TestWithParam<GetenvCase> {
 protected:
  void TearDown() override { unsetenv(kVariable); }
};

TEST_P(GetenvTest, ReturnAndBuffer) {
  const GetenvCase& c = GetParam();
  if (c.value == nullptr) {
    ASSERT_EQ(unsetenv(kVariable), 0);
  } else {
    ASSERT_EQ(setenv(kVariable, c.value, 1), 0);
  }
  char buffer[32];
  memset(buffer, kFill, sizeof buffer);
  EXPECT_EQ(qor_serv_getenv(kVariable, buffer, c.size), c.expected_return);
  EXPECT_STREQ(buffer, c.expected_buffer);
  // Nothing is written past the given size.
  for (size_t i = static_cast<size_t>(c.size); i < sizeof buffer; ++i) {
    EXPECT_EQ(buffer[i], kFill) << "byte " << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, GetenvTest,
                         testing::Values(GetenvCase{"Absent", nullptr, 16, 0, ""},
                                         GetenvCase{"Present", "avx2", 16, 4, "avx2"},
                                         GetenvCase{"EmptyValue", "", 16, 0, ""},
                                         GetenvCase{"ExactFit", "0123456", 8, 7, "0123456"},
                                         GetenvCase{"OneByteTooLong", "01234567", 8, 8, ""},
                                         GetenvCase{"FarTooLong", "0123456789ABCDEF", 4, 16, ""}),
                         [](const testing::TestParamInfo<GetenvCase>& info) {
                           return std::string(info.param.label);
                         });

// --- Numbered messages ---

enum class Args { kNone, kName, kNameIndex, kIndexValue };

struct MessageCase {
  int number;
  Args args;
};

int ArgCount(Args args) { return args == Args::kNone ? 0 : args == Args::kName ? 1 : 2; }

constexpr char kName[] = "vdLGamma";
constexpr int kIndex = 40917;
constexpr double kValue = 0.1;
constexpr char kValue17[] = "0.10000000000000001";  // 0.1 with 17 significant digits

// Prints message `number` on `unit` with `count` arguments of the kinds `args` names (extra
// arguments are unread) and returns what qor_serv_print returned.
int Print(int unit, int number, int count, Args args) {
  switch (args) {
    case Args::kNone:
    case Args::kName:
      return qor_serv_print(unit, number, count, kName, kIndex);
    case Args::kNameIndex:
      return qor_serv_print(unit, number, count, kName, kIndex, kValue);
    case Args::kIndexValue:
      return qor_serv_print(unit, number, count, kIndex, kValue);
  }
  return -2;
}

struct Printed {
  int result;
  std::string out, err;
};

Printed PrintCaptured(int unit, int number, int count, Args args) {
  CaptureStdout();
  CaptureStderr();
  Printed printed;
  printed.result = Print(unit, number, count, args);
  printed.err = GetCapturedStderr();
  printed.out = GetCapturedStdout();
  return printed;
}

class PrintTest : public testing::TestWithParam<MessageCase> {};

TEST_P(PrintTest, PrintsOneLineWithItsArguments) {
  const MessageCase& m = GetParam();
  const Printed p = PrintCaptured(1, m.number, ArgCount(m.args), m.args);
  EXPECT_EQ(p.out, "");
  ASSERT_GT(p.err.size(), 1u);
  EXPECT_EQ(p.result, static_cast<int>(p.err.size()));
  EXPECT_EQ(p.err.back(), '\n');
  EXPECT_EQ(std::count(p.err.begin(), p.err.end(), '\n'), 1);
  EXPECT_EQ(p.err.find('%'), std::string::npos) << p.err;
  switch (m.args) {
    case Args::kNone:
      break;
    case Args::kName:
      EXPECT_NE(p.err.find(kName), std::string::npos) << p.err;
      break;
    case Args::kNameIndex:
      EXPECT_NE(p.err.find(kName), std::string::npos) << p.err;
      EXPECT_NE(p.err.find(std::to_string(kIndex)), std::string::npos) << p.err;
      break;
    case Args::kIndexValue:
      EXPECT_NE(p.err.find("[" + std::to_string(kIndex) + "]"), std::string::npos) << p.err;
      EXPECT_NE(p.err.find(kValue17), std::string::npos) << p.err;
      break;
  }
}

TEST_P(PrintTest, WrongCountPrintsNothing) {
  const MessageCase& m = GetParam();
  for (int count : {ArgCount(m.args) - 1, ArgCount(m.args) + 1, 5}) {
    const Printed p = PrintCaptured(1, m.number, count, m.args);
    EXPECT_EQ(p.result, -1) << "count " << count;
    EXPECT_EQ(p.err, "") << "count " << count;
    EXPECT_EQ(p.out, "") << "count " << count;
  }
}

constexpr MessageCase kMessages[] = {
    {748, Args::kNameIndex},  {749, Args::kName},       {750, Args::kName},
    {751, Args::kName},       {752, Args::kName},       {753, Args::kName},
    {754, Args::kName},       {755, Args::kIndexValue}, {756, Args::kIndexValue},
    {757, Args::kIndexValue}, {758, Args::kIndexValue}, {759, Args::kIndexValue},
    {760, Args::kIndexValue}, {761, Args::kIndexValue}, {762, Args::kIndexValue},
    {763, Args::kIndexValue}, {764, Args::kIndexValue}, {765, Args::kIndexValue},
    {766, Args::kIndexValue}, {773, Args::kNone}};

INSTANTIATE_TEST_SUITE_P(Messages, PrintTest, testing::ValuesIn(kMessages),
                         [](const testing::TestParamInfo<MessageCase>& info) {
                           return std::to_string(info.param.number);
                         });

TEST(PrintUnknownTest, ReturnsMinusOneAndPrintsNothing) {
  for (int number : {-1, 0, 1, 747, 767, 768, 772, 774, 100000}) {
    for (int count : {0, 1, 2}) {
      const Printed p = PrintCaptured(1, number, count, Args::kName);
      EXPECT_EQ(p.result, -1) << number << " with " << count;
      EXPECT_EQ(p.err + p.out, "") << number << " with " << count;
    }
  }
}

// --- Exit ---

TEST(ExitDeathTest, EndsTheProcessWithTheCode) {
  for (int code : {0, 3, 77}) {
    EXPECT_EXIT(qor_serv_exit(code), testing::ExitedWithCode(code), "") << "code " << code;
  }
}

// --- Processor test ---

// Independent reading: AVX-512F (leaf 7 EBX bit 16) and VAES (leaf 7 ECX bit 9), with the
// operating system saving the opmask and ZMM state (OSXSAVE, XCR0 bits 0xE6).
int ReadIcxClass() {
  unsigned eax, ebx, ecx, edx;
  if (__get_cpuid_max(0, nullptr) < 7 || !__get_cpuid(1, &eax, &ebx, &ecx, &edx)) return 0;
  if ((ecx & bit_OSXSAVE) == 0) return 0;
  unsigned xcr0_lo, xcr0_hi;
  __asm__("xgetbv" : "=a"(xcr0_lo), "=d"(xcr0_hi) : "c"(0));
  if ((xcr0_lo & 0xE6) != 0xE6) return 0;
  __cpuid_count(7, 0, eax, ebx, ecx, edx);
  return (ebx & bit_AVX512F) != 0 && (ecx & bit_VAES) != 0;
}

TEST(CpuIsIcxTest, AgreesWithCpuid) { EXPECT_EQ(qor_serv_cpuisicx(), ReadIcxClass()); }

}  // namespace
