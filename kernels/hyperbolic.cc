// sinh and cosh in double: |x| = (m + j/16) ln 2 + r, e^|x| = 2^m 2^(j/16) e^r, and with
// A = 2^(m+j/16)/2, B = 2^-(m+j/16)/2, C = cosh r, S = sinh r:
//   sinh |x| = (A - B) + ((A - B)(C - 1) + (A + B) S),
//   cosh x   = (A + B) + ((A + B)(C - 1) + (A - B) S),
// with A and B as double-double values, so that the leading term rounds once. From |x| = 22
// on, B is below 2^-63 of A and both are A + A((C - 1) + S). Below
// |x| = kSmall sinh is a direct odd Taylor polynomial: there the reduced form makes the result
// as A - B less a term of nearly its size, and the errors exceed an ulp. The single forms run
// in double lanes by the same reduction with shorter series (SingleHyperbolic).
#include "kernels/exp_common.h"

namespace tem {
namespace expo {
namespace {

constexpr double kLog2e = 1.4426950408889634;
constexpr double kShifter = 0x1.8p48;  // rounds |x| log2 e to a multiple of 1/16
constexpr double kL1 = 0x1.62e42fefa0000p-1, kL2 = 0x1.cf79abc9e3b3ap-40;  // ln 2
constexpr double kLn2 = 0x1.62e42fefa39efp-1;  // ln 2 in one part, for the single forms
constexpr double kSmall = 0x1p-3;  // the direct sinh polynomial's range, |x| below it
constexpr double kLarge = 22.0;    // e^-2|x| < 2^-63 from here on

// The double forms; kOddPoly and kEvenPoly are S(r)/r - 1 over r^2 and (C(r) - 1)/r^2 - 1/2
// over r^2, on |r| <= ln2/32.
struct DoublePolys {
  // sinh x on |x| < 1/8 by its Taylor series to x^11: the first term left out is below
  // 2^-68 relative to the result.
  [[gnu::always_inline]] static D Small(D x) {
    const D x2 = x * x;
    const D high =
        (Const<D>(1.0 / 39916800) * x2 + Const<D>(1.0 / 362880)) * x2 + Const<D>(1.0 / 5040);
    const D low = Const<D>(1.0 / 120) * x2 + Const<D>(1.0 / 6);
    return x + (x * x2) * (low + (x2 * x2) * high);
  }
  [[gnu::always_inline]] static D Odd(D r, D r2) {
    return r + r * r2 *
                   (Const<D>(0.16666666666671864) +
                    r2 * (Const<D>(0.008333333269141919) + r2 * Const<D>(0.0001984365544582726)));
  }
  [[gnu::always_inline]] static D EvenMinusOne(D r2) {
    return r2 * (Const<D>(0.5) +
                 r2 * (Const<D>(0.04166666666664884) +
                       r2 * (Const<D>(0.0013888888970874393) +
                             r2 * Const<D>(2.4801762009559563e-05))));
  }
};
// |x| = n ln 2 + r, |r| <= ln2/32, n = m + j/16, with the sign of x apart: the rows j0 and j1
// of the two-sided table, and 2^m and 2^-m as the field m in the exponent's place. Each form
// takes r to its own precision.
struct HyperbolicReduction {
  [[gnu::always_inline]] explicit HyperbolicReduction(D x)
      : sign(x & Const<D>(-0.0)), ax(_mm_andnot_pd(sign.raw, x.raw)) {
    const D t = ax * Const<D>(kLog2e) + Const<D>(kShifter);
    n = t - Const<D>(kShifter);
    Indices<4>(t.Image(), j0, j1);
    m_field = _mm_and_si128(_mm_slli_epi64(t.Image(), 48),
                            _mm_set1_epi64x(static_cast<long long>(0xFFF0000000000000ull)));
  }
  // Powers of two in the table's high parts times 2^m (Up) or 2^-m (Down), by the exponent.
  D Up(D high) const { return D::FromImage(_mm_add_epi64(high.Image(), m_field)); }
  D Down(D high) const { return D::FromImage(_mm_sub_epi64(high.Image(), m_field)); }
  D sign, ax, n;
  int j0, j1;
  __m128i m_field;
};

// sinh |x| (kSinh) or cosh x for |x| below 669.8, where 2^-m is still normal.
// Inlined into the block, with its constants loaded as whole registers.
template <bool kSinh, class Polys>
[[gnu::always_inline]] inline D Hyperbolic(D x) {
  const HyperbolicReduction red(x);
  const D sign = red.sign, ax = red.ax;
  const D r = (ax - red.n * Const<D>(kL1)) - red.n * Const<D>(kL2);
  const __m128d up0 = _mm_load_pd(&kHyperbolicPowers[red.j0][0]);
  const __m128d up1 = _mm_load_pd(&kHyperbolicPowers[red.j1][0]);
  const D one = Const<D>(1.0);
  // The high parts are normal after scaling, so 2^+-m goes straight into their exponents.
  const D a_hi = red.Up(_mm_unpacklo_pd(up0, up1));
  const D a_lo = D(_mm_unpackhi_pd(up0, up1)) * red.Up(one);
  const D r2 = r * r;
  const D odd = Polys::Odd(r, r2);
  const D even = Polys::EvenMinusOne(r2);
  // From |x| = kLarge on, B is below 2^-63 of the result: both functions are A e^r, and
  // registers whose lanes all lie there skip B.
  if (D::Greater(ax, Const<D>(kLarge)).LaneBits() == 3) {
    const D y = a_hi + (a_lo + a_hi * (even + odd));
    return kSinh ? y | sign : y;
  }
  const __m128d down0 = _mm_load_pd(&kHyperbolicPowers[red.j0][2]);
  const __m128d down1 = _mm_load_pd(&kHyperbolicPowers[red.j1][2]);
  const D b_hi = red.Down(_mm_unpacklo_pd(down0, down1));
  const D b_lo = D(_mm_unpackhi_pd(down0, down1)) * red.Down(one);
  // A >= B, so both sums are exact with their errors by Fast2Sum.
  const D diff = a_hi - b_hi;
  const D diff_lo = ((a_hi - diff) - b_hi) + (a_lo - b_lo);
  const D sum = a_hi + b_hi;
  const D sum_lo = ((a_hi - sum) + b_hi) + (a_lo + b_lo);
  if constexpr (kSinh) {
    D y = diff + (diff_lo + (diff * even + sum * odd));
    // The polynomial only for registers that have a small lane.
    const D small = D::Less(ax, Const<D>(kSmall));
    if (small.LaneBits() != 0) y = D::Select(small, Polys::Small(ax), y);
    return y | sign;
  } else {
    return sum + (sum_lo + (sum * even + diff * odd));
  }
}

// The single forms in double lanes, by the double forms' reduction and two-sided table with
// the high parts alone and shorter series: A = 2^(m+j/16)/2 and B = 2^-(m+j/16)/2 within 2^-53,
// sinh r and cosh r - 1 within 2^-34 of themselves on |r| <= ln2/32, and r in one step, within
// 2^-46 of |x| - n ln 2. Near 0, m = j = 0 makes A - B = 0 exactly, and sinh is the odd series.
template <bool kSinh>
[[gnu::always_inline]] inline D SingleHyperbolic(D x) {
  const HyperbolicReduction red(x);
  const D r = red.ax - red.n * Const<D>(kLn2);
  const D a = red.Up(D::FromLanes(&kHyperbolicPowers[red.j0][0], &kHyperbolicPowers[red.j1][0]));
  const D b = red.Down(D::FromLanes(&kHyperbolicPowers[red.j0][2], &kHyperbolicPowers[red.j1][2]));
  const D r2 = r * r;
  const D odd = r + (r * r2) * wide::kOdd3();
  const D even = r2 * (wide::kEven2() + r2 * wide::kEven4());
  const D sum = a + b, diff = a - b;
  if constexpr (kSinh) return (diff + (diff * even + sum * odd)) | red.sign;
  return sum + (sum * even + diff * odd);
}

// One lane past the block's range: e^|x| / 2, or overflow.
template <bool kSinh>
double HyperbolicScalar(double x, int* status) {
  *status = TEM_STATUS_OK;
  const double ax = fabs(x);
  if (!(ax < INFINITY)) return kSinh ? x + x : ax + ax;  // NaN, +-inf
  double y;
  if (ax > kCoshOverflow) {
    *status = TEM_STATUS_OVERFLOW;
    y = INFINITY;
  } else if (ax < 669.0) {
    y = _mm_cvtsd_f64(Hyperbolic<kSinh, DoublePolys>(D::Set(ax)).raw);
  } else {
    double hi, v;
    int k;
    ExpCore::Scalar(ax, hi, v, k);
    y = ScaleNormal(hi, v, k - 1);
  }
  return kSinh ? copysign(y, x) : y;
}

template <bool kSinh>
struct DoubleKernel {
  using T = double;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 4;
  static constexpr bool kCanFail = true;
  [[gnu::always_inline]] static void Compute(const D (&in)[1], D (&out)[1]) {
    out[0] = Hyperbolic<kSinh, DoublePolys>(in[0]);
  }
  // 0x4084EE33: high word of 669.8; flags lanes near overflow, inf and NaN.
  static int Flag(const D (&in)[1]) { return in[0].HighWordAbove(0x4084EE33); }
  static int Settle(const D (&in)[1], D (&out)[1], int lanes) {
    const D over = D::Greater(in[0], D::Set(kCoshOverflow));
    const D under = D::Less(in[0], D::Set(-kCoshOverflow));
    const D low = D::Set(kSinh ? -INFINITY : INFINITY);
    out[0] = D::Select(over, D::Set(INFINITY), D::Select(under, low, out[0]));
    return lanes & ~(over | under).LaneBits();
  }
  static int Companion(const double (&in)[1], double (&out)[1]) {
    int status;
    out[0] = HyperbolicScalar<kSinh>(in[0], &status);
    return status;
  }
};

template <bool kSinh>
struct Single {
  // 89.4159927368164: the largest float whose cosh is finite.
  static constexpr uint32_t kFlagBits = 0x42B2D4FD;
  static constexpr float kOverflow = 89.4159927368164f, kOverflowValue = INFINITY;
  static constexpr float kUnderflow = -89.4159927368164f;
  static constexpr float kUnderflowValue = kSinh ? -INFINITY : INFINITY;
  static constexpr bool kCanUnderflow = false;
  [[gnu::always_inline]] static D Block(D x) { return SingleHyperbolic<kSinh>(x); }
  static double Scalar(double x) {
    int status;
    return HyperbolicScalar<kSinh>(x, &status);
  }
};

}  // namespace
}  // namespace expo
}  // namespace tem

TEM_ENTRIES_A_R(d, Sinh, tem::expo::DoubleKernel<true>)
TEM_ENTRIES_A_R(d, Cosh, tem::expo::DoubleKernel<false>)
TEM_ENTRIES_A_R(s, Sinh, tem::expo::WidenedKernel<tem::expo::Single<true>>)
TEM_ENTRIES_A_R(s, Cosh, tem::expo::WidenedKernel<tem::expo::Single<false>>)
