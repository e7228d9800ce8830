// Selections and sign operations: Fmax, Fmin, MaxMag, MinMag, Fdim, CopySign and NextAfter.
// Lanes with an infinity or NaN input (NextAfter: lanes that may overflow or reach subnormals)
// are flagged on the integer image and finished by a scalar companion.
#include <math.h>

#include "frame/kernel_frame.h"
#include "kernels/float_format.h"
#include "kernels/lane_ops.h"

namespace tem {

namespace {

template <class E>
struct Binary {
  using T = E;
  using V = Vec<T>;
  static constexpr int kInputs = 2, kResults = 1, kBlock = 2 * V::kLanes;
};

// Lanes with an infinity or NaN in either input; their companion fixes the NaN cases and
// reports nothing, so the no-error loop sends them on as well.
template <class E>
struct NanLanes : Binary<E> {
  using V = Vec<E>;
  static constexpr bool kCanFail = true;
  static int Flag(const V (&in)[2]) { return NonFiniteLanes(in[0]) | NonFiniteLanes(in[1]); }
  static int Settle(const V (&)[2], V (&)[1], int bits) { return bits; }
};

// One NaN yields the other input, two NaNs the second, quieted by a multiplication by 1.
template <class T>
T MaxMinNaN(T a, T b, T hardware) {
  T r = hardware;
  if (isnan(b)) r = QuietedByOne(a);
  if (isnan(a)) r = QuietedByOne(b);
  return r;
}

template <class E, bool kMax>
struct MaxMin : NanLanes<E> {
  using T = E;
  using V = Vec<T>;
  template <class X>
  static X Hardware(X a, X b) {
    return kMax ? HardwareMax(a, b) : HardwareMin(a, b);
  }
  static void Compute(const V (&in)[2], V (&out)[1]) { out[0] = Hardware(in[0], in[1]); }
  static int Companion(const T (&in)[2], T (&out)[1]) {
    out[0] = MaxMinNaN(in[0], in[1], Hardware(in[0], in[1]));
    return TEM_STATUS_OK;
  }
};

// The input of larger (kMax) or smaller magnitude; equal magnitudes go to the hardware
// maximum or minimum of the signed values.
template <class E, bool kMax>
struct Magnitude : NanLanes<E> {
  using T = E;
  using V = Vec<T>;
  static V Pick(V a, V b) {
    const V sign = V::FromBits(Fields<T>::kSign);
    const V ma = AndNot(sign, a), mb = AndNot(sign, b);
    const V a_wins = kMax ? V::Greater(ma, mb) : V::Less(ma, mb);
    const V b_wins = kMax ? V::Less(ma, mb) : V::Greater(ma, mb);
    const V tie = kMax ? HardwareMax(a, b) : HardwareMin(a, b);
    return V::Select(a_wins, a, V::Select(b_wins, b, tie));
  }
  static void Compute(const V (&in)[2], V (&out)[1]) { out[0] = Pick(in[0], in[1]); }
  static int Companion(const T (&in)[2], T (&out)[1]) {
    const T ma = fabs(in[0]), mb = fabs(in[1]);
    T r = kMax ? HardwareMax(in[0], in[1]) : HardwareMin(in[0], in[1]);
    if (kMax ? ma > mb : ma < mb) r = in[0];
    if (kMax ? ma < mb : ma > mb) r = in[1];
    out[0] = MaxMinNaN(in[0], in[1], r);
    return TEM_STATUS_OK;
  }
};

// a - b when a > b, otherwise +0. With two NaNs the second wins.
template <class E>
struct Fdim : NanLanes<E> {
  using T = E;
  using V = Vec<T>;
  static void Compute(const V (&in)[2], V (&out)[1]) {
    out[0] = V::Greater(in[0], in[1]) & (in[0] - in[1]);
  }
  static int Companion(const T (&in)[2], T (&out)[1]) {
    T r = in[0] > in[1] ? in[0] - in[1] : T(0);
    if (isnan(in[0])) r = QuietedByOne(in[0]);
    if (isnan(in[1])) r = QuietedByOne(in[1]);
    out[0] = r;
    return TEM_STATUS_OK;
  }
};

// The magnitude bits of a and the sign bit of b.
template <class E>
struct CopySign : Binary<E> {
  using V = Vec<E>;
  static constexpr bool kCanFail = false;
  static void Compute(const V (&in)[2], V (&out)[1]) {
    const V sign = V::FromBits(Fields<E>::kSign);
    out[0] = AndNot(sign, in[0]) | (in[1] & sign);
  }
};

// Integer lane arithmetic of the images, by element width.
inline __m128i AddImage(__m128i a, __m128i b, float) { return _mm_add_epi32(a, b); }
inline __m128i AddImage(__m128i a, __m128i b, double) { return _mm_add_epi64(a, b); }

// Lanes whose magnitude is below twice the smallest normal or at least the largest finite
// number: only these can step to a subnormal, a zero or an infinity. Tested on the high word.
inline int NearEdgeLanes(Vec<float> a) {
  const __m128i m = _mm_and_si128(a.Image(), _mm_set1_epi32(0x7FFFFFFF));
  const __m128i low = _mm_cmplt_epi32(m, _mm_set1_epi32(0x01000000));
  const __m128i high = _mm_cmpgt_epi32(m, _mm_set1_epi32(0x7F7FFFFE));
  return _mm_movemask_ps(_mm_castsi128_ps(_mm_or_si128(low, high)));
}
inline int NearEdgeLanes(Vec<double> a) {
  const __m128i m = _mm_and_si128(a.Image(), _mm_set1_epi64x(0x7FFFFFFF00000000ll));
  const __m128i low = _mm_cmplt_epi32(m, _mm_set1_epi64x(0x0020000000000000ll));
  const __m128i high = _mm_cmpgt_epi32(m, _mm_set1_epi64x(0x7FEFFFFE00000000ll));
  // The high word's compare lies in the sign bit of each lane.
  return _mm_movemask_pd(_mm_castsi128_pd(_mm_or_si128(low, high)));
}

// The neighbour of a toward b on the integer image: one step away from zero when b lies
// beyond a, one step toward zero otherwise. Status 3 when a finite a steps to an infinity,
// 4 when a non-zero a steps to a subnormal or a zero.
template <class E>
struct NextAfter : Binary<E> {
  using T = E;
  using V = Vec<T>;
  using F = Fields<T>;
  static constexpr bool kCanFail = true;

