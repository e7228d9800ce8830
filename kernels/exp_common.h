// Pieces shared by the exponential family: the generated tables, the scaling of a companion's
// result by 2^k with gradual underflow rounded once, and the frame policies that turn a
// double-precision core into the d kernel and into the s kernel that runs in double.
#ifndef QOR_KERNELS_EXP_COMMON_H_
#define QOR_KERNELS_EXP_COMMON_H_

#include <math.h>
#include <stdint.h>
#include <string.h>

#include <type_traits>

#include "frame/kernel_frame.h"
#include "kernels/estrin.h"
#include "kernels/float_format.h"

namespace tem {
namespace expo {

#include "kernels/exp_fits.inc"
#include "kernels/exp_tables.inc"

using D = Vec<double>;
using F = Vec<float>;

// A constant as a double, or in both lanes of a register by one whole 16-byte load (GCC builds
// a constant _mm_set1_pd from a scalar load and a shuffle; the empty asm keeps the load).
template <class V>
[[gnu::always_inline]] inline V Const(double c) {
  if constexpr (std::is_same_v<V, double>) {
    return c;
  } else {
    return D::FromImage(WholeBits64(BitsOf(c)));
  }
}

inline double Pow2(int k) { return DoubleOf(static_cast<uint64_t>(k + 1023) << 52); }

// (hi + v) * 2^k for a normal result, k up to 1024, with one rounding.
inline double ScaleNormal(double hi, double v, int k) {
  if (k > 1023) return (hi + v) * Pow2(1023) * 2.0;
  return (hi + v) * Pow2(k);
}

// (hi + v) * 2^k below 2^-1022, rounded once to the subnormal grid: the sum is scaled to
// [0, 2^-1022 * 2) as a multiple of 2^-1022, 1.0 is added so that the one rounding lands on
// the grid of 2^-52 that the final exact scaling by 2^-1022 turns into the subnormal grid.
inline double ScaleSubnormal(double hi, double v, int k) {
  if (k < -1022 - 60) return 0.0 * hi;
  const double scale = Pow2(k + 1022);
  const double a = hi * scale, b = v * scale;
  const double s = 1.0 + a;
  const double e = (1.0 - s) + a;
  const double y = s + (e + b);
  return (y - 1.0) * 0x1p-1022;
}

// The result of a companion of double precision: NaN passes through x * x, -inf gives +0,
// +inf itself, all with status 0.
inline double NonFinite(double x) { return x == -INFINITY ? 0.0 : x * x; }

// The d policy of an exponential-like core C, which supplies
//   kIndexBits, kFlagHigh, kOverflow (inf above), kUnderflow (+0 below), kSubnormal;
//   kBlock: the lanes of one block (the fastest by measurement);
//   Reduce(x, hi, v, n): the result is (hi + v) * 2^k, k = n >> kIndexBits (n in the image);
//   Scalar(x, hi, v, k): the same for one lane, possibly with a longer polynomial.
template <class C>
struct ExpKernel {
  using T = double;
  static constexpr int kInputs = 1, kResults = 1, kBlock = C::kBlock;
  static constexpr bool kCanFail = true;
  [[gnu::always_inline]] static void Compute(const D (&in)[1], D (&out)[1]) {
    D hi, v;
    __m128i n;
    C::Reduce(in[0], hi, v, n);
    out[0] = (v + hi).template AddToExponent<C::kIndexBits>(n);
  }
  static int Flag(const D (&in)[1]) { return in[0].HighWordAbove(C::kFlagHigh); }
  // No-error loop: overflow lanes take +inf and underflow lanes +0 by selects.
  static int Settle(const D (&in)[1], D (&out)[1], int lanes) {
    const D over = D::Greater(in[0], D::Set(C::kOverflow));
    const D under = D::Less(in[0], D::Set(C::kUnderflow));
    out[0] = D::Select(over, D::Set(INFINITY), D::Select(under, D::Set(0.0), out[0]));
    return lanes & ~(over | under).LaneBits();
  }
  static int Companion(const double (&in)[1], double (&out)[1]) {
    int status;
    out[0] = Scalar(in[0], &status);
    return status;
  }
  static double Scalar(double x, int* status) {
    *status = TEM_STATUS_OK;
    const uint64_t bits = BitsOf(x);
    if ((bits >> 52 & 0x7FF) == 0x7FF) return NonFinite(x);
    if ((bits >> 52 & 0x7FF) < 0x3CB) return x + 1.0;  // |x| < 2^-52: e^x rounds to 1 + x
    if (x > C::kOverflow) return *status = TEM_STATUS_OVERFLOW, INFINITY;
    if (x < C::kUnderflow) return *status = TEM_STATUS_UNDERFLOW, 0.0;
    double hi, v;
    int k;
    C::Scalar(x, hi, v, k);
    if (x >= C::kSubnormal) return ScaleNormal(hi, v, k);
    *status = TEM_STATUS_UNDERFLOW;  // every subnormal result is reported
    return ScaleSubnormal(hi, v, k);
  }
};

// The s policy of a core that runs in double: four float lanes as two double registers.
// Flagged lanes are those whose magnitude's bits exceed kFlagBits of the single core S;
// the companion rounds the double result once more and reports overflow for an infinite
// result and underflow for one below 2^-126.
template <class S>
struct WidenedKernel {
  using T = float;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 8;
  static constexpr bool kCanFail = true;
  [[gnu::always_inline]] static void Compute(const F (&in)[1], F (&out)[1]) {
    out[0] = Narrow(S::Block(WidenLow(in[0])), S::Block(WidenHigh(in[0])));
  }
  static int Flag(const F (&in)[1]) { return in[0].MagnitudeAbove(S::kFlagBits); }
  static int Settle(const F (&in)[1], F (&out)[1], int lanes) {
    const F over = F::Greater(in[0], F::Set(S::kOverflow));
    const F under = F::Less(in[0], F::Set(S::kUnderflow));
    out[0] = F::Select(over, F::Set(S::kOverflowValue),
                       F::Select(under, F::Set(S::kUnderflowValue), out[0]));
    return lanes & ~(over | under).LaneBits();
  }
  static int Companion(const float (&in)[1], float (&out)[1]) {
    const double x = in[0];
    const double y = S::Scalar(x);
    out[0] = static_cast<float>(y);
    if (!isfinite(x)) return TEM_STATUS_OK;
    if (isinf(out[0])) return TEM_STATUS_OVERFLOW;
    if (S::kCanUnderflow && fabs(y) < 0x1p-126) return TEM_STATUS_UNDERFLOW;
    return TEM_STATUS_OK;
  }
  // The loop form's element: the companion's double formula, narrowed once.
  static int Element(const float (&in)[1], float (&out)[1]) { return Companion(in, out); }
};

// Row indices of both lanes: the low kIndexBits of n.
template <int kIndexBits>
inline void Indices(__m128i n, int& i0, int& i1) {
  D::LowWords(n, i0, i1);
  i0 &= (1 << kIndexBits) - 1;
  i1 &= (1 << kIndexBits) - 1;
}

// Lane 0 of a vector reduction, for the companions: (hi + v) * 2^k.
template <class Reduce>
inline void ScalarFromBlock(double x, double& hi, double& v, int& k, int index_bits, Reduce reduce) {
  D vhi, vv;
  __m128i n;
  reduce(D::Set(x), vhi, vv, n);
  hi = vhi.Lane0();
  v = vv.Lane0();
  k = _mm_cvtsi128_si32(n) >> index_bits;
}

// dExp: N = 64, |r| <= ln2/128.
struct ExpCore {
  static constexpr int kIndexBits = 6, kBlock = 8;
  // 0x4086232A: high word of 708.4 = ln 2^1022; flags overflow, subnormal results, inf, NaN.
  static constexpr uint32_t kFlagHigh = 0x4086232A;
  static constexpr double kOverflow = 0x1.62e42fefa39efp+9;    // 709.782712893384
  static constexpr double kUnderflow = -0x1.74910d52d3051p+9;  // -745.1332191019411
  static constexpr double kSubnormal = -708.3964185322641;     // ln 2^-1022
  static constexpr double kK = 92.33248261689366;               // 64 / ln 2
  static constexpr double kShifter = 0x1.8p52;
  static constexpr double kL1 = 0x1.62e42fefa0000p-7;  // ln2/64, high part
  static constexpr double kL2 = 0x1.cf79abc9e3b3ap-46;  // ln2/64, rest

