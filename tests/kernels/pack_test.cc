// Pack and unpack in all four types and both widths against plain reference loops: negative
// strides, repeated and negative indices, masks set only in their high 32 bits, the count
// rule of width 1, and bit-exact copies of signalling NaNs.
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

// Element i holds bytes that name it; float lanes include a signalling NaN pattern.
template <class T>
std::vector<T> Numbered(int n, uint8_t salt) {
  std::vector<T> v(n);
  for (int i = 0; i < n; ++i) {
    std::vector<uint8_t> bytes(sizeof(T));
    for (size_t k = 0; k < sizeof(T); ++k) bytes[k] = static_cast<uint8_t>(i * 7 + k * 13 + salt);
    if (i % 5 == 0) {
      const uint32_t signalling = 0x7F800001u;
      memcpy(bytes.data(), &signalling, 4);
    }
    memcpy(&v[i], bytes.data(), sizeof(T));
  }
  return v;
}

template <class T>
bool SameBytes(const std::vector<T>& a, const std::vector<T>& b) {
  return a.size() == b.size() && memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
}

template <class T, class Ix>
void CheckStrided(int width) {
  using E = Entries<T>;
  const std::vector<T> a = Numbered<T>(64, 1);
  for (int64_t inc : {1, 3, -1, -4, 0}) {
    const int64_t n = 13;
    const T* base = inc < 0 ? a.data() + (n - 1) * -inc : a.data();
    std::vector<T> y = Numbered<T>(n, 9), want = y;
    for (int64_t i = 0; i < n; ++i) want[i] = base[i * inc];
    E::PackI(n, base, inc, y.data(), width);
    EXPECT_TRUE(SameBytes(y, want)) << "PackI inc " << inc;
    std::vector<T> z = Numbered<T>(64, 5), zwant = z;
    T* zbase = inc < 0 ? z.data() + (n - 1) * -inc : z.data();
    T* wbase = inc < 0 ? zwant.data() + (n - 1) * -inc : zwant.data();
    for (int64_t i = 0; i < n; ++i) wbase[i * inc] = a[i];
    E::UnpackI(n, a.data(), zbase, inc, width);
    EXPECT_TRUE(SameBytes(z, zwant)) << "UnpackI inc " << inc;
  }
}

template <class T, class Ix>
void CheckIndexed(int width) {
  using E = Entries<T>;
  const std::vector<T> a = Numbered<T>(40, 2);
  const T* middle = a.data() + 20;  // negative indices reach below it
  const std::vector<Ix> index = {0, 3, 3, -5, 19, -20, 7, 7, 7, 1, 0};
  const int64_t n = static_cast<int64_t>(index.size());
  std::vector<T> y = Numbered<T>(n, 3), want = y;
  for (int64_t i = 0; i < n; ++i) want[i] = middle[index[i]];
  E::PackV(n, middle, index.data(), y.data(), width);
  EXPECT_TRUE(SameBytes(y, want)) << "PackV";
  std::vector<T> z = Numbered<T>(40, 4), zwant = z;
  for (int64_t i = 0; i < n; ++i) zwant[20 + index[i]] = a[i];  // the later element stays
  E::UnpackV(n, a.data(), z.data() + 20, index.data(), width);
  EXPECT_TRUE(SameBytes(z, zwant)) << "UnpackV";
}

template <class T, class Ix>
void CheckMasked(int width) {
  using E = Entries<T>;
  const std::vector<T> a = Numbered<T>(12, 6);
  std::vector<Ix> mask = {1, 0, 0, -1, 5, 0, 0, 0, 1, 0, 0, 1};  // the last one set
  if constexpr (sizeof(Ix) == 8) mask[5] = Ix{1} << 32;  // set only in the high bits
  const int64_t n = static_cast<int64_t>(mask.size());
  std::vector<T> y = Numbered<T>(n, 7), want = y;
  std::vector<T> z = Numbered<T>(n, 8), zwant = z;
  for (int64_t i = 0, k = 0; i < n; ++i)
    if (mask[i] != 0) want[k] = a[i], zwant[i] = a[k++];
  E::PackM(n, a.data(), mask.data(), y.data(), width);
  EXPECT_TRUE(SameBytes(y, want)) << "PackM";
  E::UnpackM(n, a.data(), z.data(), mask.data(), width);
  EXPECT_TRUE(SameBytes(z, zwant)) << "UnpackM";
  const std::vector<Ix> zeros(n, 0);
  std::vector<T> untouched = Numbered<T>(n, 9), copy = untouched;
  E::PackM(n, a.data(), zeros.data(), untouched.data(), width);
  EXPECT_TRUE(SameBytes(untouched, copy)) << "an all-zero mask writes nothing";
}

// int32 entries with width 1, int64 with any other width (0 and 8 here).
TYPED_TEST(PackTest, EveryFormMatchesItsReferenceLoopInBothWidths) {
  CheckStrided<TypeParam, int32_t>(1);
  CheckStrided<TypeParam, int64_t>(8);
  CheckIndexed<TypeParam, int32_t>(1);
  CheckIndexed<TypeParam, int64_t>(0);
  CheckMasked<TypeParam, int32_t>(1);
  CheckMasked<TypeParam, int64_t>(8);
}

// With width 1 only the low 32 bits of n and of a stride count, sign-extended: 2^32 is no
// count, 2^32 + 3 is 3, and a stride 0xFFFFFFFF is -1. A 64-bit mask entry 2^32 read as two
// 32-bit entries is 0 then 1.
TYPED_TEST(PackTest, WidthRuleForCountsStridesAndMasks) {
  using E = Entries<TypeParam>;
  const std::vector<TypeParam> a = Numbered<TypeParam>(8, 1);
  std::vector<TypeParam> y = Numbered<TypeParam>(8, 2), before = y;
  E::PackI(int64_t{1} << 32, a.data(), 1, y.data(), 1);
  E::UnpackI(int64_t{1} << 32, a.data(), y.data(), 1, 1);
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

// A count below one does nothing, compared in the width of the call.
TYPED_TEST(PackTest, CountsBelowOneDoNothing) {
  using E = Entries<TypeParam>;
  const std::vector<TypeParam> a = Numbered<TypeParam>(4, 1);
  const int64_t index[4] = {0, 1, 2, 3};
  std::vector<TypeParam> y = Numbered<TypeParam>(4, 2), before = y;
  for (int64_t n : {int64_t{0}, int64_t{-1}, -(int64_t{1} << 40)}) {
    E::PackI(n, a.data(), 1, y.data(), 8);
    E::PackV(n, a.data(), index, y.data(), 8);
    E::UnpackV(n, a.data(), y.data(), index, 8);
    E::UnpackM(n, a.data(), y.data(), index, 8);
  }
  E::PackI(int64_t{0xFFFFFFFF}, a.data(), 1, y.data(), 1);  // -1 in 32 bits
  EXPECT_TRUE(SameBytes(y, before));
}

}  // namespace
