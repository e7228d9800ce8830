// asinh, acosh, atanh as logarithms in double lanes by the block reduction: the double members
// of ln(|x| + sqrt(x^2 +- 1)) and ln((1 + x) / (1 - x)) / 2 of pairs, the single members of
// plain doubles. The loop-form kernels run whole registers where no lane needs more; the scalar
// core (double-double pairs) takes the rest: specials, statuses, huge and border inputs.
#include "frame/kernel_frame.h"
#include "kernels/element_kernel.h"
#include "kernels/lane_ops.h"
#include "kernels/log_block.h"
#include "kernels/log_core.h"

namespace tem {

namespace {

// The scalar elements, for the inputs that the lanes leave out.
struct AsinhFn {
  static int Eval(double x, double* r) { return AsinhElement(x, r); }
};
struct AcoshFn {
  static int Eval(double x, double* r) { return AcoshElement(x, r); }
};
// dAtanh reports both |x| > 1 and |x| = 1 with status 1.
struct AtanhFn {
  static int Eval(double x, double* r) { return AtanhElement(x, r, TEM_STATUS_ERRDOM); }
};

// ln(a + sqrt(a^2 + one)) for lanes where the sum is at least 1 and a^2 does not overflow:
// the square, the root and the sum as pairs, and ln of the pair t as ln(t.hi) + t.lo / t.hi.
inline __m128d LnOfRootSumPd(__m128d a, __m128d one) {
  const PairPd a2 = TwoProdPd(a, a);
  const PairPd q0 = TwoSumPd(a2.hi, one);
  const PairPd q = FastTwoSumPd(q0.hi, _mm_add_pd(q0.lo, a2.lo));
  const __m128d s = _mm_sqrt_pd(q.hi);
  const PairPd s2 = TwoProdPd(s, s);
  const __m128d residual = _mm_add_pd(_mm_sub_pd(_mm_sub_pd(q.hi, s2.hi), s2.lo), q.lo);
  const __m128d s_lo = _mm_div_pd(residual, _mm_add_pd(s, s));
  const PairPd t0 = TwoSumPd(a, s);
  const PairPd t = FastTwoSumPd(t0.hi, _mm_add_pd(t0.lo, s_lo));
  return LogBlock<LnBase, true>(t.hi, BiasedExponent(t.hi), _mm_div_pd(t.lo, t.hi));
}

// The odd series a + a^3 (c3 + c5 a^2) below series_end, ln above, with the sign of x.
inline __m128d WithSeries(__m128d x, __m128d a, __m128d ln, double c3, double c5, double series_end) {
  const __m128d a2 = _mm_mul_pd(a, a);
  const __m128d p = _mm_add_pd(_mm_mul_pd(a2, _mm_set1_pd(c5)), _mm_set1_pd(c3));
  const __m128d series = _mm_add_pd(a, _mm_mul_pd(a, _mm_mul_pd(a2, p)));
  const __m128d small = _mm_cmplt_pd(a, _mm_set1_pd(series_end));
  const __m128d y = _mm_or_pd(_mm_and_pd(small, series), _mm_andnot_pd(small, ln));
  return _mm_or_pd(y, _mm_and_pd(x, _mm_set1_pd(-0.0)));
}

// sAsinh from widened floats: below 2^-5 the series to a^5 (2^-34 relative); above,
// ln(a + sqrt(a^2 + 1)) in plain double has an absolute error near 2^-50, as a^2 is exact and
// no finite float overflows it. Infinities and NaN go to the element.
struct AsinhSingleLanes : AsinhFn {
  static __m128d Lanes(__m128d x) {
    const __m128d a = Magnitude(x);
    const __m128d t = _mm_add_pd(a, _mm_sqrt_pd(_mm_add_pd(_mm_mul_pd(a, a), _mm_set1_pd(1.0))));
    return WithSeries(x, a, LogBlockShort<LnBase>(t), -1.0 / 6.0, 3.0 / 40.0, 0x1p-5);
  }
  static int Flag(__m128d x) { return FlagHighOutside<0, 0x7FF00000>(Magnitude(x)); }
};
// dAsinh: below 2^-14 the series to a^5 (2^-58 relative), up to 2^28 the pair root sum; the
// element takes larger magnitudes, infinities and NaN.
struct AsinhDoubleLanes : AsinhFn {
  static __m128d Lanes(__m128d x) {
    const __m128d a = Magnitude(x);
    return WithSeries(x, a, LnOfRootSumPd(a, _mm_set1_pd(1.0)), -1.0 / 6.0, 3.0 / 40.0, 0x1p-14);
  }
  static int Flag(__m128d x) { return FlagHighOutside<0, 0x41B00000>(Magnitude(x)); }
};

// sAcosh: ln(x + sqrt(x^2 - 1)) for finite x >= 1: x^2 - 1 is exact up to 2^26, and near 1
// the result is at least 2^-11.5, far above the absolute error near 2^-50. acosh 1 = +0, as
// t = 1 exactly and the reduction gives +0 there.
struct AcoshSingleLanes : AcoshFn {
  static __m128d Lanes(__m128d x) {
    const __m128d s = _mm_sqrt_pd(_mm_sub_pd(_mm_mul_pd(x, x), _mm_set1_pd(1.0)));
    return LogBlockShort<LnBase>(_mm_add_pd(x, s));
  }
  static int Flag(__m128d x) { return FlagHighOutside<0x3FF00000, 0x7FF00000>(x); }
};
// dAcosh: the pair root sum for x in (1 + 2^-20, 2^28); the element takes the rest (1 itself,
// where the root's correction would divide by zero, and the huge, where x^2 overflows).
struct AcoshDoubleLanes : AcoshFn {
  static __m128d Lanes(__m128d x) { return LnOfRootSumPd(x, _mm_set1_pd(-1.0)); }
  static int Flag(__m128d x) { return FlagHighOutside<0x3FF00001, 0x41B00000>(x); }
};

// dAtanh: below 2^-14 the series to a^5; up to 1 half the ln of the pair quotient
// (1 + a) / (1 - a), whose parts are exact, with ln(q.hi + q.lo) = ln(q.hi) + q.lo / q.hi and
// q.lo / q.hi = residual / (1 + a) to the precision that matters.
struct AtanhDoubleLanes : AtanhFn {
  static __m128d Lanes(__m128d x) {
    const __m128d one = _mm_set1_pd(1.0);
    const __m128d a = Magnitude(x);
    const PairPd num = FastTwoSumPd(one, a);
    const PairPd den = FastTwoSumPd(one, _mm_sub_pd(_mm_setzero_pd(), a));
    const __m128d q = _mm_div_pd(num.hi, den.hi);
    const PairPd qd = TwoProdPd(q, den.hi);
    const __m128d residual = _mm_sub_pd(
        _mm_add_pd(_mm_sub_pd(_mm_sub_pd(num.hi, qd.hi), qd.lo), num.lo), _mm_mul_pd(q, den.lo));
    const __m128d ln = LogBlock<LnBase, true>(q, BiasedExponent(q), _mm_div_pd(residual, num.hi));
    return WithSeries(x, a, _mm_mul_pd(_mm_set1_pd(0.5), ln), 1.0 / 3.0, 0.2, 0x1p-14);
  }
  static int Flag(__m128d x) { return FlagHighOutside<0, 0x3FF00000>(Magnitude(x)); }
};

using AsinhSingle = LaneKernel<float, AsinhSingleLanes>;
using AsinhDouble = LaneKernel<double, AsinhDoubleLanes>;
using AcoshSingle = LaneKernel<float, AcoshSingleLanes>;
using AcoshDouble = LaneKernel<double, AcoshDoubleLanes>;
using AtanhDouble = LaneKernel<double, AtanhDoubleLanes>;

// sAtanh: widened to double, where 1 + x and 1 - x are exact; below 2^-5 the odd series to
// x^7 (error below 2^-40 relative) avoids the cancellation of ln near 1.
struct AtanhSingle {
  using T = float;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 8;
  static constexpr bool kCanFail = true;
  static __m128d Half(__m128d x) {
    const __m128d one = _mm_set1_pd(1.0);
    const __m128d q = _mm_div_pd(_mm_add_pd(one, x), _mm_sub_pd(one, x));
    const __m128d ln = _mm_mul_pd(_mm_set1_pd(0.5), LogBlock<LnBase>(q, BiasedExponent(q)));
    const __m128d x2 = _mm_mul_pd(x, x);
    __m128d p = _mm_add_pd(_mm_mul_pd(_mm_set1_pd(1.0 / 7.0), x2), _mm_set1_pd(0.2));
    p = _mm_add_pd(_mm_mul_pd(p, x2), _mm_set1_pd(1.0 / 3.0));
    const __m128d series = _mm_add_pd(x, _mm_mul_pd(x, _mm_mul_pd(x2, p)));
    const __m128d abs = _mm_and_pd(x, BitsPd(0x7FFFFFFFFFFFFFFFull));
    const __m128d small = _mm_cmplt_pd(abs, _mm_set1_pd(0x1p-5));
    return _mm_or_pd(_mm_and_pd(small, series), _mm_andnot_pd(small, ln));
  }
  static void Compute(const Vec<T> (&in)[1], Vec<T> (&out)[1]) {
    const __m128 lo = _mm_cvtpd_ps(Half(_mm_cvtps_pd(in[0].raw)));
    const __m128 hi = _mm_cvtpd_ps(Half(_mm_cvtps_pd(_mm_movehl_ps(in[0].raw, in[0].raw))));
    out[0] = _mm_movelh_ps(lo, hi);
  }
  // |x| >= 1, infinities and NaN: |u| > 0x3F7FFFFF.
  static int Flag(const Vec<T> (&in)[1]) {
    const __m128i abs = _mm_and_si128(_mm_castps_si128(in[0].raw), _mm_set1_epi32(0x7FFFFFFF));
    return _mm_movemask_ps(_mm_castsi128_ps(_mm_cmpgt_epi32(abs, _mm_set1_epi32(0x3F7FFFFF))));
  }
  static int Settle(const Vec<T> (&)[1], Vec<T> (&)[1], int bits) { return bits; }
  // +-1 gives an infinity with status 2, |x| > 1 NaN with status 1.
  static int Companion(const T (&in)[1], T (&out)[1]) {
    double r;
    const int code = AtanhElement(in[0], &r, TEM_STATUS_SING);
    out[0] = static_cast<float>(r);
    return code;
  }
};

}  // namespace

}  // namespace tem

TEM_ENTRIES_A_R(s, Asinh, tem::AsinhSingle)
TEM_ENTRIES_A_R(d, Asinh, tem::AsinhDouble)
TEM_ENTRIES_A_R(s, Acosh, tem::AcoshSingle)
TEM_ENTRIES_A_R(d, Acosh, tem::AcoshDouble)
TEM_ENTRIES_A_R(s, Atanh, tem::AtanhSingle)
TEM_ENTRIES_A_R(d, Atanh, tem::AtanhDouble)
