// The arithmetic kernels through their exported stubs, contiguous and strided: Abs bit for bit,
// the plain operations against the hardware ones, LinearFrac (statuses: special values; blocks,
// strides and in-place calls: the walk test).
#include <algorithm>
#include <cstring>

#include "tests/kernels/special_cases.h"

namespace {

using special_cases::IgnoreB;
using special_cases::IgnoreBStrided;

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

// Every table slot of dAdd and every length from 0 to 35; overflow and NaN are not reported.
TEST(AddTest, EveryEntryAndLengthIsTheHardwareSumSilently) {
  for (auto entry : {_temdAdd, _temdAdd_HA, _temdAdd_50, _temdAdd_26, qor_tem_kernel_dAdd_ttab[0],
                     qor_tem_kernel_dAdd_ttab[1], qor_tem_kernel_dAdd_ttab[2]}) {
    for (int n = 0; n <= 35; ++n) {
      std::vector<double> a(n), b(n), r(n + 2, -1.0);
      for (int i = 0; i < n; ++i) a[i] = 0.1 * i, b[i] = 1.0 / (i + 3);
      entry(n, a.data(), b.data(), r.data());
      for (int i = 0; i < n; ++i) EXPECT_EQ(r[i], a[i] + b[i]) << n << " " << i;
      EXPECT_TRUE(r[n] == -1.0 && r[n + 1] == -1.0) << n;
    }
  }
  const double max = std::numeric_limits<double>::max();
  const double a[4] = {max, -max, NAN, INFINITY}, b[4] = {max, -max, 1.0, -INFINITY};
  double r[4];
  _temClearErrStatus();
  _temdAdd(4, a, b, r);
  EXPECT_TRUE(r[0] == INFINITY && r[1] == -INFINITY && std::isnan(r[2]) && std::isnan(r[3]));
  EXPECT_EQ(_temGetErrStatus(), 0);
}

// The plain operations against the same expression in C++, over lengths that cover blocks
// and tails, contiguous and strided.
template <class T>
struct PlainRow {
  const char* name;
  void (*contiguous)(int, const T*, const T*, T*);
  void (*strided)(int, const T*, int, const T*, int, T*, int);
  T (*want)(T, T);
};

template <class T>
void CheckPlain(const std::vector<PlainRow<T>>& rows) {
  for (const auto& row : rows) {
    for (int n : {1, 3, 8, 17, 35}) {
      std::vector<T> a(n), b(n), r(n + 1, T(-7)), rs(3 * n, T(-7));
      for (int i = 0; i < n; ++i) a[i] = T(0.3) * (i - 5), b[i] = T(1) / (i + 3);
      row.contiguous(n, a.data(), b.data(), r.data());
      row.strided(n, a.data(), 1, b.data(), 1, rs.data(), 3);
      for (int i = 0; i < n; ++i) {
        EXPECT_EQ(r[i], row.want(a[i], b[i])) << row.name << " " << n << " " << i;
        EXPECT_EQ(rs[3 * i], row.want(a[i], b[i])) << row.name << " strided " << i;
      }
      EXPECT_EQ(r[n], T(-7)) << row.name;
    }
  }
}

#define QOR_PLAIN(t, T, stem, expression) \
  {#t #stem, _tem##t##stem, _tem##t##stem##I, [](T a, T b) -> T { return expression; }}
#define QOR_PLAIN1(t, T, stem, expression)                          \
  {#t #stem, IgnoreB<T, _tem##t##stem>, IgnoreBStrided<T, _tem##t##stem##I>, \
   [](T a, T) -> T { return expression; }}

TEST(PlainTest, OperationsEqualTheHardwareOnes) {
  CheckPlain<float>({QOR_PLAIN(s, float, Add, a + b), QOR_PLAIN(s, float, Sub, a - b),
                     QOR_PLAIN(s, float, Mul, a * b), QOR_PLAIN(s, float, Div, a / b),
                     QOR_PLAIN1(s, float, Inv, 1 / a), QOR_PLAIN1(s, float, Sqr, a * a)});
  CheckPlain<double>({QOR_PLAIN(d, double, Sub, a - b), QOR_PLAIN(d, double, Mul, a * b),
                      QOR_PLAIN(d, double, Div, a / b), QOR_PLAIN1(d, double, Inv, 1 / a),
                      QOR_PLAIN1(d, double, Sqr, a * a), QOR_PLAIN1(d, double, Abs, std::fabs(a))});
}

TEST(LinearFracTest, ScaledAndShiftedQuotientContiguousAndStrided) {
  for (int n : {1, 2, 5, 9}) {
    std::vector<double> a(n), b(n), r(n), rs(2 * n);
    std::vector<float> fa(n), fb(n), fr(n), frs(2 * n);
    for (int i = 0; i < n; ++i) a[i] = fa[i] = 1.5f * i - 2, b[i] = fb[i] = 0.25f * i + 1;
    _temdLinearFrac(n, a.data(), b.data(), 2.0, 1.0, -3.0, 0.5, r.data());
    _temdLinearFracI(n, a.data(), 1, b.data(), 1, 2.0, 1.0, -3.0, 0.5, rs.data(), 2);
    _temsLinearFrac(n, fa.data(), fb.data(), 2.0f, 1.0f, -3.0f, 0.5f, fr.data());
    _temsLinearFracI(n, fa.data(), 1, fb.data(), 1, 2.0f, 1.0f, -3.0f, 0.5f, frs.data(), 2);
    for (int i = 0; i < n; ++i) {
      EXPECT_EQ(r[i], (2.0 * a[i] + 1.0) / (-3.0 * b[i] + 0.5)) << i;
      EXPECT_EQ(rs[2 * i], r[i]) << i;
      EXPECT_EQ(fr[i], (2.0f * fa[i] + 1.0f) / (-3.0f * fb[i] + 0.5f)) << i;
      EXPECT_EQ(frs[2 * i], fr[i]) << i;
    }
  }
}

}  // namespace
