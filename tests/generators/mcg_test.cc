// MCG31M1 and MCG59: the sequence seed * a^i mod m in all three forms and for every call
// pattern, seeding, leapfrog, skip-ahead, methods and counts of zero.
#include <stdint.h>
#include <string.h>

#include <vector>

#include "gtest/gtest.h"
#include "qor/rof.h"

namespace {

// The one-at-a-time definition of each generator, in the test's own arithmetic.
struct Mcg31m1 {
  using Word = uint32_t;
  static constexpr int kBrng = ROF_BRNG_MCG31M1;
  static constexpr uint64_t kA = 1132489760, kM = 2147483647;
  static constexpr double kScale = 1.0 / 2147483647.0;
  static Word Step(Word x, uint64_t a) { return static_cast<Word>(x * a % kM); }
  static float Single(Word x, float a, float b) {
    return static_cast<float>((static_cast<double>(b) - a) * kScale * x + a);
  }
};

struct Mcg59 {
  using Word = uint64_t;
  static constexpr int kBrng = ROF_BRNG_MCG59;
  static constexpr uint64_t kA = 302875106592253ull, kM = 1ull << 59;
  static constexpr double kScale = 1.0 / 576460752303423488.0;
  static Word Step(Word x, uint64_t a) {
    return static_cast<Word>(static_cast<unsigned __int128>(x) * a % kM);
  }
  static float Single(Word x, float a, float b) {
    const float k = static_cast<float>((static_cast<double>(b) - a) * kScale);
    return static_cast<float>(static_cast<int64_t>(x)) * k + a;
  }
};

template <class G>
std::vector<typename G::Word> Reference(typename G::Word seed, int n, uint64_t a = G::kA) {
  std::vector<typename G::Word> x(n);
  for (int i = 0; i < n; ++i, seed = G::Step(seed, a)) x[i] = seed;
  return x;
}

template <class G>
double Double(typename G::Word x, double a, double b) {
  return (b - a) * G::kScale * static_cast<double>(static_cast<int64_t>(x)) + a;
}

template <class G>
class McgTest : public ::testing::Test {
 protected:
  using Word = typename G::Word;
  void SetUp() override { stream_ = New(12345); }
  void TearDown() override { __rofDeleteStream(&stream_); }

  static void* New(uint32_t seed) {
    void* stream = nullptr;
    EXPECT_EQ(__rofNewStreamEx(&stream, G::kBrng, 1, &seed), ROF_STATUS_OK);
    return stream;
  }
  const rofBrngProperties& Row() const { return __RegBrngsNew[(G::kBrng >> 20) - 1]; }
  std::vector<Word> Ints(int n) {
    std::vector<Word> r(n > 0 ? n : 1, 0);
    EXPECT_EQ(Row().iBrng(stream_, n, r.data()), ROF_STATUS_OK);
    return r;
  }

