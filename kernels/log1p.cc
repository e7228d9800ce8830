// ln(1 + x), whole registers in the loop form: for a double x the pair 1 + x through the block
// reduction of dLn as ln(hi) + lo / hi; for a float x sLn's single reduction of 1 + x rounded,
// with the rest of 1 + x added to r; near 0 the block polynomial alone.
// NaN, +infinity and x <= -1 go to the scalar element.
#include "kernels/element_kernel.h"
#include "kernels/log_block.h"
#include "kernels/log_core.h"

namespace tem {

namespace {

// |x| up to this takes the polynomial alone: the block polynomial holds on |r| <= 2^-10.
constexpr double kShortPath = 0.0009765625;

// x + (ln(1 + x) - x) on the short path, ln1p elsewhere; x + tail keeps the sign of a zero.
// Registers without a lane near 0, the common case, skip the short path.
inline __m128d WithShortPath(__m128d x, __m128d ln1p) {
  const __m128d near_zero = _mm_cmple_pd(_mm_andnot_pd(SplatPd(-0.0), x), SplatPd(kShortPath));
  if (_mm_movemask_pd(near_zero) == 0) return ln1p;
  const __m128d short_path = _mm_add_pd(x, LnBlockTailPd(x));
  return _mm_or_pd(_mm_and_pd(near_zero, short_path), _mm_andnot_pd(near_zero, ln1p));
}

struct Log1pLanes {
  // NaN (quieted, status 0), +infinity (itself), -1 (-infinity, status 2), below -1 (NaN,
  // status 1).
  static int Eval(double x, double* r) {
    if (x != x || x > -1.0) {
      *r = x + x;
      return 0;
    }
    *r = x == -1.0 ? -__builtin_inf() : DoubleOf(kQuietNaNBits);
    return x == -1.0 ? 2 : 1;
  }
  // Lanes outside (-1, +infinity), NaN included: those not above -1 or not below +infinity.
  static int Flag(__m128d x) {
    const __m128d out = _mm_or_pd(_mm_cmpngt_pd(x, _mm_set1_pd(-1.0)),
                                  _mm_cmpnlt_pd(x, _mm_set1_pd(__builtin_inf())));
    return _mm_movemask_pd(out);
  }
};

struct Log1pDoubleLanes : Log1pLanes {
  // Two registers a step, with the lanes inlined so that both share the constants.
  static constexpr bool kPairs = true;
  [[gnu::always_inline]] static __m128d Lanes(__m128d x) {
    // 1 + x as a pair by a fast two-sum, the larger of 1 and x first (x > -1 here).
    const __m128d one = SplatPd(1.0);
    const PairPd s = FastTwoSumPd(_mm_max_pd(one, x), _mm_min_pd(one, x));
    return WithShortPath(x, LogBlockPair<LnBase>(s.hi, s.lo));
  }
};
// sLog1p in single lanes: u = 1 + x rounded to single through sLn's reduction, and the part of
// 1 + x that u misses, d (exact, by a fast two-sum of 1 and x in the order of magnitude), joins
// ln(1 + r) as d / u = d 2^-n / (1 + r), taken as d 2^-n (1 - r + r^2). Near 0 a short series
// of its own.
struct Log1pSingle {
  using T = float;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 4;
  static constexpr bool kCanFail = true, kLoopBlocks = true, kLoopPairs = true;
  [[gnu::always_inline]] static void Compute(const Vec<T> (&in)[1], Vec<T> (&out)[1]) {
    const __m128 x = in[0].raw;
    const __m128 one = _mm_set1_ps(1.0f);
    const __m128 u = _mm_add_ps(one, x);
    const __m128 d = _mm_sub_ps(_mm_min_ps(one, x), _mm_sub_ps(u, _mm_max_ps(one, x)));
    const LnSingleParts a = LnSingleReduce<LnSingleBase>(u);
    // 2^-n from the exponent field 127 - n, at least 1 (n = 128 only for u near the largest
    // float, where d 2^-n is far below the result's ulp either way); a 16-bit max suffices.
    const __m128i field = _mm_max_epi16(_mm_sub_epi32(_mm_set1_epi32(127), a.n), _mm_set1_epi32(1));
    const __m128 delta = _mm_mul_ps(d, _mm_castsi128_ps(_mm_slli_epi32(field, 23)));
    const __m128 inverse = _mm_add_ps(_mm_sub_ps(one, a.r), _mm_mul_ps(a.r, a.r));
    const __m128 ln = LogSingleFinish<LnSingleBase, true>(a, _mm_mul_ps(delta, inverse));
    // |x| <= 2^-8: x + x^2 (-1/2 + x (1/3 - x / 4)), where ln(1 + x) and the rounding error
    // of 1 + x nearly cancel in the sum above. Registers without such a lane skip it.
    const __m128 near_zero = _mm_cmple_ps(_mm_andnot_ps(_mm_set1_ps(-0.0f), x), _mm_set1_ps(0x1p-8f));
    if (_mm_movemask_ps(near_zero) == 0) {
      out[0] = ln;
      return;
    }
    const __m128 q = _mm_add_ps(_mm_mul_ps(x, _mm_add_ps(_mm_mul_ps(x, _mm_set1_ps(-0.25f)),
                                                         _mm_set1_ps(1.0f / 3.0f))),
                                _mm_set1_ps(-0.5f));
    // The sign of x is put back, for x = -0.
    const __m128 short_path = _mm_or_ps(_mm_add_ps(x, _mm_mul_ps(_mm_mul_ps(x, x), q)),
                                        _mm_and_ps(x, _mm_set1_ps(-0.0f)));
    out[0] = _mm_or_ps(_mm_and_ps(near_zero, short_path), _mm_andnot_ps(near_zero, ln));
  }
  // Lanes outside (-1, +infinity), NaN included, by images made ordered as signed integers:
  // -1 and below map to 0xC07FFFFF and less, +infinity and NaN above 0x7F7FFFFF.
  static int Flag(const Vec<T> (&in)[1]) {
    const __m128i u = _mm_castps_si128(in[0].raw);
    const __m128i ordered =
        _mm_xor_si128(u, _mm_and_si128(_mm_srai_epi32(u, 31), _mm_set1_epi32(0x7FFFFFFF)));
    const __m128i low = _mm_cmpgt_epi32(_mm_set1_epi32(static_cast<int>(0xC0800000u)), ordered);
    const __m128i high_end = _mm_cmpgt_epi32(ordered, _mm_set1_epi32(0x7F7FFFFF));
    return _mm_movemask_ps(_mm_castsi128_ps(_mm_or_si128(low, high_end)));
  }
  static int Settle(const Vec<T> (&)[1], Vec<T> (&)[1], int bits) { return bits; }
  static int Element(const T (&in)[1], T (&out)[1]) {
    if (ElementByCompute<Log1pSingle>(in, out)) return 0;
    double r;
    const int code = Log1pLanes::Eval(in[0], &r);
    out[0] = static_cast<float>(r);
    return code;
  }
  static int Companion(const T (&in)[1], T (&out)[1]) { return Element(in, out); }
};

using Log1pDouble = LaneKernel<double, Log1pDoubleLanes>;

}  // namespace

}  // namespace tem

TEM_ENTRIES_A_R(s, Log1p, tem::Log1pSingle)
TEM_ENTRIES_A_R(d, Log1p, tem::Log1pDouble)
