// Per-thread records: made on demand, independent between threads, freed at thread exit, and a
// storage failure that ends the process.
#include <stdint.h>

#include <atomic>
#include <barrier>
#include <thread>
#include <vector>

#include "frame/error_dispatch.h"
#include "gtest/gtest.h"
#include "qor/tem.h"
#include "tests/common/allocation_control.h"

namespace {

using alloc_control::LiveBlocks;

TEST(ThreadStateTest, RecordsAreMadeOnFirstUseAndFreedAtThreadExit) {
  _temGetMode();
  const long before = LiveBlocks();
  constexpr int kThreads = 16;
  // Each step lets the main thread read the count while every thread waits.
  std::barrier started(kThreads + 1), go(kThreads + 1), used_all(kThreads + 1), done(kThreads + 1);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      started.arrive_and_wait();
      go.arrive_and_wait();
      _temSetErrStatus(i);
      used_all.arrive_and_wait();
      done.arrive_and_wait();
    });
  }
  started.arrive_and_wait();
  const long unused = LiveBlocks();
  go.arrive_and_wait();
  used_all.arrive_and_wait();
  const long used = LiveBlocks();
  done.arrive_and_wait();
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(unused, before) << "a thread that has not called the library has no record";
  EXPECT_EQ(used, before + kThreads) << "one record per thread";
  EXPECT_EQ(LiveBlocks(), before) << "records are freed when their threads end";
}

int CallbackA(temErrorContext*) { return 0; }
int CallbackB(temErrorContext*) { return 1; }

// Every thread sets its own mode and callback, then reports its own code many times while the
// others do the same.
TEST(ThreadStateTest, ThreadsKeepTheirOwnModeStatusAndCallback) {
  constexpr int kThreads = 8;
  std::barrier set(kThreads);
  std::vector<std::thread> threads;
  std::atomic<int> failures{0};
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      const uint32_t mode = (i % 3 + 1) | (0x100u << i % 4) | (i % 2 ? 0x280000u : 0x140000u);
      const temErrorCallBack callback = i % 2 ? CallbackA : CallbackB;
      _temSetMode(mode);
      _temSetErrorCallBack(callback);
      set.arrive_and_wait();
      const int code = i % 4 + 1;
      double a = 1, r = 2;
      for (int k = 0; k < 2000; ++k) {
        _temSetMode(TEM_ERRMODE_IGNORE);
        tem::temErrorD(code, 0, &a, &a, &r, &r, "vdTest");
        failures += _temGetErrStatus() != code;
      }
      _temSetMode(mode);
      set.arrive_and_wait();
      failures += _temGetMode() != mode;
      failures += _temGetErrorCallBack() != callback;
    });
  }
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(failures.load(), 0);
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
