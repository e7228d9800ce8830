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
    __rofDeleteStream(&stream);
    __rofDeleteStream(&copy);
  }
}

// Without a holder the common entry comes and goes under the churn; with one it stays.
TEST(ThreadsTest, CreateCopyDeleteWithSharedChunks) {
  NoLeakScope scope;
  for (int threads : {2, 8})
    for (bool hold : {false, true}) {
      SCOPED_TRACE(testing::Message() << threads << " threads, holder " << hold);
      void* holder = NewMcgStream(1);
      if (hold) AddOwned(holder, 1, kCommonKey, 64);
      std::barrier start(threads);
      std::vector<std::thread> workers;
      for (int t = 0; t < threads; ++t)
        workers.emplace_back([&, t] {
          start.arrive_and_wait();
          Churn(t, 200);
        });
      for (std::thread& worker : workers) worker.join();
      rofRODataEntry* entry = nullptr;
      EXPECT_EQ(__rofFindGlobRODataTableEntry(&entry, kCommonKey),
                hold ? ROF_STATUS_OK : ROF_STATUS_RO_NOT_FOUND);
      if (hold && entry)
        EXPECT_TRUE(entry->references == 1 && entry->data == __rofSearchChunk(holder, 1));
      __rofDeleteStream(&holder);
      EXPECT_EQ(rof::SharedEntryCount(), 0);
    }
}
}  // namespace
