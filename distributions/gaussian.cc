// Normal variates by Box-Muller, by Box-Muller with the second value of a pair carried between
// calls, and by the inverse error function.
#include "distributions/callbacks.h"
#include "distributions/carried_pair.h"
#include "distributions/frame.h"

namespace rof {
namespace dist {
namespace {

inline constexpr int kBlock = 1024;

template <class T>
inline constexpr T kTwoPi = std::is_same_v<T, double> ? T(6.283185307179586) : T(6.2831855f);
template <class T>
inline constexpr T kSqrtTwo = std::is_same_v<T, double> ? T(1.4142135623730951) : T(1.4142135f);
// Chunk ids of the carried pair of Box-Muller2.
template <class T>
inline constexpr uint32_t kPairChunk = std::is_same_v<T, double> ? 2 : 1;

// radius = sqrt(-2 ln u) in place, through the bulk kernels.
template <class T>
void Radii(int n, T* u) {
  RunKernel(Kernel<T>::Ln(kBulkSlot<T>), n, u, u);
  for (int i = 0; i < n; ++i) u[i] *= T(-2);
  RunKernel(Kernel<T>::Sqrt(kBulkSlot<T>), n, u, u);
}

// Even-indexed uniforms to `radius`, odd-indexed ones times 2 pi to `angle`.
template <class T>
void Deinterleave(int pairs, const T* uniforms, T* radius, T* angle) {
  for (int i = 0; i < pairs; ++i) {
    radius[i] = uniforms[2 * i];
    angle[i] = uniforms[2 * i + 1] * kTwoPi<T>;
  }
}

template <class T>
int BoxMuller(void* stream, int n, T* r, T a, T sigma) {
  if (n < 1) return ROF_STATUS_OK;
  T uniforms[2 * kBlock], radius[kBlock], angle[kBlock];
  int status = ROF_STATUS_OK;
  for (int done = 0; done < n;) {
    const int block = n - done < kBlock ? n - done : kBlock;
    status = Uniform(stream, 2 * block, uniforms, T(0), T(1));
    if (status < 0) return status;
    Deinterleave(block, uniforms, radius, angle);
    RunKernel(Kernel<T>::Sin(kBulkSlot<T>), block, angle, angle);
    Radii(block, radius);
    for (int i = 0; i < block; ++i) r[done + i] = radius[i] * sigma * angle[i] + a;
    done += block;
  }
  return status;
}

// `pairs` pairs of uniforms become 2 * pairs results: radius times sine, radius times cosine.
template <class T>
int BoxMullerPairs(void* stream, int pairs, T* r) {
  T uniforms[kBlock], radius[kBlock / 2], angle[kBlock / 2], sine[kBlock / 2], cosine[kBlock / 2];
  const int status = Uniform(stream, 2 * pairs, uniforms, T(0), T(1));
  if (status < 0) return status;
  Deinterleave(pairs, uniforms, radius, angle);
  RunKernel(Kernel<T>::SinCos(kBulkSlot<T>), pairs, angle, sine, cosine);
  Radii(pairs, radius);
  for (int i = 0; i < pairs; ++i) {
    r[2 * i] = radius[i] * sine[i];
    r[2 * i + 1] = radius[i] * cosine[i];
  }
  return status;
}

// Each pair of uniforms gives two results in a fixed order, so a run gives the same sequence
// however it is cut into calls: an odd call delivers the sine half and leaves the raw pair in
// the stream's chunk; the next call starts with its cosine half.
template <class T>
int BoxMuller2(void* stream, int n, T* r, T a, T sigma) {
  int status;
  T* debt = FindOrAddPair<T>(stream, kPairChunk<T>, &status);
  if (debt == nullptr) return status;
  int k = 0;
  if (!(debt[0] == T(-1))) {
    debt[1] *= kTwoPi<T>;
    RunKernel(Kernel<T>::Cos(kBulkSlot<T>), 1, &debt[1], &debt[1]);
    Radii(1, &debt[0]);
    r[0] = debt[0] * debt[1];
    k = 1;
  }
  const int left = n - k;
  for (int block = 0; block < left / kBlock; ++block, k += kBlock) {
    status = BoxMullerPairs(stream, kBlock / 2, r + k);
    if (status < 0) return status;
  }
  const int even = (left - left / kBlock * kBlock) & ~1;
  if (even > 0) {
    status = BoxMullerPairs(stream, even / 2, r + k);
    if (status < 0) return status;
    k += even;
  }
  if (left % 2 == 1) {
    status = Uniform(stream, 2, debt, T(0), T(1));
    if (status < 0) return status;
    T radius = debt[0], angle = debt[1] * kTwoPi<T>;
    RunKernel(Kernel<T>::Sin(kBulkSlot<T>), 1, &angle, &angle);
    Radii(1, &radius);
    r[k] = radius * angle;
  } else {
    debt[0] = debt[1] = T(-1);
  }
  ScaleAndShift(n, r, a, sigma);
  return status;
}

template <class T>
int InverseCdf(void* stream, int n, T* r, T a, T sigma) {
  const int status = Uniform(stream, n, r, T(-1), T(1));
  if (status < 0) return status;
  RunKernel(Kernel<T>::ErfInv(kBulkSlot<T>), n, r, r);
  const T scale = sigma * kSqrtTwo<T>;
  for (int i = 0; i < n; ++i) r[i] = r[i] * scale + a;
  return status;
}

template <class T>
using Worker = int (*)(void*, int, T*, T, T);
template <class T>
inline constexpr Worker<T> kWorkers[3] = {BoxMuller<T>, BoxMuller2<T>, InverseCdf<T>};

template <class T>
int Gaussian(int method, void* stream, int n, T* r, T a, T sigma) {
  const unsigned int index = static_cast<unsigned int>(method & ~ROF_ACCURATE_BIT);
  if (index >= 3) return ROF_STATUS_BAD_METHOD;
  GuardedFrame frame(Callbacks<T>::kGaussian);
  return kWorkers<T>[index](stream, n, r, a, sigma);
}

}  // namespace
}  // namespace dist
}  // namespace rof

extern "C" {

QOR_API int _rofsRngGaussian(int method, void* stream, int n, float r[], float a, float sigma) {
  return rof::dist::Gaussian(method, stream, n, r, a, sigma);
}
QOR_API int _rofdRngGaussian(int method, void* stream, int n, double r[], double a,
                             double sigma) {
  return rof::dist::Gaussian(method, stream, n, r, a, sigma);
}

}  // extern "C"
