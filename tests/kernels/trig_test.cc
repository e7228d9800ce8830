// The trigonometric tables (published rows, the 2/pi rows' shifts), the symmetries bit for bit,
// and SinCos against Sin and Cos.
#include <cstdint>
#include <vector>

#include "gtest/gtest.h"
#include "qor/tem.h"
#include "tests/kernels/exact_support.h"

namespace generated {
#include "kernels/trig_tables.inc"
}  // namespace generated

namespace {

using exact::Bits;
using exact::Same;

TEST(TrigTables, PublishedRowsAndConstants) {
  const double rows[][5] = {{0, 0.0, 1.0, 0.0, 0.0},
                            {1, -7.529816085545908e-05, 1.0, 0.012271538285719925,
                             6.919790271057893e-19},
                            {128, 0.0, 0.0, 1.0, 0.0}};
  for (const auto& row : rows)
    for (int k = 0; k < 4; ++k)
      EXPECT_EQ(generated::kSinTable[static_cast<int>(row[0])][k], row[k + 1]) << row[0];
  // The leading bits of 2/pi appear in the low word of the first non-zero rows.
  int first = 0;
  while (generated::kTwoOverPiRows[first][2] == 0) {
    EXPECT_EQ(generated::kTwoOverPiRows[first][0] | generated::kTwoOverPiRows[first][1], 0u);
    ++first;
  }
  const uint64_t leading[] = {1, 2, 5, 10, 20, 40, 81};
  for (int k = 0; k < 7; ++k) EXPECT_EQ(generated::kTwoOverPiRows[first + k][2], leading[k]);
  EXPECT_EQ(Bits(generated::kPiOver256Parts[0]), 0x3F8921FB54400000u);
  EXPECT_EQ(Bits(generated::kTwoPiHigh), 0x401921FB54000000u);
  EXPECT_EQ(generated::kTwoPi, 6.283185307179586);
}

// Each row is the one before shifted left by one bit, with the next bit of 2/pi coming in.
TEST(TrigTables, TwoOverPiRowsShiftByOneBit) {
  for (int e = 1; e < 2048; ++e) {
    const uint64_t* a = generated::kTwoOverPiRows[e - 1];
    const uint64_t* b = generated::kTwoOverPiRows[e];
    ASSERT_EQ(b[0], (a[0] << 1) | (a[1] >> 63)) << e;
    ASSERT_EQ(b[1], (a[1] << 1) | (a[2] >> 63)) << e;
    ASSERT_EQ(b[2] >> 1, a[2] & 0x7FFFFFFFFFFFFFFFu) << e;
  }
}

// Cos is even and Sin odd bit for bit, and SinCos gives what Sin and Cos give.
template <class T>
void CheckSymmetryAndAgreement(void (*sin)(int, const T*, T*), void (*cos)(int, const T*, T*),
                               void (*sincos)(int, const T*, T*, T*)) {
  std::vector<T> x;
  for (double v = 1e-5; v < 1e30; v *= 1.37) x.push_back(T(v)), x.push_back(T(-v));
  const int n = static_cast<int>(x.size());
  std::vector<T> s(n), c(n), s2(n), c2(n);
  sin(n, x.data(), s.data());
  cos(n, x.data(), c.data());
  sincos(n, x.data(), s2.data(), c2.data());
  for (int i = 0; i < n; ++i) {
    if (i % 2) EXPECT_TRUE(Same(s[i], T(-s[i - 1])) && Same(c[i], c[i - 1])) << x[i];
    EXPECT_TRUE(Same(s2[i], s[i]) && Same(c2[i], c[i])) << x[i];
  }
}

TEST(Trig, SymmetryAndAgreement) {
  CheckSymmetryAndAgreement<float>(_temsSin, _temsCos, _temsSinCos);
  CheckSymmetryAndAgreement<double>(_temdSin, _temdCos, _temdSinCos);
}

}  // namespace
