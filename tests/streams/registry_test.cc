// The registries: built-in rows, decoding, validity, properties, registration.
#include <string.h>

#include <iterator>
#include <tuple>

#include "gtest/gtest.h"
#include "qor/rof.h"

namespace {
// Row k is family (k + 1) << 20.
struct BuiltIn {
  int32_t state_size, seed_count, includes_zero, word_size, bit_count, sub_ids;
};

// clang-format off
const BuiltIn kBuiltIn[] = {
    {24, 1, 0, 4, 31, 1},        {1024, 252, 1, 4, 32, 1},   {40, 6, 1, 4, 32, 1},
    {32, 1, 0, 8, 59, 1},        {48, 4, 1, 16, 24, 273},    {11712, 2604, 0, 4, 32, 1},
    {84288, 10498, 0, 4, 32, 1}, {2520, 625, 1, 4, 32, 1},   {312, 70, 1, 4, 32, 6024},
    {48, 0, 1, 4, 32, 1},        {64, 0, 1, 4, 32, 1},       {56, 0, 1, 4, 32, 1},
    {2536, 625, 1, 4, 32, 1},    {24, 1, 1, 4, 32, 1},       {72, 8, 1, 4, 32, 1},
    {64, 8, 1, 4, 32, 1},
};
// clang-format on

bool SameRow(const rofBrngProperties& x, const rofBrngProperties& y) {
  return memcmp(&x, &y, sizeof x) == 0;
}

TEST(RegistryTest, BuiltInRowsAndSubIdentifierCounts) {
  ASSERT_GE(__rofGetNumRegBrngs(), 16);
  for (int row = 0; row < 16; ++row) {
    const BuiltIn& b = kBuiltIn[row];
    const int family = (row + 1) << 20;
    SCOPED_TRACE(row);
    const rofBrngProperties& p = __RegBrngsNew[row];
    EXPECT_EQ(std::tie(p.stateSize, p.seedCount, p.includesZero, p.wordSize, p.bitCount),
              std::tie(b.state_size, b.seed_count, b.includes_zero, b.word_size, b.bit_count));
    EXPECT_EQ(p.zero, 0);
    rofBrngProperties copy;
    EXPECT_TRUE(__rofGetBrngProperties(family + b.sub_ids - 1, &copy) == 0 && SameRow(copy, p));
    EXPECT_EQ(__rofGetBrngProperties(family + b.sub_ids, &copy), ROF_STATUS_BAD_BRNG);
  }
}

TEST(RegistryTest, LegacyRowsMirrorTheCurrentOnes) {
  const rofBrngProperties zero{};
  for (int id = 0; id < 281; ++id) {
    const int current = id < 4 ? id : id <= 276 ? 4 : id - 272;
    const rofBrngProperties& expected = id >= 279 ? zero : __RegBrngsNew[current];
    EXPECT_TRUE(SameRow(__RegBrngs[id], expected)) << "legacy row " << id;
  }
}

// Identifiers decode into a table, row and sub-identifier; validity and properties follow.
TEST(RegistryTest, IdentifierDecodingAndValidity) {
  const struct { int id; const rofBrngProperties* table; int row, sub_id, status; } cases[] = {
      {0x100000, __RegBrngsNew, 0, 0, ROF_STATUS_OK},
      {0x9FFFFF, __RegBrngsNew, 8, 0xFFFFF, ROF_STATUS_BAD_BRNG},
      {0x1000000 + (0x100 << 20), __RegBrngsNew, 271, 0, ROF_STATUS_BAD_BRNG},
      {276, __RegBrngs, 4, 272, ROF_STATUS_OK},
      {280, __RegBrngs, 280, 0, ROF_STATUS_OK},
      {281, __RegBrngs, 281, 0, ROF_STATUS_BAD_BRNG},
  };
  for (const auto& c : cases) {
    int row = -99, sub_id = -99;
    EXPECT_EQ(__rofGetBrngBaseOffset(c.id, &row, &sub_id), c.table) << c.id;
    EXPECT_EQ(std::make_pair(row, sub_id), std::make_pair(c.row, c.sub_id)) << c.id;
    EXPECT_EQ(__rofIsBrngValid(c.table, row, sub_id), c.status) << c.id;
    rofBrngProperties out;
    memset(&out, 0x5A, sizeof out);
    const rofBrngProperties untouched = out;
    EXPECT_EQ(__rofGetBrngProperties(c.id, &out), c.status) << c.id;
    EXPECT_TRUE(SameRow(out, c.status == ROF_STATUS_OK ? c.table[row] : untouched)) << c.id;
  }
  int row, sub_id;  // a negative identifier takes the legacy path, unchecked
  EXPECT_EQ(__rofGetBrngBaseOffset(-1, &row, &sub_id), __RegBrngs);
  EXPECT_EQ(row, -1);
}

// Refusals come in the order of the checks and append nothing; a good row appends and runs.
TEST(RegistryTest, Registration) {
  const int rows_before = __rofGetNumRegBrngs();
  const struct { int status; void (*spoil)(rofBrngProperties&); } cases[] = {
      {ROF_STATUS_BAD_STATE_SIZE, [](rofBrngProperties& p) { p.stateSize = -1; }},
      {ROF_STATUS_BAD_WORD_SIZE, [](rofBrngProperties& p) { p.wordSize = 12; }},
      {ROF_STATUS_BAD_SEED_COUNT, [](rofBrngProperties& p) { p.seedCount = 0; }},
      {ROF_STATUS_BAD_BIT_COUNT, [](rofBrngProperties& p) { p.bitCount = 0; }},
      {ROF_STATUS_NULL_POINTER, [](rofBrngProperties& p) { p.dBrng = nullptr; }},
      {ROF_STATUS_NULL_POINTER, [](rofBrngProperties& p) { p.sBrng = nullptr; }},
      {ROF_STATUS_NULL_POINTER, [](rofBrngProperties& p) { p.iBrng = nullptr; }},
      {ROF_STATUS_NULL_POINTER, [](rofBrngProperties& p) { p.initStream = nullptr; }},
  };
  rofBrngProperties p = __RegBrngsNew[0];  // MCG31M1's functions
  // Case k also spoils every later field of another status: only the order of the checks decides.
  for (size_t k = 0; k < std::size(cases); ++k) {
    rofBrngProperties spoilt = p;
    for (size_t j = k; j < std::size(cases); ++j)
      if (j == k || cases[j].status != cases[k].status) cases[j].spoil(spoilt);
    EXPECT_EQ(__rofRegisterBrng(&spoilt), cases[k].status) << "case " << k;
  }
  const int family = __rofRegisterBrng(&p);
  EXPECT_EQ(family, (rows_before << 20) + 0x100000) << "a refusal appends nothing";
  rofBrngProperties back;
  EXPECT_TRUE(__rofGetBrngProperties(family, &back) == ROF_STATUS_OK && SameRow(back, p));
  EXPECT_EQ(__rofGetBrngProperties(family + 1, &back), ROF_STATUS_BAD_BRNG);
  void* stream = nullptr;
  const uint32_t seed = 5;
  ASSERT_EQ(__rofNewStreamEx(&stream, family, 1, &seed), ROF_STATUS_OK);
  uint32_t r;
  EXPECT_TRUE(__rofiBRngMCG31M1(stream, 1, &r) == ROF_STATUS_OK && r == 5) << r;
  __rofDeleteStream(&stream);
  p.stateSize = 0;  // only a negative size is refused
  EXPECT_EQ(__rofRegisterBrng(&p), family + 0x100000);
}
}  // namespace
