// asinh, acosh, atanh as logarithms of double-double pairs through the scalar core. sAtanh is
// of the vector form: ln((1 + x) / (1 - x)) / 2 in double by the block reduction.
#include "frame/kernel_frame.h"
#include "kernels/element_kernel.h"
#include "kernels/log_block.h"
#include "kernels/log_core.h"

namespace tem {

namespace {

struct AsinhFn {
  static constexpr bool kCanFail = false;
  static int Eval(double x, double* r) { return AsinhElement(x, r); }
};
struct AcoshFn {
  static constexpr bool kCanFail = true;
  static int Eval(double x, double* r) { return AcoshElement(x, r); }
  static bool MayReport(double x) { return !(x >= 1.0); }
};
// dAtanh reports both |x| > 1 and |x| = 1 with status 1.
struct AtanhFn {
  static constexpr bool kCanFail = true;
  static int Eval(double x, double* r) { return AtanhElement(x, r, TEM_STATUS_ERRDOM); }
  static bool MayReport(double x) { return !(__builtin_fabs(x) < 1.0); }
};

using AsinhSingle = ElementKernel<float, AsinhFn>;
using AsinhDouble = ElementKernel<double, AsinhFn>;
using AcoshSingle = ElementKernel<float, AcoshFn>;
using AcoshDouble = ElementKernel<double, AcoshFn>;
using AtanhDouble = ElementKernel<double, AtanhFn>;

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
