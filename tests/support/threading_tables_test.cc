// Threading tables run every body once with the run's count and word, nested runs too.
#include <gtest/gtest.h>

#include <atomic>
#include <vector>

#include "support/threading_tables.h"

namespace {

struct Record {
  std::vector<std::atomic<int>> calls;
  std::atomic<int> bad_arguments{0};
  explicit Record(int n) : calls(n) {}
};

void Count(int64_t index, int64_t count, int64_t word, void* args) {
  auto* record = static_cast<Record*>(args);
  record->bad_arguments += count != static_cast<int64_t>(record->calls.size()) || word != 77;
  ++record->calls[index];
}

// Count, after a nested run of 4 on the pool whose every body must run once.
void Nested(int64_t index, int64_t count, int64_t word, void* args) {
  Record inner(4);
  qor_support_pool_threading(4)->parallelFor(77, 4, &inner, Count);
  for (auto& c : inner.calls) static_cast<Record*>(args)->bad_arguments += c.load() != 1;
  Count(index, count, word, args);
}

TEST(ThreadingTablesTest, EveryBodyRunsOnceWithCountAndWord) {
  for (const qorThreading* table : {qor_support_serial_threading(), qor_support_pool_threading(2),
                                    qor_support_pool_threading(5)})
    for (int blocks : {1, 3, 64, 1000})
      for (qorThreadBody body : {Count, Nested}) {
        Record record(blocks);
        EXPECT_EQ(table->parallelFor(77, blocks, &record, body), 0);
        for (int i = 0; i < blocks; ++i) ASSERT_EQ(record.calls[i].load(), 1) << blocks;
        EXPECT_EQ(record.bad_arguments.load(), 0);
      }
  EXPECT_EQ(qor_support_serial_threading()->threadCount(0, 0, 0, 0), 1);
  EXPECT_EQ(qor_support_pool_threading(5)->threadCount(0, 0, 0, 0), 5);
  EXPECT_EQ(qor_support_pool_threading(0)->threadCount(0, 0, 0, 0), 1);
  EXPECT_EQ(qor_support_pool_threading(1000)->threadCount(0, 0, 0, 0),
            qor_support_pool_max_threads());
}

}  // namespace
