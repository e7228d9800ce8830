// Shared by the distribution tests: seeded streams, a scripted generator whose uniforms the
// test chooses, and the goodness-of-fit checks (Kolmogorov-Smirnov, moments).
#ifndef QOR_TESTS_DISTRIBUTIONS_DISTRIBUTION_SUPPORT_H_
#define QOR_TESTS_DISTRIBUTIONS_DISTRIBUTION_SUPPORT_H_

#include <stdint.h>

#include <functional>
#include <vector>

#include "gtest/gtest.h"
#include "qor/rof.h"
#include "qor/tem.h"

namespace dist_test {

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

// A generator whose number functions return a + (b - a) * u for the next values u of the
// script (cycling), or `status` without writing when it is negative. The integer function
// writes the script's values cut to 32 bits.
struct Script {
  std::vector<double> uniforms;
  int status = ROF_STATUS_OK;
  size_t position = 0;
  long long drawn = 0;  // values delivered in all
  long long calls = 0;  // number function calls, empty and failing ones included
};
Script& CurrentScript();
// The family id of the scripted generator (registered on first use).
int ScriptedBrng();
// A stream of the scripted generator with the script set to `uniforms`.
class ScriptedStream : public TestStream {
 public:
  explicit ScriptedStream(std::vector<double> uniforms, int status = ROF_STATUS_OK);
};

// The thread's mode and callback before a call, to compare with after it.
struct ThreadFrame {
  unsigned int mode = qor_tem_kernel_GetMode();
  temErrorCallBack callback = qor_tem_kernel_GetErrorCallBack();
  bool operator==(const ThreadFrame& o) const { return mode == o.mode && callback == o.callback; }
};

// p-value of the one-sample Kolmogorov-Smirnov test of `sample` against `cdf` (Stephens'
// small-sample correction of the asymptotic distribution).
double KolmogorovSmirnovPValue(std::vector<double> sample, const std::function<double(double)>& cdf);

// Expects the sample mean and variance within `z` standard errors of the exact ones; the
// variance's standard error needs the excess kurtosis.
struct Moments {
  double mean;
  double variance;
  double excess_kurtosis;
};
void ExpectMoments(const std::vector<double>& sample, const Moments& exact, double z = 5);

// The deterministic threshold of every goodness-of-fit test.
inline constexpr double kMinPValue = 1e-4;
inline constexpr int kDraws = 1000000;

template <class T>
std::vector<double> Widened(const std::vector<T>& values) {
  return std::vector<double>(values.begin(), values.end());
}

}  // namespace dist_test

#endif  // QOR_TESTS_DISTRIBUTIONS_DISTRIBUTION_SUPPORT_H_
