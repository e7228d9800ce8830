// x^(2/3), x^(3/2) and hypot(x, y): the loop form in their contiguous members, the vector form
// in their strided members, both running whole registers where no lane needs a scaling or a
// status. Each is a root of a double-double value: cbrt(x * x), x * sqrt(x) and
// sqrt(a * a + b * b), with the products split by 2^27 + 1.
#include <math.h>

#include "kernels/cbrt_block.h"
#include "kernels/element_kernel.h"
#include "kernels/lane_ops.h"
#include "kernels/log_block.h"
#include "kernels/pow3o2.h"

namespace tem {
namespace roots {
namespace {

// x^(2/3) = cbrt(hi + lo) = cbrt(hi) (1 + lo/hi)^(1/3), the last factor as 1 + lo/(3 hi) in the
// series. |x| is scaled by 2^-+600 so that x * x stays normal; its cube root 2^-+400 comes off.
struct Pow2o3Fn {
  static int Eval(double x, double* r) {
    double a = fabs(x);
    if (!(a < INFINITY) || a == 0.0) return *r = a * a, TEM_STATUS_OK;
    double post = 1.0;
    if (a < 0x1p-500) {
      a *= 0x1p600;
      post = 0x1p-400;
    } else if (a > 0x1p500) {
      a *= 0x1p-600;
      post = 0x1p400;
    }
    *r = _mm_cvtsd_f64(Scaled(_mm_set1_pd(a))) * post;
    return TEM_STATUS_OK;
  }
  // The formula on magnitudes that need no scaling.
  static __m128d Scaled(__m128d a) {
    const PairPd square = TwoProdPd(a, a);
    const __m128d t = _mm_div_pd(square.lo, _mm_mul_pd(_mm_set1_pd(3.0), square.hi));
    return CbrtBlock<false>(D{square.hi}, D{t}).raw;
  }
};

// x*x + y*y, the block's range test and its root take the same value.
[[gnu::always_inline]] inline D SumOfSquares(D x, D y) { return x * x + y * y; }

// hypot of two double lanes whose sum of squares s = x*x + y*y lies in [2^-960, 2^1020):
// r = sqrt(s) rounded is within 1.5 ulp of the root, and one correction r + e / (2r) with
// e = x^2 + y^2 - r^2 makes it exact but for the last rounding. With the splits v = vh + vl
// (vh the top 26 bits, so vh^2 is exact), and a, b the larger and smaller magnitudes:
//   e = (max(xh^2, yh^2) - rh^2 + min(xh^2, yh^2)) + (xl (x + xh) + yl (y + yh) - rl (r + rh)).
// Scaled so that a lies in [2, 4) (s's range keeps every step normal or far below the last
// bit): a <= r < 6, ah^2 - rh^2 is a multiple of 2^-48 below 2^5 and so exact; adding bh^2
// leaves a value below 2^-17 (the second bracket's size, as e is near 2^-48), rounded once to
// 2^-70. The second bracket's products are below 2^-19, the sums x + xh etc. err by 2^-50,
// and its roundings stay below 2^-70 as well: e is right to about 2^-68, 2^-18 of r's ulp.
// 1 / (2r) comes from the bits of s (a reciprocal-root guess good to 3.5%), which errs by
// under 0.06 ulp on a correction of at most 1.5 ulp: the result is within 0.56 ulp.
[[gnu::always_inline]] inline void HypotParts(D x, D y, D& root, D& correction) {
  const D s = SumOfSquares(x, y);
  root = D{_mm_sqrt_pd(s.raw)};
  // 0.5 / sqrt(s) to 3.5%: the exponent halved and negated, the mantissa guessed linearly.
  const D half_inverse =
      D::FromImage(_mm_sub_epi64(_mm_set1_epi64x(0x5FD6EB50C7B537A9ll), _mm_srli_epi64(s.Image(), 1)));
  const D split = D::FromBits(kSplitMask);
  const D xh = x & split, xl = x - xh;
  const D yh = y & split, yl = y - yh;
  const D rh = root & split, rl = root - rh;
  const D xx = xh * xh, yy = yh * yh;
  const D high = (HardwareMax(xx, yy) - rh * rh) + HardwareMin(xx, yy);
  const D low = (xl * (x + xh) + yl * (y + yh)) - rl * (root + rh);
  correction = (high + low) * half_inverse;
}
[[gnu::always_inline]] inline D HypotBlock(D x, D y) {
  D root, correction;
  HypotParts(x, y, root, correction);
  return root + correction;
}

// Lanes that HypotBlock cannot take: s outside [2^-960, 2^1020), an infinity or a NaN. The top
// 16 bits of s (sign, exponent and four mantissa bits) m are flagged when m + 0x8000 - 0x7FB0
// wraps below zero (an exponent from 1020 up, or a negative NaN) or stays below that offset
// plus 0x03F0 (an exponent below -960).
inline int FlagHypot(D x, D y) {
  constexpr short kOffset = 0x8000 - ((1023 + 1020) << 4);
  const __m128i shifted = _mm_add_epi16(SumOfSquares(x, y).Image(), _mm_set1_epi16(kOffset));
  const __m128i flagged =
      _mm_cmpgt_epi16(_mm_set1_epi16(kOffset + ((1023 - 960) << 4)), shifted);
  return _mm_movemask_pd(_mm_castsi128_pd(flagged));
}

// hypot of one double lane of any kind: an infinity wins over a NaN. The pair is scaled by
// 2^(1024 - E), E the larger magnitude's biased exponent, which brings it into [2, 4) and s
// into HypotBlock's range; 2^(E - 1024) takes the result back, exact when it is normal.
// Tiny pairs are first scaled by 2^600; a subnormal result t = root * 2^-600 rounded then
// takes the rest (root - t * 2^600) + correction, scaled and rounded to t's grid, so that
// it is rounded once.
inline double HypotDouble(double x, double y) {
  if (fabs(x) == INFINITY || fabs(y) == INFINITY) return INFINITY;
  if (isnan(x) || isnan(y)) return x + y;
  const double post = HardwareMax(fabs(x), fabs(y)) < 0x1p-1021 ? 0x1p-600 : 1.0;
  const double a = HardwareMax(fabs(x), fabs(y)) / post, b = HardwareMin(fabs(x), fabs(y)) / post;
  if (a == 0.0) return 0.0;
  const uint64_t field = BitsOf(a) & 0x7FF0000000000000ull;
  const double scale = DoubleOf(0x7FF0000000000000ull - field);
  const double unscale = DoubleOf(field - (1ull << 52));
  D root, correction;
  HypotParts(D::Set(a * scale), D::Set(b * scale), root, correction);
  if (post == 1.0) return (root.Lane0() + correction.Lane0()) * unscale;
  const double r = root.Lane0() * unscale, c = correction.Lane0() * unscale;
  const double t = r * post;
  if (t >= 0x1p-1022) return (r + c) * post;
  return t + ((r - t / post) + c) * post;
}

// x*x + y*y of float lanes, summed in double (exact but for that one rounding) and rounded to
// float; the range test and the root take the same value.
[[gnu::always_inline]] inline Vec<float> FloatSumOfSquares(Vec<float> x, Vec<float> y) {
  return Narrow(SumOfSquares(WidenLow(x), WidenLow(y)), SumOfSquares(WidenHigh(x), WidenHigh(y)));
}

// Float lanes whose rounded sum of squares s is not a normal float: zero or subnormal (its
// rounding then errs by more than 2^-24 of it), infinite (the root may still be finite) or
// NaN. The image of s plus 0x7F800000 stays below -0x01000000, as signed, exactly for s in
// [2^-126, the largest float].
inline int FlagFloatHypot(Vec<float> x, Vec<float> y) {
  const __m128i shifted =
      _mm_add_epi32(FloatSumOfSquares(x, y).Image(), _mm_set1_epi32(0x7F800000));
  return _mm_movemask_ps(
      _mm_castsi128_ps(_mm_cmpgt_epi32(shifted, _mm_set1_epi32(-0x01000001))));
}

// hypot in blocks, also in the loop form: it reports nothing. Float lanes sum their squares in
// double, exact but for one rounding, and take the single root of that sum rounded to float.
// The sum's rounding moves the root by at most 2^-25 of itself, and 0.35 of its ulp (the
// ratio is largest where the sum's mantissa is 1 and its exponent odd), so that the result
// is within 0.86 ulp. A double block is one register: the pair's formula fills the sixteen
// registers alone.
template <class E>
struct Hypot {
  using T = E;
  static constexpr int kInputs = 2, kResults = 1;
  static constexpr int kBlock = (sizeof(T) == 8 ? 1 : 2) * Vec<T>::kLanes;
  static constexpr bool kCanFail = true, kLoopInBlocks = true;