  [[gnu::always_inline]] static void Reduce(D x, D& hi, D& v, __m128i& n_image) {
    const D t = x * Const<D>(kK) + Const<D>(kShifter);
    const D n = t - Const<D>(kShifter);
    n_image = t.Image();
    int i0, i1;
    Indices<kIndexBits>(n_image, i0, i1);
    D lo;
    D::GatherPairs(kExp64, i0, i1, hi, lo);
    const D r = (x - n * Const<D>(kL1)) - n * Const<D>(kL2);
    // e^r - 1 on |r| <= ln2/128.
    const D p = ((Const<D>(0.00833333416441411) * r + Const<D>(0.04166672368662385)) * r +
                 Const<D>(0.1666666666667797)) * r + Const<D>(0.4999999999994775);
    const D q = p * r * r + r;
    v = q * hi + lo;
  }
  // One degree longer, with the rest of the table entry taken relative to it.
  static void Scalar(double x, double& hi, double& v, int& k) {
    const double t = x * kK + kShifter;
    const double n = t - kShifter;
    const int ni = static_cast<int>(n);
    const int i = ni & 63;
    k = ni >> 6;
    const double r = (x - n * kL1) - n * kL2;
    const double q = ((((0.0013888870459233254 * r + 0.008333341995140497) * r +
                        0.04166666666677052) * r + 0.1666666666665788) * r + 0.5) * r * r + r;
    hi = kExp64Relative[i][0];
    v = (q + kExp64Relative[i][1]) * hi;
  }
};

// The reduction of Expm1, shared by the single Expm1 and Tanh: x = (n + i/128) ln2 + r, with
// K = 128/ln2 and ln2/128 = L1 + L2, L1 of 21 significant bits so that n L1 is exact.
struct Expm1Reduction {
  static constexpr double kK = 184.6649652337873, kShifter = 0x1.8p52;
  static constexpr double kL1 = 0x1.62e4200000000p-8, kL2 = 0x1.fdf473de6af28p-29;
};

// The s members of Expm1 and Tanh, which run in double lanes, take e^x from the 128-row
// table of 2^(i/128) and a short series. Always inlined, so that the four double registers of a
// block run side by side.
namespace wide {
inline constexpr Splat<double> kOdd3{1.0 / 6}, kEven2{1.0 / 2}, kEven4{1.0 / 24};

// 2^m times a power of two whose exponent stays in range.
[[gnu::always_inline]] inline D TimesPow2(D power, __m128i m_field) {
  return D::FromImage(_mm_add_epi64(power.Image(), m_field));
}
// e^x = a e^r for |x| up to 90: x = (n + i/128) ln2 + r, |r| <= ln2/256, a = 2^n 2^(i/128)
// (the table's high part, 2^n added into its exponent, 2^-53 of a off), and e^r - 1 by its
// series to r^4, which errs by 2^-41 of itself. r = x - n (ln2/128) in one step: the product
// rounds by 2^-53 of |x| and ln2/128 is 2^-61 off, so that r is off by less than 2^-46.
struct ExpParts {
  D a, em1r;
};
inline constexpr Splat<double> kLn2Over128{0x1.62e42fefa39efp-8};
[[gnu::always_inline]] inline ExpParts ExpByTable(D x) {
  using R = Expm1Reduction;
  const D t = x * Const<D>(R::kK) + Const<D>(R::kShifter);
  const D r = x - (t - Const<D>(R::kShifter)) * kLn2Over128();
  // Byte offsets of the rows, 16 bytes each, as whole 64-bit lanes.
  const __m128i offsets = _mm_slli_epi64(_mm_and_si128(t.Image(), _mm_set1_epi64x(127)), 4);
  const long long o0 = _mm_cvtsi128_si64(offsets);
  const long long o1 = _mm_cvtsi128_si64(_mm_unpackhi_epi64(offsets, offsets));
  const char* rows = reinterpret_cast<const char*>(kExp128);
  const D hi = D::FromLanes(reinterpret_cast<const double*>(rows + o0),
                            reinterpret_cast<const double*>(rows + o1));
  const __m128i n_field = _mm_and_si128(_mm_slli_epi64(t.Image(), 45),
                                        _mm_set1_epi64x(static_cast<long long>(0xFFF0000000000000ull)));
  const D r2 = r * r;
  return {TimesPow2(hi, n_field), r + r2 * Estrin3(r, r2, kEven2(), kOdd3(), kEven4())};
}
// e^x - 1 = (a - 1) + a (e^r - 1): a - 1 rounds once, and near zero (n = i = 0) it is 0 and
// the series stands alone.
[[gnu::always_inline]] inline D ExpMinusOne(D x) {
  const ExpParts p = ExpByTable(x);
  return (p.a - kOne()) + p.a * p.em1r;
}
}  // namespace wide

}  // namespace expo
}  // namespace tem

#endif  // QOR_KERNELS_EXP_COMMON_H_
