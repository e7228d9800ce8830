// tanh by pieces, with no exponential: |x| picks one of 15 intervals by integer arithmetic on
// its high word, and a polynomial in the distance to the interval's anchor, read from a table
// with one row per interval, gives the value; the sign of x goes back on at the end.
#include "kernels/estrin.h"
#include "kernels/exp_common.h"

namespace tem {
namespace expo {
namespace {

#include "kernels/tanh_table.inc"

// The interval of a magnitude's high word: the binades split at 1.25 and 1.75, from
// [0.1875, 0.21875) as 0 (with everything below) to [20, inf) as 14.
inline int Interval(uint32_t high) {
  high = high < 0x3FC80000 ? 0x3FC80000 : high > 0x40340000 ? 0x40340000 : high;
  return static_cast<int>((high + 0x40000) >> 19) - 0x7F9;
}

// Both lanes' rows j0 and j1: a 16-byte pair of each row, split into one register of the
// first members and one of the second.
[[gnu::always_inline]] inline void Pairs(const double* row0, const double* row1, int k, D& first,
                                         D& second) {
  const __m128d a = _mm_load_pd(row0 + k), b = _mm_load_pd(row1 + k);
  first = _mm_unpacklo_pd(a, b);
  second = _mm_unpackhi_pd(a, b);
}

// E(u) and O(u) of one lane side by side in one register, from the coefficient pairs
// (c2, c3), ..., (c14, c15), (c16, 0) of its row at 2 + k: one load and no shuffle a pair, the
// eight pairs combined by powers of u (Estrin's scheme) in three steps.
[[gnu::always_inline]] inline D EvenOdd(const double* row, D u) {
  static_assert(kTanhDegree == 16, "eight coefficient pairs");
  const auto pair = [row](int k) { return D(_mm_load_pd(row + 2 + k)); };
  const D u2 = u * u;
  const D low = Estrin4(u, u2, pair(2), pair(4), pair(6), pair(8));
  const D high = Estrin4(u, u2, pair(10), pair(12), pair(14), pair(16));
  return low + high * (u2 * u2);
}

// c0 + (c1 d + (c0 rest + d^2 (E(d^2) + d O(d^2)))), each lane's E and O evaluated together.
[[gnu::always_inline]] inline D Tanh(D x) {
  const D sign = x & Const<D>(-0.0);
  const D ax = _mm_andnot_pd(sign.raw, x.raw);
  const __m128i high = _mm_srli_epi64(ax.Image(), 32);
  int h0, h1;
  D::LowWords(high, h0, h1);
  const double* row0 = kTanhTable[Interval(h0)];
  const double* row1 = kTanhTable[Interval(h1)];
  D anchor, c1, c0, rest;
  Pairs(row0, row1, 0, anchor, c1);
  // From 20 up the row is 1 with no terms; the clamp keeps d^2 finite there.
  const D d = D::Min(ax, Const<D>(32.0)) - anchor;
  const D d2 = d * d;
  const D p0 = EvenOdd(row0, _mm_unpacklo_pd(d2.raw, d2.raw));
  const D p1 = EvenOdd(row1, _mm_unpackhi_pd(d2.raw, d2.raw));
  const D even = _mm_unpacklo_pd(p0.raw, p1.raw), odd = _mm_unpackhi_pd(p0.raw, p1.raw);
  Pairs(row0, row1, 2, c0, rest);
  return (c0 + (c1 * d + (rest + d2 * (even + d * odd)))) | sign;
}

double TanhScalar(double x) {
  if (x != x) return x + x;
  if (x == INFINITY || x == -INFINITY) return x > 0 ? 1.0 : -1.0;
  return Tanh(D::Set(x)).Lane0();
}

struct DoubleKernel {
  using T = double;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 8;
  static constexpr bool kCanFail = true;
  [[gnu::always_inline]] static void Compute(const D (&in)[1], D (&out)[1]) {
    out[0] = Tanh(in[0]);
  }
  // Only infinities and NaNs leave the block path; tanh reports nothing.
  static int Flag(const D (&in)[1]) { return in[0].HighWordAbove(0x7FEFFFFF); }
  static int Settle(const D (&)[1], D (&)[1], int lanes) { return lanes; }
  static int Companion(const double (&in)[1], double (&out)[1]) {
    out[0] = TanhScalar(in[0]);
    return TEM_STATUS_OK;
  }
};

// The single member through the exponential (wide::ExpMinusOne), in double lanes:
// tanh|x| = (e^2|x| - 1) / (e^2|x| - 1 + 2), with e^2|x| - 1 to its relative accuracy down to
// the least x. |x| is clamped to 10, where tanh rounds to 1 in single and e^2|x| stays far
// from overflow.
[[gnu::always_inline]] inline D SingleTanh(D x) {
  const D ax = D::Min(x & D::FromBits(0x7FFFFFFFFFFFFFFFull), Const<D>(10.0));
  const D em1 = wide::ExpMinusOne(ax + ax);
  return (em1 / (em1 + Const<D>(2.0))) | (x & D::FromBits(0x8000000000000000ull));
}

struct Single {
  static constexpr uint32_t kFlagBits = 0x7F7FFFFF;
  static constexpr float kOverflow = INFINITY, kOverflowValue = 1.0f;
  static constexpr float kUnderflow = -INFINITY, kUnderflowValue = -1.0f;
  static constexpr bool kCanUnderflow = false;
  [[gnu::always_inline]] static D Block(D x) { return SingleTanh(x); }
  static double Scalar(double x) { return TanhScalar(x); }
};

}  // namespace
}  // namespace expo
}  // namespace tem

TEM_ENTRIES_A_R(d, Tanh, tem::expo::DoubleKernel)
TEM_ENTRIES_A_R(s, Tanh, tem::expo::WidenedKernel<tem::expo::Single>)
