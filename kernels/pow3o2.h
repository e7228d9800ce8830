// x^(3/2) in double-double, as one element and on two double lanes, shared by Pow3o2 and Powx.
#ifndef QOR_KERNELS_POW3O2_H_
#define QOR_KERNELS_POW3O2_H_

#include <math.h>

#include "kernels/lane_ops.h"
#include "kernels/log_block.h"
#include "qor/tem.h"

namespace tem {
namespace roots {

// x^(3/2) = x * (s + (x - s * s) / (2 s)) with s the rounded root, the product in double-double.
// x is scaled by 2^-+400 away from the ends of the range, the result back by 2^+-600. A negative
// x gives NaN with a domain error, an overflow of the type T +inf with status 3.
template <class T>
struct Pow3o2Fn {
  // Results overflow for x above 2^(2/3 (emax + 1)); inputs from kMayOverflow, a little
  // lower, are flagged.
  static constexpr double kMayOverflow = sizeof(T) == 4 ? 0x1p85 : 0x1p682;
  static int Eval(double x, double* r) {
    if (isnan(x)) return *r = x + x, TEM_STATUS_OK;
    if (x < 0.0) return *r = NAN, TEM_STATUS_ERRDOM;
    if (x == 0.0 || x == INFINITY) return *r = x * x, TEM_STATUS_OK;
    double a = x, post = 1.0;
    if (a < 0x1p-600) {
      a *= 0x1p400;
      post = 0x1p-600;
    } else if (a > 0x1p600) {
      a *= 0x1p-400;
      post = 0x1p600;
    }
    *r = _mm_cvtsd_f64(Scaled(_mm_set1_pd(a))) * post;
    return isinf(static_cast<T>(*r)) ? TEM_STATUS_OVERFLOW : TEM_STATUS_OK;
  }
  // The formula on lanes that need no scaling: the products by Dekker's split.
  static __m128d Scaled(__m128d a) {
    const __m128d s = _mm_sqrt_pd(a);
    const PairPd square = TwoProdPd(s, s);
    const __m128d rest = _mm_sub_pd(_mm_sub_pd(a, square.hi), square.lo);
    const __m128d s_lo = _mm_div_pd(rest, _mm_add_pd(s, s));
    const PairPd p = TwoProdPd(a, s);
    return _mm_add_pd(p.hi, _mm_add_pd(p.lo, _mm_mul_pd(a, s_lo)));
  }
};

// Pow3o2Fn's formula on two lanes in [2^-500, kMayOverflow), where it needs no scaling and
// reports nothing; the element takes the rest, negative lanes among them. Lanes widened from
// floats take the plain product a sqrt(a): two roundings, within 2^-52 of a^(3/2), and so
// within 0.5 + 2^-28 ulp once rounded to float.
template <class T>
struct Pow3o2Lanes : Pow3o2Fn<T> {
  static __m128d Lanes(__m128d a) {
    if constexpr (sizeof(T) == 4) return _mm_mul_pd(a, _mm_sqrt_pd(a));
    return Pow3o2Fn<T>::Scaled(a);
  }
  static int Flag(__m128d x) {
    constexpr uint32_t kLimit = __builtin_bit_cast(uint64_t, Pow3o2Fn<T>::kMayOverflow) >> 32;
    return FlagHighOutside<0x20B00000, kLimit>(x);
  }
};

}  // namespace roots
}  // namespace tem

#endif  // QOR_KERNELS_POW3O2_H_
