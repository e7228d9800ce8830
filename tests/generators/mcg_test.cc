// MCG31M1 and MCG59: seed * a^i mod m in all forms, seeding, leapfrog, skip-ahead, refusals.
#include <stdint.h>

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
  static constexpr bool kCountBelowOneIsOne = true;
  static Word Step(Word x) { return static_cast<Word>(x * kA % kM); }
  static float Single(Word x, float a, float b) {
    return static_cast<float>((static_cast<double>(b) - a) * kScale * x + a);
  }
};
struct Mcg59 {
  using Word = uint64_t;
  static constexpr int kBrng = ROF_BRNG_MCG59;
  static constexpr uint64_t kA = 302875106592253ull, kM = 1ull << 59;
  static constexpr double kScale = 1.0 / 576460752303423488.0;
  static constexpr bool kCountBelowOneIsOne = false;
  static Word Step(Word x) { return static_cast<Word>(static_cast<unsigned __int128>(x) * kA % kM); }
  static float Single(Word x, float a, float b) {
    const float k = static_cast<float>((static_cast<double>(b) - a) * kScale);
    return static_cast<float>(static_cast<int64_t>(x)) * k + a;
  }
};

template <class G>
std::vector<typename G::Word> Reference(typename G::Word seed, int n) {
  std::vector<typename G::Word> x(n);
  for (int i = 0; i < n; ++i, seed = G::Step(seed)) x[i] = seed;
  return x;
}
template <class G>
double Double(typename G::Word x, double a, double b) {
  return (b - a) * G::kScale * static_cast<double>(static_cast<int64_t>(x)) + a;
}

template <class G>
const rofBrngProperties& Row() {
  return __RegBrngsNew[(G::kBrng >> 20) - 1];
}
template <class G>
void* New(uint32_t seed) {
  void* stream = nullptr;
  EXPECT_EQ(__rofNewStreamEx(&stream, G::kBrng, 1, &seed), ROF_STATUS_OK);
  return stream;
}
template <class G>
std::vector<typename G::Word> Ints(void* stream, int n) {
  std::vector<typename G::Word> r(n);
  EXPECT_EQ(Row<G>().iBrng(stream, n, r.data()), ROF_STATUS_OK);
  return r;
}

template <class G>
class McgTest : public ::testing::Test {};
using Generators = ::testing::Types<Mcg31m1, Mcg59>;
TYPED_TEST_SUITE(McgTest, Generators);

// Counts 1..70 (every block boundary) and 1000; the forms in turn continue one sequence.
TYPED_TEST(McgTest, EveryCountAndFormsInTurn) {
  using G = TypeParam;
  std::vector<int> counts = {1000};
  for (int n = 1; n <= 70; ++n) counts.push_back(n);
  for (int n : counts) {
    void* stream = New<G>(n);
    const auto x = Reference<G>(n, 3 * n + 1);
    const double a = -3.5, b = 10.25;
    std::vector<double> d(n);
    std::vector<float> s(n);
    Row<G>().dBrng(stream, n, d.data(), a, b);
    const auto i = Ints<G>(stream, n);
    Row<G>().sBrng(stream, n, s.data(), float(a), float(b));
    for (int k = 0; k < n; ++k) {
      ASSERT_EQ(d[k], Double<G>(x[k], a, b)) << n << " " << k;
      ASSERT_EQ(i[k], x[n + k]) << n << " " << k;
      ASSERT_EQ(s[k], G::Single(x[2 * n + k], float(a), float(b))) << n << " " << k;
    }
    ASSERT_EQ(Ints<G>(stream, 1)[0], x[3 * n]) << n;
    __rofDeleteStream(&stream);
  }
}

// Leapfrog takes every nstreams-th element from k, a skip of 1 then moves nstreams places;
// a plain skip-ahead equals stepping.
TYPED_TEST(McgTest, LeapfrogAndSkipAheadFollowTheSequence) {
  using G = TypeParam;
  for (const auto [k, nstreams] : {std::pair{2, 3}, {0, 1}, {5, 8}, {7, 7}, {3, 0}}) {
    void* stream = New<G>(4242);
    ASSERT_EQ(__rofLeapfrogStream(stream, k, nstreams), ROF_STATUS_OK);
    const auto x = Reference<G>(4242, k + 41 * nstreams + 1);
    const auto r = Ints<G>(stream, 40);
    for (int i = 0; i < 40; ++i) ASSERT_EQ(r[i], x[k + i * nstreams]) << k << " of " << nstreams;
    ASSERT_EQ(__rofSkipAheadStream(stream, 1), ROF_STATUS_OK);
    if (nstreams > 0) EXPECT_EQ(Ints<G>(stream, 1)[0], x[k + 41 * nstreams]);
    __rofDeleteStream(&stream);
  }
  for (long long nskip : {0LL, 7LL, 8LL, 17LL, 65537LL}) {
    void* skipped = New<G>(31337);
    ASSERT_EQ(__rofSkipAheadStream(skipped, nskip), ROF_STATUS_OK);
    const auto x = Reference<G>(31337, int(nskip) + 10);
    EXPECT_EQ(Ints<G>(skipped, 10), std::vector<typename G::Word>(x.begin() + nskip, x.end()))
        << nskip;
    __rofDeleteStream(&skipped);
  }
}

