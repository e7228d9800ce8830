#include "tests/distributions/distribution_support.h"

#include <math.h>

#include <algorithm>

namespace dist_test {
namespace {
double NextUniform() {
  Script& s = CurrentScript();
  const double u = s.uniforms[s.position];
  s.position = (s.position + 1) % s.uniforms.size();
  ++s.drawn;
  return u;
}

template <class T>
int ScriptedNumbers(void*, int n, T r[], T a, T b) {
  ++CurrentScript().calls;
  if (CurrentScript().status < 0) return CurrentScript().status;
  for (int i = 0; i < n; ++i) r[i] = static_cast<T>(a + (b - a) * NextUniform());
  return ROF_STATUS_OK;
}

int ScriptedWords(void*, int n, void* r) {
  ++CurrentScript().calls;
  if (CurrentScript().status < 0) return CurrentScript().status;
  for (int i = 0; i < n; ++i) static_cast<uint32_t*>(r)[i] = static_cast<uint32_t>(NextUniform());
  return ROF_STATUS_OK;
}

int ScriptedBrng() {
  static const int family = [] {
    rofBrngProperties row = __RegBrngsNew[0];  // MCG31M1's state and initStream
    row.sBrng = ScriptedNumbers<float>;
    row.dBrng = ScriptedNumbers<double>;
    row.iBrng = ScriptedWords;
    return __rofRegisterBrng(&row);
  }();
  return family;
}

}  // namespace

TestStream::TestStream(int brng, uint32_t seed) {
  EXPECT_EQ(__rofNewStreamEx(&stream_, brng, 1, &seed), ROF_STATUS_OK);
}
TestStream::~TestStream() { __rofDeleteStream(&stream_); }

double KolmogorovSmirnovPValue(std::vector<double> sample,
                               const std::function<double(double)>& cdf) {
  std::sort(sample.begin(), sample.end());
  const double n = static_cast<double>(sample.size());
  double d = 0;
  for (size_t i = 0; i < sample.size(); ++i) {
    const double f = cdf(sample[i]);
    d = std::max({d, (i + 1) / n - f, f - i / n});
  }
  const double root = sqrt(n);
  const double lambda = (root + 0.12 + 0.11 / root) * d;
  double sum = 0, sign = 1;
  for (int k = 1; k <= 100; ++k, sign = -sign) sum += sign * exp(-2.0 * k * k * lambda * lambda);
  return std::clamp(2 * sum, 0.0, 1.0);
}
Script& CurrentScript() {
  static Script script;
  return script;
}

ScriptedStream::ScriptedStream(std::vector<double> uniforms, int status)
    : TestStream(ScriptedBrng(), 1) {
  CurrentScript() = Script{std::move(uniforms), status};
}

}  // namespace dist_test
