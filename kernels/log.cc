// ln, log2 and log10 in the vector form. Double lanes use the division-based block reduction;
// single lanes reduce in single precision and keep the rounding error of the leading sums.
// Flagged lanes (zero, negative, subnormal, infinity, NaN) go to the companions.
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
  static constexpr int kInputs = 1, kResults = 1, kBlock = 16;
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

// sLn, sLog2 and sLog10 by the single-precision reduction (LnSingleReduce, LogSingleFinish).
template <class B>
struct LogSingle {
  using T = float;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 16;
  static constexpr bool kCanFail = true;
  static void Compute(const Vec<T> (&in)[1], Vec<T> (&out)[1]) {
    out[0] = LogSingleFinish<B>(LnSingleReduce<B>(in[0].raw));
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
    out[0] = static_cast<float>(LnCore(in[0], 0, 0) * B::kScaleDouble);
    return 0;
  }
};

}  // namespace

}  // namespace tem

TEM_ENTRIES_A_R(s, Ln, tem::LogSingle<tem::LnSingleBase>)
TEM_ENTRIES_A_R(d, Ln, tem::LogDouble<tem::LnBase>)
TEM_ENTRIES_A_R(s, Log2, tem::LogSingle<tem::Log2SingleBase>)
TEM_ENTRIES_A_R(d, Log2, tem::LogDouble<tem::Log2Base>)
TEM_ENTRIES_A_R(s, Log10, tem::LogSingle<tem::Log10SingleBase>)
TEM_ENTRIES_A_R(d, Log10, tem::LogDouble<tem::Log10Base>)
