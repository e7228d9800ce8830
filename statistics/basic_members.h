// The worker family of the basic estimates: one member for each central order, raw moments or
// not, cross-product or not, weights or not, so that a request for means alone runs the
// lightest member. Each member runs one block of observations in observation order.
#ifndef QOR_STATISTICS_BASIC_MEMBERS_H_
#define QOR_STATISTICS_BASIC_MEMBERS_H_

#include <stdint.h>

#include <array>
#include <utility>

#include "statistics/moments.h"

namespace rof {
namespace ss {

// The observations as the members see them: variable a of observation i is
// base[a][i * stride] (row storage: stride 1; column storage: stride p).
template <class T>
struct PassData {
  const T* const* base;
  int64_t stride;
  int64_t k;
  const T* weights;  // null: every weight is 1
  const T* centre;   // k centres of the centred sums
};

// A member: accumulates observations [begin, end) into m; `scratch` holds 2k values.
template <class T>
using MemberFn = void (*)(const PassData<T>&, Moments<T>&, T*, int64_t, int64_t);

// acc[j] += d[j] * s for j in [from, k), four at a time.
template <class T>
inline void AddScaledRow(T* acc, const T* d, T s, int64_t from, int64_t k) {
  int64_t j = from;
  for (; j + 4 <= k; j += 4) {
    acc[j] += d[j] * s;
    acc[j + 1] += d[j + 1] * s;
    acc[j + 2] += d[j + 2] * s;
    acc[j + 3] += d[j + 3] * s;
  }
  for (; j < k; ++j) acc[j] += d[j] * s;
}

// One-pass running update of one observation of weight w, with W before and W' = W + w,
// f = 1/W', g = W f: the cross-product row of each variable with d = (x - mean) g w, then the
// sums of central powers from the highest down, each from the lower ones before the update
// (the weighted order-4 Welford update, the pair merge with a block of one observation:
// S4 += -4 delta w f S3 + 6 delta^2 (w f)^2 S2 + delta^4 w f^3 W (w^2 + W^2 - W w),
// S3 += -3 delta w f S2 + delta^3 w f^2 W (W - w), S2 += delta^2 w f W), raw moments and
// means as running means. Each variable's updates depend on no other variable, so one loop
// over the variables does them all.
template <class T, int kOrder, int kRaw, bool kMatrix, bool kWeighted>
void OnePass(const PassData<T>& in, Moments<T>& m, T* scratch, int64_t begin, int64_t end) {
  const int64_t k = in.k, stride = in.stride;
  const T* const* base = in.base;
  T* d = scratch;
  T *mean = m.mean, *r2 = m.raw, *r3 = r2 + k, *r4 = r3 + k;
  T *s2 = m.cen, *s3 = s2 + k, *s4 = s3 + k;
  T big_w = m.w, big_w2 = m.w2;
  for (int64_t obs = begin; obs < end; ++obs) {
    const T w = kWeighted ? in.weights[obs] : T(1);
    const T w1 = big_w + w;
    // A weight of 0 changes nothing; a total of 0 has no mean.
    if (kWeighted && (w == 0 || w1 == 0)) continue;
    const T f = T(1) / w1, g = big_w * f, wf = w * f;
    const int64_t at = obs * stride;
    if constexpr (kMatrix) {
      const T gw = g * w;
      for (int64_t a = 0; a < k; ++a) d[a] = base[a][at] - mean[a];
      for (int64_t a = 0; a < k; ++a) AddScaledRow(m.cross + a * k, d, d[a] * gw, a, k);
    }
    const T c2 = big_w * wf;
    const T c3 = wf * f * (big_w - w) * big_w;
    const T c4 = wf * f * f * (w * w + big_w * big_w - big_w * w) * big_w;
    for (int64_t a = 0; a < k; ++a) {
      const T xa = base[a][at];
      if constexpr (kOrder >= 2) {
        const T t = xa - mean[a], t2 = t * t;
        if constexpr (kOrder >= 4)
          s4[a] += (T(-4) * t * wf) * s3[a] + T(6) * t2 * wf * wf * s2[a] + t2 * t2 * c4;
        if constexpr (kOrder >= 3) s3[a] += (T(-3) * t * wf) * s2[a] + t2 * t * c3;
        s2[a] += t2 * c2;
      }
      if constexpr (kRaw >= 2) {
        const T x2 = xa * xa;
        r2[a] = r2[a] * g + x2 * wf;
        if constexpr (kRaw >= 4) {
          r3[a] = r3[a] * g + x2 * xa * wf;
          r4[a] = r4[a] * g + x2 * x2 * wf;
        }
      }
      mean[a] = mean[a] * g + xa * wf;
    }
    big_w = w1;
    big_w2 += w * w;
  }
  m.w = big_w;
  m.w2 = big_w2;
}

// Which sums a sum-form member adds: plain weighted sums of weights and powers, sums of
// powers of x - centre and their cross-products, or both at once.
enum SumKind { kPlainSums = 1, kCentredSums = 2, kBothSums = 3 };

template <class T, int kOrder, int kRaw, bool kMatrix, bool kWeighted, int kKind>
void Sums(const PassData<T>& in, Moments<T>& m, T* scratch, int64_t begin, int64_t end) {
  constexpr bool kPlain = (kKind & kPlainSums) != 0, kCentred = (kKind & kCentredSums) != 0;
  const int64_t k = in.k, stride = in.stride;
  const T* const* base = in.base;
  const T* centre = in.centre;
  T* d = scratch;
  T *sx = m.mean, *sx2 = m.raw, *sx3 = sx2 + k, *sx4 = sx3 + k;
  T *s2 = m.cen, *s3 = s2 + k, *s4 = s3 + k;
  T big_w = m.w, big_w2 = m.w2;
  for (int64_t obs = begin; obs < end; ++obs) {
    const T w = kWeighted ? in.weights[obs] : T(1);
    if (kWeighted && w == 0) continue;
    const int64_t at = obs * stride;
    if constexpr (kPlain) {
      big_w += w;
      big_w2 += w * w;
    }
    if constexpr (kCentred && kMatrix) {
      for (int64_t a = 0; a < k; ++a) d[a] = base[a][at] - centre[a];
      for (int64_t a = 0; a < k; ++a) AddScaledRow(m.cross + a * k, d, d[a] * w, a, k);
    }
    for (int64_t a = 0; a < k; ++a) {
      const T xa = base[a][at];
      if constexpr (kPlain) {
        sx[a] += w * xa;
        if constexpr (kRaw >= 2) {
          const T wx2 = w * xa * xa;
          sx2[a] += wx2;
          if constexpr (kRaw >= 4) {
            sx3[a] += wx2 * xa;
            sx4[a] += wx2 * xa * xa;
          }
        }
      }
      if constexpr (kCentred && kOrder >= 2) {
        const T t = xa - centre[a], wt2 = w * t * t;
        s2[a] += wt2;
        if constexpr (kOrder >= 3) s3[a] += wt2 * t;
        if constexpr (kOrder >= 4) s4[a] += wt2 * t * t;
      }
    }
  }
  m.w = big_w;
  m.w2 = big_w2;
}

// Member tables, indexed by MemberIndex.
constexpr int kOrders[] = {0, 2, 3, 4};
constexpr int kRawOrders[] = {0, 2, 4};
constexpr int kMembers = 48;

inline int MemberIndex(const Content& c, bool weighted) {
  const int order_rank = c.order == 0 ? 0 : c.order - 1;
  const int raw_rank = c.raw / 2;
  return order_rank * 12 + raw_rank * 4 + (c.matrix ? 2 : 0) + (weighted ? 1 : 0);
}

template <class T, size_t... I>
constexpr std::array<MemberFn<T>, kMembers> OnePassMembers(std::index_sequence<I...>) {
  return {{&OnePass<T, kOrders[I / 12], kRawOrders[I / 4 % 3], (I / 2) % 2 == 1, I % 2 == 1>...}};
}
template <class T, int kKind, size_t... I>
constexpr std::array<MemberFn<T>, kMembers> SumMembers(std::index_sequence<I...>) {
  return {{&Sums<T, kOrders[I / 12], kRawOrders[I / 4 % 3], (I / 2) % 2 == 1, I % 2 == 1,
                 kKind>...}};
}

template <class T>
MemberFn<T> OnePassMember(const Content& c, bool weighted) {
  static constexpr auto kTable = OnePassMembers<T>(std::make_index_sequence<kMembers>());
  return kTable[MemberIndex(c, weighted)];
}
template <class T, int kKind>
MemberFn<T> SumMember(const Content& c, bool weighted) {
  static constexpr auto kTable = SumMembers<T, kKind>(std::make_index_sequence<kMembers>());
  return kTable[MemberIndex(c, weighted)];
}

}  // namespace ss
}  // namespace rof

#endif  // QOR_STATISTICS_BASIC_MEMBERS_H_
