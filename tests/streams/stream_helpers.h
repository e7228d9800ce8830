// Helpers of the stream tests: a seeded MCG31M1 stream, chunk data, leak checks.
#ifndef QOR_TESTS_STREAMS_STREAM_HELPERS_H_
#define QOR_TESTS_STREAMS_STREAM_HELPERS_H_

#include <string.h>

#include <vector>

#include "tests/common/allocation_control.h"
#include "gtest/gtest.h"
#include "qor/core.h"
#include "qor/rof.h"

inline void* NewMcgStream(uint32_t seed) {
  void* stream = nullptr;
  EXPECT_EQ(__rofNewStreamEx(&stream, ROF_BRNG_MCG31M1, 1, &seed), ROF_STATUS_OK);
  return stream;
}

// `size` bytes of the allocator, each `value`, for a chunk to own.
inline void* ChunkData(int size, unsigned char value) {
  void* data = qor_serv_allocate(static_cast<size_t>(size), 128);
  memset(data, value, static_cast<size_t>(size));
  return data;
}

inline std::vector<uint32_t> ChunkIds(const void* stream) {
  std::vector<uint32_t> ids;
  for (const rofChunk* c = static_cast<const rofStreamHeader*>(stream)->chunks; c; c = c->next)
    ids.push_back(c->id);
  return ids;
}

// Fails the test if the live blocks differ at the end of the scope from its start.
class NoLeakScope {
 public:
  NoLeakScope() : before_(alloc_control::LiveBlocks()) {}
  ~NoLeakScope() { EXPECT_EQ(alloc_control::LiveBlocks(), before_) << "blocks leaked"; }

 private:
  long before_;
};

// A test that gets back every block it allocated.
class LeakCheckedTest : public ::testing::Test {
  NoLeakScope no_leak_;
};

#endif  // QOR_TESTS_STREAMS_STREAM_HELPERS_H_
