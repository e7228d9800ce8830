// Core services: allocation, bounded copy, spin lock, environment, messages, exit, cpu test.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "qor/core.h"

// Sanitizer allocators must return NULL for an impossible size, as the system one does.
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }
extern "C" const char* __tsan_default_options() { return "allocator_may_return_null=1"; }

namespace {
// Alignments below a pointer's size, power of two or not, count as a pointer's; size 0 gives
// distinct blocks.
TEST(AllocateTest, AlignmentSizeZeroAndBadRequests) {
  const struct { int requested; size_t expected; } alignments[] = {
      {0, sizeof(void*)}, {3, sizeof(void*)}, {16, 16}, {128, 128}, {4096, 4096}};
  for (const auto& c : alignments)
    for (size_t size : {size_t{0}, size_t{1}, size_t{24}, size_t{1} << 20}) {
      void* p = qor_serv_allocate(size, c.requested);
      ASSERT_NE(p, nullptr) << c.requested << " size " << size;
      EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % c.expected, 0u) << c.requested << " " << size;
      memset(p, 0xA5, size);  // the whole block is the caller's (a sanitizer sees a short one)
      qor_serv_deallocate(p);
    }
  for (int alignment : {12, 24, 100, 4095, 4097})
    EXPECT_EQ(qor_serv_allocate(64, alignment), nullptr) << alignment;
  void* first = qor_serv_allocate(0, 64);
  void* second = qor_serv_allocate(0, 64);
  EXPECT_TRUE(first != nullptr && second != nullptr && first != second);
  qor_serv_deallocate(first);
  qor_serv_deallocate(second);
  EXPECT_EQ(qor_serv_allocate(SIZE_MAX, 64), nullptr);
  EXPECT_EQ(qor_serv_allocate(SIZE_MAX - 4096, 8), nullptr);
}

// One row per path (a copy that fits, exactly, of nothing, one too long, null source or
// destination); the destination starts as 16 dots, cleared bytes are '\0' in the expected ones.
TEST(MemcpySTest, CodeAndDestination) {
  const char kSource[] = "ABCDEFGHIJKLMNOP";
  const struct {
    bool null_dest, null_src;
    size_t dest_size, count;
    int code;
    const char* dest;
  } cases[] = {
      {false, false, 8, 5, 0, "ABCDE..........."},  {false, false, 8, 8, 0, "ABCDEFGH........"},
      {false, false, 8, 0, 0, "................"},
      {false, false, 8, 9, 34, "\0\0\0\0\0\0\0\0........"},
      {false, true, 6, 3, 22, "\0\0\0\0\0\0.........."},
      {false, true, 6, 0, 22, "\0\0\0\0\0\0.........."},
      {true, true, 8, 3, 22, "................"}};
  for (const auto& c : cases) {
    char dest[16];
    memset(dest, '.', 16);
    EXPECT_EQ(qor_serv_memcpy_s(c.null_dest ? nullptr : dest, c.dest_size,
                                c.null_src ? nullptr : kSource, c.count),
              c.code) << c.dest_size << " " << c.count;
    EXPECT_EQ(std::string(dest, 16), std::string(c.dest, 16)) << c.dest_size << " " << c.count;
  }
}

TEST(SpinLockTest, GivesMutualExclusion) {
  constexpr int kThreads = 4, kIncrements = 100000;
  int lock_word = 0;
  long counter = 0;  // plain on purpose: only the lock keeps the increments whole
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < kIncrements; ++i) {
        qor_serv_lock(&lock_word);
        counter = counter + 1;
        qor_serv_unlock(&lock_word);
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(counter, long{kThreads} * kIncrements);
}

// Return value and buffer; nothing is written past the given size.
TEST(GetenvTest, ReturnAndBuffer) {
  const char kVariable[] = "QOR_CORE_TEST_VARIABLE";
  const struct { const char* value; int size, result; const char* buffer; } cases[] = {
      {nullptr, 16, 0, ""},          {"avx2", 16, 4, "avx2"},        {"", 16, 0, ""},
      {"0123456", 8, 7, "0123456"},  {"01234567", 8, 8, ""},  {"0123456789ABCDEF", 4, 16, ""}};
  for (const auto& c : cases) {
    if (c.value == nullptr) unsetenv(kVariable);
    else setenv(kVariable, c.value, 1);
    char buffer[32];
    memset(buffer, '#', sizeof buffer);
    EXPECT_EQ(qor_serv_getenv(kVariable, buffer, c.size), c.result) << c.size;
    EXPECT_STREQ(buffer, c.buffer);
    for (size_t i = c.size; i < sizeof buffer; ++i) EXPECT_EQ(buffer[i], '#') << i;
  }
  unsetenv(kVariable);
}

// Each message prints one line with the right argument count, nothing (-1) otherwise.
TEST(PrintTest, MessagesTheirArgumentsAndCounts) {
  enum Args { kNone, kName, kNameIndex, kIndexValue };
  auto print = [](int number, int count, Args args) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int result = args == kIndexValue  ? qor_serv_print(1, number, count, 40917, 0.1)
                       : args == kNameIndex ? qor_serv_print(1, number, count, "vdLGamma", 40917)
                                            : qor_serv_print(1, number, count, "vdLGamma");
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    return std::make_pair(result, err);
  };
  std::vector<std::pair<int, Args>> messages = {{748, kNameIndex}, {773, kNone}};
  for (int number = 749; number <= 754; ++number) messages.push_back({number, kName});
  for (int number = 755; number <= 766; ++number) messages.push_back({number, kIndexValue});
  for (const auto& [number, args] : messages) {
    const int count = args == kNone ? 0 : args == kName ? 1 : 2;
    const auto [result, line] = print(number, count, args);
    EXPECT_EQ(result, int(line.size())) << number;
    ASSERT_EQ(line.find('\n'), line.size() - 1) << number << line;  // one line
    EXPECT_EQ(line.find('%'), std::string::npos) << line;
    const char* shown[] = {"", "vdLGamma", "40917", "[40917] = 0.10000000000000001"};
    EXPECT_NE(line.find(shown[args]), std::string::npos) << line;
    if (args == kNameIndex) EXPECT_NE(line.find("vdLGamma"), std::string::npos) << line;
    for (int wrong : {count - 1, count + 1, 5})
      EXPECT_EQ(print(number, wrong, args), std::make_pair(-1, std::string()))
          << number << " " << wrong;
  }
  for (int number : {-1, 0, 747, 767, 772, 774})
    for (int count : {0, 1, 2})
      EXPECT_EQ(print(number, count, kName), std::make_pair(-1, std::string())) << number;
}

TEST(ExitDeathTest, EndsTheProcessWithTheCode) {
  for (int code : {0, 3, 77}) EXPECT_EXIT(qor_serv_exit(code), testing::ExitedWithCode(code), "");
}

// AVX-512F and VAES usable, by the compiler's own detection (which checks the saved state).
TEST(CpuIsIcxTest, AgreesWithTheCompilersDetection) {
  __builtin_cpu_init();
  const bool icx = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("vaes");
  EXPECT_EQ(qor_serv_cpuisicx(), icx ? 1 : 0);
}
}  // namespace
