// Shared by the distribution tests: streams, a scripted generator, dispatch, fit checks.
#ifndef QOR_TESTS_DISTRIBUTIONS_DISTRIBUTION_SUPPORT_H_
#define QOR_TESTS_DISTRIBUTIONS_DISTRIBUTION_SUPPORT_H_

#include <stdint.h>

#include <functional>
#include <numeric>
#include <type_traits>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "qor/rof.h"
#include "qor/tem.h"

namespace dist_test {
using RealTypes = ::testing::Types<float, double>;

// Calls the float or the double entry of a generator, as T says.
template <class T, class S, class D, class... A>
auto Call(S float_entry, D double_entry, A&&... args) {
  if constexpr (std::is_same_v<T, double>) return double_entry(std::forward<A>(args)...);
  else return float_entry(std::forward<A>(args)...);
}

// A stream of `brng` seeded with one word, deleted at the end of the scope.
class TestStream {
 public:
  explicit TestStream(int brng = ROF_BRNG_MT19937, uint32_t seed = 7777);
  ~TestStream();
  TestStream(const TestStream&) = delete;
  TestStream& operator=(const TestStream&) = delete;
  operator void*() const { return stream_; }
  void* get() const { return stream_; }

 private:
  void* stream_ = nullptr;
};

// n uniforms on [a, b) straight from an MT19937 stream.
template <class T>
std::vector<T> Uniforms(void* stream, int n, T a, T b) {
  std::vector<T> u(n);
  Call<T>(__rofsBRngMT19937, __rofdBRngMT19937, stream, n, u.data(), a, b);
  return u;
}

// A generator returning a + (b - a) * u for the script's u (cycling), or a negative `status`.
struct Script {
  std::vector<double> uniforms;
  int status = ROF_STATUS_OK;
  size_t position = 0;
  long long drawn = 0;  // values delivered in all
  long long calls = 0;  // number function calls, empty and failing ones included
};
Script& CurrentScript();
int ScriptedBrng();
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

// A run drawn whole and drawn in calls of each cut's lengths gives one sequence.
template <class T>
void ExpectCutsAgree(const std::function<int(void* stream, int n, T* r)>& draw,
                     const std::vector<std::vector<int>>& cuts) {
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

// Sample mean and variance within `z` standard errors of the exact ones.
struct Moments { double mean, variance, excess_kurtosis; };
void ExpectMoments(const std::vector<double>& sample, const Moments& exact, double z = 5);

inline constexpr double kMinPValue = 1e-4;
inline constexpr int kDraws = 1000000;

template <class T>
std::vector<double> Widened(const std::vector<T>& values) {
  return std::vector<double>(values.begin(), values.end());
}

// Expects a KS fit of `sample` to `cdf` and, when given, its moments.
template <class T>
void ExpectFit(const std::vector<T>& sample, const std::function<double(double)>& cdf,
               const Moments* moments) {
  const std::vector<double> x = Widened(sample);
  EXPECT_GT(KolmogorovSmirnovPValue(x, cdf), kMinPValue);
  if (moments != nullptr) ExpectMoments(x, *moments);
}
}  // namespace dist_test

#endif  // QOR_TESTS_DISTRIBUTIONS_DISTRIBUTION_SUPPORT_H_