  void* stream_ = nullptr;
};

using Generators = ::testing::Types<Mcg31m1, Mcg59>;
TYPED_TEST_SUITE(McgTest, Generators);

// Fresh streams with every count from 1 to 70 (across every boundary of the blocks of 8 and
// 16) and one long count; each form in turn continues one sequence, and a last integer shows
// where the single form left the state.
TYPED_TEST(McgTest, EveryCountAndFormsInTurn) {
  using G = TypeParam;
  std::vector<int> counts = {1000};
  for (int n = 1; n <= 70; ++n) counts.push_back(n);
  for (int n : counts) {
    void* stream = this->New(n);
    const auto x = Reference<G>(n, 3 * n + 1);
    const double a = -3.5, b = 10.25;
    std::vector<typename G::Word> i(n);
    std::vector<double> d(n);
    std::vector<float> s(n);
    this->Row().dBrng(stream, n, d.data(), a, b);
    this->Row().iBrng(stream, n, i.data());
    this->Row().sBrng(stream, n, s.data(), float(a), float(b));
    for (int k = 0; k < n; ++k) {
      ASSERT_EQ(d[k], Double<G>(x[k], a, b)) << n << " " << k;
      ASSERT_EQ(i[k], x[n + k]) << n << " " << k;
      ASSERT_EQ(s[k], G::Single(x[2 * n + k], float(a), float(b))) << n << " " << k;
    }
    this->Row().iBrng(stream, 1, i.data());
    ASSERT_EQ(i[0], x[3 * n]) << n;
    __rofDeleteStream(&stream);
  }
}

TYPED_TEST(McgTest, LeapfrogTakesEveryNthElement) {
  using G = TypeParam;
  struct Case {
    int k, nstreams;
  };
  for (const Case c : {Case{2, 3}, Case{0, 1}, Case{5, 8}, Case{7, 7}, Case{9, 4}, Case{3, 0}}) {
    void* stream = this->New(4242);
    ASSERT_EQ(__rofLeapfrogStream(stream, c.k, c.nstreams), ROF_STATUS_OK);
    const auto x = Reference<G>(4242, c.k + 41 * c.nstreams + 1);
    std::vector<typename G::Word> r(40);
    this->Row().iBrng(stream, 40, r.data());
    for (int i = 0; i < 40; ++i)
      ASSERT_EQ(r[i], x[c.k + i * c.nstreams]) << c.k << " of " << c.nstreams << ", " << i;
    // Skip-ahead moves by the stream's own steps: 1 is nstreams places of the sequence.
    ASSERT_EQ(__rofSkipAheadStream(stream, 1), ROF_STATUS_OK);
    this->Row().iBrng(stream, 1, r.data());
    if (c.nstreams > 0) EXPECT_EQ(r[0], x[c.k + 41 * c.nstreams]);
    __rofDeleteStream(&stream);
  }
}

TYPED_TEST(McgTest, SkipAheadEqualsGeneratingAndDiscarding) {
  using G = TypeParam;
  for (long long nskip : {0LL, 1LL, 7LL, 8LL, 15LL, 16LL, 17LL, 1000LL, 65537LL}) {
    void* skipped = this->New(31337);
    void* stepped = this->New(31337);
    ASSERT_EQ(__rofSkipAheadStream(skipped, nskip), ROF_STATUS_OK);
    std::vector<typename G::Word> discard(nskip + 1), a(10), b(10);
    this->Row().iBrng(stepped, 1, discard.data());  // n = 0 would step MCG31M1 but not MCG59
    if (nskip > 1) this->Row().iBrng(stepped, static_cast<int>(nskip - 1), discard.data());
    if (nskip == 0) {
      __rofDeleteStream(&stepped);
      stepped = this->New(31337);
    }
    this->Row().iBrng(skipped, 10, a.data());
    this->Row().iBrng(stepped, 10, b.data());
    EXPECT_EQ(a, b) << nskip;
    __rofDeleteStream(&skipped);
    __rofDeleteStream(&stepped);
  }
}

TYPED_TEST(McgTest, RefusedMethodsChangeNothing) {
  using G = TypeParam;
  const uint64_t digits[2] = {1, 0};
  EXPECT_EQ(__rofSkipAheadStreamEx(this->stream_, 2, digits), ROF_STATUS_NO_SKIPAHEAD_EX);
  EXPECT_EQ(__rofLeapfrogStream(this->stream_, 0, -1), ROF_STATUS_BAD_STREAM_COUNT);
  for (int method : {4, -1, 1000})
    EXPECT_EQ(this->Row().initStream(method, this->stream_, 0, nullptr), ROF_STATUS_BAD_METHOD);
  EXPECT_EQ(this->Ints(2), Reference<G>(12345, 2)) << "the state did not move";
}

TEST(Mcg31m1Test, SeedsAndCountZero) {
  struct Case {
    int n;
    uint32_t seed;
    uint32_t first;
  };
  const Case cases[] = {{0, 55, 1}, {1, 0, 1}, {1, 2147483647u, 1}, {1, 2147483648u, 1},
                        {1, 4294967295u, 1}, {1, 2147483649u, 2}, {3, 99, 99}};
  for (const Case& c : cases) {
    const uint32_t params[3] = {c.seed, 1, 2};
    void* stream = nullptr;
    ASSERT_EQ(__rofNewStreamEx(&stream, ROF_BRNG_MCG31M1, c.n, c.n > 0 ? params : nullptr),
              ROF_STATUS_OK);
    uint32_t r[2] = {0, 0};
    // A count of zero writes element 0 and steps, just as a count of one.
    __rofiBRngMCG31M1(stream, 0, r);
    __rofiBRngMCG31M1(stream, 1, r + 1);
    EXPECT_EQ(r[0], c.first) << c.seed;
    EXPECT_EQ(r[1], Mcg31m1::Step(c.first, Mcg31m1::kA)) << c.seed;
    double d;
    float s;
    __rofdBRngMCG31M1(stream, 0, &d, 0.0, 1.0);
    __rofsBRngMCG31M1(stream, -3, &s, 0.0f, 1.0f);
    EXPECT_EQ(d, Double<Mcg31m1>(Reference<Mcg31m1>(c.first, 3)[2], 0.0, 1.0));
    EXPECT_EQ(s, Mcg31m1::Single(Reference<Mcg31m1>(c.first, 4)[3], 0.0f, 1.0f));
    __rofDeleteStream(&stream);
  }
  // The largest value maps below 1.
  void* stream = nullptr;
  const uint32_t top = 2147483646;
  __rofNewStreamEx(&stream, ROF_BRNG_MCG31M1, 1, &top);
  double d;
  __rofdBRngMCG31M1(stream, 1, &d, 0.0, 1.0);
  EXPECT_LT(d, 1.0);
  // The multiplier's order divides 2^31 - 2: a skip of that size comes back.
  ASSERT_EQ(__rofSkipAheadStream(stream, 2147483646LL), ROF_STATUS_OK);
  uint32_t x;
  __rofiBRngMCG31M1(stream, 1, &x);
  EXPECT_EQ(x, Mcg31m1::Step(top, Mcg31m1::kA));
  __rofDeleteStream(&stream);
}

TEST(Mcg59Test, SeedsAndCountZero) {
  struct Case {
    int n;
    uint32_t low, high;
    uint64_t first;
  };
  const Case cases[] = {{0, 5, 5, 1},
                        {1, 0, 9, 1},
                        {1, 0xFFFFFFFF, 9, 0xFFFFFFFF},
                        {2, 0, 0, 1},
                        {2, 5, 1u << 27, 5},  // bits above 58 are cut
                        {2, 6, 0x07FFFFFF, 0x07FFFFFF00000006ull},
                        {3, 6, 0x10, 0x1000000006ull}};
  for (const Case& c : cases) {
    const uint32_t params[3] = {c.low, c.high, 0xFFFFFFFF};
    void* stream = nullptr;
    ASSERT_EQ(__rofNewStreamEx(&stream, ROF_BRNG_MCG59, c.n, c.n > 0 ? params : nullptr),
              ROF_STATUS_OK);
    // A count of zero writes nothing and leaves the state.
    uint64_t untouched = 0xDEAD;
    double d = -1;
    float s = -1;
    __rofiBRngMCG59(stream, 0, &untouched);
    __rofdBRngMCG59(stream, 0, &d, 0.0, 1.0);
    __rofsBRngMCG59(stream, -2, &s, 0.0f, 1.0f);
    EXPECT_EQ(untouched, 0xDEADu);
    EXPECT_EQ(d, -1.0);
    EXPECT_EQ(s, -1.0f);
    uint64_t x;
    __rofiBRngMCG59(stream, 1, &x);
    EXPECT_EQ(x, c.first) << c.n << " " << c.low;
    __rofDeleteStream(&stream);
  }
}

}  // namespace
