// Creating, copying and deleting streams, with every allocation failure injected in turn.
#include <stdint.h>

#include "stream_helpers.h"

namespace {
using LifecycleTest = LeakCheckedTest;

uint32_t Next(void* stream) {
  uint32_t x;
  __rofiBRngMCG31M1(stream, 1, &x);
  return x;
}

TEST_F(LifecycleTest, NewStreamSetsTheHeaderOrRefusesLeavingTheHandle) {
  const uint32_t seed = 9;
  for (int brng : {0x100000, 0x400000, 0, 3}) {
    void* stream = nullptr;
    ASSERT_EQ(__rofNewStreamEx(&stream, brng, 1, &seed), ROF_STATUS_OK);
    const rofStreamHeader* header = static_cast<const rofStreamHeader*>(stream);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(stream) % 128, 0u);
    EXPECT_TRUE(header->brng == brng && header->reserved == 1 && !header->chunks) << brng;
    EXPECT_EQ(__rofDeleteStream(&stream), ROF_STATUS_OK);
    EXPECT_EQ(stream, nullptr);
  }
  // Abstract families, invalid identifiers, and rows without functions (R250, legacy 279).
  for (int brng : {0xA00000, 0xB00000, 0xC00000, 0xA00001, 0x100001, 0x1100000 + (200 << 20),
                   281, 0x200000, 279}) {
    void* stream = &stream;
    EXPECT_EQ(__rofNewStreamEx(&stream, brng, 0, nullptr), ROF_STATUS_BAD_BRNG) << brng;
    EXPECT_EQ(stream, &stream) << brng;
  }
}

TEST_F(LifecycleTest, NewStreamWithoutMemory) {
  void* stream = &stream;
  alloc_control::ForEachFailure(
      [&] { return __rofNewStreamEx(&stream, ROF_BRNG_MCG59, 0, nullptr); },
      [&](int status) {
        EXPECT_EQ(status, ROF_STATUS_NO_MEMORY);
        EXPECT_EQ(stream, nullptr);
      },
      [&] {
        if (stream != nullptr) __rofDeleteStream(&stream);
      });
}

// The record is sized by the row; the payload is left to the caller.
TEST_F(LifecycleTest, AllocateStreamChecksTheMember) {
  void* stream = &stream;
  int row, sub_id;
  const rofBrngProperties* table = __rofGetBrngBaseOffset(ROF_BRNG_WH + 3, &row, &sub_id);
  EXPECT_EQ(__rofAllocateStream(&stream, table, ROF_BRNG_WH + 273, row, 273), ROF_STATUS_BAD_BRNG);
  EXPECT_EQ(stream, &stream);
  ASSERT_EQ(__rofAllocateStream(&stream, table, ROF_BRNG_WH + 3, row, sub_id), ROF_STATUS_OK);
  EXPECT_EQ(__rofGetStreamStateBrng(stream), ROF_BRNG_WH + 3);
  EXPECT_EQ(__rofGetStreamSize(stream), 48 + 8);
  __rofDeleteStream(&stream);
}

// A copy takes the header and private copies of the chunks, reversed, and advances on its own;
// a state copy takes the state and the chunks but keeps the generator.
TEST_F(LifecycleTest, CopyAndStateCopy) {
  void* source = NewMcgStream(77);
  static_cast<rofStreamHeader*>(source)->reserved = 7;
  ASSERT_EQ(__rofAddChunk(source, 1, nullptr, ChunkData(8, 1), 8), ROF_STATUS_OK);
  ASSERT_EQ(__rofAddChunk(source, 2, nullptr, ChunkData(0, 0), 0), ROF_STATUS_OK);
  EXPECT_EQ(__rofGetStreamSize(source), 24 + 8 + (8 + 24) + (0 + 24));
  Next(source);
  void* copy = nullptr;
  ASSERT_EQ(__rofCopyStream(&copy, source), ROF_STATUS_OK);
  EXPECT_EQ(static_cast<rofStreamHeader*>(copy)->reserved, 7);
  EXPECT_EQ(ChunkIds(copy), (std::vector<uint32_t>{1, 2}));
  EXPECT_NE(__rofSearchChunk(copy, 1), __rofSearchChunk(source, 1)) << "private data is copied";
  EXPECT_EQ(memcmp(__rofSearchChunk(copy, 1), __rofSearchChunk(source, 1), 8), 0);
  const uint32_t from_source = Next(source);
  EXPECT_EQ(Next(copy), from_source) << "same state, each advancing on its own";
  void* destination = NewMcgStream(99);
  __rofAddChunk(destination, 8, nullptr, ChunkData(4, 8), 4);
  static_cast<rofStreamHeader*>(destination)->brng = 0;  // legacy MCG31M1: kept as it is
  EXPECT_EQ(__rofCopyStreamState(source, source), ROF_STATUS_OK);
  EXPECT_EQ(ChunkIds(source), (std::vector<uint32_t>{2, 1}));
  ASSERT_EQ(__rofCopyStreamState(destination, source), ROF_STATUS_OK);
  EXPECT_EQ(__rofGetStreamStateBrng(destination), 0);
  EXPECT_EQ(ChunkIds(destination), (std::vector<uint32_t>{1, 2}));
  EXPECT_EQ(Next(destination), Next(copy)) << "source and copy have made the same steps";
  for (void* s : {source, copy, destination}) __rofDeleteStream(&s);
}
}  // namespace
