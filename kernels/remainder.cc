// Exact remainders: Fmod (quotient truncated) and Remainder (quotient rounded to nearest,
// ties to even). Lanes with |a| clearly below |b| give a in the block; the others go to the
// companion, which runs an integer long division on the mantissas.
#include <math.h>

#include "frame/kernel_frame.h"
#include "kernels/float_format.h"
#include "kernels/lane_ops.h"

namespace tem {

namespace {

template <class T>
struct LongDivision : Fields<T> {
  using F = Fields<T>;
  using typename F::Bits;
  static constexpr int kM = F::kMantissaBits;
  static constexpr uint64_t kImplicit = uint64_t{1} << kM;

  // A finite non-zero magnitude as mantissa with the implicit bit, and exponent; subnormals
  // are shifted up, counting the exponent down.
  struct Unpacked {
    uint64_t m;
    int e;
  };
  static Unpacked Unpack(Bits magnitude) {
    Unpacked u{magnitude & F::kMantissa, F::Exponent(magnitude)};
    if (u.e != 0) {
      u.m |= kImplicit;
      return u;
    }
    u.e = 1;
    while (u.m < kImplicit) u.m <<= 1, --u.e;
    return u;
  }
  // m * 2^(e - bias - M), exact, renormalised, with the sign of `sign_source`.
  static T Pack(uint64_t m, int e, Bits sign_source) {
    const Bits sign = sign_source & F::kSign;
    if (m == 0) return F::FromBits(sign);
    while (m >= 2 * kImplicit) m >>= 1, ++e;
    while (m < kImplicit) m <<= 1, --e;
    if (e < 1) return F::FromBits(sign | static_cast<Bits>(m >> (1 - e)));
    return F::FromBits(sign | (static_cast<Bits>(e) << kM) | static_cast<Bits>(m & F::kMantissa));
  }
  // r = x mod y over `steps` exponent steps: subtract y when it fits, double the remainder.
  // Returns the last quotient bit.
  static unsigned Divide(uint64_t& r, uint64_t y, int steps) {
#pragma GCC unroll 8
    for (; steps > 0; --steps) {
      if (r >= y) r -= y;
      r <<= 1;
    }
    if (r < y) return 0;
    r -= y;
    return 1;
  }
};

// The magnitude 2147483647, modulus of a generator the library's callers use, has a quick
// path for |a| below 2^52 in double.
constexpr uint64_t kModulus31Bits = 0x41DFFFFFFFC00000ull;
constexpr uint64_t kModulus31Limit = 0x432FFFFFFFFFFFFFull;

template <class E>
struct Fmod {
  using T = E;
  using V = Vec<T>;
  using L = LongDivision<T>;
  using Bits = typename L::Bits;
  static constexpr int kInputs = 2, kResults = 1, kBlock = 2 * V::kLanes;
  static constexpr bool kCanFail = true;

  static void Compute(const V (&in)[2], V (&out)[1]) { out[0] = in[0]; }
  static int Flag(const V (&in)[2]) {
    const V sign = V::FromBits(L::kSign);
    return V::Less(AndNot(sign, in[0]), AndNot(sign, in[1])).LaneBits() ^ ((1 << V::kLanes) - 1);
  }
  static int Settle(const V (&)[2], V (&)[1], int bits) { return bits; }

