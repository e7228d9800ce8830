// Abs bit for bit through its exported names, and LinearFrac contiguous and strided (the other
// operations: special values and walks).
#include <cstring>
#include <vector>

#include "gtest/gtest.h"
#include "qor/tem.h"

namespace {

// Signalling and quiet NaNs with payloads keep all but the sign bit.
TEST(AbsTest, ClearsOnlyTheSignBitInEveryEntry) {
  const uint32_t inputs[] = {0x80000000, 0x00000000, 0xBF800000, 0x80000001, 0xFF800000,
                             0xFF800001, 0xFFC00123, 0x7FA00000, 0xC2F6E979, 0x3F000000};
  const int n = sizeof inputs / sizeof inputs[0];
  float a[n];
  memcpy(a, inputs, sizeof a);
  for (auto entry : {_temsAbs, _temsAbs_HA, _temsAbs_21, _temsAbs_11}) {
    std::vector<float> r(n + 1, 5.0f);
    entry(n, a, r.data());
    uint32_t bits[n];
    memcpy(bits, r.data(), sizeof bits);
    for (int i = 0; i < n; ++i) EXPECT_EQ(bits[i], inputs[i] & 0x7FFFFFFF) << i;
    EXPECT_EQ(r[n], 5.0f);
  }
}

// (2a + 1) / (-3b + 0.5), contiguous and at result stride 2.
template <class T, class F, class FI>
void CheckLinearFrac(F f, FI fi) {
  for (int n : {1, 2, 5, 9}) {
    std::vector<T> a(n), b(n), r(n), rs(2 * n);
    for (int i = 0; i < n; ++i) a[i] = T(1.5) * i - 2, b[i] = T(0.25) * i + 1;
    f(n, a.data(), b.data(), T(2), T(1), T(-3), T(0.5), r.data());
    fi(n, a.data(), 1, b.data(), 1, T(2), T(1), T(-3), T(0.5), rs.data(), 2);
    for (int i = 0; i < n; ++i) {
      EXPECT_EQ(r[i], (T(2) * a[i] + T(1)) / (T(-3) * b[i] + T(0.5))) << i;
      EXPECT_EQ(rs[2 * i], r[i]) << i;
    }
  }
}

TEST(LinearFracTest, ScaledAndShiftedQuotientContiguousAndStrided) {
  CheckLinearFrac<double>(_temdLinearFrac, _temdLinearFracI);
  CheckLinearFrac<float>(_temsLinearFrac, _temsLinearFracI);
}

}  // namespace
