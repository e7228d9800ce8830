// erfinv(x) = x * g(w), w = 1 - |x|: g = erfinv(x) / x is even and smooth, and its shape near
// the poles follows w. One polynomial row per quarter (double) or eighth (single) binade of w,
// picked by the bits of w, serves every magnitude with no branch on it; the sign comes from the
// last multiplication by x alone, so that erfinv(-x) == -erfinv(x) bit for bit.
// Flagged lanes (zero and the tiny magnitudes, +-1, beyond 1, infinities, NaN) go to the
// companions.
#include <stddef.h>
#include <stdint.h>

#include <limits>

#include "frame/kernel_frame.h"
#include "kernels/float_format.h"
#include "kernels/lane_ops.h"

namespace tem {
namespace {

#include "kernels/erfinv_tables.inc"

static_assert(sizeof(temErfInvTableDRow) == 144 && offsetof(temErfInvTableDRow, r) == 8,
              "double rows keep their coefficient pairs on 16-byte boundaries");

// NaN with the invalid flag raised: (x - x) * infinity, for any x.
template <class T>
T InvalidNaN(T x) {
  return (x - x) * std::numeric_limits<T>::infinity();
}

// 2^-766: |z| below it (z the result scaled by 2^256) means a subnormal result.
constexpr double kSubnormalBias = 2.5764595078388533e-231;

// The centre of m's range [1, 1.25), as a whole register.
constexpr Splat<double> kMid{1.125};

struct ErfInvDouble {
  using T = double;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 8;
  static constexpr bool kCanFail = true;

  // Lanes that leave the block: magnitudes whose high word lies outside
  // [0x3CA00001, 0x3FEFFFFF], that is up to about 2^-53, from 1 up, infinities and NaNs. The
  // others have 0 < w < 1. The test is the high word plus 0xC35FFFFF, above 0x034FFFFE as
  // unsigned numbers.
  static __m128i Leaves(__m128d a) { return HighOutside<0x3CA00001, 0x3FF00000>(a); }

  // The value of the pairs P(k) = (r(2k+1), r(2k+2)) of one row, as a polynomial in s = t^2 by
  // Horner's rule, with the pairs taken from the table as aligned 16-byte operands:
  // (odd, even) with odd = r1 + r3 t^2 + ... + r13 t^12 and even = r2 + r4 t^2 + ... + r14 t^12.
  [[gnu::always_inline]] static __m128d RowPairs(const double* r, __m128d s) {
    __m128d p = _mm_load_pd(r + 13);
#pragma GCC unroll 6
    for (int k = 5; k >= 0; --k) p = _mm_add_pd(_mm_mul_pd(p, s), _mm_load_pd(r + 2 * k + 1));
    return p;
  }

  [[gnu::always_inline]] static void Compute(const Vec<T> (&in)[1], Vec<T> (&out)[1]) {
    const __m128d x = in[0].raw;
    const __m128d one = kOne().raw;
    const __m128d a = Magnitude(x);
    const __m128d w = _mm_sub_pd(one, a);
    // 1 - a = w + e exactly.
    const __m128d e = _mm_sub_pd(_mm_sub_pd(one, w), a);
    // Row 4091 - key, key = the bits of w >> 50: exponent and two top mantissa bits; flagged
    // lanes read row 0. The byte offsets, row * 144, come from one multiplication of the 64-bit
    // lanes.
    const __m128i wbits = _mm_castpd_si128(w);
    const __m128i key = _mm_srli_epi64(wbits, 50);
    const __m128i row = _mm_andnot_si128(Leaves(a), _mm_sub_epi32(WholeBits32(4091), key));
    const __m128i offset = _mm_mul_epu32(row, WholeBits32(sizeof(temErfInvTableDRow)));
    const char* base = reinterpret_cast<const char*>(temErfInvTableD);
    const double* r0 =
        reinterpret_cast<const temErfInvTableDRow*>(base + _mm_cvtsi128_si64(offset))->r;
    const double* r1 = reinterpret_cast<const temErfInvTableDRow*>(
                           base + _mm_cvtsi128_si64(_mm_unpackhi_epi64(offset, offset)))
                           ->r;
    // m in [1, 1.25): w's low 50 mantissa bits under the exponent of 1; t0 = m - 1.125 is exact.
    const __m128d m = _mm_castsi128_pd(_mm_or_si128(
        _mm_and_si128(wbits, WholeBits64(0x0003FFFFFFFFFFFFull)), kOne().Image()));
    const __m128d t0 = _mm_sub_pd(m, kMid().raw);
    // e at the weight of t is e * 2^-exponent(w), and that is 2e: e is zero unless a < 1/2,
    // where 1 - a is inexact, and there w lies in [1/2, 1).
    const __m128d t = _mm_add_pd(_mm_add_pd(e, e), t0);
    // P = t (r1 + t (r2 + ... + t r14)) = t (odd + t even). Each lane evaluates its own row's
    // pairs, and one transposition gives odd and even of both lanes. With |t| < 1/8 the split
    // is as accurate as Horner's rule in t.
    const __m128d t2 = _mm_mul_pd(t, t);
    const __m128d h0 = RowPairs(r0, _mm_unpacklo_pd(t2, t2));
    const __m128d h1 = RowPairs(r1, _mm_unpackhi_pd(t2, t2));
    const __m128d odd = _mm_unpacklo_pd(h0, h1), even = _mm_unpackhi_pd(h0, h1);
    // g = S + Q with S = r15, whose 26 bits make S xh exact, and Q = r0 + t (odd + t even + r16),
    // at most 2.2 % of S. The result is (Q x + S xl) + S xh: the roundings of the small part
    // cost a few hundredths of an ulp, so that the result stays within about 0.6 ulp without
    // first splitting r15 + r16 t into a 26-bit head and its tail.
    const __m128d c0 = _mm_load_pd(r0 + 15), c1 = _mm_load_pd(r1 + 15);
    const __m128d high0 = _mm_unpacklo_pd(c0, c1), high1 = _mm_unpackhi_pd(c0, c1);
    const __m128d low0 = Vec<double>::FromLanes(r0, r1).raw;
    const __m128d q =
        _mm_add_pd(_mm_mul_pd(_mm_add_pd(_mm_add_pd(_mm_mul_pd(even, t), odd), high1), t), low0);
    const __m128d xh = _mm_and_pd(x, _mm_castsi128_pd(WholeBits64(kSplitMask)));
    const __m128d xl = _mm_sub_pd(x, xh);
    out[0] =
        _mm_add_pd(_mm_add_pd(_mm_mul_pd(q, x), _mm_mul_pd(high0, xl)), _mm_mul_pd(high0, xh));
  }

