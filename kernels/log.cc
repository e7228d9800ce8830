// ln, log2 and log10 in the vector form. Double lanes use the division-based block reduction;
// sLn reduces in single precision and sums in double; sLog2 and sLog10 widen to double and use
// the short double block.
// Flagged lanes (zero, negative, subnormal double, infinity, NaN) go to the companions.
#include "frame/kernel_frame.h"
#include "kernels/log_block.h"
#include "kernels/log_core.h"

namespace tem {

namespace {

// 2^60, to bring a double subnormal into the normal range.
constexpr double kSubnormalScale = 1152921504606846976.0;

// Lane bits of a double register whose high word hx has hx - 0x00100000 >= 0x7FE00000 as
// unsigned: below the smallest normal, negative, infinity or NaN. The unsigned compare is a
// signed one after adding 0x80000000.
inline int FlagNotPositiveNormal(__m128d x) {
  const __m128i high = _mm_shuffle_epi32(_mm_castpd_si128(x), _MM_SHUFFLE(3, 3, 1, 1));
  const __m128i biased = _mm_add_epi32(high, _mm_set1_epi32(0x7FF00000));
  return _mm_movemask_pd(_mm_castsi128_pd(_mm_cmpgt_epi32(biased, _mm_set1_epi32(-0x200001))));
}

template <class B>
struct LogDouble {
  using T = double;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 8;
  static constexpr bool kCanFail = true;
  static void Compute(const Vec<T> (&in)[1], Vec<T> (&out)[1]) {
    out[0] = LogBlock<B>(in[0].raw, BiasedExponent(in[0].raw));
  }
  static int Flag(const Vec<T> (&in)[1]) { return FlagNotPositiveNormal(in[0].raw); }
  // Nothing settles by select: every flagged lane has its value from the companion.
  static int Settle(const Vec<T> (&)[1], Vec<T> (&)[1], int bits) { return bits; }
  static int Companion(const T (&in)[1], T (&out)[1]) {
    const int code = LogSpecial(in[0], &out[0]);
    if (code >= 0) return code;
    // Positive subnormal: the block formula on x * 2^60 with its exponent less 60.
    const __m128d x = _mm_set1_pd(in[0] * kSubnormalScale);
    const __m128d n = _mm_sub_pd(BiasedExponent(x), _mm_set1_pd(60.0));
    out[0] = _mm_cvtsd_f64(LogBlock<B>(x, n));
    return 0;
  }
};

template <class B>
struct LogFloat {
  using T = float;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 8;
  static constexpr bool kCanFail = true;
  // Widened to double (subnormals become normal), rounded once at the end.
  static void Compute(const Vec<T> (&in)[1], Vec<T> (&out)[1]) {
    const __m128d lo = _mm_cvtps_pd(in[0].raw);
    const __m128d hi = _mm_cvtps_pd(_mm_movehl_ps(in[0].raw, in[0].raw));
    const __m128 rlo = _mm_cvtpd_ps(LogBlockShort<B>(lo));
    const __m128 rhi = _mm_cvtpd_ps(LogBlockShort<B>(hi));
    out[0] = _mm_movelh_ps(rlo, rhi);
  }
  // u - 1 >= 0x7F7FFFFF as unsigned: zero, negative, infinity, NaN.
  static int Flag(const Vec<T> (&in)[1]) {
    const __m128i biased = _mm_add_epi32(_mm_castps_si128(in[0].raw), _mm_set1_epi32(0x7FFFFFFF));
    return _mm_movemask_ps(_mm_castsi128_ps(_mm_cmpgt_epi32(biased, _mm_set1_epi32(-0x800002))));
  }
  static int Settle(const Vec<T> (&)[1], Vec<T> (&)[1], int bits) { return bits; }
  static int Companion(const T (&in)[1], T (&out)[1]) { return LogSpecial(in[0], &out[0]); }
};

// sLn: m in [2/3, 4/3), r = m - 1, ln x = n ln 2 + r + r^2 p(r), with p by Horner in single
// precision up to its last step. That step (p r - 0.5), the square and the sums run in double
// lanes: in single their roundings cost up to 0.47 ulp where r is near -1/3 and the result is
// half its terms (x just above 4/3), which took the error to 0.97 ulp; now it stays near 0.6.
struct LnSingle {
  using T = float;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 8;
  static constexpr bool kCanFail = true;
  static constexpr float kPoly[] = {-0.12891685962677002f, 0.1398443728685379f,
                                    -0.12184260785579681f, 0.140058696269989f,
                                    -0.16680487990379333f, 0.20010405778884888f,
                                    -0.24999797344207764f, 0.3333321511745453f, -0.5f};
  // ln 2 = 0.693145751953125 (0x3F317200) + 1.428606765330187e-06.
  static constexpr float kLn2Hi = 0.693145751953125f, kLn2Lo = 1.428606765330187e-06f;

