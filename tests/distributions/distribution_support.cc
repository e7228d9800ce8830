#include "tests/distributions/distribution_support.h"

#include <math.h>

#include <algorithm>

namespace dist_test {
namespace {
template <class T>
int ScriptedNumbers(void*, int n, T r[], T a, T b) {
  Script& s = CurrentScript();
  ++s.calls;
  if (s.status < 0) return s.status;
  for (int i = 0; i < n; ++i, ++s.drawn, s.position = (s.position + 1) % s.uniforms.size())
    r[i] = static_cast<T>(a + (b - a) * s.uniforms[s.position]);
  return ROF_STATUS_OK;
}

int ScriptedBrng() {
  static const int family = [] {
    rofBrngProperties row = __RegBrngsNew[0];  // MCG31M1's state, initStream and words
    row.sBrng = ScriptedNumbers<float>;
    row.dBrng = ScriptedNumbers<double>;
    return __rofRegisterBrng(&row);
  }();
  return family;
}

}  // namespace

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
    : TestStream(ScriptedBrng(), {1}) {
  CurrentScript() = Script{std::move(uniforms), status};
}

}  // namespace dist_test
