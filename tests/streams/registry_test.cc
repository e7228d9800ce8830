// The registries: built-in rows, decoding, validity, properties, registration, open rows.
#include <string.h>

#include <set>
#include <tuple>

#include "gtest/gtest.h"
#include "qor/rof.h"

namespace {
struct BuiltIn {
  int32_t family, state_size, seed_count, includes_zero, word_size, bit_count, sub_ids;
};

// clang-format off
const BuiltIn kBuiltIn[] = {
    {0x100000, 24, 1, 0, 4, 31, 1},         {0x200000, 1024, 252, 1, 4, 32, 1},
    {0x300000, 40, 6, 1, 4, 32, 1},         {0x400000, 32, 1, 0, 8, 59, 1},
    {0x500000, 48, 4, 1, 16, 24, 273},      {0x600000, 11712, 2604, 0, 4, 32, 1},
    {0x700000, 84288, 10498, 0, 4, 32, 1},  {0x800000, 2520, 625, 1, 4, 32, 1},
    {0x900000, 312, 70, 1, 4, 32, 6024},    {0xA00000, 48, 0, 1, 4, 32, 1},
    {0xB00000, 64, 0, 1, 4, 32, 1},         {0xC00000, 56, 0, 1, 4, 32, 1},
    {0xD00000, 2536, 625, 1, 4, 32, 1},     {0xE00000, 24, 1, 1, 4, 32, 1},
    {0xF00000, 72, 8, 1, 4, 32, 1},         {0x1000000, 64, 8, 1, 4, 32, 1},
};
// clang-format on

// Rows whose generators have landed; every other built-in row is still open.
const std::set<int> kRowsWithFunctions = {0, 3, 7, 8};

bool SameRow(const rofBrngProperties& x, const rofBrngProperties& y) {
  return memcmp(&x, &y, sizeof x) == 0;
}

TEST(RegistryTest, BuiltInRowsAndSubIdentifierCounts) {
  ASSERT_GE(__rofGetNumRegBrngs(), 16);
  for (int row = 0; row < 16; ++row) {
    const BuiltIn& b = kBuiltIn[row];
    SCOPED_TRACE(row);
    EXPECT_EQ(b.family, (row + 1) << 20);
    const rofBrngProperties& p = __RegBrngsNew[row];
    EXPECT_EQ(std::tie(p.stateSize, p.seedCount, p.includesZero, p.wordSize, p.bitCount),
              std::tie(b.state_size, b.seed_count, b.includes_zero, b.word_size, b.bit_count));
    EXPECT_EQ(p.zero, 0);
    rofBrngProperties copy;
    EXPECT_EQ(__rofGetBrngProperties(b.family + b.sub_ids - 1, &copy), ROF_STATUS_OK);
    EXPECT_TRUE(SameRow(copy, p));
    EXPECT_EQ(__rofGetBrngProperties(b.family + b.sub_ids, &copy), ROF_STATUS_BAD_BRNG);
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
      {0x500007, __RegBrngsNew, 4, 7, ROF_STATUS_OK},
      {0x500000 + 272, __RegBrngsNew, 4, 272, ROF_STATUS_OK},
      {0x9FFFFF, __RegBrngsNew, 8, 0xFFFFF, ROF_STATUS_BAD_BRNG},
      {0x1000000, __RegBrngsNew, 15, 0, ROF_STATUS_OK},
      {0x1000000 + (0x100 << 20), __RegBrngsNew, 271, 0, ROF_STATUS_BAD_BRNG},
      {0, __RegBrngs, 0, 0, ROF_STATUS_OK},
      {3, __RegBrngs, 3, 0, ROF_STATUS_OK},
      {4, __RegBrngs, 4, 0, ROF_STATUS_OK},
      {276, __RegBrngs, 4, 272, ROF_STATUS_OK},
      {277, __RegBrngs, 277, 0, ROF_STATUS_OK},
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

// That they make no streams is in LifecycleTest.NewStreamRefusalsLeaveTheHandle.
TEST(RegistryTest, OpenRowsHaveNoFunctions) {
  for (int row = 0; row < 16; ++row) {
    const rofBrngProperties& p = __RegBrngsNew[row];
    const bool landed = kRowsWithFunctions.count(row) == 1;
    EXPECT_EQ(std::make_tuple(p.initStream != nullptr, p.sBrng != nullptr, p.dBrng != nullptr,
                              p.iBrng != nullptr),
              std::make_tuple(landed, landed, landed, landed)) << row;
  }
}

// A user's row with MCG31M1's functions, so that a stream of it can be made and run.
rofBrngProperties UserRow() {
  rofBrngProperties p = __RegBrngsNew[0];
  p.stateSize = 24;
  return p;
}

TEST(RegistryTest, RegistrationRefusalsInOrder) {
  const int rows_before = __rofGetNumRegBrngs();
  struct Case {
    const char* what;
    void (*spoil)(rofBrngProperties&);
    int status;
  };
  // Each case also spoils every later field, so only the order of the tests decides.
  const Case cases[] = {
      {"stateSize -1", [](rofBrngProperties& p) { p.stateSize = -1; p.wordSize = 3; },
       ROF_STATUS_BAD_STATE_SIZE},
      {"wordSize 12", [](rofBrngProperties& p) { p.wordSize = 12; p.seedCount = 0; },
       ROF_STATUS_BAD_WORD_SIZE},
      {"seedCount 0", [](rofBrngProperties& p) { p.seedCount = 0; p.bitCount = 0; },
       ROF_STATUS_BAD_SEED_COUNT},
      {"bitCount 0", [](rofBrngProperties& p) { p.bitCount = 0; p.dBrng = nullptr; },
       ROF_STATUS_BAD_BIT_COUNT},
      {"dBrng null", [](rofBrngProperties& p) { p.dBrng = nullptr; }, ROF_STATUS_NULL_POINTER},
      {"sBrng null", [](rofBrngProperties& p) { p.sBrng = nullptr; }, ROF_STATUS_NULL_POINTER},
      {"iBrng null", [](rofBrngProperties& p) { p.iBrng = nullptr; }, ROF_STATUS_NULL_POINTER},
      {"initStream null", [](rofBrngProperties& p) { p.initStream = nullptr; },
       ROF_STATUS_NULL_POINTER},
  };
  for (const Case& c : cases) {
    rofBrngProperties p = UserRow();
    c.spoil(p);
    EXPECT_EQ(__rofRegisterBrng(&p), c.status) << c.what;
  }
  EXPECT_EQ(__rofGetNumRegBrngs(), rows_before) << "a refusal appends nothing";
}

TEST(RegistryTest, RegistrationAppendsARowAndItsStreamsWork) {
  const int rows_before = __rofGetNumRegBrngs();
  rofBrngProperties p = UserRow();
  const int family = __rofRegisterBrng(&p);
  EXPECT_EQ(family, (rows_before << 20) + 0x100000);  // 0x1100000 for the first registration
  EXPECT_EQ(__rofGetNumRegBrngs(), rows_before + 1);
  rofBrngProperties back;
  ASSERT_EQ(__rofGetBrngProperties(family, &back), ROF_STATUS_OK);
  EXPECT_TRUE(SameRow(back, p));
  EXPECT_EQ(__rofGetBrngProperties(family + 1, &back), ROF_STATUS_BAD_BRNG);

  void* stream = nullptr;
  const uint32_t seed = 5;
  ASSERT_EQ(__rofNewStreamEx(&stream, family, 1, &seed), ROF_STATUS_OK);
  EXPECT_EQ(__rofGetStreamStateBrng(stream), family);
  uint32_t r[2];
  EXPECT_EQ(__rofiBRngMCG31M1(stream, 2, r), ROF_STATUS_OK);
  EXPECT_EQ(r[0], 5u);
  EXPECT_EQ(r[1], 5ull * 1132489760 % 2147483647);
  __rofDeleteStream(&stream);

  // A zero stateSize passes: only a negative size is refused.
  p.stateSize = 0;
  EXPECT_EQ(__rofRegisterBrng(&p), family + 0x100000);
}
}  // namespace
