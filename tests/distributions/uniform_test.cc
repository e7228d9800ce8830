// Uniform and bit generators against the basic generators' own output.
#include <math.h>

#include <vector>

#include "tests/distributions/distribution_support.h"

namespace {

using dist_test::ScriptedStream;
using dist_test::TestStream;

TEST(UniformTest, RealUniformsAreTheGeneratorsOutput) {
  TestStream s1, s2;
  std::vector<double> d(1000), expect_d(1000);
  ASSERT_EQ(_rofdRngUniform(0, s1, 1000, d.data(), -2, 5), ROF_STATUS_OK);
  ASSERT_EQ(__rofdBRngMT19937(s2, 1000, expect_d.data(), -2, 5), ROF_STATUS_OK);
  EXPECT_EQ(d, expect_d);
  std::vector<float> f(1000), expect_f(1000);
  ASSERT_EQ(_rofsRngUniform(ROF_ACCURATE_BIT, s1, 1000, f.data(), 1, 3), ROF_STATUS_OK);
  ASSERT_EQ(__rofsBRngMT19937(s2, 1000, expect_f.data(), 1, 3), ROF_STATUS_OK);
  EXPECT_EQ(f, expect_f);
}

// Generator outputs below a, above b, at the ends and NaN; only the accurate form clamps.
TEST(UniformTest, AccurateBitClampsIntoTheClosedInterval) {
  const std::vector<double> u = {-0.5, 0.0, 0.25, 1.0, 1.5, NAN};
  const double a = 2, b = 6;
  const std::vector<double> plain = {0, 2, 3, 6, 8, NAN}, clamped = {2, 2, 3, 6, 6, NAN};
  for (int method : {0, ROF_ACCURATE_BIT}) {
    const std::vector<double>& expect = method ? clamped : plain;
    ScriptedStream ds(u);
    std::vector<double> d(u.size());
    ASSERT_EQ(_rofdRngUniform(method, ds, 6, d.data(), a, b), ROF_STATUS_OK);
    ScriptedStream ss(u);
    std::vector<float> f(u.size());
    ASSERT_EQ(_rofsRngUniform(method, ss, 6, f.data(), a, b), ROF_STATUS_OK);
    for (size_t i = 0; i < u.size(); ++i) {
      SCOPED_TRACE(i);
      EXPECT_TRUE(d[i] == expect[i] || (isnan(d[i]) && isnan(expect[i]))) << d[i];
      EXPECT_TRUE(f[i] == expect[i] || (isnan(f[i]) && isnan(expect[i]))) << f[i];
    }
  }
}

TEST(UniformTest, IntegersAreFlooredInBlocksOf1024) {
  for (int n : {1, 1023, 1024, 1025, 3000}) {
    SCOPED_TRACE(n);
    TestStream s1, s2;
    std::vector<int> r(n + 1, 12345);
    ASSERT_EQ(_rofiRngUniform(ROF_ACCURATE_BIT, s1, n, r.data(), -3, 3), ROF_STATUS_OK);
    std::vector<double> u(n + 1);
    ASSERT_EQ(__rofdBRngMT19937(s2, n, u.data(), -3, 3), ROF_STATUS_OK);
    for (int i = 0; i < n; ++i) ASSERT_EQ(r[i], static_cast<int>(floor(u[i]))) << i;
    EXPECT_EQ(r[n], 12345) << "nothing past n";
    // Both streams stand at the same place: the next values agree.
    double next1, next2;
    __rofdBRngMT19937(s1, 1, &next1, 0, 1);
    __rofdBRngMT19937(s2, 1, &next2, 0, 1);
    EXPECT_EQ(next1, next2);
  }
}

TEST(UniformTest, IntegerFloorOfNegativeValuesAndOfWholeOnes) {
  ScriptedStream s({0.5 - 0.5 / 6, 2.0 / 6, 0.999999, 0.0, 1e9});
  int r[5];
  ASSERT_EQ(_rofiRngUniform(0, s, 5, r, -3, 3), ROF_STATUS_OK);
  EXPECT_EQ(r[0], -1);  // -0.5
  EXPECT_EQ(r[1], -1);  // -1.0 exactly
  EXPECT_EQ(r[2], 2);
  EXPECT_EQ(r[3], -3);
  EXPECT_EQ(r[4], INT32_MIN) << "outside 32 bits: the integer-indefinite value";
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

TEST(UniformBitsTest, DirectFamiliesGiveTheGeneratorsWords) {
  for (int brng : {int{ROF_BRNG_MT19937}, ROF_BRNG_MT2203 + 3}) {
    TestStream s1(brng), s2(brng);
    std::vector<uint32_t> words(2001), expect(2001);
    ASSERT_EQ(_rofiRngUniformBits32(0, s1, 1001, words.data()), ROF_STATUS_OK);
    ASSERT_EQ(_rofiRngUniformBits64(0, s1, 500, reinterpret_cast<unsigned long long*>(
                                                    words.data() + 1001)),
              ROF_STATUS_OK);
    ASSERT_EQ(_rofiRngUniformBits(0, s2, 2001, expect.data()), ROF_STATUS_OK);
    EXPECT_EQ(words, expect) << "a 64-bit word is two 32-bit ones, the low half first";
  }
}

// MCG59's 64-bit words give their bits 27..58; whole blocks of 2048 and one more call.
TEST(UniformBitsTest, Mcg59WordsAreReducedToTheirTop32Bits) {
  for (int n : {1, 1023, 1024, 2047, 2048, 2049, 5000}) {
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

TEST(UniformBitsTest, UnsuitableFamiliesAreRefusedWithoutDrawing) {
  TestStream mcg(ROF_BRNG_MCG31M1);
  ScriptedStream user({1, 2, 3});
  for (void* stream : {mcg.get(), user.get()}) {
    uint32_t r32[4] = {};
    unsigned long long r64[4] = {};
    EXPECT_EQ(_rofiRngUniformBits32(0, stream, 4, r32), ROF_STATUS_BRNG_UNSUITABLE);
    EXPECT_EQ(_rofiRngUniformBits64(0, stream, 4, r64), ROF_STATUS_BRNG_UNSUITABLE);
  }
  EXPECT_EQ(dist_test::CurrentScript().drawn, 0);
  uint32_t first, expect;
  TestStream fresh(ROF_BRNG_MCG31M1);
  __rofiBRngMCG31M1(mcg, 1, &first);
  __rofiBRngMCG31M1(fresh, 1, &expect);
  EXPECT_EQ(first, expect) << "the refused stream did not move";
}

}  // namespace
