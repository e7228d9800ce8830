// Goodness of fit for generators whose results pile up on a few representable values (a shape
// far below 1 puts much of the mass on 0 or on the smallest subnormals): each run of equal
// results is spread over the probability of the values that round to it (randomized probability
// integral transform) before the Kolmogorov-Smirnov test against the uniform distribution.
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

// The bounds of the values that round to x in T: midpoints for float (exact in double), the
// neighbours for double.
template <class T>
double CellBelow(T x) {
  const T prev = std::nextafter(x, -std::numeric_limits<T>::infinity());
  return std::is_same_v<T, float> ? (double(prev) + double(x)) / 2 : double(prev);
}
template <class T>
double CellAbove(T x) {
  const T next = std::nextafter(x, std::numeric_limits<T>::infinity());
  return std::is_same_v<T, float> ? (double(next) + double(x)) / 2 : double(next);
}

// Results at or below `lumped_below` (at or above `lumped_above`) count as one cell each: the
// fit then ignores how the generator resolves values that close to an end of the support.
template <class T>
double FitPValue(std::vector<T> sample, const std::function<double(double)>& cdf,
                 double lumped_below = -INFINITY, double lumped_above = INFINITY) {
  std::sort(sample.begin(), sample.end());
  std::mt19937_64 spread(12345);
  std::uniform_real_distribution<double> within(0, 1);
  std::vector<double> pit(sample.size());
  const auto cell = [&](T x, double* lo, double* hi) {
    if (x <= lumped_below) {
      *lo = 0, *hi = cdf(lumped_below);
    } else if (x >= lumped_above) {
      *lo = cdf(lumped_above), *hi = 1;
    } else {
      *lo = cdf(CellBelow(x)), *hi = cdf(CellAbove(x));
    }
  };
  const auto side = [&](T x) { return x <= lumped_below ? -1 : x >= lumped_above ? 1 : 0; };
  for (size_t i = 0; i < sample.size();) {
    size_t j = i + 1;
    const int lumped = side(sample[i]);
    while (j < sample.size() &&
           (sample[j] == sample[i] || (lumped != 0 && side(sample[j]) == lumped)))
      ++j;
    if (j == i + 1 && !lumped) {
      pit[i] = cdf(sample[i]);
    } else {
      double lo, hi;
      cell(sample[i], &lo, &hi);
      for (size_t k = i; k < j; ++k) pit[k] = lo + (hi - lo) * within(spread);
    }
    i = j;
  }
  return KolmogorovSmirnovPValue(pit, [](double u) { return u; });
}

// The full parameter grids run at kDraws only in the full suite (QOR_FULL_TESTS at build time
// or in the environment); the default run keeps kDraws for the one representative case of a
// generator (`heavy`) in double, and kDraws / 20 for the rest.
inline bool FullTests() {
#ifdef QOR_FULL_TESTS
  return true;
#else
  return getenv("QOR_FULL_TESTS") != nullptr;
#endif
}
template <class T>
int DrawsFor(bool heavy) {
  return (heavy && std::is_same_v<T, double>) || FullTests() ? kDraws : kDraws / 20;
}

}  // namespace dist_test

#endif  // QOR_TESTS_DISTRIBUTIONS_SHAPE_FIT_H_