  static int Companion(const T (&in)[2], T (&out)[1]) {
    const T a = in[0], b = in[1];
    const Bits ba = L::ToBits(a), ax = ba & L::kMagnitude, ay = L::ToBits(b) & L::kMagnitude;
    // Divisor 1: the fraction of a, with its sign.
    if (ay == L::kOne && ax < L::kInfinity) {
      if (ax < L::kOne) return out[0] = a, TEM_STATUS_OK;
      const int fraction_bits = L::kM - (L::Exponent(ax) - static_cast<int>(L::kBias));
      if (fraction_bits <= 0) return out[0] = L::FromBits(ba & L::kSign), TEM_STATUS_OK;
      const T whole = L::FromBits((ba >> fraction_bits) << fraction_bits);
      out[0] = L::FromBits(L::ToBits(a - whole) | (ba & L::kSign));
      return TEM_STATUS_OK;
    }
    if (isnan(a) || isnan(b)) return out[0] = a * b, TEM_STATUS_OK;
    if (ay == 0 || ax == L::kInfinity) return out[0] = L::FromBits(L::kDefaultNaN), TEM_STATUS_SING;
    if (ay == L::kInfinity || ax < ay) return out[0] = a, TEM_STATUS_OK;
    if (ax == ay) return out[0] = a * T(0), TEM_STATUS_OK;
    if constexpr (sizeof(T) == 8) {
      if (ay == kModulus31Bits && ax <= kModulus31Limit) {
        const T m = 2147483647.0, t = fabs(a);
        const T q = static_cast<T>(static_cast<int64_t>(t * 0x1p-31));
        T r = t - q * m;
        if (r >= m) r = r - m;
        out[0] = L::FromBits(L::ToBits(r) | (ba & L::kSign));
        return TEM_STATUS_OK;
      }
    }
    const typename L::Unpacked x = L::Unpack(ax), y = L::Unpack(ay);
    uint64_t r = x.m;
    L::Divide(r, y.m, x.e - y.e);
    out[0] = L::Pack(r, y.e, ba);
    return TEM_STATUS_OK;
  }
};

template <class E>
struct Remainder {
  using T = E;
  using V = Vec<T>;
  using L = LongDivision<T>;
  using Bits = typename L::Bits;
  static constexpr int kInputs = 2, kResults = 1, kBlock = 2 * V::kLanes;
  static constexpr bool kCanFail = true;

  static void Compute(const V (&in)[2], V (&out)[1]) { out[0] = in[0]; }
  // 2|a| <= |b| with b finite and non-zero: the quotient rounds to 0 and the result is a.
  static int Flag(const V (&in)[2]) {
    const V sign = V::FromBits(L::kSign);
    const V ma = AndNot(sign, in[0]), mb = AndNot(sign, in[1]);
    const V keep = LessOrEqual(ma + ma, mb) & V::Less(mb, V::FromBits(L::kInfinity)) &
                   V::Greater(mb, V::Set(T(0)));
    return keep.LaneBits() ^ ((1 << V::kLanes) - 1);
  }
  static int Settle(const V (&)[2], V (&)[1], int bits) { return bits; }

  static int Companion(const T (&in)[2], T (&out)[1]) {
    const T a = in[0], b = in[1];
    const Bits ba = L::ToBits(a), ax = ba & L::kMagnitude, ay = L::ToBits(b) & L::kMagnitude;
    if (isnan(a) || isnan(b)) return out[0] = a + b, TEM_STATUS_OK;
    if (ax == L::kInfinity || ay == 0) {
      return out[0] = L::FromBits(L::kDefaultNaN), TEM_STATUS_ERRDOM;
    }
    if (ay == L::kInfinity || ax == 0) return out[0] = a, TEM_STATUS_OK;
    if (ax == ay) return out[0] = a * T(0), TEM_STATUS_OK;
    const typename L::Unpacked x = L::Unpack(ax);
    typename L::Unpacked y = L::Unpack(ay);
    if (x.e < y.e - 1) return out[0] = a, TEM_STATUS_OK;
    // |b|/2 <= |a| < |b|: b at a's exponent, quotient 0.
    if (x.e < y.e) y.m <<= 1, --y.e;
    uint64_t r = x.m;
    const unsigned last = L::Divide(r, y.m, x.e - y.e);
    Bits sign = ba;
    if (2 * r > y.m || (2 * r == y.m && last != 0)) {
      r = y.m - r;
      sign ^= L::kSign;
    }
    out[0] = L::Pack(r, y.e, sign);
    return TEM_STATUS_OK;
  }
};

}  // namespace

}  // namespace tem

TEM_ENTRIES_A_AB_R(s, Fmod, tem::Fmod<float>)
TEM_ENTRIES_A_AB_R(d, Fmod, tem::Fmod<double>)
TEM_ENTRIES_A_AB_R(s, Remainder, tem::Remainder<float>)
TEM_ENTRIES_A_AB_R(d, Remainder, tem::Remainder<double>)
