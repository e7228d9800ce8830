// e^x, 2^x and 10^x: x = (n + i/N) * log_b(2) + r, b^x = 2^n * 2^(i/N) * b^r, with 2^(i/N)
// from a table and 2^n added to the exponent field by an integer add.
#include "kernels/exp_common.h"

namespace tem {
namespace expo {
namespace {

// dExp2: the shifter rounds x itself to a multiple of 1/64; r = x - n, |r| <= 1/128.
struct Exp2Core {
  static constexpr int kIndexBits = 6, kBlock = 4;
  static constexpr uint32_t kFlagHigh = 0x408FEFFF;  // |x| >= 1022
  static constexpr double kOverflow = kExp2Overflow;
  static constexpr double kUnderflow = kExp2Zero;
  static constexpr double kSubnormal = -1022.0;
  static constexpr double kShifter = 0x1.8p46;

  [[gnu::always_inline]] static void Reduce(D x, D& hi, D& v, __m128i& n_image) {
    const D t = x + Const<D>(kShifter);
    const D r = x - (t - Const<D>(kShifter));
    n_image = t.Image();
    int i0, i1;
    Indices<kIndexBits>(n_image, i0, i1);
    D lo;
    D::GatherPairs(kExp64, i0, i1, hi, lo);
    // 2^r - 1 on |r| <= 1/128.
    const D p = ((((Const<D>(0.0013333417185814622) * r + Const<D>(0.009618142269653759)) * r +
                   Const<D>(0.05550410866607508)) * r + Const<D>(0.24022650695884967)) * r +
                 Const<D>(0.6931471805599453)) * r;
    v = p * hi + lo;
  }
  static void Scalar(double x, double& hi, double& v, int& k) {
    ScalarFromBlock(x, hi, v, k, kIndexBits, Reduce);
  }
};

// dExp10: N = 128, |r| <= log10(2)/256.
struct Exp10Core {
  static constexpr int kIndexBits = 7, kBlock = 8;
  static constexpr uint32_t kFlagHigh = 0x40733A70;  // |x| above 307.65 = log10 2^1022
  static constexpr double kOverflow = kExp10Overflow;
  static constexpr double kUnderflow = kExp10Zero;
  static constexpr double kSubnormal = kExp10Subnormal;
  static constexpr double kK = 425.20679614558236;  // 128 log2 10
  static constexpr double kShifter = 6896136929411072.0;
  static constexpr double kL1 = 0x1.3441350a00000p-9;  // log10(2)/128, high part
  static constexpr double kL2 = -0x1.0c0219dc1da99p-46;  // rest: L1 lies above log10(2)/128

  [[gnu::always_inline]] static void Reduce(D x, D& hi, D& v, __m128i& n_image) {
    const D t = x * Const<D>(kK) + Const<D>(kShifter);
    const D n = t - Const<D>(kShifter);
    n_image = t.Image();
    int i0, i1;
    Indices<kIndexBits>(n_image, i0, i1);
    D lo;
    D::GatherPairs(kExp128, i0, i1, hi, lo);
    const D r = (x - n * Const<D>(kL1)) - n * Const<D>(kL2);
    // 10^r - 1 on |r| <= log10(2)/256.
    const D p = ((((Const<D>(0.5396424512945068) * r + Const<D>(1.1712555494866221)) * r +
                   Const<D>(2.0346785917911965)) * r + Const<D>(2.650949055239026)) * r +
                 Const<D>(2.302585092994046)) * r;
    v = p * hi + lo;
  }
  static void Scalar(double x, double& hi, double& v, int& k) {
    ScalarFromBlock(x, hi, v, k, kIndexBits, Reduce);
  }
};

// The single members in single precision: x = (n + i/128) * log_b(2) + r, with n from a float
// shifter, 2^(i/128) as a float pair from a table, b^r - 1 from the core's short polynomial,
// and 2^k built in the exponent field and multiplied. A core C supplies kK = 128 log2(b),
// kL1 + kL2 = log_b(2)/128 (kL1 short enough that n * kL1 is exact; kL2 = 0 when kL1 is
// exact), Poly(r) ~ b^r - 1, kFlagBits (and kFlagMask) on the magnitude, the bounds of the
// no-error loop kOverflow (inf above) and kUnderflow (+0 below), and the companion. A core
// with kK = 1 has x itself rounded to a multiple of 1/128 by a shifter 128 times smaller,
// which gives the same n and r = x - n/128 exactly, with no factor.
template <class C>
struct SingleKernel {
  using T = float;
  static constexpr int kInputs = 1, kResults = 1, kBlock = 8;
  static constexpr bool kCanFail = true;
  static constexpr bool kRoundsX = C::kK == 1.0f;
  static constexpr float kShifter = kRoundsX ? 98304.0f : 12582912.0f;  // 1.5 * 2^(16 or 23)

