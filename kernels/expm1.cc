// e^x - 1: x = (n + i/128) ln 2 + r, e^x - 1 = (2^n 2^(i/128) - 1) + 2^n 2^(i/128) (e^r - 1),
// the first term summed with its rounding error so that small results keep their bits.
// Below |x| = 1/32 the double result is a direct Taylor polynomial: there the reduced form
// builds a small result from two terms of similar size, and their rounding errors add up to
// more than an ulp. The result takes the sign of x, so that expm1(-0) is -0. The single
// member runs in double lanes, from the same table (wide::ExpMinusOne).
#include "kernels/estrin.h"
#include "kernels/exp_common.h"

namespace tem {
namespace expo {
namespace {

using R = Expm1Reduction;
constexpr double kSmall = 0x1p-5;  // the direct polynomial's range, |x| below it
constexpr double kOverflow = 0x1.62e42fefa39efp+9;                         // 709.782712893384

// e^r - 1 on |r| <= ln2/128.
// V is D or double: the same formula serves the block and the scalar element.
struct DoublePoly {
  template <class V>
  [[gnu::always_inline]] static V Eval(V r) {
    const V r2 = r * r;
    const V tail = Estrin5(r, r2, Const<V>(0.5), Const<V>(0.16666666666665733), Const<V>(0.0416666666666645),
                           Const<V>(0.008333335878865304), Const<V>(0.001388889298015527));
    return r + r2 * tail;
  }
  // e^x - 1 on |x| < 1/32 by its Taylor series to x^9: the first term left out is below
  // 2^-66 relative to the result.
  template <class V>
  [[gnu::always_inline]] static V Small(V x) {
    const V x2 = x * x;
    const V high =
        ((Const<V>(1.0 / 362880) * x + Const<V>(1.0 / 40320)) * x + Const<V>(1.0 / 5040)) * x +
        Const<V>(1.0 / 720);
    const V low =
        ((Const<V>(1.0 / 120) * x + Const<V>(1.0 / 24)) * x + Const<V>(1.0 / 6)) * x +
        Const<V>(0.5);
    return x + x2 * (low + (x2 * x2) * high);
  }
};
// The reduced form for one double: (2^k hi - 1) by 2Sum, plus 2^k (hi p(r) + lo); -40 <= x <= 708.
double Expm1Reduced(double x) {
  const double t = x * R::kK + R::kShifter;
  const double n = t - R::kShifter;
  const double r = (x - n * R::kL1) - n * R::kL2;
  const int ni = static_cast<int32_t>(BitsOf(t));
  const int i = ni & 127;
  const double scale = Pow2(ni >> 7);
  const double hi = kExp128[i][0];
  const double a = hi * scale;
  const double s = a - 1.0;
  const double b = s - a;
  const double err = (a - (s - b)) + (-1.0 - b);
  const double corr = (hi * DoublePoly::Eval(r) + kExp128[i][1]) * scale;
  return s + (err + corr);
}

// |x| up to 708.4, where 2^n is normal; the same steps as Expm1Reduced, lane by lane.
template <class Poly>
[[gnu::always_inline]] inline D Expm1Block(D x) {
  const D t = x * Const<D>(R::kK) + Const<D>(R::kShifter);
  const D n = t - Const<D>(R::kShifter);
  const D r = (x - n * Const<D>(R::kL1)) - n * Const<D>(R::kL2);
  int i0, i1;
  Indices<7>(t.Image(), i0, i1);
  D hi, lo;
  D::GatherPairs(kExp128, i0, i1, hi, lo);
  const __m128i k_field = _mm_and_si128(_mm_slli_epi64(t.Image(), 45),
                                        _mm_set1_epi64x(static_cast<long long>(0xFFF0000000000000ull)));
  const D scale = D::FromImage(_mm_add_epi64(k_field, _mm_set1_epi64x(0x3FF0000000000000ll)));
  // hi 2^k stays normal, so 2^k goes straight into hi's exponent.
  const D a = D::FromImage(_mm_add_epi64(hi.Image(), k_field));
  // s + err = a - 1 exactly (2Sum).
  const D s = a - Const<D>(1.0);
  const D bb = s - a;
  const D err = (a - (s - bb)) + (Const<D>(-1.0) - bb);
  // 2^k (hi p + lo) bit for bit, with the series one multiplication from the end.
  const D corr = a * Poly::Eval(r) + lo * scale;
  const D y = s + (err + corr);
  // The polynomial only for registers that have a small lane, with the sign of x put back
  // for x = -0; elsewhere the result has the sign of x already.
  const D small = D::Less(D(_mm_andnot_pd(Const<D>(-0.0).raw, x.raw)), Const<D>(kSmall));
  if (small.LaneBits() == 0) return y;
  return D::Select(small, Poly::Small(x) | (x & Const<D>(-0.0)), y);
}

// The single member in double lanes, |x| up to 88.8; the sign goes back on so that e^-0 - 1
// is -0.
[[gnu::always_inline]] inline D SingleExpm1(D x) {
  return wide::ExpMinusOne(x) | (x & D::FromBits(0x8000000000000000ull));
}

// One element: infinities, NaN, overflow, the -1 side and the range next to overflow.
double Expm1Scalar(double x, int* status) {
  *status = TEM_STATUS_OK;
  if (fabs(x) < kSmall) return x == 0.0 ? x : DoublePoly::Small(x);
  if (x < -40.0) return -1.0;  // e^x below 2^-57: -1 rounds
  if (x <= 708.0) return Expm1Reduced(x);
  if (x != x) return x + x;
  if (x > kOverflow) {
    if (x != INFINITY) *status = TEM_STATUS_OVERFLOW;
    return INFINITY;
  }
  double hi, v;
  int k;
  ExpCore::Scalar(x, hi, v, k);
  return ScaleNormal(hi, v, k);
}

struct DoubleKernel {
  using T = double;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 8;
  static constexpr bool kCanFail = true;
  [[gnu::always_inline]] static void Compute(const D (&in)[1], D (&out)[1]) {
    out[0] = Expm1Block<DoublePoly>(in[0]);
  }
  static int Flag(const D (&in)[1]) { return in[0].HighWordAbove(0x4086232A); }
  static int Settle(const D (&in)[1], D (&out)[1], int lanes) {
    const D over = D::Greater(in[0], D::Set(kOverflow));
    const D under = D::Less(in[0], D::Set(-40.0));
    out[0] = D::Select(over, D::Set(INFINITY), D::Select(under, D::Set(-1.0), out[0]));
    return lanes & ~(over | under).LaneBits();
  }
  static int Companion(const double (&in)[1], double (&out)[1]) {
    int status;
    out[0] = Expm1Scalar(in[0], &status);
    return status;
  }
  // The loop form runs unflagged registers through the block.
  static constexpr bool kLoopBlocks = true, kLoopPairs = true;
  static int Element(const double (&in)[1], double (&out)[1]) {
    return ElementByCompute<DoubleKernel>(in, out) ? TEM_STATUS_OK : Companion(in, out);
  }
};

struct Single {
  // 0x42B17217: 88.72283, the largest float whose e^x - 1 is finite; flags both sides.
  static constexpr uint32_t kFlagBits = 0x42B17217;
  static constexpr float kOverflow = 88.72283172607422f, kOverflowValue = INFINITY;
  static constexpr float kUnderflow = -88.72283172607422f, kUnderflowValue = -1.0f;
  static constexpr bool kCanUnderflow = false;
  [[gnu::always_inline]] static D Block(D x) { return SingleExpm1(x); }
  static double Scalar(double x) {
    int status;
    return Expm1Scalar(x, &status);
  }
};

// The widened vector form; the loop form runs unflagged registers through the block.
struct SingleKernel : WidenedKernel<Single> {
  static constexpr bool kLoopBlocks = true, kLoopPairs = true;
  static int Element(const float (&in)[1], float (&out)[1]) {
    return ElementByCompute<SingleKernel>(in, out) ? TEM_STATUS_OK : Companion(in, out);
  }
};

}  // namespace
}  // namespace expo
}  // namespace tem

TEM_ENTRIES_A_R(d, Expm1, tem::expo::DoubleKernel)
TEM_ENTRIES_A_R(s, Expm1, tem::expo::SingleKernel)
