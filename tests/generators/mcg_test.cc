// MCG31M1 and MCG59: seed * a^i mod m in all forms and counts, seeding, leapfrog, skip-ahead.
#include <stdint.h>

#include <vector>

#include "tests/generators/test_stream.h"

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
class McgTest : public ::testing::Test {};
using Generators = ::testing::Types<Mcg31m1, Mcg59>;
TYPED_TEST_SUITE(McgTest, Generators);

// Counts 1..70 (every block boundary) and 1000, the forms in turn continuing one sequence, and
// nothing written past the count. Below 1, MCG31M1 writes and steps as for 1, MCG59 does nothing.
TYPED_TEST(McgTest, EveryCountAndFormsInTurn) {
  using G = TypeParam;
  using W = typename G::Word;
  std::vector<int> counts = {-3, 0, 1000};
  for (int n = 1; n <= 70; ++n) counts.push_back(n);
  for (int n : counts) {
    const int m = n > 0 ? n : G::kCountBelowOneIsOne;  // values a call writes
    Stream stream(G::kBrng, {uint32_t(n + 4)});
    const auto x = Reference<G>(n + 4, 3 * m + 1);
    const double a = -3.5, b = 10.25;
    std::vector<double> d(m + 1, -1);
    std::vector<W> i(m + 1, 77);
    std::vector<float> s(m + 1, -1);
    Row(G::kBrng).dBrng(stream, n, d.data(), a, b);
    Row(G::kBrng).iBrng(stream, n, i.data());
    Row(G::kBrng).sBrng(stream, n, s.data(), float(a), float(b));
    for (int k = 0; k < m; ++k) {
      ASSERT_EQ(d[k], Double<G>(x[k], a, b)) << n << " " << k;
      ASSERT_EQ(i[k], x[m + k]) << n << " " << k;
      ASSERT_EQ(s[k], G::Single(x[2 * m + k], float(a), float(b))) << n << " " << k;
    }
    EXPECT_TRUE(d[m] == -1 && i[m] == 77 && s[m] == -1) << "written past " << n;
    ASSERT_EQ(stream.Words<W>(1)[0], x[3 * m]) << n;
  }
}

// Leapfrog takes every nstreams-th element from k, a skip of 1 then moves nstreams places;
// a plain skip-ahead equals stepping.
TYPED_TEST(McgTest, LeapfrogAndSkipAheadFollowTheSequence) {
  using G = TypeParam;
  using W = typename G::Word;
  for (const auto [k, nstreams] : {std::pair{2, 3}, {0, 1}, {7, 7}, {3, 0}}) {
    Stream stream(G::kBrng, {4242});
    ASSERT_EQ(__rofLeapfrogStream(stream, k, nstreams), ROF_STATUS_OK);
    const auto x = Reference<G>(4242, k + 41 * nstreams + 1);
    const auto r = stream.Words<W>(40);
    for (int i = 0; i < 40; ++i) ASSERT_EQ(r[i], x[k + i * nstreams]) << k << " of " << nstreams;
    ASSERT_EQ(__rofSkipAheadStream(stream, 1), ROF_STATUS_OK);
    if (nstreams > 0) EXPECT_EQ(stream.Words<W>(1)[0], x[k + 41 * nstreams]);
  }
  for (long long nskip : {0LL, 7LL, 65537LL}) {
    Stream skipped(G::kBrng, {31337});
    ASSERT_EQ(__rofSkipAheadStream(skipped, nskip), ROF_STATUS_OK);
    const auto x = Reference<G>(31337, int(nskip) + 10);
    EXPECT_EQ(skipped.Words<W>(10), std::vector<W>(x.begin() + nskip, x.end())) << nskip;
  }
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
    Stream stream(c.brng, std::vector<uint32_t>(params, params + c.n));
    EXPECT_EQ(stream.Words<uint64_t>(1)[0], c.first) << c.brng << " " << c.n << " " << c.low;
  }
}

}  // namespace
