// Chunk lists and the shared table: order, search, release, sharing, counts, limits, threads.
#include <barrier>
#include <thread>

#include "stream_helpers.h"
#include "streams/shared_data.h"

namespace {
using ChunksTest = LeakCheckedTest;

const uint64_t kKeyA[2] = {0xA, 1}, kKeyB[2] = {0xB, 1}, kKeyC[2] = {0xC, 1};

uint32_t References(const uint64_t key[2]) {
  rofRODataEntry* entry = nullptr;
  return __rofFindGlobRODataTableEntry(&entry, key) == ROF_STATUS_OK ? entry->references : 0;
}

TEST_F(ChunksTest, NewestFirstAndSearchFindsTheNewest) {
  void* stream = NewMcgStream(1);
  EXPECT_EQ(__rofSearchChunk(stream, 1), nullptr);
  EXPECT_EQ(__rofGetNumChunks(stream), 0);
  void* newer = ChunkData(4, 2);
  __rofAddChunk(stream, 1, nullptr, ChunkData(4, 1), 4);
  __rofAddChunk(stream, 2, nullptr, ChunkData(4, 3), 4);
  __rofAddChunk(stream, 1, nullptr, newer, 4);
  EXPECT_EQ(ChunkIds(stream), (std::vector<uint32_t>{1, 2, 1}));
  EXPECT_EQ(__rofSearchChunk(stream, 1), newer);
  EXPECT_EQ(__rofSearchChunk(stream, 9), nullptr);
  __rofDeleteChunks(stream);
  EXPECT_EQ(__rofGetNumChunks(stream), 0);
  __rofDeleteStream(&stream);
}

TEST_F(ChunksTest, DeleteByIdKeepsItsListOutcome) {
  struct Case {
    std::vector<uint32_t> ids;  // in order of addition, so the list is reversed
    uint32_t removed;
    std::vector<uint32_t> reachable;
  };
  const Case cases[] = {
      {{6, 7, 5}, 7, {6}},       // list (5, 7, 6): node 5 drops out of the list
      {{7, 7}, 7, {}},           // nothing kept: empty
      {{7, 6}, 7, {6}},          // list (6, 7): the kept node's link skips the released one
      {{1, 2, 3}, 9, {1}},       // nothing removed, the head still moves to the last node
  };
  for (const Case& c : cases) {
    void* stream = NewMcgStream(1);
    for (uint32_t id : c.ids) __rofAddChunk(stream, id, nullptr, ChunkData(4, 0), 4);
    std::vector<rofChunk*> nodes;
    for (rofChunk* n = static_cast<rofStreamHeader*>(stream)->chunks; n; n = n->next)
      if (n->id != c.removed) nodes.push_back(n);
    __rofDeleteChunksById(stream, c.removed);
    EXPECT_EQ(ChunkIds(stream), c.reachable);
    // Release what dropped out of the list by hand.
    for (size_t i = 0; i + 1 < nodes.size(); ++i) {
      qor_serv_deallocate(nodes[i]->data);
      qor_serv_deallocate(nodes[i]);
    }
    __rofDeleteStream(&stream);
  }
}

TEST_F(ChunksTest, SharedKeyIsCountedAndFreedWithTheLastStream) {
  void* first = NewMcgStream(1);
  void* second = NewMcgStream(2);
  void* table_data = ChunkData(32, 1);
  ASSERT_EQ(__rofAddChunk(first, 9, kKeyA, table_data, 32), ROF_STATUS_OK);
  void* own = ChunkData(32, 2);
  ASSERT_EQ(__rofAddChunk(second, 9, kKeyA, own, 32), ROF_STATUS_OK);
  EXPECT_EQ(__rofSearchChunk(second, 9), table_data) << "the table's data is taken";
  qor_serv_deallocate(own);  // left to its owner
  EXPECT_EQ(References(kKeyA), 2u);

  void* copy = nullptr;
  ASSERT_EQ(__rofCopyStream(&copy, second), ROF_STATUS_OK);
  EXPECT_EQ(__rofSearchChunk(copy, 9), table_data) << "shared data is not copied";
  EXPECT_EQ(References(kKeyA), 3u);
  __rofDeleteStream(&copy);
  __rofDeleteStream(&first);
  EXPECT_EQ(References(kKeyA), 1u);
  EXPECT_EQ(static_cast<unsigned char*>(__rofSearchChunk(second, 9))[31], 1) << "still alive";
  __rofDeleteStream(&second);
  EXPECT_EQ(rof::SharedEntryCount(), 0);
}

// Each failing allocation of a copy or an add leaves no chunk and the shared count as it was.
TEST_F(ChunksTest, CopyAndAddWithoutMemoryLeaveNoChunks) {
  void* source = NewMcgStream(5);
  __rofAddChunk(source, 1, kKeyB, ChunkData(8, 1), 8);
  for (uint32_t id : {2u, 3u}) __rofAddChunk(source, id, nullptr, ChunkData(16, 0), 16);
  void* copy = &copy;
  const int runs = alloc_control::ForEachFailure([&] { return __rofCopyStream(&copy, source); },
      [&](int status) {
        EXPECT_EQ(status, ROF_STATUS_NO_MEMORY);
        if (copy != nullptr) EXPECT_EQ(__rofGetNumChunks(copy), 0);
        EXPECT_EQ(References(kKeyB), 1u);
      },
      [&] {
        if (copy != nullptr) __rofDeleteStream(&copy);
      });
  EXPECT_EQ(runs, 6);
  __rofDeleteStream(&source);
  EXPECT_EQ(References(kKeyB), 0u);
  void* stream = NewMcgStream(1);
  void* data = ChunkData(4, 0);
  alloc_control::FailAllocation(0);
  EXPECT_EQ(__rofAddChunk(stream, 1, kKeyC, data, 4), ROF_STATUS_NO_MEMORY);
  alloc_control::FailAllocation(-1);
  EXPECT_TRUE(__rofGetNumChunks(stream) == 0 && References(kKeyC) == 0) << "the list stays";
  qor_serv_deallocate(data);
  __rofDeleteStream(&stream);
}

// The shared table: lookups, references, the last entry moving into a freed place, identifiers,
// and the limit of 128 entries.
TEST_F(ChunksTest, SharedTable) {
  rofRODataEntry* entry = nullptr;
  const uint64_t zero[2] = {0, 0};
  EXPECT_EQ(__rofFindGlobRODataTableEntry(&entry, zero), ROF_STATUS_RO_NOT_FOUND);
  for (const uint64_t* key : {kKeyA, kKeyB, kKeyC})
    ASSERT_EQ(__rofCreateGlobRODataTableEntry(&entry, key, ChunkData(4, 0)), ROF_STATUS_OK);
  rofChunk chunk{};
  __rofRegisterGlobRODataReference(&chunk, kKeyB);
  EXPECT_EQ(References(kKeyB), 2u);
  ASSERT_EQ(__rofFindGlobRODataTableEntry(&entry, kKeyB), ROF_STATUS_OK);
  EXPECT_EQ(chunk.data, entry->data);
  // The last entry moves into a freed place and stays findable.
  __rofUnregisterGlobRODataReference(kKeyA);
  EXPECT_EQ(rof::SharedEntryCount(), 2);
  EXPECT_EQ(References(kKeyC), 1u);
  __rofUnregisterGlobRODataReference(kKeyB);
  EXPECT_EQ(References(kKeyB), 1u);
  __rofUnregisterGlobRODataReference(kKeyB);
  __rofUnregisterGlobRODataReference(kKeyC);
  EXPECT_EQ(rof::SharedEntryCount(), 0);
  uint64_t key[2] = {42, 0};
  EXPECT_EQ(__rofGenerateNewGlobalRODataTableEntryId(key, 0x1234), ROF_STATUS_OK);
  EXPECT_TRUE(key[0] == 42 && key[1] == 0x1234);
  uint64_t keys[129][2];
  for (int i = 0; i < 129; ++i) keys[i][0] = 100 + i, keys[i][1] = 5;
  for (int i = 0; i < 127; ++i)
    ASSERT_EQ(__rofCreateGlobRODataTableEntry(&entry, keys[i], ChunkData(1, 0)), ROF_STATUS_OK);
  // 127 in use: a chunk of a new key stays private.
  void* stream = NewMcgStream(1);
  __rofAddChunk(stream, 1, kKeyA, ChunkData(4, 0), 4);
  const rofChunk* added = static_cast<rofStreamHeader*>(stream)->chunks;
  EXPECT_EQ(added->key[0] | added->key[1], 0u);
  EXPECT_EQ(References(kKeyA), 0u);
  __rofDeleteStream(&stream);
  // The creation call itself fills the last place; the next is refused.
  EXPECT_EQ(__rofCreateGlobRODataTableEntry(&entry, keys[127], nullptr), ROF_STATUS_OK);
  rofRODataEntry* refused = nullptr;
  EXPECT_EQ(__rofCreateGlobRODataTableEntry(&refused, keys[128], nullptr),
            ROF_STATUS_RO_TABLE_FULL);
  EXPECT_EQ(refused, nullptr);
  for (int i = 0; i < 128; ++i) __rofUnregisterGlobRODataReference(keys[i]);
  EXPECT_EQ(rof::SharedEntryCount(), 0);
}

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
TEST_F(ChunksTest, ThreadsCreateCopyAndDeleteWithSharedChunks) {
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
