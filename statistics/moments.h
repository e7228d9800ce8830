// The accumulators of one block of observations over the k processed variables, and the pair
// merge that joins two of them.
#ifndef QOR_STATISTICS_MOMENTS_H_
#define QOR_STATISTICS_MOMENTS_H_

#include <stdint.h>
#include <string.h>

namespace rof {
namespace ss {

// What the workers accumulate: central order 0, 2, 3 or 4, raw moments up to order 0, 2 or
// 4, the k by k cross-product (upper triangle).
struct Content {
  int order;
  int raw;
  bool matrix;
};

// In the running form, `mean` and `raw` are weighted means of x and of x^2..x^4, `cen` the
// sums of central powers around `mean`. In the sum form (plain and centred passes) the same
// arrays hold plain weighted sums.
template <class T>
struct Moments {
  T w;       // sum of weights
  T w2;      // sum of squared weights
  T* mean;   // k
  T* raw;    // 3k: orders 2, 3, 4
  T* cen;    // 3k: orders 2, 3, 4
  T* cross;  // k * k, row-major, j >= i used

  static int64_t Values(int64_t k) { return 7 * k + k * k; }
  // Lays the arrays over `values` (Values(k) of them) and zeroes them.
  void Attach(T* values, int64_t k) {
    w = w2 = 0;
    memset(values, 0, sizeof(T) * Values(k));
    mean = values;
    raw = mean + k;
    cen = raw + 3 * k;
    cross = cen + 3 * k;
  }
  void CopyFrom(const Moments& other, int64_t k) {
    w = other.w;
    w2 = other.w2;
    memcpy(mean, other.mean, sizeof(T) * Values(k));
  }
};

// Merges block b into a, which runs before it in observation order:
// W = wA + wB, f = 1/W, D = meanA - meanB. `d` holds k values of scratch.
template <class T>
void Merge(Moments<T>& a, const Moments<T>& b, int64_t k, Content c, T* d) {
  if (b.w == 0) return;
  if (a.w == 0) return a.CopyFrom(b, k);
  const T wa = a.w, wb = b.w;
  const T w = wa + wb;
  const T f = T(1) / w;
  for (int64_t i = 0; i < k; ++i) {
    const T D = a.mean[i] - b.mean[i];
    T* s = a.cen;
    const T* t = b.cen;
    const T s2a = s[i], s3a = s[k + i], s2b = t[i], s3b = t[k + i];
    if (c.order >= 4)
      s[2 * k + i] = s[2 * k + i] + t[2 * k + i] + D * 4 * f * (s3a * wb - s3b * wa) +
                     D * D * f * f *
                         ((s2b * wa * wa + s2a * wb * wb) * 6 +
                          ((wb * wb + wa * wa - wa * wb) * wa * wb * f) * D * D);
    if (c.order >= 3)
      s[k + i] = s3a + s3b + ((s2a * wb - s2b * wa) * 3 * f + D * f * D * f * (wb - wa) * wa * wb) * D;
    if (c.order >= 2) s[i] = s2a + s2b + D * D * wa * wb * f;
    for (int r = 0; r + 2 <= c.raw; ++r)
        a.raw[r * k + i] = (a.raw[r * k + i] * wa + b.raw[r * k + i] * wb) * f;
    a.mean[i] = (a.mean[i] * wa + b.mean[i] * wb) * f;
    d[i] = D;
  }
  if (c.matrix) {
    const T scale = wa * wb * f;
    for (int64_t i = 0; i < k; ++i)
      for (int64_t j = i; j < k; ++j)
        a.cross[i * k + j] += b.cross[i * k + j] + d[i] * d[j] * scale;
  }
  a.w = w;
  a.w2 += b.w2;
}

}  // namespace ss
}  // namespace rof

#endif  // QOR_STATISTICS_MOMENTS_H_
