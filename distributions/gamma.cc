// Gamma variates by shape: the exponential at alpha = 1, rejection from a Weibull for
// 0.6 <= alpha < 1, a two-branch rejection below 0.6, and Marsaglia and Tsang's method above 1
// (and for a NaN shape), with a candidate carried in the stream between calls.
#include <limits>

#include "distributions/callbacks.h"
#include "distributions/carried_pair.h"
#include "distributions/frame.h"
#include "distributions/kernel_calls.h"
#include "distributions/two_groups.h"

namespace rof {
namespace dist {
namespace {

// Candidates judged per block.
inline constexpr int kBlock = 512;

template <class T>
inline constexpr T kWeibullFloor = T(0.6);
template <class T>
inline constexpr T kThird = std::is_same_v<T, double> ? T(0.3333333333333333) : T(0.33333334f);
template <class T>
inline constexpr T kSqueeze = T(0.0331);
template <class T>
inline constexpr T kTwoPi = std::is_same_v<T, double> ? T(6.283185307179586) : T(6.2831855f);
// Chunk ids of the carried candidate (u, z) of Marsaglia-Tsang.
template <class T>
inline constexpr uint32_t kCandidateChunk = std::is_same_v<T, double> ? 7 : 8;

inline int BlockOf(int left) { return left < kBlock ? left : kBlock; }

// g = (-ln u1)^(1/alpha), a Weibull variate, accepted if g <= -ln u1 - ln u2 - d, where d is
// the maximum of g^alpha - g.
template <class T>
int WeibullRejection(void* stream, int n, T* r, T alpha) {
  const T one_minus = T(1) - alpha;
  const T d = one_minus * ScalarExp(alpha * ScalarLn(alpha) / one_minus);
  const T inv_alpha = T(1) / alpha;
  T u[2 * kBlock], e[kBlock], t[kBlock];
  int status = ROF_STATUS_OK;
  for (int accepted = 0; accepted < n;) {
    const int block = BlockOf(n - accepted);
    status = Uniform(stream, 2 * block, u, T(0), T(1));
    if (status < 0) return status;
    BulkLn(2 * block, u);
    for (int i = 0; i < block; ++i) {
      e[i] = -u[2 * i];
      t[i] = -(u[2 * i] + u[2 * i + 1] + d);
    }
    BulkLn(block, e);
    for (int i = 0; i < block; ++i) e[i] *= inv_alpha;
    BulkExp(block, e);
    for (int i = 0; i < block; ++i)
      if (e[i] <= t[i]) r[accepted++] = e[i];
  }
  return status;
}

// In the variable s = g^alpha, whose density is proportional to exp(-g): a uniform proposal on
// [0, c) (group 0, u1 < c) and an exponential tail c - alpha ln y above it (group 1, with
// y = (1 - u1) / alpha uniform on (0, 1]), each accepted with u2 <= its density ratio.
template <class T>
int TwoBranchRejection(void* stream, int n, T* r, T alpha) {
  const T c = T(1) - alpha;
  const T inv_alpha = T(1) / alpha;
  T u[2 * kBlock], x1[kBlock];
  TwoGroups<T, kBlock> groups;
  int status = ROF_STATUS_OK;
  for (int accepted = 0; accepted < n;) {
    const int block = BlockOf(n - accepted);
    status = Uniform(stream, 2 * block, u, T(0), T(1));
    if (status < 0) return status;
    groups.Split(block, u, [c](T u1) { return u1 >= c; });

    const int k0 = groups.count[0];
    T* x0 = groups.first[0];
    T* w0 = groups.second[0];
    BulkLn(k0, x0);
    BulkLn(k0, w0);
    for (int i = 0; i < k0; ++i) x0[i] *= inv_alpha;
    BulkExp(k0, x0);
    for (int i = 0; i < k0; ++i) w0[i] = w0[i] + x0[i];

    const int k1 = groups.count[1];
    T* y = groups.first[1];
    T* w1 = groups.second[1];
    for (int i = 0; i < k1; ++i) y[i] = (T(1) - y[i]) / alpha;
    BulkLn(k1, y);
    BulkLn(k1, w1);
    for (int i = 0; i < k1; ++i) x1[i] = c - alpha * y[i];
    BulkLn(k1, x1);
    for (int i = 0; i < k1; ++i) x1[i] *= inv_alpha;
    BulkExp(k1, x1);
    for (int i = 0; i < k1; ++i) {
      w1[i] = y[i] + x1[i] + w1[i];
      y[i] = x1[i];
    }
    accepted += groups.Accept(block, r + accepted);
  }
  return status;
}

// m (even) normals z and acceptance uniforms u from 2m uniforms: of each four, the first is the
// radius input, the third the angle input, the second and fourth the acceptance uniforms.
template <class T>
int CandidatePairs(void* stream, int m, T* z, T* u) {
  T w[2 * kBlock], radius[kBlock / 2], angle[kBlock / 2], sine[kBlock / 2], cosine[kBlock / 2];
  const int status = Uniform(stream, 2 * m, w, T(0), T(1));
  if (status < 0) return status;
  const int pairs = m / 2;
  for (int g = 0; g < pairs; ++g) {
    radius[g] = w[4 * g];
    u[2 * g] = w[4 * g + 1];
    angle[g] = w[4 * g + 2] * kTwoPi<T>;
    u[2 * g + 1] = w[4 * g + 3];
  }
  RunKernel(Kernel<T>::SinCos(kBulkSlot<T>), pairs, angle, sine, cosine);
  BulkLn(pairs, radius);
  for (int g = 0; g < pairs; ++g) radius[g] *= T(-2);
  RunKernel(Kernel<T>::Sqrt(kBulkSlot<T>), pairs, radius, radius);
  for (int g = 0; g < pairs; ++g) {
    z[2 * g] = radius[g] * sine[g];
    z[2 * g + 1] = radius[g] * cosine[g];
  }
  return status;
}

// Marsaglia and Tsang: g = d v with v = (1 + c z)^3. Candidates come in pairs from the uniforms,
// so a block may hold one more than it judges; that one is carried to the next block, and at the
// end of the call into the stream's chunk, so a run gives one sequence however it is cut.
template <class T>
int MarsagliaTsang(void* stream, int n, T* r, T alpha) {
  if (n < 1) return ROF_STATUS_OK;
  if (alpha != alpha) {
    // No candidate is ever accepted for a NaN shape: the results are NaN.
    for (int i = 0; i < n; ++i) r[i] = std::numeric_limits<T>::quiet_NaN();
    return ROF_STATUS_OK;
  }
  int status;
  T* chunk = FindOrAddPair<T>(stream, kCandidateChunk<T>, &status);
  if (chunk == nullptr) return status;
  const T d = alpha - kThird<T>;
  const T c = static_cast<T>(1.0 / ScalarSqrt(9.0 * static_cast<double>(alpha) - 3.0));
  // Slot 0 holds the carried candidate; behind it up to kBlock new ones.
  T z[kBlock + 1], u[kBlock + 1];
  int carry = 0;
  if (chunk[0] >= T(0)) {
    u[0] = chunk[0];
    z[0] = chunk[1];
    chunk[0] = T(-1);
    carry = 1;
  }
  for (int accepted = 0; accepted < n;) {
    const int left = n - accepted;
    const int judge = BlockOf(left);
    int in_hand = carry;
    if (left > carry) {
      const int want = BlockOf(left - carry);
      const int m = want + (want & 1);
      status = CandidatePairs(stream, m, z + carry, u + carry);
      if (status < 0) {
        // The candidate taken from the chunk goes back: a failed call loses none.
        if (carry) {
          chunk[0] = u[0];
          chunk[1] = z[0];
        }
        return status;
      }
      in_hand += m;
    }
    for (int i = 0; i < judge; ++i) {
      const T zz = z[i] * z[i];
      const T t = c * z[i] + T(1);
      const T v = t * t * t;
      if (!(v > T(0))) continue;
      if (u[i] >= T(1) - kSqueeze<T> * (zz * zz) &&
          (ScalarLn(v) + (T(1) - v)) * d + T(0.5) * z[i] * z[i] <= ScalarLn(u[i]))
        continue;
      r[accepted++] = v * d;
    }
    carry = in_hand > judge ? 1 : 0;
    if (carry) {
      z[0] = z[in_hand - 1];
      u[0] = u[in_hand - 1];
    }
  }
  if (carry) {
    chunk[0] = u[0];
    chunk[1] = z[0];
  }
  return status;
}

inline int StandardExponential(void* stream, int n, double* r) {
  return _rofdRngExponential(0, stream, n, r, 0, 1);
}
inline int StandardExponential(void* stream, int n, float* r) {
  return _rofsRngExponential(0, stream, n, r, 0, 1);
}

template <class T>
int Gamma(int method, void* stream, int n, T* r, T alpha, T a, T beta) {
  GuardedFrame frame(Callbacks<T>::kLnSubstituteOnSingularity);
  int status;
  if (alpha <= T(1) && alpha == T(1)) {
    status = StandardExponential(stream, n, r);
  } else if (alpha < T(1) && alpha >= kWeibullFloor<T>) {
    status = WeibullRejection(stream, n, r, alpha);
  } else if (alpha < kWeibullFloor<T>) {
    status = TwoBranchRejection(stream, n, r, alpha);
  } else {
    status = MarsagliaTsang(stream, n, r, alpha);
  }
  if (status < 0) return status;
  ScaleAndShiftAbove(method, n, r, a, beta);
  return status;
}

}  // namespace
}  // namespace dist
}  // namespace rof

extern "C" {

QOR_API int _rofsRngGamma(int method, void* stream, int n, float r[], float alpha, float a,
                          float beta) {
  return rof::dist::Gamma(method, stream, n, r, alpha, a, beta);
}
QOR_API int _rofdRngGamma(int method, void* stream, int n, double r[], double alpha, double a,
                          double beta) {
  return rof::dist::Gamma(method, stream, n, r, alpha, a, beta);
}

}  // extern "C"
