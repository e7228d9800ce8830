// The generator tests' stream: the common test stream with its state words and outputs.
#ifndef QOR_TESTS_GENERATORS_TEST_STREAM_H_
#define QOR_TESTS_GENERATORS_TEST_STREAM_H_

#include <stdint.h>

#include <vector>

#include "gtest/gtest.h"
#include "qor/rof.h"
#include "tests/common/test_stream.h"

inline const rofBrngProperties& Row(int brng) { return __RegBrngsNew[(brng >> 20) - 1]; }

class Stream : public TestStream {
 public:
  using TestStream::TestStream;
  // The twisters' state words: the record's payload begins with mt, then position, parameters.
  const uint32_t* Mt() const {
    return reinterpret_cast<const uint32_t*>(static_cast<char*>(static_cast<void*>(*this)) + 16);
  }
  // n outputs of the integer form, W as wide as the generator's word (or wider).
  template <class W = uint32_t>
  std::vector<W> Words(int n) const {
    std::vector<W> r(n);
    void* s = *this;
    EXPECT_EQ(Row(__rofGetStreamStateBrng(s)).iBrng(s, n, r.data()), ROF_STATUS_OK);
    return r;
  }
};

#endif  // QOR_TESTS_GENERATORS_TEST_STREAM_H_