  // n ln 2 + r + r^2 (p r - 0.5) on two lanes, rounded to single.
  static __m128 Sum(__m128d n, __m128d r, __m128d p) {
    const __m128d q = _mm_add_pd(_mm_mul_pd(p, r), _mm_set1_pd(kPoly[8]));
    __m128d y = _mm_add_pd(_mm_mul_pd(n, _mm_set1_pd(kLn2Lo)), r);
    y = _mm_add_pd(y, _mm_mul_pd(_mm_mul_pd(r, r), q));
    return _mm_cvtpd_ps(_mm_add_pd(y, _mm_mul_pd(n, _mm_set1_pd(kLn2Hi))));
  }
  static void Compute(const Vec<T> (&in)[1], Vec<T> (&out)[1]) {
    const __m128i u = _mm_castps_si128(in[0].raw);
    // 0x3F2AAAAB is the image of 2/3.
    const __m128i v = _mm_sub_epi32(u, _mm_set1_epi32(0x3F2AAAAB));
    const __m128i n = _mm_srai_epi32(v, 23);
    const __m128 m = _mm_castsi128_ps(_mm_add_epi32(_mm_and_si128(v, _mm_set1_epi32(0x7FFFFF)),
                                                    _mm_set1_epi32(0x3F2AAAAB)));
    const __m128 r = _mm_sub_ps(m, _mm_set1_ps(1.0f));
    __m128 p = _mm_set1_ps(kPoly[0]);
    for (int k = 1; k < 8; ++k) p = _mm_add_ps(_mm_mul_ps(p, r), _mm_set1_ps(kPoly[k]));
    const __m128 lo = Sum(_mm_cvtepi32_pd(n), _mm_cvtps_pd(r), _mm_cvtps_pd(p));
    const __m128 hi = Sum(_mm_cvtepi32_pd(_mm_shuffle_epi32(n, _MM_SHUFFLE(3, 2, 3, 2))),
                          _mm_cvtps_pd(_mm_movehl_ps(r, r)), _mm_cvtps_pd(_mm_movehl_ps(p, p)));
    out[0] = _mm_movelh_ps(lo, hi);
  }
  // u - 0x800000 >= 0x7F000000 as unsigned: zero, negative, subnormal, infinity, NaN.
  static int Flag(const Vec<T> (&in)[1]) {
    const __m128i biased = _mm_add_epi32(_mm_castps_si128(in[0].raw), _mm_set1_epi32(0x7F800000));
    return _mm_movemask_ps(_mm_castsi128_ps(_mm_cmpgt_epi32(biased, _mm_set1_epi32(-0x1000001))));
  }
  static int Settle(const Vec<T> (&)[1], Vec<T> (&)[1], int bits) { return bits; }
  // In double by the scalar core: a float subnormal is a normal double.
  static int Companion(const T (&in)[1], T (&out)[1]) {
    const int code = LogSpecial(in[0], &out[0]);
    if (code >= 0) return code;
    out[0] = static_cast<float>(LnCore(in[0], 0, 0));
    return 0;
  }
};

}  // namespace

}  // namespace tem

TEM_ENTRIES_A_R(s, Ln, tem::LnSingle)
TEM_ENTRIES_A_R(d, Ln, tem::LogDouble<tem::LnBase>)
TEM_ENTRIES_A_R(s, Log2, tem::LogFloat<tem::Log2Base>)
TEM_ENTRIES_A_R(d, Log2, tem::LogDouble<tem::Log2Base>)
TEM_ENTRIES_A_R(s, Log10, tem::LogFloat<tem::Log10Base>)
TEM_ENTRIES_A_R(d, Log10, tem::LogDouble<tem::Log10Base>)