  static int Flag(const Vec<T> (&in)[1]) {
    return _mm_movemask_pd(_mm_castsi128_pd(Leaves(Magnitude(in[0].raw))));
  }
  static int Settle(const Vec<T> (&)[1], Vec<T> (&)[1], int bits) { return bits; }

  // -103079215104 y + 103079215105 y: y cut to its high bits, so that products with
  // 0.88623046875 (10 bits) are exact.
  static double High(double y) { return -103079215104.0 * y + 103079215105.0 * y; }

  static int Companion(const T (&in)[1], T (&out)[1]) {
    const double x = in[0];
    const uint64_t bits = __builtin_bit_cast(uint64_t, x);
    if ((bits & 0x7FF0000000000000ull) == 0x7FF0000000000000ull) {
      if ((bits & 0x000FFFFFFFFFFFFFull) != 0) return out[0] = x + x, 0;
      return out[0] = InvalidNaN(x), TEM_STATUS_ERRDOM;
    }
    // Flagged finite lanes from 2^-35 up are 1 or beyond.
    if (__builtin_fabs(x) >= 0x1p-35) {
      if (__builtin_fabs(x) == 1.0) return out[0] = x / 0.0, TEM_STATUS_SING;
      return out[0] = InvalidNaN(x), TEM_STATUS_ERRDOM;
    }
    if (x == 0.0) return out[0] = x, 0;
    // erfinv(x) = x sqrt(pi)/2 here, sqrt(pi)/2 = 0.88623046875 - 3.543297241986351e-6, on x
    // scaled by 2^256 so that the two parts stay normal.
    const double y = x * 0x1p256;
    const double yh = High(y);
    const double h = yh * 0.88623046875;
    const double l = y * -3.543297241986351e-6 + (y - yh) * 0.88623046875;
    const double z = h + l;
    if (__builtin_fabs(z) >= kSubnormalBias) return out[0] = z * 0x1p-256, 0;
    // Subnormal result, rounded once: with c added, the ulp of the sum is the subnormal ulp
    // times 2^256, and the bits of the sum above c's are the subnormal's. Taking c's image
    // away (not masking it) gives the smallest normal when the sum rounds up to 2c.
    const double c = __builtin_copysign(kSubnormalBias, x);
    const double g = z + c;
    const double gh = High(g);
    const double sum = l + (h - (gh - c)) + gh;
    const uint64_t magnitude = (__builtin_bit_cast(uint64_t, sum) & 0x7FFFFFFFFFFFFFFFull) -
                               __builtin_bit_cast(uint64_t, kSubnormalBias);
    out[0] = __builtin_bit_cast(double, magnitude | (bits & 0x8000000000000000ull));
    return 0;
  }
};

struct ErfInvFloat {
  using T = float;
  // Blocks of four registers, whose row loads and polynomials overlap.
  static constexpr int kInputs = 1, kResults = 1, kBlock = 16;
  static constexpr bool kCanFail = true;

  // Magnitudes outside [0x33800001, 0x3F7FFFFF]: up to 2^-24, from 1 up, infinities and NaNs.
  static __m128i FlagMask(__m128i abits) { return Outside<0x33800001, 0x3F800000>(abits); }