  static void Compute(const F (&in)[1], F (&out)[1]) {
    const F x = in[0];
    const F shifter = {WholeFloat(kShifter)};
    F t;
    if constexpr (kRoundsX) {
      t = x + shifter;
    } else {
      t = x * F{WholeFloat(C::kK)} + shifter;
    }
    const F n = t - shifter;
    // The row indices straight from the register (below 128, so 16 bits hold them), and the
    // four rows loaded into registers: no round trip through memory.
    const __m128i index = _mm_and_si128(t.Image(), _mm_set1_epi32(127));
    const auto row = [](int i) {
      return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(kExpF128[i]));
    };
    const __m128 a = _mm_castsi128_ps(_mm_unpacklo_epi64(
        row(_mm_cvtsi128_si32(index)), row(_mm_extract_epi16(index, 2))));
    const __m128 b = _mm_castsi128_ps(_mm_unpacklo_epi64(row(_mm_extract_epi16(index, 4)),
                                                         row(_mm_extract_epi16(index, 6))));
    const F hi = _mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0));
    const F lo = _mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1));
    F r;
    if constexpr (kRoundsX) {
      r = x - n;
    } else {
      r = x - n * F{WholeFloat(C::kL1)};
      if constexpr (C::kL2 != 0.0f) r = r - n * F{WholeFloat(C::kL2)};
    }
    const F y = (C::Poly(r) * hi + lo) + hi;
    const __m128i scale =
        _mm_and_si128(_mm_add_epi32(_mm_slli_epi32(t.Image(), 16), _mm_set1_epi32(0x3F800000)),
                      _mm_set1_epi32(0x7F800000));
    out[0] = y * F::FromImage(scale);
  }
  static int Flag(const F (&in)[1]) { return in[0].MagnitudeAbove(C::kFlagBits, C::kFlagMask); }
  static int Settle(const F (&in)[1], F (&out)[1], int lanes) {
    const F over = F::Greater(in[0], F::Set(C::kOverflow));
    const F under = F::Less(in[0], F::Set(C::kUnderflow));
    out[0] = F::Select(over, F::Set(INFINITY), F::Select(under, F::Set(0.0f), out[0]));
    return lanes & ~(over | under).LaneBits();
  }
  static int Companion(const float (&in)[1], float (&out)[1]) { return C::Companion(in, out); }
};

// sExp: e^r - 1 ~ r + r^2/2.
struct SingleExp {
  static constexpr float kK = 184.6649627685547f;  // 128 / ln 2
  static constexpr float kL1 = 0.0054168701171875f, kL2 = -1.6577690757912933e-06f;
  // 0x42AEAC4F: 87.33654 = ln 2^-126, on the magnitude with its low 4 bits cleared.
  static constexpr uint32_t kFlagBits = 0x42AEAC4F, kFlagMask = 0x7FFFFFF0;
  static constexpr float kOverflow = 88.72283172607422f;    // 0x42B17217
  static constexpr float kUnderflow = -103.97207641601562f;  // 0xC2CFF1B4

