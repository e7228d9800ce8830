// Per-thread records: made on demand, kept apart, freed at thread exit; storage failure.
#include <stdint.h>

#include <atomic>
#include <barrier>
#include <thread>
#include <vector>

#include "gtest/gtest.h"
#include "qor/tem.h"
#include "tests/common/allocation_control.h"

namespace {

using alloc_control::LiveBlocks;

int CallbackA(temErrorContext*) { return 0; }
int CallbackB(temErrorContext*) { return 1; }

// Threads set their own state concurrently; records are counted while all threads wait.
TEST(ThreadStateTest, RecordsAreMadeOnFirstUseKeptApartAndFreedAtThreadExit) {
  _temGetMode();
  const long before = LiveBlocks();
  constexpr int kThreads = 16;
  std::barrier go(kThreads + 1), used_all(kThreads + 1), done(kThreads + 1);
  std::vector<std::thread> threads;
  std::atomic<int> failures{0};
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      const uint32_t mode = (i % 3 + 1) | (0x100u << i % 4) | (i % 2 ? 0x280000u : 0x140000u);
      const temErrorCallBack callback = i % 2 ? CallbackA : CallbackB;
      go.arrive_and_wait();
      _temSetErrStatus(i);
      _temSetMode(mode);
      _temSetErrorCallBack(callback);
      used_all.arrive_and_wait();
      failures += _temGetErrStatus() != i || _temGetMode() != (mode | 0x1000) ||
                  _temGetErrorCallBack() != callback;
      done.arrive_and_wait();
    });
  }
  const long unused = LiveBlocks();
  go.arrive_and_wait();
  used_all.arrive_and_wait();
  const long used = LiveBlocks();
  done.arrive_and_wait();
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(unused, before) << "a thread that has not called the library has no record";
  EXPECT_EQ(used, before + kThreads) << "one record per thread";
  EXPECT_EQ(LiveBlocks(), before) << "records are freed when their threads end";
  EXPECT_EQ(failures.load(), 0) << "a thread saw another's state";
}

TEST(ThreadStateDeathTest, StorageFailurePrintsMessage773AndExitsWith3) {
  EXPECT_EXIT(
      {
        alloc_control::FailAllocation(0);
        std::thread([] { _temGetMode(); }).join();
      },
      testing::ExitedWithCode(3), "cannot allocate the per-thread state");
}

}  // namespace
