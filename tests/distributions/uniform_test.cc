// Uniform and bit generators against the basic generators' own output.
#include <math.h>

#include <vector>

#include "tests/distributions/distribution_support.h"

namespace {
using namespace dist_test;

// Real uniforms are the generator's output; only the accurate form clamps into [a, b].
TEST(UniformTest, RealUniformsAreTheGeneratorsOutputClampedWhenAccurate) {
  std::vector<double> d(6);
  std::vector<float> f(6);
  const std::vector<double> u = {-0.5, 0.0, 0.25, 1.0, 1.5, NAN};
  const std::vector<double> plain = {0, 2, 3, 6, 8, NAN}, clamped = {2, 2, 3, 6, 6, NAN};
  for (int method : {0, ROF_ACCURATE_BIT}) {
    const std::vector<double>& expect = method ? clamped : plain;
    ScriptedStream ds(u);
    ASSERT_EQ(_rofdRngUniform(method, ds, 6, d.data(), 2, 6), ROF_STATUS_OK);
    ScriptedStream ss(u);
    ASSERT_EQ(_rofsRngUniform(method, ss, 6, f.data(), 2, 6), ROF_STATUS_OK);
    for (size_t i = 0; i < u.size(); ++i)
      for (double got : {d[i], double(f[i])})
        EXPECT_TRUE(got == expect[i] || (isnan(got) && isnan(expect[i]))) << i << " " << got;
  }
}

// Integers are floors of the double uniforms, in blocks of 1024, nothing written past n.
TEST(UniformTest, IntegersAreFlooredInBlocksOf1024) {
  for (int n : {1, 1023, 1024, 1025, 3000}) {
    SCOPED_TRACE(n);
    TestStream s1, s2;
    std::vector<int> r(n + 1, 12345);
    ASSERT_EQ(_rofiRngUniform(ROF_ACCURATE_BIT, s1, n, r.data(), -3, 3), ROF_STATUS_OK);
    const std::vector<double> u = Uniforms<double>(s2, n, -3, 3);
    for (int i = 0; i < n; ++i) ASSERT_EQ(r[i], static_cast<int>(floor(u[i]))) << i;
    EXPECT_EQ(r[n], 12345) << "nothing past n";
    EXPECT_EQ(Uniforms<double>(s1, 1, 0, 1), Uniforms<double>(s2, 1, 0, 1));
  }
  ScriptedStream s({0.5 - 0.5 / 6, 2.0 / 6, 0.999999, 0.0, 1e9});
  int r[5];
  ASSERT_EQ(_rofiRngUniform(0, s, 5, r, -3, 3), ROF_STATUS_OK);
  // -0.5, -1.0 exactly, 2.99.., -3, and outside 32 bits the integer-indefinite value.
  EXPECT_EQ(std::vector<int>(r, r + 5), (std::vector<int>{-1, -1, 2, -3, INT32_MIN}));
}

TEST(UniformTest, FailuresPassThroughAndZeroCountsDrawNothing) {
  ScriptedStream s({0.5}, ROF_STATUS_BAD_ARGS);
  std::vector<double> d(4, 9);
  std::vector<int> i(4, 9);
  EXPECT_EQ(_rofdRngUniform(ROF_ACCURATE_BIT, s, 4, d.data(), 0, 1), ROF_STATUS_BAD_ARGS);
  EXPECT_EQ(_rofiRngUniform(0, s, 4, i.data(), 0, 1), ROF_STATUS_BAD_ARGS);
  EXPECT_EQ(d, std::vector<double>(4, 9));
  EXPECT_EQ(_rofiRngUniform(0, s, 0, i.data(), 0, 1), ROF_STATUS_OK) << "no generator call";
}

// A 64-bit word is two 32-bit ones, the low half first.
TEST(UniformBitsTest, DirectFamiliesGiveTheGeneratorsWords) {
  for (int brng : {int{ROF_BRNG_MT19937}, ROF_BRNG_MT2203 + 3}) {
    TestStream s1(brng), s2(brng);
    std::vector<uint32_t> words(2001), expect(2001);
    ASSERT_EQ(_rofiRngUniformBits32(0, s1, 1001, words.data()), ROF_STATUS_OK);
    ASSERT_EQ(_rofiRngUniformBits64(
                  0, s1, 500, reinterpret_cast<unsigned long long*>(words.data() + 1001)), 0);
    ASSERT_EQ(_rofiRngUniformBits(0, s2, 2001, expect.data()), ROF_STATUS_OK);
    EXPECT_EQ(words, expect);
  }
}

// MCG59's 64-bit words give their bits 27..58; whole blocks of 2048 and one more call.
TEST(UniformBitsTest, Mcg59WordsAreReducedToTheirTop32Bits) {
  for (int n : {1, 1024, 2048, 2049, 5000}) {
    SCOPED_TRACE(n);
    TestStream s1(ROF_BRNG_MCG59), s2(ROF_BRNG_MCG59), s3(ROF_BRNG_MCG59);
    std::vector<uint64_t> raw(2 * n);
    ASSERT_EQ(__rofiBRngMCG59(s3, 2 * n, raw.data()), ROF_STATUS_OK);
    std::vector<uint32_t> r32(n);
    std::vector<unsigned long long> r64(n);
    ASSERT_EQ(_rofiRngUniformBits32(0, s1, n, r32.data()), ROF_STATUS_OK);
    ASSERT_EQ(_rofiRngUniformBits64(0, s2, n, r64.data()), ROF_STATUS_OK);
    for (int i = 0; i < n; ++i) {
      ASSERT_EQ(r32[i], static_cast<uint32_t>(raw[i] >> 27)) << i;
      ASSERT_EQ(r64[i], (raw[2 * i] >> 27 & 0xFFFFFFFF) | (raw[2 * i + 1] >> 27) << 32) << i;
    }
  }
}

// MCG31M1 and a user family lack whole 32-bit words: refused, the stream not moved.
TEST(UniformBitsTest, UnsuitableFamiliesAreRefusedWithoutDrawing) {
  TestStream mcg(ROF_BRNG_MCG31M1), fresh(ROF_BRNG_MCG31M1);
  ScriptedStream user({1, 2, 3});
  for (void* stream : {static_cast<void*>(mcg), static_cast<void*>(user)}) {
    uint32_t r32[4] = {};
    unsigned long long r64[4] = {};
    EXPECT_EQ(_rofiRngUniformBits32(0, stream, 4, r32), ROF_STATUS_BRNG_UNSUITABLE);
    EXPECT_EQ(_rofiRngUniformBits64(0, stream, 4, r64), ROF_STATUS_BRNG_UNSUITABLE);
  }
  uint32_t first, expect;
  __rofiBRngMCG31M1(mcg, 1, &first);
  __rofiBRngMCG31M1(fresh, 1, &expect);
  EXPECT_EQ(first, expect) << "the refused stream did not move";
}
}  // namespace
