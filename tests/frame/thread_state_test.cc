// Per-thread records: made on demand, independent between threads, freed at thread exit, and a
// storage failure that ends the process. The core allocator is interposed here to count blocks
// and to fail on request.
#include <dlfcn.h>
#include <stdint.h>

#include <atomic>
#include <barrier>
#include <thread>
#include <vector>

#include "frame/error_dispatch.h"
#include "gtest/gtest.h"
#include "qor/core.h"
#include "qor/tem.h"

namespace {

std::atomic<long> g_live_blocks{0};
std::atomic<bool> g_fail_allocation{false};

using AllocateFn = void* (*)(size_t, int);
using DeallocateFn = void (*)(void*);

template <class Fn>
Fn Next(const char* name) {
  return reinterpret_cast<Fn>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// The frame's objects are linked into this binary, so these definitions take the place of the
// core library's for them; the real ones are reached through RTLD_NEXT.
extern "C" void* qor_serv_allocate(size_t size, int alignment) {
  if (g_fail_allocation.load()) return nullptr;
  static const AllocateFn real = Next<AllocateFn>("qor_serv_allocate");
  void* block = real(size, alignment);
  if (block != nullptr) ++g_live_blocks;
  return block;
}

extern "C" void qor_serv_deallocate(void* block) {
  static const DeallocateFn real = Next<DeallocateFn>("qor_serv_deallocate");
  if (block != nullptr) --g_live_blocks;
  real(block);
}

namespace {

TEST(ThreadStateTest, RecordsAreMadeOnFirstUseAndFreedAtThreadExit) {
  _temGetMode();
  const long before = g_live_blocks.load();
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
  const long unused = g_live_blocks.load();
  go.arrive_and_wait();
  used_all.arrive_and_wait();
  const long used = g_live_blocks.load();
  done.arrive_and_wait();
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(unused, before) << "a thread that has not called the library has no record";
  EXPECT_EQ(used, before + kThreads) << "one record per thread";
  EXPECT_EQ(g_live_blocks.load(), before) << "records are freed when their threads end";
}

template <int I>
int Callback(temErrorContext*) {
  return I;
}

TEST(ThreadStateTest, ThreadsKeepTheirOwnModeStatusAndCallback) {
  constexpr int kThreads = 8;
  const temErrorCallBack callbacks[kThreads] = {Callback<1>, Callback<2>, Callback<3>,
                                                Callback<4>, Callback<5>, Callback<6>,
                                                Callback<7>, Callback<8>};
  const uint32_t error_fields[] = {0x100, 0x200, 0x400, 0x1000};
  std::barrier set(kThreads);
  std::vector<std::thread> threads;
  std::atomic<int> failures{0};
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      const uint32_t mode = (i % 3 + 1) | error_fields[i % 4] | (i % 2 ? 0x280000u : 0x140000u);
      _temSetMode(mode);
      _temSetErrorCallBack(callbacks[i]);
      set.arrive_and_wait();
      // Every thread reports its own code many times while the others do the same.
      const int code = i % 4 + 1;
      double a = 1, r = 2;
      for (int k = 0; k < 2000; ++k) {
        _temSetMode(TEM_ERRMODE_IGNORE);
        tem::temErrorD(code, 0, &a, &a, &r, &r, "vdTest");
        if (_temGetErrStatus() != code) ++failures;
      }
      _temSetMode(mode);
      set.arrive_and_wait();
      if (_temGetMode() != mode) ++failures;
      if (_temGetErrorCallBack() != callbacks[i]) ++failures;
    });
  }
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(failures.load(), 0);
}

TEST(ThreadStateDeathTest, StorageFailurePrintsMessage773AndExitsWith3) {
  EXPECT_EXIT(
      {
        g_fail_allocation = true;
        std::thread([] { _temGetMode(); }).join();
      },
      testing::ExitedWithCode(3), "cannot allocate the per-thread state");
}

TEST(ThreadStateTest, FreshRecordHasNoStatusCallbackOrBasePointer) {
  std::thread([] {
    EXPECT_EQ(_temGetErrStatus(), 0);
    EXPECT_EQ(_temGetErrorCallBack(), nullptr);
    // A zero base pointer leaves the reported index as the element number.
    static int seen = -1;
    _temSetErrorCallBack([](temErrorContext* c) {
      seen = c->Index;
      return 1;
    });
    double a[8] = {}, r[8] = {};
    tem::temErrorD(3, 6, a, a, r, r, "vdTest");
    EXPECT_EQ(seen, 6);
  }).join();
}

}  // namespace
