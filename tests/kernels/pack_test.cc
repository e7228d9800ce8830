// Pack and unpack in all four types and both widths against plain reference loops.
#include <cstdint>
#include <cstring>
#include <vector>

#include "gtest/gtest.h"
#include "qor/tem.h"

namespace {

template <class T>
struct Entries;

#define ENTRIES_OF(t, T)                              \
  template <>                                         \
  struct Entries<T> {                                 \
    static constexpr auto PackI = _tem##t##PackI;     \
    static constexpr auto PackV = _tem##t##PackV;     \
    static constexpr auto PackM = _tem##t##PackM;     \
    static constexpr auto UnpackI = _tem##t##UnpackI; \
    static constexpr auto UnpackV = _tem##t##UnpackV; \
    static constexpr auto UnpackM = _tem##t##UnpackM; \
  };
ENTRIES_OF(s, float)
ENTRIES_OF(d, double)
ENTRIES_OF(c, TemComplex8)
ENTRIES_OF(z, TemComplex16)

template <class T>
class PackTest : public ::testing::Test {};
using ElementTypes = ::testing::Types<float, double, TemComplex8, TemComplex16>;
TYPED_TEST_SUITE(PackTest, ElementTypes);

// Element i holds bytes that name it; every fifth starts with a signalling NaN pattern.
template <class T>
std::vector<T> Numbered(int n, uint8_t salt) {
  std::vector<T> v(n);
  auto* bytes = reinterpret_cast<uint8_t*>(v.data());
  for (size_t i = 0; i < v.size(); ++i)
    for (size_t k = 0; k < sizeof(T); ++k) *bytes++ = uint8_t(i * 7 + k * 13 + salt);
  const uint32_t signalling = 0x7F800001u;
  for (int i = 0; i < n; i += 5) memcpy(&v[i], &signalling, 4);
  return v;
}

template <class T>
bool SameBytes(const std::vector<T>& a, const std::vector<T>& b) {
  return a.size() == b.size() && memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
}

// Every form against its reference loop: strides 1, 3, -1, -4 and 0; repeated and negative
// indices; a mask set only in its high bits, and an all-zero mask, which writes nothing.
template <class T, class Ix>
void CheckForms(int width) {
  using E = Entries<T>;
  const std::vector<T> a = Numbered<T>(64, 1);
  const int64_t n = 13;
  for (int64_t inc : {1, 3, -1, -4, 0}) {
    const int64_t offset = inc < 0 ? (n - 1) * -inc : 0;
    std::vector<T> y = Numbered<T>(n, 9), want = y, z = Numbered<T>(64, 5), zwant = z;
    for (int64_t i = 0; i < n; ++i) want[i] = a[offset + i * inc], zwant[offset + i * inc] = a[i];
    E::PackI(n, a.data() + offset, inc, y.data(), width);
    E::UnpackI(n, a.data(), z.data() + offset, inc, width);
    EXPECT_TRUE(SameBytes(y, want) && SameBytes(z, zwant)) << "inc " << inc;
  }
  const std::vector<Ix> index = {0, 3, 3, -5, 19, -20, 7, 7, 7, 1, 0, 5, 2};
  std::vector<T> y = Numbered<T>(n, 3), want = y, z = Numbered<T>(40, 4), zwant = z;
  for (int64_t i = 0; i < n; ++i) want[i] = a[20 + index[i]], zwant[20 + index[i]] = a[i];
  E::PackV(n, a.data() + 20, index.data(), y.data(), width);
  E::UnpackV(n, a.data(), z.data() + 20, index.data(), width);  // the later element stays
  EXPECT_TRUE(SameBytes(y, want)) << "PackV";
  EXPECT_TRUE(SameBytes(z, zwant)) << "UnpackV";
  std::vector<Ix> mask = {1, 0, 0, -1, 5, 0, 0, 0, 1, 0, 0, 0, 1};  // the last one set
  if constexpr (sizeof(Ix) == 8) mask[5] = Ix{1} << 32;  // set only in the high bits
  y = Numbered<T>(n, 7), want = y, z = Numbered<T>(n, 8), zwant = z;
  for (int64_t i = 0, k = 0; i < n; ++i)
    if (mask[i] != 0) want[k] = a[i], zwant[i] = a[k++];
  E::PackM(n, a.data(), mask.data(), y.data(), width);
  E::UnpackM(n, a.data(), z.data(), mask.data(), width);
  EXPECT_TRUE(SameBytes(y, want)) << "PackM";
  EXPECT_TRUE(SameBytes(z, zwant)) << "UnpackM";
  const std::vector<Ix> zeros(n, 0);
  E::PackM(n, a.data(), zeros.data(), z.data(), width);
  EXPECT_TRUE(SameBytes(z, zwant)) << "an all-zero mask writes nothing";
}

// int32 entries with width 1, int64 with any other width (0 here, 8 below).
TYPED_TEST(PackTest, EveryFormMatchesItsReferenceLoopInBothWidths) {
  CheckForms<TypeParam, int32_t>(1);
  CheckForms<TypeParam, int64_t>(0);
}

// With width 1 only the low 32 bits of n and of a stride count, sign-extended: 2^32 is no
// count, 2^32 + 3 is 3, and a stride 0xFFFFFFFF is -1. A 64-bit mask entry 2^32 read as two
// 32-bit entries is 0 then 1. A count below one does nothing, compared in the width of the call.
TYPED_TEST(PackTest, WidthRuleForCountsStridesAndMasks) {
  using E = Entries<TypeParam>;
  const std::vector<TypeParam> a = Numbered<TypeParam>(8, 1);
  const int64_t index[4] = {0, 1, 2, 3};
  std::vector<TypeParam> y = Numbered<TypeParam>(8, 2), before = y;
  E::PackI(int64_t{1} << 32, a.data(), 1, y.data(), 1);
  E::UnpackI(int64_t{1} << 32, a.data(), y.data(), 1, 1);
  E::PackI(int64_t{0xFFFFFFFF}, a.data(), 1, y.data(), 1);  // -1 in 32 bits
  for (int64_t n : {int64_t{0}, int64_t{-1}, -(int64_t{1} << 40)}) {
    E::PackI(n, a.data(), 1, y.data(), 8);
    E::PackV(n, a.data(), index, y.data(), 8);
    E::UnpackV(n, a.data(), y.data(), index, 8);
    E::UnpackM(n, a.data(), y.data(), index, 8);
  }
  EXPECT_TRUE(SameBytes(y, before));
  E::PackI((int64_t{1} << 32) + 3, a.data() + 7, 0xFFFFFFFFll, y.data(), 1);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(memcmp(&y[i], &a[7 - i], sizeof(TypeParam)), 0) << i;
  const int64_t wide_mask[1] = {int64_t{1} << 32};
  std::vector<TypeParam> packed = Numbered<TypeParam>(2, 3), unpacked = packed;
  E::PackM(2, a.data(), wide_mask, packed.data(), 1);
  EXPECT_EQ(memcmp(&packed[0], &a[1], sizeof(TypeParam)), 0);
  E::PackM(1, a.data(), wide_mask, unpacked.data(), 8);
  EXPECT_EQ(memcmp(&unpacked[0], &a[0], sizeof(TypeParam)), 0);
}

}  // namespace
