// ln(1 + x) in double lanes, whole registers in the loop form: for a double x the pair 1 + x
// through the block reduction of dLn as ln(hi) + lo / hi, for a float x the plain double 1 + x
// (exact wherever it matters) through the short reduction; near 0 the block polynomial alone.
// NaN, +infinity and x <= -1 go to the scalar element.
#include "kernels/element_kernel.h"
#include "kernels/log_block.h"
#include "kernels/log_core.h"

namespace tem {

namespace {

// |x| up to this takes the polynomial alone: the block polynomial holds on |r| <= 2^-10.
constexpr double kShortPath = 0.0009765625;

// x + (ln(1 + x) - x) on the short path, ln1p elsewhere; x + tail keeps the sign of a zero.
inline __m128d WithShortPath(__m128d x, __m128d ln1p) {
  const __m128d near_zero =
      _mm_cmple_pd(_mm_andnot_pd(_mm_set1_pd(-0.0), x), _mm_set1_pd(kShortPath));
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
  // Lanes outside (-1, +infinity), NaN included, by high words made ordered as signed integers
  // (negative ones with the magnitude bits flipped): -1, and the doubles below it that share
  // its high word 0xBFF00000, map to 0xC00FFFFF and less; +infinity and NaN to 0x7FF00000 and
  // more.
  static int Flag(__m128d x) {
    const __m128i high = _mm_shuffle_epi32(_mm_castpd_si128(x), _MM_SHUFFLE(3, 3, 1, 1));
    const __m128i flip = _mm_and_si128(_mm_srai_epi32(high, 31), _mm_set1_epi32(0x7FFFFFFF));
    const __m128i ordered = _mm_xor_si128(high, flip);
    const __m128i low = _mm_cmpgt_epi32(_mm_set1_epi32(static_cast<int>(0xC0100000u)), ordered);
    const __m128i high_end = _mm_cmpgt_epi32(ordered, _mm_set1_epi32(0x7FEFFFFF));
    return _mm_movemask_pd(_mm_castsi128_pd(_mm_or_si128(low, high_end)));
  }
};

struct Log1pDoubleLanes : Log1pLanes {
  static __m128d Lanes(__m128d x) {
    const PairPd s = TwoSumPd(_mm_set1_pd(1.0), x);
    const __m128d ln = LogBlock<LnBase, true>(s.hi, BiasedExponent(s.hi), _mm_div_pd(s.lo, s.hi));
    return WithShortPath(x, ln);
  }
};
// 1 + x of a widened float is exact up to 2^29 and rounds far below a float ulp beyond.
struct Log1pSingleLanes : Log1pLanes {
  static __m128d Lanes(__m128d x) {
    return WithShortPath(x, LogBlockShort<LnBase>(_mm_add_pd(_mm_set1_pd(1.0), x)));
  }
};

using Log1pSingle = LaneKernel<float, Log1pSingleLanes>;
using Log1pDouble = LaneKernel<double, Log1pDoubleLanes>;

}  // namespace

}  // namespace tem

TEM_ENTRIES_A_R(s, Log1p, tem::Log1pSingle)
TEM_ENTRIES_A_R(d, Log1p, tem::Log1pDouble)