  static void Compute(const V (&in)[2], V (&out)[1]) {
    const V a = in[0], b = in[1], zero = V::Set(T(0));
    const V away = V::FromImage(_mm_xor_si128(V::Less(a, b).Image(), V::Greater(a, zero).Image()));
    // away lanes are all zeros (step +1) or all ones (step -1): +1 + 2 * (all ones) = -1.
    const __m128i step =
        AddImage(AddImage(away.Image(), away.Image(), T()), V::FromBits(1).Image(), T());
    const V next = V::FromImage(AddImage(a.Image(), step, T()));
    out[0] = V::Select(Unordered(a, b), a + b, V::Select(Equal(a, b), b, next));
  }
  static int Flag(const V (&in)[2]) { return NearEdgeLanes(in[0]); }
  // A zero lane's block result is wrong, so flagged lanes go on even with nothing to report.
  static int Settle(const V (&)[2], V (&)[1], int bits) { return bits; }
  static int Companion(const T (&in)[2], T (&out)[1]) {
    const T a = in[0], b = in[1];
    if (isnan(a) || isnan(b)) {
      out[0] = a + b;
      return TEM_STATUS_OK;
    }
    if (a == b) {
      out[0] = b;
      return TEM_STATUS_OK;
    }
    const typename F::Bits bits = F::ToBits(a);
    if ((bits & F::kMagnitude) == 0) {
      out[0] = F::FromBits(1 | (F::ToBits(b) & F::kSign));
      return TEM_STATUS_OK;
    }
    const bool up = (a < b) == (a > T(0));
    const typename F::Bits next = up ? bits + 1 : bits - 1;
    out[0] = F::FromBits(next);
    if ((next & F::kMagnitude) == F::kInfinity) return TEM_STATUS_OVERFLOW;
    if (F::Exponent(next) == 0) return TEM_STATUS_UNDERFLOW;
    return TEM_STATUS_OK;
  }
};

template <class T>
using FmaxKernel = MaxMin<T, true>;
template <class T>
using FminKernel = MaxMin<T, false>;
template <class T>
using MaxMagKernel = Magnitude<T, true>;
template <class T>
using MinMagKernel = Magnitude<T, false>;

}  // namespace

}  // namespace tem

TEM_ENTRIES_A_AB_R(s, Fmax, tem::FmaxKernel<float>)
TEM_ENTRIES_A_AB_R(d, Fmax, tem::FmaxKernel<double>)
TEM_ENTRIES_A_AB_R(s, Fmin, tem::FminKernel<float>)
TEM_ENTRIES_A_AB_R(d, Fmin, tem::FminKernel<double>)
TEM_ENTRIES_A_AB_R(s, MaxMag, tem::MaxMagKernel<float>)
TEM_ENTRIES_A_AB_R(d, MaxMag, tem::MaxMagKernel<double>)
TEM_ENTRIES_A_AB_R(s, MinMag, tem::MinMagKernel<float>)
TEM_ENTRIES_A_AB_R(d, MinMag, tem::MinMagKernel<double>)
TEM_ENTRIES_A_AB_R(s, Fdim, tem::Fdim<float>)
TEM_ENTRIES_A_AB_R(d, Fdim, tem::Fdim<double>)
TEM_ENTRIES_A_AB_R(s, CopySign, tem::CopySign<float>)
TEM_ENTRIES_A_AB_R(d, CopySign, tem::CopySign<double>)
TEM_ENTRIES_A_AB_R(s, NextAfter, tem::NextAfter<float>)
TEM_ENTRIES_A_AB_R(d, NextAfter, tem::NextAfter<double>)
