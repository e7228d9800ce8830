// Blocks, tails, in-place and strided calls (strides 0 and negative too) of every elementary
// and arithmetic function give the results of one-element calls bit for bit, flagged lanes
// among ordinary ones, and write nothing else.
#include <cstdlib>
#include <vector>

#include "tests/kernels/special_cases.h"

namespace {

using special_cases::ModeGuard;
using special_cases::SameValue;

template <class T>
using Contiguous = void (*)(int, const T*, const T*, T*);
template <class T>
using Strided = void (*)(int, const T*, int, const T*, int, T*, int);

// A function of one input seen as one of two that ignores b.
template <class T, auto F>
void IgnoreB(int n, const T* a, const T*, T* r) { F(n, a, r); }
template <class T, auto F>
void IgnoreBStrided(int n, const T* a, int inca, const T*, int, T* r, int incr) {
  F(n, a, inca, r, incr);
}

template <class T>
struct Function {
  const char* name;
  Contiguous<T> f;
  Strided<T> fi;
};

#define QOR_UNARY(t, T, stem) \
  {#t #stem, IgnoreB<T, _tem##t##stem>, IgnoreBStrided<T, _tem##t##stem##I>}
#define QOR_BINARY(t, T, stem) {#t #stem, _tem##t##stem, _tem##t##stem##I}
#define QOR_FUNCTIONS(t, T)                                                                      \
  QOR_UNARY(t, T, Exp), QOR_UNARY(t, T, Exp2), QOR_UNARY(t, T, Exp10), QOR_UNARY(t, T, Expm1),   \
      QOR_UNARY(t, T, Sinh), QOR_UNARY(t, T, Cosh), QOR_UNARY(t, T, Tanh), QOR_UNARY(t, T, Ln),  \
      QOR_UNARY(t, T, Log2), QOR_UNARY(t, T, Log10), QOR_UNARY(t, T, Log1p),                     \
      QOR_UNARY(t, T, Logb), QOR_UNARY(t, T, Asinh), QOR_UNARY(t, T, Acosh),                     \
      QOR_UNARY(t, T, Atanh), QOR_UNARY(t, T, Sqrt), QOR_UNARY(t, T, InvSqrt),                   \
      QOR_UNARY(t, T, Cbrt), QOR_UNARY(t, T, InvCbrt), QOR_UNARY(t, T, Pow2o3),                  \
      QOR_UNARY(t, T, Pow3o2), QOR_UNARY(t, T, Sin), QOR_UNARY(t, T, Cos), QOR_UNARY(t, T, Tan), \
      QOR_UNARY(t, T, ErfInv), QOR_BINARY(t, T, Hypot), QOR_BINARY(t, T, Pow),                   \
      QOR_BINARY(t, T, Powr), QOR_BINARY(t, T, Fmod), QOR_BINARY(t, T, Remainder),            \
      QOR_UNARY(t, T, Inv), QOR_UNARY(t, T, Sqr), QOR_UNARY(t, T, Abs), QOR_BINARY(t, T, Div),   \
      QOR_BINARY(t, T, Add), QOR_BINARY(t, T, Sub), QOR_BINARY(t, T, Mul)
const Function<float> kSingle[] = {QOR_FUNCTIONS(s, float)};
const Function<double> kDouble[] = {QOR_FUNCTIONS(d, double)};
#undef QOR_UNARY
#undef QOR_BINARY
#undef QOR_FUNCTIONS

constexpr double kInf = special_cases::kInf, kNaN = special_cases::kNaN;

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
        EXPECT_TRUE(SameValue(r[i], one[start + i])) << "n " << n << " at " << start + i;
        EXPECT_TRUE(SameValue(in_place[i], one[start + i])) << "in place, n " << n;
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
      EXPECT_TRUE(SameValue(out[i * incr], one[first + i * inc])) << "inc " << inc << " i " << i;
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