  [[gnu::always_inline]] static void Compute(const Vec<T> (&in)[1], Vec<T> (&out)[1]) {
    const __m128 x = in[0].raw;
    const __m128 one = WholeFloat(1.0f);
    const __m128 a = _mm_andnot_ps(WholeFloat(-0.0f), x);
    const __m128 w = _mm_sub_ps(one, a);
    const __m128 e = _mm_sub_ps(_mm_sub_ps(one, w), a);
    const __m128i wbits = _mm_castps_si128(w);
    // Row 1015 - (bits >> 20): exponent and three top mantissa bits; flagged lanes read row 0.
    const __m128i row = _mm_andnot_si128(
        FlagMask(_mm_castps_si128(a)),
        _mm_sub_epi32(_mm_set1_epi32(1015), _mm_srli_epi32(wbits, 20)));
    // Rows of 32 bytes: two loads each, transposed so that register k holds f[k] of all lanes.
    const __m128i offsets = _mm_slli_epi32(row, 5);
    const char* base = reinterpret_cast<const char*>(temErfInvTableS);
    auto row_at = [base](__m128i v) {
      return reinterpret_cast<const float*>(base + static_cast<uint32_t>(_mm_cvtsi128_si32(v)));
    };
    const float* r[4] = {row_at(offsets), row_at(_mm_shuffle_epi32(offsets, 1)),
                         row_at(_mm_shuffle_epi32(offsets, 2)),
                         row_at(_mm_shuffle_epi32(offsets, 3))};
    __m128 f[8];
    for (int half = 0; half < 2; ++half) {
      __m128 c0 = _mm_load_ps(r[0] + 4 * half), c1 = _mm_load_ps(r[1] + 4 * half);
      __m128 c2 = _mm_load_ps(r[2] + 4 * half), c3 = _mm_load_ps(r[3] + 4 * half);
      _MM_TRANSPOSE4_PS(c0, c1, c2, c3);
      f[4 * half] = c0, f[4 * half + 1] = c1, f[4 * half + 2] = c2, f[4 * half + 3] = c3;
    }

    // m in [1, 1.125): w's low 20 mantissa bits under the exponent of 1; t0 = m - 1.0625.
    const __m128 m = _mm_castsi128_ps(_mm_or_si128(_mm_and_si128(wbits, _mm_set1_epi32(0xFFFFF)),
                                                   _mm_set1_epi32(0x3F800000)));
    const __m128 t0 = _mm_sub_ps(m, WholeFloat(1.0625f));
    const __m128 scale = _mm_castsi128_ps(_mm_sub_epi32(
        _mm_set1_epi32(0x7F000000), _mm_and_si128(wbits, _mm_set1_epi32(0x3F800000))));
    const __m128 t = _mm_add_ps(t0, _mm_mul_ps(e, scale));
    const __m128 split = _mm_castsi128_ps(_mm_set1_epi32(static_cast<int>(0xFFFFF000u)));
    const __m128 th = _mm_and_ps(t0, split);
    const __m128 tl = _mm_sub_ps(t, th);

    __m128 p = f[5];
#pragma GCC unroll 4
    for (int k = 4; k >= 1; --k) p = _mm_add_ps(_mm_mul_ps(p, t), f[k]);
    p = _mm_mul_ps(p, t);
    p = _mm_add_ps(_mm_add_ps(p, f[0]), _mm_mul_ps(f[7], tl));
    // f6 + f7 th + P in two parts: S keeps 12 bits, lo the rest.
    const __m128 u = _mm_mul_ps(th, f[7]);
    const __m128 s = _mm_and_ps(_mm_add_ps(_mm_add_ps(u, p), f[6]), split);
    const __m128 lo = _mm_add_ps(_mm_add_ps(_mm_sub_ps(f[6], s), u), p);
    const __m128 xh = _mm_and_ps(x, split);
    const __m128 xl = _mm_sub_ps(x, xh);
    out[0] = _mm_add_ps(_mm_add_ps(_mm_mul_ps(lo, x), _mm_mul_ps(s, xl)), _mm_mul_ps(s, xh));
  }

  static int Flag(const Vec<T> (&in)[1]) {
    const __m128i abits = _mm_and_si128(_mm_castps_si128(in[0].raw), _mm_set1_epi32(0x7FFFFFFF));
    return _mm_movemask_ps(_mm_castsi128_ps(FlagMask(abits)));
  }
  static int Settle(const Vec<T> (&)[1], Vec<T> (&)[1], int bits) { return bits; }

  static int Companion(const T (&in)[1], T (&out)[1]) {
    const float x = in[0];
    const uint32_t u = __builtin_bit_cast(uint32_t, x) & 0x7FFFFFFF;
    if (u == 0x3F800000) return out[0] = x / 0.0f, TEM_STATUS_SING;
    if (u > 0x3F800000 && u <= 0x7F800000) return out[0] = InvalidNaN(x), TEM_STATUS_ERRDOM;
    if (u > 0x7F800000) return out[0] = x + x, 0;
    // 2^-24 itself: flagged, but the block's row 0 serves it.
    if (u > 0x337FFFFF) return 0;
    // erfinv(x) = x sqrt(pi)/2 in double, rounded once to float.
    out[0] = u == 0 ? x : static_cast<float>(x * 0.886226925452758);
    return 0;
  }
};

}  // namespace
}  // namespace tem

TEM_ENTRIES_A_R(s, ErfInv, tem::ErfInvFloat)
TEM_ENTRIES_A_R(d, ErfInv, tem::ErfInvDouble)