TYPED_TEST(McgTest, RefusedMethodsChangeNothing) {
  using G = TypeParam;
  void* stream = New<G>(12345);
  const uint64_t digits[2] = {1, 0};
  EXPECT_EQ(__rofSkipAheadStreamEx(stream, 2, digits), ROF_STATUS_NO_SKIPAHEAD_EX);
  EXPECT_EQ(__rofLeapfrogStream(stream, 0, -1), ROF_STATUS_BAD_STREAM_COUNT);
  for (int method : {4, -1, 1000})
    EXPECT_EQ(Row<G>().initStream(method, stream, 0, nullptr), ROF_STATUS_BAD_METHOD);
  EXPECT_EQ(Ints<G>(stream, 2), Reference<G>(12345, 2)) << "the state did not move";
  __rofDeleteStream(&stream);
}

// A count below 1: MCG31M1 writes and steps as for 1, MCG59 writes nothing and stays.
TYPED_TEST(McgTest, CountsBelowOne) {
  using G = TypeParam;
  void* stream = New<G>(99);
  const auto x = Reference<G>(99, 4);
  typename G::Word w = 77;
  double d = -1;
  float s = -1;
  Row<G>().iBrng(stream, 0, &w);
  Row<G>().dBrng(stream, 0, &d, 0.0, 1.0);
  Row<G>().sBrng(stream, -3, &s, 0.0f, 1.0f);
  if (G::kCountBelowOneIsOne) {
    EXPECT_TRUE(w == x[0] && d == Double<G>(x[1], 0.0, 1.0) && s == G::Single(x[2], 0.0f, 1.0f));
  } else {
    EXPECT_TRUE(w == 77 && d == -1.0 && s == -1.0f);
  }
  EXPECT_EQ(Ints<G>(stream, 1)[0], x[G::kCountBelowOneIsOne ? 3 : 0]);
  __rofDeleteStream(&stream);
}

// Seed words reduce into the state, 0 giving 1: mod 2^31 - 1, or two words cut to 59 bits.
TEST(McgSeedTest, SeedWordsMakeTheFirstOutput) {
  const struct { int brng, n; uint32_t low, high; uint64_t first; } cases[] = {
      {ROF_BRNG_MCG31M1, 0, 55, 0, 1},         {ROF_BRNG_MCG31M1, 1, 0, 0, 1},
      {ROF_BRNG_MCG31M1, 1, 4294967295u, 0, 1}, {ROF_BRNG_MCG31M1, 1, 2147483649u, 0, 2},
      {ROF_BRNG_MCG31M1, 3, 99, 5, 99},        {ROF_BRNG_MCG59, 0, 5, 5, 1},
      {ROF_BRNG_MCG59, 1, 0xFFFFFFFF, 9, 0xFFFFFFFF}, {ROF_BRNG_MCG59, 2, 0, 0, 1},
      {ROF_BRNG_MCG59, 2, 5, 1u << 27, 5},     {ROF_BRNG_MCG59, 2, 6, 0x07FFFFFF, 0x07FFFFFF00000006ull},
      {ROF_BRNG_MCG59, 3, 6, 0x10, 0x1000000006ull}};
  for (const auto& c : cases) {
    const uint32_t params[3] = {c.low, c.high, 0xFFFFFFFF};
    void* stream = nullptr;
    ASSERT_EQ(__rofNewStreamEx(&stream, c.brng, c.n, c.n > 0 ? params : nullptr), 0);
    uint64_t first = 0;
    ASSERT_EQ(__RegBrngsNew[(c.brng >> 20) - 1].iBrng(stream, 1, &first), ROF_STATUS_OK);
    EXPECT_EQ(first, c.first) << c.brng << " " << c.n << " " << c.low;
    __rofDeleteStream(&stream);
  }
}

}  // namespace
