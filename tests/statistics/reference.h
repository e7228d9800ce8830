// Reference of the basic estimates: two passes in long double over the variables.
#ifndef QOR_TESTS_STATISTICS_REFERENCE_H_
#define QOR_TESTS_STATISTICS_REFERENCE_H_

#include <math.h>
#include <stdint.h>

#include <vector>

namespace ss_test {
using Real = long double;

// Observations of p variables, n of them, as one would hold them in either storage.
struct Sample {
  int64_t p = 0, n = 0;
  bool columns = false;
  std::vector<double> x;        // rows: x[v * n + i]; columns: x[i * p + v]
  std::vector<double> weights;  // empty: all 1
  double At(int64_t v, int64_t i) const { return columns ? x[i * p + v] : x[v * n + i]; }
  double Weight(int64_t i) const { return weights.empty() ? 1.0 : weights[i]; }
};

struct Reference {
  Real w = 0, w2 = 0;
  std::vector<Real> mean, raw[3], cen[3];  // raw: means of x^2..x^4; cen: sums of (x-m)^2..4
  std::vector<Real> abs_raw[4];            // weighted means of |x|^1..4, error scales
  std::vector<Real> abs_cen[3];            // sums of w (|x-m| + slack |x|)^2..4, error scales
  std::vector<Real> cross;                 // p by p
  int64_t p = 0;

  Real CenMom(int order, int64_t v) const {
    const Real s = cen[order - 2][v];
    return order == 2 ? s * w / (w * w - w2) : s / w;
  }
  // W - W2 / W, exactly 0 for a single observation.
  Real CovDivisor() const { return (w * w - w2) / w; }
  Real Cov(int64_t a, int64_t b) const { return cross[a * p + b] / CovDivisor(); }
};

// Reference of all chunks together; `centre` replaces the mean; `slack` widens the central
// sums' scales by a computed mean's rounding, which decides them for constant variables.
inline Reference Compute(const std::vector<const Sample*>& chunks, const double* centre,
                         Real slack = 0) {
  Reference r;
  const int64_t p = chunks[0]->p;
  r.p = p;
  r.mean.assign(p, 0);
  for (auto* group : {r.raw, r.cen, r.abs_cen})
    for (int k = 0; k < 3; ++k) group[k].assign(p, 0);
  for (auto& v : r.abs_raw) v.assign(p, 0);
  r.cross.assign(p * p, 0);
  for (const Sample* s : chunks)
    for (int64_t i = 0; i < s->n; ++i) {
      const Real w = s->Weight(i);
      r.w += w;
      r.w2 += w * w;
      for (int64_t v = 0; v < p; ++v) {
        const Real x = s->At(v, i);
        r.mean[v] += w * x;
        Real power = x * x, abs_power = fabsl(x);
        for (int k = 0; k < 3; ++k, power *= x) r.raw[k][v] += w * power;
        for (int k = 0; k < 4; ++k, abs_power *= fabsl(x)) r.abs_raw[k][v] += w * abs_power;
      }
    }
  for (int64_t v = 0; v < p; ++v) {
    r.mean[v] /= r.w;
    for (int k = 0; k < 3; ++k) r.raw[k][v] /= r.w;
    for (int k = 0; k < 4; ++k) r.abs_raw[k][v] /= r.w;
  }
  std::vector<Real> c(p);
  for (int64_t v = 0; v < p; ++v) c[v] = centre ? Real(centre[v]) : r.mean[v];
  std::vector<Real> d(p);
  for (const Sample* s : chunks)
    for (int64_t i = 0; i < s->n; ++i) {
      const Real w = s->Weight(i);
      for (int64_t v = 0; v < p; ++v) {
        const Real x = s->At(v, i);
        d[v] = x - c[v];
        const Real e = fabsl(d[v]) + slack * fabsl(x);
        Real power = d[v] * d[v], abs_power = e * e;
        for (int k = 0; k < 3; ++k, power *= d[v], abs_power *= e) {
          r.cen[k][v] += w * power;
          r.abs_cen[k][v] += w * abs_power;
        }
      }
      for (int64_t a = 0; a < p; ++a)
        for (int64_t b = a; b < p; ++b) r.cross[a * p + b] += w * d[a] * d[b];
    }
  for (int64_t a = 0; a < p; ++a)
    for (int64_t b = 0; b < a; ++b) r.cross[a * p + b] = r.cross[b * p + a];
  return r;
}
}  // namespace ss_test

#endif  // QOR_TESTS_STATISTICS_REFERENCE_H_
