// Blocks, tails, in-place and strided calls give the one-element results and write nothing else.
#include <cstdlib>

#include "tests/kernels/special_cases.h"

namespace {

using special_cases::IgnoreB;
using special_cases::IgnoreBStrided;
using special_cases::kInf;
using special_cases::kNaN;
using special_cases::ModeGuard;
using exact::Same;

template <class T>
struct Function {
  const char* name;
  void (*f)(int, const T*, const T*, T*);
  void (*fi)(int, const T*, int, const T*, int, T*, int);
};

#define QOR_UNARY(t, T, stem) \
  {#t #stem, IgnoreB<T, _tem##t##stem>, IgnoreBStrided<T, _tem##t##stem##I>},
#define QOR_S1(stem, fill) QOR_UNARY(s, float, stem)
#define QOR_D1(stem, fill) QOR_UNARY(d, double, stem)
#define QOR_S2(stem) {"s" #stem, _tems##stem, _tems##stem##I},
#define QOR_D2(stem) {"d" #stem, _temd##stem, _temd##stem##I},
const Function<float> kSingle[] = {QOR_UNARY_FUNCTIONS(QOR_S1) QOR_BINARY_FUNCTIONS(QOR_S2)};
const Function<double> kDouble[] = {QOR_UNARY_FUNCTIONS(QOR_D1) QOR_BINARY_FUNCTIONS(QOR_D2)};

// Ordinary values of every domain mixed with specials, overflowing and tiny inputs.
const double kMixed[] = {0.25, -3.5,  800.0, 1e-5, -800.0, 42.0, kNaN,  -0.75, 700.0,
                         2.0,  -kInf, 0.0,   -0.0, 1.0,    0.9,  -1.0,  1e30,  5e-324,
                         1e-40, 0.5, -1e-30, 3.0,  kInf,   1.5,  -2e20, 0.999, 88.5};
constexpr int kN = sizeof kMixed / sizeof kMixed[0];

template <class T>
void CheckWalks(const Function<T>& fn) {
  SCOPED_TRACE(fn.name);
  std::vector<T> a(kMixed, kMixed + kN), b(a.rbegin(), a.rend()), one(kN);
  for (int i = 0; i < kN; ++i) fn.f(1, &a[i], &b[i], &one[i]);
  // Every length from 1 to 19 at several offsets: tails alone, blocks, blocks with tails.
  for (int n = 1; n <= 19; ++n) {
    for (int start = 0; start + n <= kN; start += 4) {
      std::vector<T> r(n + 1, T(-7)), in_place(a.begin() + start, a.begin() + start + n);
      fn.f(n, a.data() + start, b.data() + start, r.data());
      fn.f(n, in_place.data(), b.data() + start, in_place.data());
      for (int i = 0; i < n; ++i) {
        EXPECT_TRUE(Same(r[i], one[start + i])) << "n " << n << " at " << start + i;
        EXPECT_TRUE(Same(in_place[i], one[start + i])) << "in place, n " << n;
      }
      EXPECT_EQ(r[n], T(-7)) << "n " << n;
    }
  }
  // Strides 0, 1, -1 and 3 in, 2 or -2 out; the elements between stay.
  for (int inc : {0, 1, -1, 3}) {
    const int n = inc == 0 ? 5 : kN / std::abs(inc), last = (n - 1) * inc;
    const int first = inc < 0 ? -last : 0, incr = inc < 0 ? -2 : 2;
    std::vector<T> r(2 * n, T(-7));
    T* out = incr < 0 ? r.data() + 2 * (n - 1) : r.data();
    fn.fi(n, a.data() + first, inc, b.data() + first, inc, out, incr);
    for (int i = 0; i < n; ++i) {
      EXPECT_TRUE(Same(out[i * incr], one[first + i * inc])) << "inc " << inc << " i " << i;
      EXPECT_EQ(r[2 * i + 1], T(-7)) << "inc " << inc;
    }
  }
}

TEST(Walks, BlocksTailsAndStridesGiveTheOneElementResults) {
  for (unsigned mode : {unsigned{TEM_MODE_DEFAULT}, TEM_ERRMODE_NOERR | TEM_HA}) {
    ModeGuard guard(mode);
    for (const auto& fn : kSingle) CheckWalks(fn);
    for (const auto& fn : kDouble) CheckWalks(fn);
  }
}

}  // namespace
