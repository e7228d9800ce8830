// MT19937 and MT2203: published outputs, seeding, every cut of a run, the three forms, the
// single-precision difference, skip-ahead against stepping, and the methods each refuses.
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <sstream>
#include <vector>

#include "generators/mt19937.h"
#include "gtest/gtest.h"
#include "qor/rof.h"

namespace {

const rofBrngProperties& Row(int brng) { return __RegBrngsNew[(brng >> 20) - 1]; }

void* New(int brng, std::vector<uint32_t> key) {
  void* stream = nullptr;
  EXPECT_EQ(__rofNewStreamEx(&stream, brng, static_cast<int>(key.size()), key.data()),
            ROF_STATUS_OK);
  return stream;
}

std::vector<uint32_t> Words(void* stream, int n) {
  std::vector<uint32_t> r(n);
  EXPECT_EQ(Row(__rofGetStreamStateBrng(stream)).iBrng(stream, n, r.data()), ROF_STATUS_OK);
  return r;
}

// The state words of a stream: the record's payload begins with mt.
const uint32_t* Mt(const void* stream) {
  return reinterpret_cast<const uint32_t*>(static_cast<const char*>(stream) + 16);
}
int Position(const void* stream, int n) { return static_cast<int>(Mt(stream)[n]); }

// The published outputs of MT19937 for the key {0x123, 0x234, 0x345, 0x456}.
TEST(Mt19937Test, PublishedOutputsOfTheReferenceKey) {
  const uint32_t expected[] = {1067595299u, 955945823u,  477289528u, 4107218783u, 4228976476u,
                               3344332714u, 3355579695u, 227628506u, 810200273u,  2591290167u};
  void* s = New(ROF_BRNG_MT19937, {0x123, 0x234, 0x345, 0x456});
  const auto w = Words(s, 10);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(w[i], expected[i]) << i;
  __rofDeleteStream(&s);
}

// A million words against std::mt19937 run from the same seeded block.
TEST(Mt19937Test, LongRunEqualsStdMt19937FromTheSameBlock) {
  void* s = New(ROF_BRNG_MT19937, {0x123, 0x234, 0x345, 0x456});
  std::stringstream text;
  for (int i = 0; i < 624; ++i) text << Mt(s)[i] << ' ';
  text << 624;
  std::mt19937 peer;
  text >> peer;
  const auto w = Words(s, 1000000);
  for (int i = 0; i < 1000000; ++i) ASSERT_EQ(w[i], peer()) << i;
  __rofDeleteStream(&s);
}

// The one-at-a-time definition of both twisters, for comparisons.
struct Reference {
  int n, m, shift;
  uint32_t upper, a, b, c;
  std::vector<uint32_t> mt;
  int i;
  Reference(const void* stream, bool mt2203)
      : n(mt2203 ? 69 : 624),
        m(mt2203 ? 34 : 397),
        shift(mt2203 ? 12 : 11),
        upper(mt2203 ? 0xFFFFFFE0u : 0x80000000u) {
    mt.assign(Mt(stream), Mt(stream) + n);
    i = Position(stream, n);
    const uint32_t* p = Mt(stream) + n + 1;
    a = mt2203 ? p[0] : 0x9908B0DFu;
    b = mt2203 ? p[1] : 0x9D2C5680u;
    c = mt2203 ? p[2] : 0xEFC60000u;
  }
  uint32_t Next() {
    if (i == n) {
      for (int k = 0; k < n; ++k) {
        const uint32_t next = mt[(k + 1) % n];
        const uint32_t y = (mt[k] & upper) | (next & ~upper);
        mt[k] = mt[(k + m) % n] ^ (y >> 1) ^ ((next & 1) ? a : 0);
      }
      i = 0;
    }
    uint32_t y = mt[i++];
    y ^= y >> shift;
    y ^= (y << 7) & b;
    y ^= (y << 15) & c;
    return y ^ (y >> 18);
  }
};

struct Family {
  int brng;
  int n;
};
const Family kFamilies[] = {{ROF_BRNG_MT19937, 624},
                            {ROF_BRNG_MT2203, 69},
                            {ROF_BRNG_MT2203 + 3, 69},
                            {ROF_BRNG_MT2203 + 6023, 69}};

// Runs cut into calls of many lengths, across block ends, and the three forms in turn, all
// continue the one-at-a-time sequence.
TEST(TwisterTest, AnyCutAndAnyFormContinueOneSequence) {
  const int cuts[] = {1, 3, 4, 5, 68, 69, 70, 623, 624, 625, 1247, 1248, 2000, 7};
  for (const Family f : kFamilies) {
    SCOPED_TRACE(f.brng);
    void* s = New(f.brng, {5, 6, 7});
    Reference ref(s, f.n == 69);
    const double a = -2.5, b = 7.0;
    const float sa = -2.5f, sb = 7.0f;
    for (int k = 0; k < 3 * 14; ++k) {
      const int n = cuts[k % 14];
      std::vector<uint32_t> w(n);
      std::vector<double> d(n);
      std::vector<float> x(n);
      switch (k % 3) {
        case 0:
          Row(f.brng).iBrng(s, n, w.data());
          for (int i = 0; i < n; ++i) ASSERT_EQ(w[i], ref.Next()) << k << " " << i;
          break;
        case 1:
          Row(f.brng).dBrng(s, n, d.data(), a, b);
          for (int i = 0; i < n; ++i)
            ASSERT_EQ(d[i], double(ref.Next()) * ((b - a) * 0x1p-32) + a) << k << " " << i;
          break;
        default:
          Row(f.brng).sBrng(s, n, x.data(), sa, sb);
          for (int i = 0; i < n; ++i)
            ASSERT_EQ(x[i], float(double(ref.Next()) * ((double(sb) - sa) * 0x1p-32) + sa))
                << k << " " << i;
      }
    }
    // A count below 1 writes nothing and moves nothing.
    uint32_t untouched = 77;
    EXPECT_EQ(Row(f.brng).iBrng(s, 0, &untouched), ROF_STATUS_OK);
    EXPECT_EQ(Row(f.brng).iBrng(s, -4, &untouched), ROF_STATUS_OK);
    EXPECT_EQ(untouched, 77u);
    EXPECT_EQ(Words(s, 1)[0], ref.Next());
    __rofDeleteStream(&s);
  }
}

TEST(TwisterTest, NoKeyIsTheKeyOneAndLongKeysUseEveryWord) {
  for (const Family f : kFamilies) {
    SCOPED_TRACE(f.brng);
    void* none = nullptr;
    ASSERT_EQ(__rofNewStreamEx(&none, f.brng, 0, nullptr), ROF_STATUS_OK);
    void* one = New(f.brng, {1});
    EXPECT_EQ(memcmp(Mt(none), Mt(one), 4 * (f.n + 1)), 0);
    EXPECT_EQ(Words(none, 700), Words(one, 700));
    // A key longer than the block: changing its last word changes the state.
    std::vector<uint32_t> key(f.n + 30, 9);
    void* long_key = New(f.brng, key);
    key.back() = 10;
    void* other = New(f.brng, key);
    EXPECT_NE(memcmp(Mt(long_key), Mt(other), 4 * f.n), 0);
    for (void* s : {none, one, long_key, other}) __rofDeleteStream(&s);
  }
}

// A block of n words twists once, leaves the position at the end, and the next call twists.
TEST(TwisterTest, LazyTwistAtTheBlockEnd) {
  for (const Family f : kFamilies) {
    void* s = New(f.brng, {42});
    std::vector<uint32_t> seeded(Mt(s), Mt(s) + f.n);
    Words(s, f.n);
    EXPECT_EQ(Position(s, f.n), f.n);
    std::vector<uint32_t> once(Mt(s), Mt(s) + f.n);
    EXPECT_NE(once, seeded);
    Words(s, 1);
    EXPECT_EQ(Position(s, f.n), 1);
    EXPECT_NE(std::vector<uint32_t>(Mt(s), Mt(s) + f.n), once);
    __rofDeleteStream(&s);
  }
}

// MT2203 forms b - a in float, MT19937 in double: with a = -1 and b = 2^24 the float
// difference rounds to 2^24, and some outputs round differently.
TEST(TwisterTest, SingleFormsDifferInTheWidthOfTheInterval) {
  const float a = -1.0f, b = 16777216.0f;
  struct Case {
    int brng;
    double width, other;
  };
  const double in_float = double(b - a), in_double = double(b) - double(a);
  for (const Case c :
       {Case{ROF_BRNG_MT2203, in_float, in_double}, Case{ROF_BRNG_MT19937, in_double, in_float}}) {
    void* s = New(c.brng, {3});
    Reference ref(s, c.brng == ROF_BRNG_MT2203);
    std::vector<float> r(1000);
    Row(c.brng).sBrng(s, 1000, r.data(), a, b);
    int differ = 0;
    for (float v : r) {
      const double y = ref.Next();
      EXPECT_EQ(v, float(y * (c.width * 0x1p-32) + double(a)));
      differ += v != float(y * (c.other * 0x1p-32) + double(a));
    }
    EXPECT_GT(differ, 0) << c.brng;
    __rofDeleteStream(&s);
  }
}

TEST(TwisterTest, MethodsEachGeneratorRefuses) {
  struct Case {
    int brng, method, status;
  };
  const Case cases[] = {
      {ROF_BRNG_MT19937, rofInitLeapfrog, ROF_STATUS_NO_LEAPFROG},
      {ROF_BRNG_MT19937, rofInitSkipAheadEx, ROF_STATUS_NO_SKIPAHEAD_EX},
      {ROF_BRNG_MT19937, 4, ROF_STATUS_BAD_METHOD},
      {ROF_BRNG_MT2203, rofInitLeapfrog, ROF_STATUS_NO_LEAPFROG},
      {ROF_BRNG_MT2203, rofInitSkipAhead, ROF_STATUS_NO_SKIPAHEAD},
      {ROF_BRNG_MT2203, rofInitSkipAheadEx, ROF_STATUS_NO_SKIPAHEAD_EX},
      {ROF_BRNG_MT2203, 7, ROF_STATUS_BAD_METHOD},
  };
  for (const Case c : cases) {
    void* s = New(c.brng, {1});
    uint64_t arg[2] = {1, 1};
    EXPECT_EQ(Row(c.brng).initStream(c.method, s, 1, arg), c.status) << c.brng << " " << c.method;
    __rofDeleteStream(&s);
  }
  // Members beyond the family are refused by the registry.
  void* s = nullptr;
  EXPECT_EQ(__rofNewStreamEx(&s, ROF_BRNG_MT2203 + 6024, 0, nullptr), ROF_STATUS_BAD_BRNG);
  EXPECT_EQ(s, nullptr);
}

// Every member has its own twister: 6024 streams, 6024 distinct twist constants.
TEST(Mt2203Test, EveryMemberHasItsOwnTwistConstant) {
  std::vector<uint32_t> constants;
  for (int member = 0; member < 6024; ++member) {
    void* s = New(ROF_BRNG_MT2203 + member, {1});
    ASSERT_NE(s, nullptr) << member;
    constants.push_back(Mt(s)[70]);
    __rofDeleteStream(&s);
  }
  std::sort(constants.begin(), constants.end());
  EXPECT_EQ(std::adjacent_find(constants.begin(), constants.end()), constants.end());
}

// Eight members from one seed, side by side: no pairwise correlation above chance.
TEST(Mt2203Test, MembersSideBySideAreUncorrelated) {
  constexpr int kCount = 1000000;
  const int members[] = {0, 1, 5, 100, 2203, 4000, 6022, 6023};
  std::vector<std::vector<double>> u;
  for (int member : members) {
    void* s = New(ROF_BRNG_MT2203 + member, {2203});
    u.emplace_back(kCount);
    ASSERT_EQ(__rofdBRngMT2203(s, kCount, u.back().data(), 0, 1), ROF_STATUS_OK);
    __rofDeleteStream(&s);
  }
  for (size_t i = 0; i < u.size(); ++i) {
    for (size_t j = i + 1; j < u.size(); ++j) {
      double sx = 0, sy = 0, sxx = 0, syy = 0, sxy = 0;
      for (int k = 0; k < kCount; ++k) {
        const double x = u[i][k], y = u[j][k];
        sx += x, sy += y, sxx += x * x, syy += y * y, sxy += x * y;
      }
      const double cov = sxy / kCount - sx / kCount * sy / kCount;
      const double r = cov / std::sqrt((sxx / kCount - sx * sx / kCount / kCount) *
                                  (syy / kCount - sy * sy / kCount / kCount));
      EXPECT_LT(std::fabs(r), 5 / std::sqrt(double{kCount})) << members[i] << " " << members[j];
    }
  }
}

// The members' parameters land in the stream's record: twist constant and both masks.
TEST(Mt2203Test, TellingRowsOfTheParameterTable) {
  struct Member {
    int id;
    uint32_t a, b, c;
  };
  const Member members[] = {
      {0, 0xAF81055F, 0xDD7EEF80, 0xEFD78000},    {1, 0x832604E1, 0x66AD7F80, 0xEBD58000},
      {2, 0x92F70739, 0x656D7780, 0xEFC50000},    {3, 0x8B75046E, 0x76957780, 0xEFC48000},
      {6022, 0x8A8C1D4A, 0x65757780, 0xEFE18000}, {6023, 0xE8761D4B, 0x72967680, 0xEFEB0000}};
  for (const Member& m : members) {
    void* s = New(ROF_BRNG_MT2203 + m.id, {});
    const uint32_t* p = Mt(s) + 70;
    EXPECT_EQ(std::vector<uint32_t>(p, p + 3), std::vector<uint32_t>({m.a, m.b, m.c})) << m.id;
    __rofDeleteStream(&s);
  }
}

// Skip-ahead leaves the stream where a plain run of nskip words leaves it, at every distance
// that matters to the two methods and the block: the next words agree.
TEST(Mt19937Test, SkipAheadEqualsStepping) {
  const uint64_t distances[] = {0, 1, 623, 624, 625, 0xFFFFF, 0x100000, 0x100001, 10000000};
  for (int offset : {0, 1, 600, 624}) {
    for (uint64_t nskip : distances) {
      SCOPED_TRACE(testing::Message() << offset << " " << nskip);
      void* jumped = New(ROF_BRNG_MT19937, {11, 12});
      void* stepped = New(ROF_BRNG_MT19937, {11, 12});
      Words(jumped, offset);
      Words(stepped, offset);
      ASSERT_EQ(__rofSkipAheadStream(jumped, static_cast<long long>(nskip)), ROF_STATUS_OK);
      for (uint64_t left = nskip; left > 0;) {
        const int n = left > 1000000 ? 1000000 : static_cast<int>(left);
        Words(stepped, n);
        left -= n;
      }
      EXPECT_EQ(Words(jumped, 1500), Words(stepped, 1500));
      __rofDeleteStream(&jumped);
      __rofDeleteStream(&stepped);
    }
  }
}

// 2^40 in one jump equals four jumps of 2^38.
TEST(Mt19937Test, SkipOfTwoToTheFortyEqualsRepeatedSmallerSkips) {
  void* once = New(ROF_BRNG_MT19937, {7});
  void* parts = New(ROF_BRNG_MT19937, {7});
  Words(once, 100);
  Words(parts, 100);
  ASSERT_EQ(__rofSkipAheadStream(once, 1ll << 40), ROF_STATUS_OK);
  for (int k = 0; k < 4; ++k) ASSERT_EQ(__rofSkipAheadStream(parts, 1ll << 38), ROF_STATUS_OK);
  EXPECT_EQ(Words(once, 1000), Words(parts, 1000));
  __rofDeleteStream(&once);
  __rofDeleteStream(&parts);
}

// Horner's rule and the sliding window give the same stream from every starting point.
TEST(Mt19937Test, HornerAndWindowAgree) {
  const rof::Mt19937Jumps j = rof::Mt19937JumpFunctions();
  for (uint64_t nskip : {1ull, 700ull, 19937ull, 0x100000ull, 123456789012ull}) {
    void* horner = New(ROF_BRNG_MT19937, {99});
    void* window = New(ROF_BRNG_MT19937, {99});
    Words(horner, 300);
    Words(window, 300);
    rofSkipAheadDesc d1 = j.desc, d2 = j.desc;
    d1.nskip = d2.nskip = nskip;
    ASSERT_EQ(__rof_SkipAheadHorner(horner, j.zero, j.add, j.copy, j.step, j.finish, j.prepare, &d1), 0);
    ASSERT_EQ(__rof_SkipAheadSWin(window, j.zero, j.add, j.copy, j.step, j.finish, j.prepare, &d2), 0);
    EXPECT_EQ(d1.nskip, d2.nskip);
    EXPECT_EQ(Words(horner, 800), Words(window, 800)) << nskip;
    __rofDeleteStream(&horner);
    __rofDeleteStream(&window);
  }
}

}  // namespace
