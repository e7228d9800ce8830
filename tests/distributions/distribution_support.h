// Shared by the distribution tests: streams, a scripted generator, frame and fit checks, kernels.
#ifndef QOR_TESTS_DISTRIBUTIONS_DISTRIBUTION_SUPPORT_H_
#define QOR_TESTS_DISTRIBUTIONS_DISTRIBUTION_SUPPORT_H_

#include <math.h>
#include <stdint.h>
#include <stdlib.h>
#include <xmmintrin.h>

#include <functional>
#include <limits>
#include <numeric>
#include <type_traits>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "qor/rof.h"
#include "qor/tem.h"
#include "tests/common/test_stream.h"

namespace dist_test {
using RealTypes = ::testing::Types<float, double>;

// Calls the float or the double entry of a generator, as T says.
template <class T, class S, class D, class... A>
auto Call(S float_entry, D double_entry, A&&... args) {
  if constexpr (std::is_same_v<T, double>) return double_entry(std::forward<A>(args)...);
  else return float_entry(std::forward<A>(args)...);
}

// n uniforms on [a, b) straight from an MT19937 stream.
template <class T>
std::vector<T> Uniforms(void* stream, int n, T a, T b) {
  std::vector<T> u(n);
  Call<T>(__rofsBRngMT19937, __rofdBRngMT19937, stream, n, u.data(), a, b);
  return u;
}

// n Gaussian numbers of mean a and deviation sigma by `method`.
template <class T>
int Gaussian(int method, void* stream, int n, T* r, T a, T sigma) {
  return Call<T>(_rofsRngGaussian, _rofdRngGaussian, method, stream, n, r, a, sigma);
}

// A generator returning a + (b - a) * u for the script's u (cycling), or a negative `status`.
struct Script {
  std::vector<double> uniforms;
  int status = ROF_STATUS_OK;
  size_t position = 0;
  long long drawn = 0;  // values delivered in all
  long long calls = 0;  // function calls, empty and failing ones included
};
Script& CurrentScript();
class ScriptedStream : public TestStream {
 public:
  explicit ScriptedStream(std::vector<double> uniforms, int status = ROF_STATUS_OK);
};

// The thread's mode and callback, to compare before and after a call.
struct ThreadFrame {
  unsigned int mode = qor_tem_kernel_GetMode();
  temErrorCallBack callback = qor_tem_kernel_GetErrorCallBack();
  bool operator==(const ThreadFrame& o) const { return mode == o.mode && callback == o.callback; }
};

// ln of the smallest subnormal: what a generator's logarithm of 0 becomes.
template <class T>
double LnOfZero() {
  return log(double(std::numeric_limits<T>::denorm_min()));
}

template <class T>
using Draw = std::function<int(void* stream, int n, T* r)>;

// A failing stream's status comes back with nothing written; after it and after a success the
// thread's mode, callback and MXCSR masks are the caller's.
template <class T>
void ExpectFailureAndFrame(const Draw<T>& draw) {
  const unsigned int caller_mxcsr = _mm_getcsr();
  _mm_setcsr(caller_mxcsr & ~0x0100u);  // denormal operands unmasked: the call masks them
  const unsigned int mxcsr = _mm_getcsr();
  const ThreadFrame before;
  std::vector<T> r(1030, T(7));
  {
    ScriptedStream failing({0.5}, ROF_STATUS_BAD_ARGS);
    EXPECT_EQ(draw(failing, 1030, r.data()), ROF_STATUS_BAD_ARGS);
  }
  EXPECT_EQ(r, std::vector<T>(1030, T(7))) << "written by a failing call";
  EXPECT_TRUE(ThreadFrame() == before) << "after a failure";
  TestStream s;
  EXPECT_EQ(draw(s, 1030, r.data()), ROF_STATUS_OK);
  EXPECT_TRUE(ThreadFrame() == before) << "after a success";
  EXPECT_EQ(_mm_getcsr() & 0xFFC0u, mxcsr & 0xFFC0u) << "MXCSR control bits";
  _mm_setcsr(caller_mxcsr);
}

// A run drawn whole and drawn in calls of each cut's lengths gives one sequence.
template <class T>
void ExpectCutsAgree(const Draw<T>& draw, const std::vector<std::vector<int>>& cuts) {
  for (const std::vector<int>& cut : cuts) {
    const int total = std::accumulate(cut.begin(), cut.end(), 0);
    TestStream whole, pieces;
    std::vector<T> expect(total), got(total);
    ASSERT_EQ(draw(whole, total, expect.data()), ROF_STATUS_OK);
    for (int k = 0, at = 0; k < int(cut.size()); at += cut[k++])
      ASSERT_EQ(draw(pieces, cut[k], got.data() + at), ROF_STATUS_OK);
    EXPECT_EQ(got, expect) << cut.size() << " calls, " << total << " values";
  }
}

// p-value of the one-sample Kolmogorov-Smirnov test (Stephens' small-sample correction).
double KolmogorovSmirnovPValue(std::vector<double> sample, const std::function<double(double)>& cdf);

template <class T>
void ExpectFit(const std::vector<T>& sample, const std::function<double(double)>& cdf) {
  EXPECT_GT(KolmogorovSmirnovPValue(std::vector<double>(sample.begin(), sample.end()), cdf), 1e-4);
}

// kDraws for the `heavy` double cases and in the full suite, kDraws / 20 otherwise.
inline constexpr int kDraws = 1000000;
template <class T>
int DrawsFor(bool heavy) {
#ifndef QOR_FULL_TESTS
  if (!(heavy && std::is_same_v<T, double>) && !getenv("QOR_FULL_TESTS")) return kDraws / 20;
#endif
  return kDraws;
}

// Generator transforms recomputed through the exported kernels (EP double, LA float).
template <class T, class S, class D, class... B>
std::vector<T> InBulkSlot(S float_kernel, D double_kernel, std::vector<T> x, B... b) {
  const unsigned int mode = qor_tem_kernel_SetMode(
      (std::is_same_v<T, double> ? TEM_EP : TEM_LA) | TEM_FTZDAZ_OFF | TEM_ERRMODE_IGNORE);
  Call<T>(float_kernel, double_kernel, static_cast<int>(x.size()), x.data(), b..., x.data());
  qor_tem_kernel_SetMode(mode);
  return x;
}

#define DIST_TEST_UNARY(stem)                              \
  template <class T>                                       \
  std::vector<T> stem(std::vector<T> x) {                  \
    return InBulkSlot(_tems##stem, _temd##stem, std::move(x)); \
  }
DIST_TEST_UNARY(Ln)
DIST_TEST_UNARY(Sqrt)
DIST_TEST_UNARY(Sin)
DIST_TEST_UNARY(Cos)
DIST_TEST_UNARY(Exp)
DIST_TEST_UNARY(Tan)
DIST_TEST_UNARY(ErfInv)
#undef DIST_TEST_UNARY

template <class T>
std::vector<T> Powx(std::vector<T> x, T b) {
  return InBulkSlot(_temsPowx, _temdPowx, std::move(x), b);
}
}  // namespace dist_test

#endif  // QOR_TESTS_DISTRIBUTIONS_DISTRIBUTION_SUPPORT_H_
