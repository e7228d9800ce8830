// A basic generator's stream for the tests, seeded with a key, deleted at the end of the scope.
#ifndef QOR_TESTS_COMMON_TEST_STREAM_H_
#define QOR_TESTS_COMMON_TEST_STREAM_H_

#include <stdint.h>

#include <vector>

#include "gtest/gtest.h"
#include "qor/rof.h"

class TestStream {
 public:
  explicit TestStream(int brng = ROF_BRNG_MT19937, std::vector<uint32_t> key = {7777}) {
    EXPECT_EQ(__rofNewStreamEx(&stream_, brng, static_cast<int>(key.size()), key.data()),
              ROF_STATUS_OK);
  }
  ~TestStream() { __rofDeleteStream(&stream_); }
  TestStream(const TestStream&) = delete;
  operator void*() const { return stream_; }

 private:
  void* stream_ = nullptr;
};

#endif  // QOR_TESTS_COMMON_TEST_STREAM_H_
