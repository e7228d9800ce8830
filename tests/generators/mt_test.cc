// MT19937 and MT2203: published outputs, seeding, cuts, forms, member table, skip-ahead.
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <vector>

#include "generators/mt19937.h"
#include "tests/generators/test_stream.h"

namespace {
// Published MT19937 outputs for key {0x123, 0x234, 0x345, 0x456}.
TEST(Mt19937Test, PublishedOutputs) {
  EXPECT_EQ(Stream(ROF_BRNG_MT19937, {0x123, 0x234, 0x345, 0x456}).Words(10),
            (std::vector<uint32_t>{1067595299u, 955945823u, 477289528u, 4107218783u, 4228976476u,
                                   3344332714u, 3355579695u, 227628506u, 810200273u, 2591290167u}));
}

// The one-at-a-time definition of both twisters, for comparisons.
struct Reference {
  int n, m, shift;
  uint32_t upper, a, b, c;
  std::vector<uint32_t> mt;
  int i;
  Reference(const Stream& stream, bool mt2203)
      : n(mt2203 ? 69 : 624), m(mt2203 ? 34 : 397), shift(mt2203 ? 12 : 11),
        upper(mt2203 ? 0xFFFFFFE0u : 0x80000000u) {
    mt.assign(stream.Mt(), stream.Mt() + n);
    i = static_cast<int>(stream.Mt()[n]);
    const uint32_t* p = stream.Mt() + n + 1;
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

struct Family { int brng; int n; };
const Family kFamilies[] = {{ROF_BRNG_MT19937, 624}, {ROF_BRNG_MT2203 + 6023, 69}};

// Any cut and form continue the one-at-a-time sequence; a count below 1 does nothing. With
// b = 2^24 the single forms show their width: MT2203 forms b - a in float, MT19937 in double.
TEST(TwisterTest, AnyCutAndAnyFormContinueOneSequence) {
  const int cuts[] = {1, 3, 4, 5, 68, 69, 70, 623, 624, 625, 1247, 1248, 2000, 7};
  const float a = -1.0f, b = 16777216.0f;
  for (const Family f : kFamilies) {
    SCOPED_TRACE(f.brng);
    Stream s(f.brng, {5, 6, 7});
    Reference ref(s, f.n == 69);
    const double width = double(b) - a, single_width = f.n == 69 ? double(b - a) : width;
    for (int k = 0; k < 3 * 14; ++k) {
      const int n = cuts[k % 14];
      std::vector<double> d(n);
      std::vector<float> x(n);
      std::vector<uint32_t> w;
      if (k % 3 == 0) w = s.Words(n);
      if (k % 3 == 1) Row(f.brng).dBrng(s, n, d.data(), a, b);
      if (k % 3 == 2) Row(f.brng).sBrng(s, n, x.data(), a, b);
      for (int i = 0; i < n; ++i) {
        const double y = ref.Next();
        if (k % 3 == 0) ASSERT_EQ(w[i], y) << k << " " << i;
        if (k % 3 == 1) ASSERT_EQ(d[i], y * (width * 0x1p-32) + a) << k << " " << i;
        if (k % 3 == 2) ASSERT_EQ(x[i], float(y * (single_width * 0x1p-32) + a)) << k << " " << i;
      }
    }
    uint32_t untouched = 77;
    EXPECT_EQ(Row(f.brng).iBrng(s, -4, &untouched), ROF_STATUS_OK);
    EXPECT_EQ(untouched, 77u);
    EXPECT_EQ(s.Words(1)[0], ref.Next());
  }
}

// No key is the key {1}; in a key longer than the block, the last word counts.
TEST(TwisterTest, NoKeyIsTheKeyOneAndLongKeysUseEveryWord) {
  for (const Family f : kFamilies) {
    SCOPED_TRACE(f.brng);
    Stream none(f.brng, {}), one(f.brng, {1});
    EXPECT_EQ(memcmp(none.Mt(), one.Mt(), 4 * (f.n + 1)), 0);
    std::vector<uint32_t> key(f.n + 30, 9);
    Stream long_key(f.brng, key);
    key.back() = 10;
    Stream other(f.brng, key);
    EXPECT_NE(memcmp(long_key.Mt(), other.Mt(), 4 * f.n), 0);
  }
}

// Telling rows of the member table land in the record; all 6024 twist constants differ.
TEST(Mt2203Test, ParameterTable) {
  const struct { int id; uint32_t a, b, c; } members[] = {
      {0, 0xAF81055F, 0xDD7EEF80, 0xEFD78000},    {1, 0x832604E1, 0x66AD7F80, 0xEBD58000},
      {6022, 0x8A8C1D4A, 0x65757780, 0xEFE18000}, {6023, 0xE8761D4B, 0x72967680, 0xEFEB0000}};
  for (const auto& m : members) {
    Stream s(ROF_BRNG_MT2203 + m.id, {});
    EXPECT_EQ(std::vector<uint32_t>(s.Mt() + 70, s.Mt() + 73),
              std::vector<uint32_t>({m.a, m.b, m.c})) << m.id;
  }
  std::vector<uint32_t> constants;
  for (int member = 0; member < 6024; ++member)
    constants.push_back(Stream(ROF_BRNG_MT2203 + member, {1}).Mt()[70]);
  std::sort(constants.begin(), constants.end());
  EXPECT_EQ(std::adjacent_find(constants.begin(), constants.end()), constants.end());
}

// The public skip-ahead (sliding window) and Horner's rule equal stepping at every telling
// distance and offset; one 2^40 jump equals four of 2^38.
TEST(Mt19937Test, SkipAheadEqualsStepping) {
  const rof::Mt19937Jumps j = rof::Mt19937JumpFunctions();
  const uint64_t distances[] = {0, 1, 623, 624, 625, 19937, 0xFFFFF, 0x100000, 0x100001, 10000000};
  for (int offset : {0, 600})
    for (uint64_t nskip : distances) {
      SCOPED_TRACE(testing::Message() << offset << " " << nskip);
      Stream jumped(ROF_BRNG_MT19937, {11, 12}), stepped(ROF_BRNG_MT19937, {11, 12}),
          horner(ROF_BRNG_MT19937, {11, 12});
      for (Stream* s : {&jumped, &stepped, &horner}) s->Words(offset);
      ASSERT_EQ(__rofSkipAheadStream(jumped, static_cast<long long>(nskip)), ROF_STATUS_OK);
      rofSkipAheadDesc desc = j.desc;
      desc.nskip = nskip;
      ASSERT_EQ(__rof_SkipAheadHorner(horner, j.zero, j.add, j.copy, j.step, j.finish, j.prepare,
                                      &desc), ROF_STATUS_OK);
      for (uint64_t left = nskip; left > 0;) {
        const int n = left > 1000000 ? 1000000 : static_cast<int>(left);
        stepped.Words(n);
        left -= n;
      }
      const std::vector<uint32_t> expect = stepped.Words(1500);
      EXPECT_EQ(jumped.Words(1500), expect);
      EXPECT_EQ(horner.Words(1500), expect);
    }
  Stream once(ROF_BRNG_MT19937, {7}), parts(ROF_BRNG_MT19937, {7});
  for (Stream* s : {&once, &parts}) s->Words(100);
  ASSERT_EQ(__rofSkipAheadStream(once, 1ll << 40), ROF_STATUS_OK);
  for (int k = 0; k < 4; ++k) ASSERT_EQ(__rofSkipAheadStream(parts, 1ll << 38), ROF_STATUS_OK);
  EXPECT_EQ(once.Words(1000), parts.Words(1000));
}
}  // namespace
