// The block reduction of the double logarithms, two lanes per register: m = mantissa of x in
// [2^-10, 2^-9), c = round(1 / m) by a true division, an integer 512..1024, and
// log_b(x) = n log_b(2) + (-log_b(c) - 1013 log_b(2)) + log_b(1 + r), r = m c - 1,
// with n the biased exponent and the middle term read from a 513-row table by the bits of c.
#ifndef QOR_KERNELS_LOG_BLOCK_H_
#define QOR_KERNELS_LOG_BLOCK_H_

#include <emmintrin.h>

#include <cstddef>
#include <type_traits>

#include "frame/vec.h"
#include "kernels/estrin.h"
#include "kernels/float_format.h"
#include "kernels/log_core.h"

namespace tem {

struct LnBase {
  static constexpr const double (*kTable)[2] = kLnBlockTable;
  // ln 2 in two parts of 36 bits (0x3FE62E42FEFA0000, 0x3D7CF79ABC9E0000).
  static constexpr double kLog2Hi = 0.6931471805582987, kLog2Lo = 1.6465949582866463e-12;
  static constexpr bool kScaled = false;
  static constexpr double kScaleHi = 1, kScaleLo = 0, kScale = 1;
};
struct Log2Base {
  static constexpr const double (*kTable)[2] = kLog2BlockTable;
  static constexpr double kLog2Hi = 1, kLog2Lo = 0;
  // log2(e) = 1.44140625 (9 bits) + the rest.
  static constexpr bool kScaled = true;
  static constexpr double kScaleHi = 1.44140625, kScaleLo = 0x1.51d94ae0bf85ep-10,
                          kScale = 1.4426950408889634;
};
struct Log10Base {
  static constexpr const double (*kTable)[2] = kLog10BlockTable;
  // log10(2) in two parts of 36 bits (0x3FD34413509F0000, 0x3D7E7FBCC47C0000).
  static constexpr double kLog2Hi = 0.30102999566224753, kLog2Lo = 1.7336659603714182e-12;
  // log10(e) = 0.43359375 (7 bits) + the rest.
  static constexpr bool kScaled = true;
  static constexpr double kScaleHi = 0.43359375, kScaleLo = 0x1.6f62a4dca1c65p-11,
                          kScale = 0.4342944819032518;
};

// ln(1 + r) - r on |r| <= 2^-10: ((kC5 r + kC4) r^2 + (kC3 r + kC2)) r^2.
inline constexpr double kC5 = 0.2000003665949424, kC4 = -0.2500003054940248,
                        kC3 = 0.33333333333308374, kC2 = -0.49999999999988803;

// A constant in both lanes by one whole 16-byte load.
[[gnu::always_inline]] inline __m128d BitsPd(uint64_t bits) {
  return _mm_castsi128_pd(WholeBits64(bits));
}
[[gnu::always_inline]] inline __m128d SplatPd(double c) { return BitsPd(BitsOf(c)); }

// Biased exponents of both lanes as doubles (the sign bit is not masked: negative lanes are
// flagged anyway).
inline __m128d BiasedExponent(__m128d x) {
  const __m128i high = _mm_shuffle_epi32(_mm_castpd_si128(x), _MM_SHUFFLE(3, 1, 3, 1));
  return _mm_cvtepi32_pd(_mm_srli_epi32(high, 20));
}

// m in [2^-10, 2^-9): the mantissa of x with the exponent of 0.0009765625.
inline __m128d BlockMantissa(__m128d x) {
  return _mm_or_pd(_mm_and_pd(x, BitsPd(0x000FFFFFFFFFFFFFull)), BitsPd(0x3F50000000000000ull));
}

// c = round(1 / m), an integer 512..1024, by adding and subtracting 1.5 * 2^52 to the
// quotient q = 1 / m rounded.
struct BlockReciprocalParts {
  __m128d q, c;
};
inline BlockReciprocalParts BlockReciprocalOf(__m128d m) {
  const __m128d round = SplatPd(6755399441055744.0);
  const __m128d q = _mm_div_pd(SplatPd(1.0), m);
  return {q, _mm_sub_pd(_mm_add_pd(q, round), round)};
}
inline __m128d BlockReciprocal(__m128d m) { return BlockReciprocalOf(m).c; }

// The table row {hi, lo} of c in each lane; the byte offset is the image of c shifted right
// by 39, less that of 512.
template <class B>
inline void BlockRows(__m128d c, __m128d* hi, __m128d* lo) {
  const __m128i offset =
      _mm_sub_epi32(_mm_srli_epi64(_mm_castpd_si128(c), 39), _mm_set1_epi32(0x810000));
  const char* table = reinterpret_cast<const char*>(B::kTable);
  const __m128d row0 = _mm_load_pd(reinterpret_cast<const double*>(table + _mm_cvtsi128_si32(offset)));
  const __m128d row1 = _mm_load_pd(reinterpret_cast<const double*>(
      table + _mm_cvtsi128_si32(_mm_unpackhi_epi64(offset, offset))));
  *hi = _mm_unpacklo_pd(row0, row1);
  *lo = _mm_unpackhi_pd(row0, row1);
}

// ln(1 + r) - r on |r| <= 2^-10, in two halves on r^2; with a scale, its coefficients are those
// times the scale rounded, which gives (ln(1 + r) - r) scale within a few ulp of a term that is
// below 2^-11 |r|. A constant scale folds into the coefficients.
inline __m128d LnBlockTailPd(__m128d r, double scale = 1.0) {
  const __m128d r2 = _mm_mul_pd(r, r);
  const __m128d odd = _mm_add_pd(_mm_mul_pd(SplatPd(kC5 * scale), r), SplatPd(kC4 * scale));
  const __m128d even = _mm_add_pd(_mm_mul_pd(SplatPd(kC3 * scale), r), SplatPd(kC2 * scale));
  return _mm_mul_pd(_mm_add_pd(_mm_mul_pd(odd, r2), even), r2);
}

// log_b(x) + extra(q, n) for positive normal lanes, whose biased exponent is n; extra is a
// small correction (the low part of a pair divided by x, say) added to the low terms, made
// from q = 1 / m rounded and n; nullptr for none.
template <class B, class Extra>
inline __m128d LogBlockWith(__m128d x, __m128d n, Extra extra) {
  const __m128d one = SplatPd(1.0);
  const __m128d m = BlockMantissa(x);
  const BlockReciprocalParts reciprocal = BlockReciprocalOf(m);
  const __m128d c = reciprocal.c;
  // mh keeps 26 mantissa bits, so that mh * c (c < 2^11) is exact and so is mh * c - 1.
  const __m128d mh = _mm_and_pd(m, BitsPd(0x3F5FFFFFFC000000ull));
  // r = rh + rl, rh = mh * c - 1 exact (37 bits), rl = (m - mh) * c exact (38 bits). The sum
  // is exact too: m c - 1 is a multiple of 2^-62 below 2^-10 in magnitude.
  const __m128d rh = _mm_sub_pd(_mm_mul_pd(mh, c), one);
  const __m128d rl = _mm_mul_pd(_mm_sub_pd(m, mh), c);
  const __m128d r = _mm_add_pd(rh, rl);
  __m128d hi, lo;
  BlockRows<B>(c, &hi, &lo);
  // s = n log_b(2) + hi is exact: both are multiples of 2^-40 below 2^11.
  const __m128d s = _mm_add_pd(_mm_mul_pd(n, SplatPd(B::kLog2Hi)), hi);
  const __m128d low = _mm_add_pd(_mm_mul_pd(n, SplatPd(B::kLog2Lo)), lo);
  // The lead term takes r whole: near x = 1, where s is 0, rh and rl may cancel to a result far
  // below either of them.
  __m128d t = r, small = low;
  if constexpr (B::kScaled) {
    // r log_b(e) with r exact: rr = r to 26 bits, t = rr kScaleHi (9 bits) exact, and the rest
    // (r - rr) kScaleHi (exact) + r kScaleLo, whose rounding is below 2^-62 |r|.
    const __m128d rr = _mm_and_pd(r, BitsPd(kSplitMask));
    t = _mm_mul_pd(rr, SplatPd(B::kScaleHi));
    small = _mm_add_pd(low, _mm_add_pd(_mm_mul_pd(_mm_sub_pd(r, rr), SplatPd(B::kScaleHi)),
                                       _mm_mul_pd(r, SplatPd(B::kScaleLo))));
  }
  const __m128d w = _mm_add_pd(s, t);
  const __m128d err = _mm_add_pd(_mm_sub_pd(s, w), t);
  const __m128d p = LnBlockTailPd(r, B::kScale);
  if constexpr (!std::is_same_v<Extra, std::nullptr_t>) {
    small = _mm_add_pd(small, extra(reciprocal.q, n));
  }
  return _mm_add_pd(w, _mm_add_pd(_mm_add_pd(small, p), err));
}

// log_b(x) + extra for positive normal lanes, whose biased exponent is n.
template <class B, bool kExtra = false>
inline __m128d LogBlock(__m128d x, __m128d n, __m128d extra = __m128d()) {
  if constexpr (kExtra) {
    return LogBlockWith<B>(x, n, [extra](__m128d, __m128d) { return extra; });
  } else {
    return LogBlockWith<B>(x, n, nullptr);
  }
}

// log_b(hi + lo) for a pair with hi positive normal and |lo| <= ulp(hi) / 2. lo / hi joins the
// low terms without a division: hi = m 2^(n - 1013), so lo / hi = lo q 2^(1013 - n) with
// q = 1 / m rounded: a relative error of 2^-52 on a term below 2^-53 in magnitude. The power
// comes from the exponent field 2036 - n, at least 1: for n > 2035 (hi >= 2^1013) lo / hi
// cannot reach the result's last place either way.
template <class B>
inline __m128d LogBlockPair(__m128d hi, __m128d lo) {
  return LogBlockWith<B>(hi, BiasedExponent(hi), [lo](__m128d q, __m128d n) {
    const __m128d magic = SplatPd(4503599627370496.0);  // 2^52
    const __m128d field = _mm_max_pd(_mm_sub_pd(SplatPd(2036.0), n), SplatPd(1.0));
    const __m128d power = _mm_castsi128_pd(_mm_slli_epi64(_mm_castpd_si128(_mm_add_pd(field, magic)), 52));
    return _mm_mul_pd(_mm_mul_pd(lo, q), power);
  });
}

// Double-double arithmetic on two lanes, as in the scalar core.
struct PairPd {
  __m128d hi, lo;
};
inline PairPd TwoSumPd(__m128d a, __m128d b) {
  const __m128d s = _mm_add_pd(a, b);
  const __m128d bb = _mm_sub_pd(s, a);
  return {s, _mm_add_pd(_mm_sub_pd(a, _mm_sub_pd(s, bb)), _mm_sub_pd(b, bb))};
}
// a + b exactly when |a| >= |b|.
inline PairPd FastTwoSumPd(__m128d a, __m128d b) {
  const __m128d s = _mm_add_pd(a, b);
  return {s, _mm_sub_pd(b, _mm_sub_pd(s, a))};
}
inline __m128d SplitHighPd(__m128d a) {
  const __m128d t = _mm_mul_pd(SplatPd(134217729.0), a);
  return _mm_sub_pd(t, _mm_sub_pd(t, a));
}
// a * b exactly, by Dekker's split.
inline PairPd TwoProdPd(__m128d a, __m128d b) {
  const __m128d p = _mm_mul_pd(a, b);
  const __m128d ah = SplitHighPd(a), bh = SplitHighPd(b);
  const __m128d al = _mm_sub_pd(a, ah), bl = _mm_sub_pd(b, bh);
  const __m128d e = _mm_add_pd(_mm_add_pd(_mm_sub_pd(_mm_mul_pd(ah, bh), p), _mm_mul_pd(ah, bl)),
                               _mm_mul_pd(al, bh));
  return {p, _mm_add_pd(e, _mm_mul_pd(al, bl))};
}
// log_b(x) for positive normal lanes widened from float: the same reduction with r rounded
// once and no extra-precision sums, which is ample for a result rounded to single.
template <class B>
inline __m128d LogBlockShort(__m128d x) {
  const __m128d n = BiasedExponent(x);
  const __m128d m = BlockMantissa(x);
  const __m128d c = BlockReciprocal(m);
  const __m128d r = _mm_sub_pd(_mm_mul_pd(m, c), SplatPd(1.0));
  __m128d hi, lo;
  BlockRows<B>(c, &hi, &lo);
  // n log_b(2) + hi is exact, so that it cancels without error near x = 1.
  const __m128d s = _mm_add_pd(_mm_mul_pd(n, SplatPd(B::kLog2Hi)), hi);
  const __m128d low = _mm_add_pd(_mm_mul_pd(n, SplatPd(B::kLog2Lo)), lo);
  const __m128d ln1r = _mm_add_pd(r, LnBlockTailPd(r));
  return _mm_add_pd(s, _mm_add_pd(low, _mm_mul_pd(ln1r, SplatPd(B::kScale))));
}

inline __m128 MaskPs(uint32_t bits) { return _mm_castsi128_ps(WholeBits32(bits)); }

// Constants of the single-precision logarithms: log_b(2) = kLog2Hi + kLog2Lo with kLog2Hi
// short enough that n kLog2Hi is exact, and for log2 and log10 log_b(e) = kScaleHi + kScaleLo
// with kScaleHi of 12 bits; kScaleDouble is log_b(e) in double for the companion.
struct LnSingleBase {
  static constexpr bool kScaled = false;
  // ln 2 = 0.693145751953125 (0x3F317200) + 1.428606765330187e-06.
  static constexpr float kLog2Hi = 0.693145751953125f, kLog2Lo = 1.428606765330187e-06f;
  static constexpr float kScaleHi = 1, kScaleLo = 0, kScale = 1;
  static constexpr double kScaleDouble = 1;
};
struct Log2SingleBase {
  static constexpr bool kScaled = true;
  static constexpr float kLog2Hi = 1, kLog2Lo = 0;
  static constexpr float kScaleHi = 0x1.714p+0f, kScaleLo = 0x1.47652cp-12f, kScale = 0x1.715476p+0f;
  static constexpr double kScaleDouble = 1.4426950408889634;
};
struct Log10SingleBase {
  static constexpr bool kScaled = true;
  static constexpr float kLog2Hi = 0x1.34p-2f, kLog2Lo = 0x1.04d428p-12f;
  static constexpr float kScaleHi = 0x1.bcap-2f, kScaleLo = 0x1.7b1526p-14f, kScale = 0x1.bcb7b2p-2f;
  static constexpr double kScaleDouble = 0.4342944819032518;
};

// sLn's reduction in single precision, for positive normal floats with bits u:
// v = u - 0x3F2AAAAB (the image of 2/3), n = v >> 23, m = (v & 0x7FFFFF) + 0x3F2AAAAB in
// [2/3, 4/3), r = m - 1 exact, and p the degree-9 polynomial's terms past r^2 over r^3,
// ln x = n ln 2 + r + r^2 (p r - 0.5). p comes times the base's kScale, from coefficients
// scaled once.
struct LnSingleParts {
  __m128i n;
  __m128 r, p;
};
inline constexpr float kLnSinglePoly[] = {-0.12891685962677002f, 0.1398443728685379f,
                                          -0.12184260785579681f, 0.140058696269989f,
                                          -0.16680487990379333f, 0.20010405778884888f,
                                          -0.24999797344207764f, 0.3333321511745453f, -0.5f};

template <class B>
[[gnu::always_inline]] inline LnSingleParts LnSingleReduce(__m128 x) {
  const __m128i v = _mm_sub_epi32(_mm_castps_si128(x), _mm_set1_epi32(0x3F2AAAAB));
  const __m128 m = _mm_castsi128_ps(_mm_add_epi32(_mm_and_si128(v, _mm_set1_epi32(0x7FFFFF)),
                                                  _mm_set1_epi32(0x3F2AAAAB)));
  const __m128 r = _mm_sub_ps(m, WholeFloat(1.0f));
  // The terms to r^7 by Estrin's scheme: p enters the result times r^3, so that its own
  // rounding errors reach the result at a few hundredths of an ulp.
  using F = Vec<float>;
  const auto c = [](int k) { return F{WholeFloat(kLnSinglePoly[k] * B::kScale)}; };
  const F rv = {r}, r2 = rv * rv;
  const F p = Estrin4(rv, r2, c(7), c(6), c(5), c(4)) + Estrin4(rv, r2, c(3), c(2), c(1), c(0)) * (r2 * r2);
  return {_mm_srai_epi32(v, 23), r, p.raw};
}

// log_b(x) = n log_b(2) + log_b(e) ln(1 + r) in single lanes. ln(1 + r) = s + e + q, with
// s + e = r + h exactly for h = -r^2 / 2 rounded, and q = r^3 p, p from LnSingleReduce<B>.
// The leading sum t = n log_b(2) + lead keeps its error too: near x = 4/3 it is the result
// less a term of half its size (n = 1, r near -1/3). |n log_b(2)| exceeds lead unless n = 0,
// where the sum is exact. For ln, lead is s; for log2 and log10 it is s to 12 bits times
// kScaleHi, an exact product. q, the last term to be ready, joins last. With kExtra, `extra`
// (a small correction to ln(1 + r)) joins e.
template <class B, bool kExtra = false>
inline __m128 LogSingleFinish(const LnSingleParts& a, __m128 extra = __m128()) {
  const __m128 r = a.r, r2 = _mm_mul_ps(r, r);
  const __m128 h = _mm_mul_ps(r2, WholeFloat(-0.5f));
  const __m128 s = _mm_add_ps(r, h);  // |r| > |h|
  __m128 e = _mm_sub_ps(h, _mm_sub_ps(s, r));
  if constexpr (kExtra) e = _mm_add_ps(e, extra);
  const __m128 n = _mm_cvtepi32_ps(a.n);
  const __m128 nh = _mm_mul_ps(n, WholeFloat(B::kLog2Hi));
  __m128 lead = s, rest = e;
  if constexpr (B::kScaled) {
    const __m128 sh = _mm_and_ps(s, MaskPs(0xFFFFF000u));
    lead = _mm_mul_ps(sh, WholeFloat(B::kScaleHi));
    // e, below 2^-24 |s|, takes kScaleHi for log_b(e): what that leaves out is 2^-38 of s.
    rest = _mm_add_ps(_mm_mul_ps(_mm_add_ps(_mm_sub_ps(s, sh), e), WholeFloat(B::kScaleHi)),
                      _mm_mul_ps(s, WholeFloat(B::kScaleLo)));
  }
  if constexpr (B::kLog2Lo != 0) rest = _mm_add_ps(rest, _mm_mul_ps(n, WholeFloat(B::kLog2Lo)));
  const __m128 t = _mm_add_ps(nh, lead);
  const __m128 err = _mm_sub_ps(lead, _mm_sub_ps(t, nh));
  const __m128 q = _mm_mul_ps(_mm_mul_ps(r2, r), a.p);
  return _mm_add_ps(t, _mm_add_ps(_mm_add_ps(err, rest), q));
}

}  // namespace tem

#endif  // QOR_KERNELS_LOG_BLOCK_H_
