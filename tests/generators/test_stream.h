// A generator's stream for the generator tests: seeded with a key, deleted with the scope.
#ifndef QOR_TESTS_GENERATORS_TEST_STREAM_H_
#define QOR_TESTS_GENERATORS_TEST_STREAM_H_

#include <stdint.h>

#include <vector>

#include "gtest/gtest.h"
#include "qor/rof.h"

inline const rofBrngProperties& Row(int brng) { return __RegBrngsNew[(brng >> 20) - 1]; }

class Stream {
 public:
  Stream(int brng, std::vector<uint32_t> key) {
    EXPECT_EQ(__rofNewStreamEx(&s_, brng, static_cast<int>(key.size()), key.data()), 0);
  }
  ~Stream() { __rofDeleteStream(&s_); }
  Stream(const Stream&) = delete;
  operator void*() const { return s_; }
  // The twisters' state words: the record's payload begins with mt, then position, parameters.
  const uint32_t* Mt() const {
    return reinterpret_cast<const uint32_t*>(static_cast<char*>(s_) + 16);
  }
  // n outputs of the integer form, W as wide as the generator's word (or wider).
  template <class W = uint32_t>
  std::vector<W> Words(int n) const {
    std::vector<W> r(n);
    EXPECT_EQ(Row(__rofGetStreamStateBrng(s_)).iBrng(s_, n, r.data()), ROF_STATUS_OK);
    return r;
  }

 private:
  void* s_ = nullptr;
};

#endif  // QOR_TESTS_GENERATORS_TEST_STREAM_H_
