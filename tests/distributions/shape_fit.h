// KS fit for results piled on few values: each run of equal results spread over its cell.
#ifndef QOR_TESTS_DISTRIBUTIONS_SHAPE_FIT_H_
#define QOR_TESTS_DISTRIBUTIONS_SHAPE_FIT_H_

#include <math.h>
#include <stdlib.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <random>
#include <vector>

#include "tests/distributions/distribution_support.h"

namespace dist_test {
// The bounds of the values that round to x in T: midpoints for float, neighbours for double.
template <class T>
double CellBound(T x, T toward) {
  const T next = std::nextafter(x, toward);
  return std::is_same_v<T, float> ? (double(next) + double(x)) / 2 : double(next);
}

// Results at or below `lumped_below` (at or above `lumped_above`) count as one cell each.
template <class T>
double FitPValue(std::vector<T> sample, const std::function<double(double)>& cdf,
                 double lumped_below = -INFINITY, double lumped_above = INFINITY) {
  std::sort(sample.begin(), sample.end());
  std::mt19937_64 spread(12345);
  std::uniform_real_distribution<double> within(0, 1);
  std::vector<double> pit(sample.size());
  const auto side = [&](T x) { return x <= lumped_below ? -1 : x >= lumped_above ? 1 : 0; };
  const T inf = std::numeric_limits<T>::infinity();
  for (size_t i = 0; i < sample.size();) {
    size_t j = i + 1;
    const int lumped = side(sample[i]);
    while (j < sample.size() &&
           (sample[j] == sample[i] || (lumped != 0 && side(sample[j]) == lumped)))
      ++j;
    if (j == i + 1 && !lumped) {
      pit[i] = cdf(sample[i]);
    } else {
      const double lo = lumped < 0   ? 0
                        : lumped > 0 ? cdf(lumped_above)
                                     : cdf(CellBound(sample[i], -inf));
      const double hi = lumped < 0   ? cdf(lumped_below)
                        : lumped > 0 ? 1
                                     : cdf(CellBound(sample[i], inf));
      for (size_t k = i; k < j; ++k) pit[k] = lo + (hi - lo) * within(spread);
    }
    i = j;
  }
  return KolmogorovSmirnovPValue(pit, [](double u) { return u; });
}

// kDraws for the `heavy` double case and the full suite, kDraws / 20 otherwise.
template <class T>
int DrawsFor(bool heavy) {
#ifdef QOR_FULL_TESTS
  const bool full = true;
#else
  const bool full = getenv("QOR_FULL_TESTS") != nullptr;
#endif
  return (heavy && std::is_same_v<T, double>) || full ? kDraws : kDraws / 20;
}
}  // namespace dist_test

#endif  // QOR_TESTS_DISTRIBUTIONS_SHAPE_FIT_H_
