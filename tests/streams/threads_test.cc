// Streams with shared and private chunks churned by several threads; nothing left behind.
#include <barrier>
#include <thread>

#include "stream_helpers.h"
#include "streams/shared_data.h"

namespace {
const uint64_t kCommonKey[2] = {0xC0DE, 7};

// Adds a chunk and frees `data` when the table's data was taken instead.
void AddOwned(void* stream, uint32_t id, const uint64_t* key, int size) {
  void* data = ChunkData(size, static_cast<unsigned char>(id));
  ASSERT_EQ(__rofAddChunk(stream, id, key, data, size), ROF_STATUS_OK);
  if (__rofSearchChunk(stream, id) != data) qor_serv_deallocate(data);
}

void Churn(int thread, int rounds) {
  for (int round = 0; round < rounds; ++round) {
    void* stream = NewMcgStream(static_cast<uint32_t>(thread * 1000 + round + 1));
    const uint64_t own_key[2] = {static_cast<uint64_t>(thread + 1), static_cast<uint64_t>(round)};
    AddOwned(stream, 1, kCommonKey, 64);
    AddOwned(stream, 2, own_key, 16);
    AddOwned(stream, 3, nullptr, 8);
    void* copy = nullptr;
    ASSERT_EQ(__rofCopyStream(&copy, stream), ROF_STATUS_OK);
    EXPECT_EQ(__rofSearchChunk(copy, 1), __rofSearchChunk(stream, 1));
    EXPECT_EQ(static_cast<unsigned char*>(__rofSearchChunk(copy, 1))[63], 1);
    ASSERT_EQ(__rofCopyStreamState(copy, stream), ROF_STATUS_OK);
    uint32_t a[20], b[20];
    __rofiBRngMCG31M1(stream, 20, a);
    __rofiBRngMCG31M1(copy, 20, b);
    EXPECT_EQ(memcmp(a, b, sizeof a), 0);
    __rofDeleteStream(&stream);
    __rofDeleteStream(&copy);
  }
}

class ThreadsTest : public ::testing::TestWithParam<int> {};

TEST_P(ThreadsTest, CreateCopyDeleteWithSharedChunks) {
  NoLeakScope scope;
  const int threads = GetParam();
  std::barrier start(threads);
  std::vector<std::thread> workers;
  for (int t = 0; t < threads; ++t)
    workers.emplace_back([&, t] {
      start.arrive_and_wait();
      Churn(t, 300);
    });
  for (std::thread& worker : workers) worker.join();
  rofRODataEntry* entry;
  EXPECT_EQ(__rofFindGlobRODataTableEntry(&entry, kCommonKey), ROF_STATUS_RO_NOT_FOUND);
  EXPECT_EQ(rof::SharedEntryCount(), 0);
}

// A stream that holds the common key all along keeps the entry alive through the churn.
TEST_P(ThreadsTest, LongLivedHolderKeepsTheEntry) {
  NoLeakScope scope;
  void* holder = NewMcgStream(1);
  AddOwned(holder, 1, kCommonKey, 64);
  void* data = __rofSearchChunk(holder, 1);
  const int threads = GetParam();
  std::vector<std::thread> workers;
  for (int t = 0; t < threads; ++t) workers.emplace_back([t] { Churn(t, 100); });
  for (std::thread& worker : workers) worker.join();
  rofRODataEntry* entry = nullptr;
  ASSERT_EQ(__rofFindGlobRODataTableEntry(&entry, kCommonKey), ROF_STATUS_OK);
  EXPECT_EQ(entry->references, 1u);
  EXPECT_EQ(entry->data, data);
  __rofDeleteStream(&holder);
  EXPECT_EQ(rof::SharedEntryCount(), 0);
}

INSTANTIATE_TEST_SUITE_P(Threads, ThreadsTest, ::testing::Values(2, 8));
}  // namespace
