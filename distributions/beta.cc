// Beta variates by shape: Johnk's method and Atkinson and Whittaker's switching method for both
// shapes below 1, Atkinson's switching method (direct or mirrored) for one below and one above
// 1, Cheng's BB for both above 1, and a power of a uniform when a shape is 1.
#include "distributions/callbacks.h"
#include "distributions/frame.h"
#include "distributions/kernel_calls.h"
#include "distributions/two_groups.h"

namespace rof {
namespace dist {
namespace {

// Pairs of uniforms per block.
inline constexpr int kPairs = 512;

// The line q = 0.9562409713408151 - 0.8522552176537243 p^2 that divides Johnk's method from
// the Atkinson-Whittaker method.
template <class T>
inline constexpr T kJohnkIntercept =
    std::is_same_v<T, double> ? T(0.9562409713408151) : T(0.95624095f);
template <class T>
inline constexpr T kJohnkSlope = static_cast<T>(0.8522552176537243);
template <class T>
inline constexpr T kLnFour = std::is_same_v<T, double> ? T(1.3862943611198906) : T(1.3862944f);

inline int PairsOf(int left) { return left < kPairs ? left : kPairs; }

// x = u1^(1/p), y = u2^(1/q); x / (x + y) is accepted when x + y <= 1.
template <class T>
int Johnk(void* stream, int n, T* r, T p, T q) {
  const T inv_p = T(1) / p, inv_q = T(1) / q;
  T u[2 * kPairs];
  int status = ROF_STATUS_OK;
  for (int accepted = 0; accepted < n;) {
    const int pairs = PairsOf(n - accepted);
    status = Uniform(stream, 2 * pairs, u, T(0), T(1));
    if (status < 0) return status;
    BulkLn(2 * pairs, u);
    for (int i = 0; i < pairs; ++i) {
      u[2 * i] *= inv_p;
      u[2 * i + 1] *= inv_q;
    }
    BulkExp(2 * pairs, u);
    for (int i = 0; i < pairs; ++i) {
      const T s = u[2 * i] + u[2 * i + 1];
      if (s <= T(1) && s > T(0)) r[accepted++] = u[2 * i] / s;
    }
  }
  return status;
}

// Atkinson's switching envelope for shapes a < 1 and b, split at t: below t a power law
// A u1^(1/a) (probability r0), above it 1 - B (1 - u1)^(1/b). `lower_scale` is the bound of
// (1 - x)^(b - 1) on [0, t] that the left test divides by: 1 for b > 1, 1 - t for b < 1.
template <class T>
struct Envelope {
  T a, b, t, r0, ln_a, ln_b, lower_scale;
};

template <class T>
int Atkinson(void* stream, int n, T* r, const Envelope<T>& e, bool mirrored) {
  const T inv_a = T(1) / e.a, inv_b = T(1) / e.b;
  T u[2 * kPairs], y[kPairs];
  TwoGroups<T, kPairs> groups;
  int status = ROF_STATUS_OK;
  for (int accepted = 0; accepted < n;) {
    const int pairs = PairsOf(n - accepted);
    status = Uniform(stream, 2 * pairs, u, T(0), T(1));
    if (status < 0) return status;
    const T r0 = e.r0;
    groups.Split(pairs, u, [r0](T u1) { return r0 < u1; });

    // Group 0: x = exp(ln u1 / a + ln A), test ln u2 + (1 - b) ln((1 - x) / lower_scale).
    const int k0 = groups.count[0];
    T* x0 = groups.first[0];
    T* w0 = groups.second[0];
    BulkLn(k0, x0);
    BulkLn(k0, w0);
    for (int i = 0; i < k0; ++i) x0[i] = x0[i] * inv_a + e.ln_a;
    BulkExp(k0, x0);
    for (int i = 0; i < k0; ++i) y[i] = (T(1) - x0[i]) / e.lower_scale;
    BulkLn(k0, y);
    for (int i = 0; i < k0; ++i) w0[i] = w0[i] + (T(1) - e.b) * y[i];

    // Group 1: x = 1 - exp(ln(1 - u1) / b + ln B), test ln u2 + (1 - a) ln(x / t).
    const int k1 = groups.count[1];
    T* x1 = groups.first[1];
    T* w1 = groups.second[1];
    for (int i = 0; i < k1; ++i) x1[i] = T(1) - x1[i];
    BulkLn(k1, x1);
    BulkLn(k1, w1);
    for (int i = 0; i < k1; ++i) x1[i] = x1[i] * inv_b + e.ln_b;
    BulkExp(k1, x1);
    for (int i = 0; i < k1; ++i) {
      x1[i] = T(1) - x1[i];
      y[i] = x1[i] / e.t;
    }
    BulkLn(k1, y);
    for (int i = 0; i < k1; ++i) w1[i] = w1[i] + (T(1) - e.a) * y[i];

    const int stored = groups.Accept(pairs, r + accepted);
    if (mirrored)
      for (int i = accepted; i < accepted + stored; ++i) r[i] = T(1) - r[i];
    accepted += stored;
  }
  return status;
}

// Completes an envelope from a, b, t and r0: ln A = ln t - ln(r0) / a and
// ln B = ln(1 - t) - ln(1 - r0) / b.
template <class T>
Envelope<T> WithBounds(T a, T b, T t, T r0, T lower_scale) {
  const T ln_a = ScalarLn(t) - ScalarLn(r0) / a;
  const T ln_b = ScalarLn(T(1) - t) - ScalarLn(T(1) - r0) / b;
  return {a, b, t, r0, ln_a, ln_b, lower_scale};
}

// a < 1 < b: t = (1 - a) / (b + 1 - a), r0 = t b / (a (1 - t)^b + t b).
template <class T>
Envelope<T> AtkinsonEnvelope(T a, T b) {
  const T t = (T(1) - a) / (b + T(1) - a);
  const T h = a * ScalarExp(b * ScalarLn(T(1) - t)) + t * b;
  return WithBounds(a, b, t, t * b / h, T(1));
}

// Both below 1: t = sqrt(a(1-a)) / (sqrt(a(1-a)) + sqrt(b(1-b))), r0 = b t / (a (1-t) + b t).
template <class T>
Envelope<T> WhittakerEnvelope(T a, T b) {
  T roots[2] = {a * (T(1) - a), b * (T(1) - b)};
  RunKernel(Kernel<T>::Sqrt(kHA), 2, roots, roots);
  const T t = roots[0] / (roots[0] + roots[1]);
  const T r0 = b * t / (a * (T(1) - t) + b * t);
  return WithBounds(a, b, t, r0, T(1) - t);
}

// Cheng's BB with v = b ln(u1 / (1 - u1)) and w = e^v; x = p w / (p w + q).
template <class T>
int ChengBB(void* stream, int n, T* r, T p, T q) {
  const T s = p + q;
  const T b = ScalarSqrt((s - T(2)) / (T(2) * p * q - s));
  const T g = p + T(1) / b;
  const T k = s * ScalarLn(s) - kLnFour<T>;
  T u[2 * kPairs], v[kPairs], z[kPairs], w[kPairs];
  int status = ROF_STATUS_OK;
  for (int accepted = 0; accepted < n;) {
    const int pairs = PairsOf(n - accepted);
    status = Uniform(stream, 2 * pairs, u, T(0), T(1));
    if (status < 0) return status;
    for (int i = 0; i < pairs; ++i) v[i] = T(1) - u[2 * i];
    BulkLn(2 * pairs, u);
    BulkLn(pairs, v);
    for (int i = 0; i < pairs; ++i) {
      v[i] = (u[2 * i] - v[i]) * b;
      z[i] = T(2) * u[2 * i] + u[2 * i + 1];
      w[i] = v[i];
    }
    BulkExp(pairs, w);
    for (int i = 0; i < pairs; ++i) {
      w[i] = w[i] * p;
      u[i] = w[i] + q;  // the logs of this pair are no longer needed
    }
    BulkLn(pairs, u);
    for (int i = 0; i < pairs; ++i)
      if ((v[i] * g - (u[i] * s + z[i])) + k >= T(0)) r[accepted++] = w[i] / (w[i] + q);
  }
  return status;
}

// u^(1/shape), or 1 - u^(1/shape) when `complement`; no rejection.
template <class T>
int UniformPower(void* stream, int n, T* r, T shape, bool complement) {
  const int status = Uniform(stream, n, r, T(0), T(1));
  if (status < 0) return status;
  BulkLn(n, r);
  const T inv = T(1) / shape;
  for (int i = 0; i < n; ++i) r[i] *= inv;
  BulkExp(n, r);
  if (complement)
    for (int i = 0; i < n; ++i) r[i] = T(1) - r[i];
  return status;
}

// The accurate form's clamp into the support: min(top, max(a, x)).
template <class T>
void ClampTo(T a, T top, int n, T* r) {
  for (int i = 0; i < n; ++i) {
    const T raised = r[i] < a ? a : r[i];
    r[i] = raised > top ? top : raised;
  }
}

template <class T>
int Beta(int method, void* stream, int n, T* r, T p, T q, T a, T beta) {
  GuardedFrame frame(Callbacks<T>::kLnSubstituteOnSingularity);
  int status;
  if (p < T(1) && q < T(1)) {
    if (q - kJohnkIntercept<T> + kJohnkSlope<T> * p * p <= T(0))
      status = Johnk(stream, n, r, p, q);
    else
      status = Atkinson(stream, n, r, WhittakerEnvelope(p, q), false);
  } else if (p < T(1) && q > T(1)) {
    status = Atkinson(stream, n, r, AtkinsonEnvelope(p, q), false);
  } else if (p > T(1) && q < T(1)) {
    status = Atkinson(stream, n, r, AtkinsonEnvelope(q, p), true);
  } else if (p > T(1) && q > T(1)) {
    status = ChengBB(stream, n, r, p, q);
  } else if (p == T(1)) {
    status = UniformPower(stream, n, r, q, true);
  } else if (q == T(1)) {
    status = UniformPower(stream, n, r, p, false);
  } else {
    // Only a NaN shape comes here: a uniform over the support.
    const T top = a + beta;
    status = Uniform(stream, n, r, a, top);
    if (status >= 0 && (method & ROF_ACCURATE_BIT)) ClampTo(a, top, n, r);
    return status;
  }
  if (status < 0) return status;
  ScaleAndShift(n, r, a, beta);
  if (method & ROF_ACCURATE_BIT) ClampTo(a, a + beta, n, r);
  return status;
}

}  // namespace
}  // namespace dist
}  // namespace rof

extern "C" {

QOR_API int _rofsRngBeta(int method, void* stream, int n, float r[], float p, float q, float a,
                         float beta) {
  return rof::dist::Beta(method, stream, n, r, p, q, a, beta);
}
QOR_API int _rofdRngBeta(int method, void* stream, int n, double r[], double p, double q,
                         double a, double beta) {
  return rof::dist::Beta(method, stream, n, r, p, q, a, beta);
}

}  // extern "C"