  static F Poly(F r) { return F{WholeFloat(0.5f)} * r * r + r; }
  // In double with the constants of dExp.
  static int Companion(const float (&in)[1], float (&out)[1]) {
    const float x = in[0];
    const uint32_t bits = BitsOf(x);
    if ((bits & 0x7F800000) == 0x7F800000) {
      out[0] = x == -INFINITY ? 0.0f : x * x;
      return TEM_STATUS_OK;
    }
    if ((bits & 0x7F800000) < 0x25000001) return out[0] = x + 1.0f, TEM_STATUS_OK;
    if (x > kOverflow) return out[0] = INFINITY, TEM_STATUS_OVERFLOW;
    if (x < kUnderflow) return out[0] = 0.0f, TEM_STATUS_UNDERFLOW;
    int status;
    out[0] = static_cast<float>(ExpKernel<ExpCore>::Scalar(x, &status));
    return x < kExpFSubnormal ? TEM_STATUS_UNDERFLOW : TEM_STATUS_OK;
  }
};

// The companions of sExp2 and sExp10: the d formula, narrowed once.
template <class Core>
struct Narrowed {
  static constexpr bool kCanUnderflow = true;
  static double Scalar(double x) {
    int status;
    return ExpKernel<Core>::Scalar(x, &status);
  }
};

// sExp2: x rounded to a multiple of 1/128, r = x - n/128 exact; 2^r - 1 ~ ln2 r + (ln2)^2/2 r^2,
// |r| <= 1/256.
struct SingleExp2 {
  static constexpr float kK = 1.0f;
  static constexpr uint32_t kFlagBits = 0x42FC0000, kFlagMask = 0x7FFFFFFF;  // |x| > 126
  static constexpr float kOverflow = 128.0f, kUnderflow = -150.0f;

  static F Poly(F r) {
    return (F{WholeFloat(0.24022650718688965f)} * r + F{WholeFloat(0.6931471824645996f)}) * r;
  }
  static int Companion(const float (&in)[1], float (&out)[1]) {
    return WidenedKernel<Narrowed<Exp2Core>>::Companion(in, out);
  }
};

// sExp10: 10^r - 1 ~ ln10 r + (ln10)^2/2 r^2, |r| <= log10(2)/256.
struct SingleExp10 {
  static constexpr float kK = 425.206787109375f;  // 128 log2 10
  // log10(2)/128 = kL1 + kL2; kL1 = 308 * 2^-17 has 9 bits, n below 2^15.
  static constexpr float kL1 = 0.002349853515625f, kL2 = 1.9433255147305317e-06f;
  static constexpr uint32_t kFlagBits = 0x4217999A, kFlagMask = 0x7FFFFFFF;  // |x| > 37.9
  static constexpr float kOverflow = static_cast<float>(kExp10FOverflow);
  static constexpr float kUnderflow = -46.0f;

  static F Poly(F r) {
    return (F{WholeFloat(2.650949001312256f)} * r + F{WholeFloat(2.3025851249694824f)}) * r;
  }
  static int Companion(const float (&in)[1], float (&out)[1]) {
    return WidenedKernel<Narrowed<Exp10Core>>::Companion(in, out);
  }
};

}  // namespace
}  // namespace expo
}  // namespace tem

TEM_ENTRIES_A_R(d, Exp, tem::expo::ExpKernel<tem::expo::ExpCore>)
TEM_ENTRIES_A_R(d, Exp2, tem::expo::ExpKernel<tem::expo::Exp2Core>)
TEM_ENTRIES_A_R(d, Exp10, tem::expo::ExpKernel<tem::expo::Exp10Core>)
TEM_ENTRIES_A_R(s, Exp, tem::expo::SingleKernel<tem::expo::SingleExp>)
TEM_ENTRIES_A_R(s, Exp2, tem::expo::SingleKernel<tem::expo::SingleExp2>)
TEM_ENTRIES_A_R(s, Exp10, tem::expo::SingleKernel<tem::expo::SingleExp10>)
