// Fmod and Remainder against fmod and remainder, bit for bit, over sampled pairs.
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "gtest/gtest.h"
#include "qor/tem.h"
#include "tests/kernels/exact_support.h"

namespace {

using exact::Same;

// Pairs of finite numbers with b != 0: random exponents over the whole range (quotients up to
// 2^2100 and subnormal operands), near-equal magnitudes, and the quick-path divisors.
template <class T>
void Pairs(size_t count, uint64_t seed, std::vector<T>& a, std::vector<T>& b) {
  using B = exact::BitsOf<T>;
  constexpr int kM = sizeof(T) == 4 ? 23 : 52;
  constexpr B kTopExponent = sizeof(T) == 4 ? 254 : 2046;
  std::mt19937_64 rng(seed);
  for (double edge : {0x1.fffffffffffffp51, 2147483647.0 * 1048575, -2147483648.0})
    a.push_back(T(edge)), b.push_back(T(2147483647.0));  // the ends of the double quick path
  auto random_finite = [&] {
    const B bits = static_cast<B>(rng()) & ((B{1} << kM) - 1);
    const B e = static_cast<B>(rng() % (kTopExponent + 1));
    return exact::FromBits<T>((static_cast<B>(rng() & 1) << (8 * sizeof(T) - 1)) | (e << kM) |
                              bits);
  };
  for (size_t i = 0; i < count; ++i) {
    T x = random_finite(), y = random_finite();
    if (i % 6 == 1) y = std::ldexp(x, -static_cast<int>(rng() % 40)) * T(0.75);
    if (i % 6 == 2) {
      y = T(sizeof(T) == 8 ? 2147483647.0 : 3.0);
      x = std::ldexp(x, -std::ilogb(x) + static_cast<int>(rng() % 53));
    }
    if (i % 6 == 3 || y == 0) y = T(1);
    if (i % 6 == 4) y = exact::FromBits<T>(static_cast<B>(rng() % 1000 + 1));  // subnormal
    a.push_back(x);
    b.push_back(i % 7 == 0 ? -y : y);
  }
}

template <class T>
void CheckAgainstLibm(void (*ours)(int, const T*, const T*, T*),
                      void (*ours_strided)(int, const T*, int, const T*, int, T*, int),
                      T (*ref)(T, T)) {
  std::vector<T> a, b;
  Pairs<T>(exact::FullSweep() ? 10000000 : 200000, 11, a, b);
  const int n = static_cast<int>(a.size());
  std::vector<T> r(n), rs(2 * n);
  _temClearErrStatus();
  ours(n, a.data(), b.data(), r.data());
  ours_strided(n, a.data(), 1, b.data(), 1, rs.data(), 2);
  EXPECT_EQ(_temGetErrStatus(), 0);
  long bad = 0;
  for (int i = 0; i < n; ++i) {
    T want = ref(a[i], b[i]);
    if (want == 0) want = std::copysign(T(0), a[i]);  // glibc's sign can differ, b subnormal
    if (!(Same(r[i], want) && Same(rs[2 * i], want)) && ++bad <= 5)
      ADD_FAILURE() << std::hexfloat << a[i] << " " << b[i] << " got " << r[i] << " / " << rs[2 * i]
                    << " want " << want;
  }
  EXPECT_EQ(bad, 0);
  // A reported lane gives the positive quiet NaN (statuses: special_values_test).
  const T five = 5, zero = 0;
  ours(1, &five, &zero, r.data());
  EXPECT_EQ(exact::Bits(r[0]), exact::Bits(std::numeric_limits<T>::quiet_NaN()));
}

TEST(RemainderTest, FmodAndRemainderMatchLibmBitForBit) {
  CheckAgainstLibm<float>(_temsFmod, _temsFmodI, fmodf);
  CheckAgainstLibm<double>(_temdFmod, _temdFmodI, fmod);
  CheckAgainstLibm<float>(_temsRemainder, _temsRemainderI, remainderf);
  CheckAgainstLibm<double>(_temdRemainder, _temdRemainderI, remainder);
}

}  // namespace