  [[gnu::always_inline]] static void Compute(const Vec<T> (&in)[2], Vec<T> (&out)[1]) {
    if constexpr (sizeof(T) == 4) {
      out[0] = {_mm_sqrt_ps(FloatSumOfSquares(in[0], in[1]).raw)};
    } else {
      out[0] = HypotBlock(in[0], in[1]);
    }
  }
  [[gnu::always_inline]] static int Flag(const Vec<T> (&in)[2]) {
    if constexpr (sizeof(T) == 4) {
      return FlagFloatHypot(in[0], in[1]);
    } else {
      return FlagHypot(in[0], in[1]);
    }
  }
  static int Settle(const Vec<T> (&)[2], Vec<T> (&)[1], int bits) { return bits; }
  // A float pair in double: an infinity wins over a NaN, and the root of a finite pair rounds
  // twice, far below a float ulp.
  static int Companion(const T (&in)[2], T (&out)[1]) {
    if constexpr (sizeof(T) == 4) {
      const double x = in[0], y = in[1];
      out[0] = isinf(x) || isinf(y) ? INFINITY : static_cast<float>(sqrt(x * x + y * y));
    } else {
      out[0] = HypotDouble(in[0], in[1]);
    }
    return TEM_STATUS_OK;
  }
};

// Pow2o3Fn's formula on two lanes of magnitude in [2^-500, 2^500), where it needs no scaling;
// the element takes the rest. A float's square is exact in double, and its low part zero.
template <class T>
struct Pow2o3Lanes : Pow2o3Fn {
  static __m128d Lanes(__m128d x) {
    if constexpr (sizeof(T) == 4) return CbrtBlock<false>(D{_mm_mul_pd(x, x)}).raw;
    return Scaled(Magnitude(x));
  }
  static int Flag(__m128d x) { return FlagHighOutside<0x20B00000, 0x5F300000>(Magnitude(x)); }
};

// The element reports nothing, so that the loop form runs blocks of registers as the vector
// form does, as for Hypot.
template <class E>
struct Pow2o3Kernel : LaneKernel<E, Pow2o3Lanes<E>> {
  static constexpr int kBlock = 16;
  static constexpr bool kLoopInBlocks = true;
};
using DoublePow3o2 = LaneKernel<double, Pow3o2Lanes<double>>;
using FloatPow3o2 = LaneKernel<float, Pow3o2Lanes<float>>;

}  // namespace
}  // namespace roots
}  // namespace tem

TEM_ENTRIES_A_R(d, Pow2o3, tem::roots::Pow2o3Kernel<double>)
TEM_ENTRIES_A_R(s, Pow2o3, tem::roots::Pow2o3Kernel<float>)
TEM_ENTRIES_A_R(d, Pow3o2, tem::roots::DoublePow3o2)
TEM_ENTRIES_A_R(s, Pow3o2, tem::roots::FloatPow3o2)
TEM_ENTRIES_A_AB_R(d, Hypot, tem::roots::Hypot<double>)
TEM_ENTRIES_A_AB_R(s, Hypot, tem::roots::Hypot<float>)
