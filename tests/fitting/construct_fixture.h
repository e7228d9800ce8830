// A fitting task over test-owned arrays and the checks the fitting tests share.
#ifndef QOR_TESTS_FITTING_CONSTRUCT_FIXTURE_H_
#define QOR_TESTS_FITTING_CONSTRUCT_FIXTURE_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "fitting/task.h"
#include "qor/df_spline.h"

namespace fit_test {
struct Shape { int64_t nx, ny; bool uniform, columns; };

template <class T>
struct Problem {
  Shape shape;
  std::vector<T> x;             // as stored: the two ends when uniform
  std::vector<long double> at;  // every breakpoint (exact: steps of 3/4 when uniform)
  std::vector<T> y;             // function-major, or breakpoint-major when columns
  std::vector<T> coeff;
  std::vector<void*> ytab, ctab;
  dfTask task{};

  // Random data; with `periodic` every function ends where it starts.
  Problem(Shape s, uint32_t seed, bool periodic = false) : shape(s), at(s.nx, -1.25L) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> u(0.2, 1.5), v(-2.0, 2.0);
    for (int64_t i = 1; i < s.nx; ++i) at[i] = T(at[i - 1] + (s.uniform ? 0.75 : u(rng)));
    x = s.uniform ? std::vector<T>{T(at[0]), T(at.back())} : std::vector<T>(at.begin(), at.end());
    y.resize(s.nx * s.ny);
    for (int64_t k = 0; k < s.ny; ++k) {
      for (int64_t i = 0; i < s.nx; ++i) Y(k, i) = T(v(rng));
      if (periodic) Y(k, s.nx - 1) = Y(k, 0);
      ytab.push_back(y.data() + (s.columns ? 0 : k * s.nx));
    }
    task.isDouble = sizeof(T) == 8;
    task.taskKind = 1;
    task.nx = s.nx;
    task.x = x.data();
    task.xHint = s.uniform ? dfXUniform : dfXNonUniform;
    task.ny = s.ny;
    task.yTable = ytab.data();
    task.yHint = s.columns ? dfYColumns : dfYRows;
  }
  T& Y(int64_t k, int64_t i) { return shape.columns ? y[i * shape.ny + k] : y[k * shape.nx + i]; }

  // Spline description and `per_function` coefficients for each function.
  void Describe(int64_t order, int64_t type, int64_t bc_type, const T* bc, int64_t ic_type,
                const T* ic, int64_t per_function) {
    task.splineOrder = order;
    task.splineType = type;
    task.bcType = bc_type;
    task.bc = const_cast<T*>(bc);
    task.icType = ic_type;
    task.ic = const_cast<T*>(ic);
    coeff.assign(per_function * shape.ny, T(-777));
    ctab.clear();
    for (int64_t k = 0; k < shape.ny; ++k) ctab.push_back(coeff.data() + k * per_function);
    task.coeffTable = ctab.data();
  }
  const T* C(int64_t k, int64_t cell, int order) const {
    return static_cast<const T*>(ctab[k]) + cell * order;
  }
};

// Value and derivatives of c0 + c1 t + ... at t.
template <class T>
long double Poly(const T* c, int order, long double t, int derivative = 0) {
  long double r = 0;
  for (int p = order - 1; p >= derivative; --p) {
    long double f = 1;
    for (int q = 0; q < derivative; ++q) f *= p - q;
    r = r * t + f * c[p];
  }
  return r;
}

// Cell of s by definition: i for x[i-1] <= s < x[i] (0 below, nx above), nx-1 at x[nx-1].
template <class V, class S>
int64_t CellOf(const V& x, S s) {
  if (s == x.back()) return int64_t(x.size()) - 1;
  return std::upper_bound(x.begin(), x.end(), s) - x.begin();
}

// Every breakpoint, both ends' neighbours, two far sites and `extra` random sites around x.
template <class T>
std::vector<T> Sites(const std::vector<T>& x, int extra, std::mt19937_64& rng) {
  const T lo = x.front(), hi = x.back(), span = hi - lo;
  std::uniform_real_distribution<double> u(lo - 0.1 * span, hi + 0.1 * span);
  std::vector<T> s(x.begin(), x.end());
  s.insert(s.end(), {std::nextafter(lo, T(-INFINITY)), std::nextafter(lo, T(INFINITY)),
                     std::nextafter(hi, T(-INFINITY)), std::nextafter(hi, T(INFINITY)),
                     static_cast<T>(lo - 1e6), static_cast<T>(hi + 1e6)});
  for (int i = 0; i < extra; ++i) s.push_back(static_cast<T>(u(rng)));
  std::shuffle(s.begin(), s.end(), rng);
  return s;
}

// End conditions other than not-a-knot, from the end derivatives (l1, l2 left; r1, r2 right).
template <class T>
void ExpectEnds(uint64_t b, const T* bc, long double l1, long double l2, long double r1,
                long double r2, double tol) {
  if (b == dfBcPeriodic) {
    EXPECT_NEAR(double(l1), double(r1), tol) << "periodic slope";
    EXPECT_NEAR(double(l2), double(r2), tol) << "periodic curvature";
    return;
  }
  const bool fl = b == dfBc1st1st || b == dfBc1st2nd, fr = b == dfBc1st1st || b == dfBc2nd1st;
  EXPECT_NEAR(double(fl ? l1 : l2), b == dfBcFreeEnd ? 0 : double(bc[0]), tol) << "left end";
  EXPECT_NEAR(double(fr ? r1 : r2), b == dfBcFreeEnd ? 0 : double(bc[1]), tol) << "right end";
}

// The double and float entries of construction and interpolation.
template <class T> struct Api;
#define QOR_FIT_API(T, t)                                                            \
  template <> struct Api<T> {                                                        \
    static constexpr auto linear = qor_df_kernel_##t##DFLinearSpline1D;              \
    static constexpr auto quadratic = qor_df_kernel_##t##DFQuadraticSpline1D;        \
    static constexpr auto default_cubic = qor_df_kernel_##t##DFDefaultCubicSpline1D; \
    static constexpr auto natural = qor_df_kernel_##t##DFNaturalCubicSpline1D;       \
    static constexpr auto interpolate = qor_df_kernel_##t##DFInterpolate1D;          \
  };
QOR_FIT_API(double, d)
QOR_FIT_API(float, s)
#undef QOR_FIT_API

// Optional arguments of an interpolation.
template <class T>
struct Extras {
  void* cell = nullptr;
  const qorThreading* threading = nullptr;
  int (*left)(int64_t*, int64_t*, T*, T*, const void*) = nullptr;
  decltype(left) right = nullptr;
  const T* dhint = nullptr;
};

// Interpolates at s into r; a wide task reads the derivative orders as 64-bit integers.
template <class T>
int Interpolate(Problem<T>& p, int type, const std::vector<T>& s,
                const std::vector<int32_t>& dorder, T* r, int64_t rhint, const Extras<T>& e = {}) {
  const std::vector<int64_t> dorder64(dorder.begin(), dorder.end());
  const void* orders = p.task.wideIndex ? static_cast<const void*>(dorder64.data()) : dorder.data();
  return Api<T>::interpolate(&p.task, type, 0, int64_t(s.size()), s.data(), 0,
                             int64_t(dorder.size()), orders, e.dhint, r, rhint, e.cell, e.left,
                             nullptr, e.right, nullptr, nullptr, nullptr, nullptr, nullptr,
                             e.threading);
}

constexpr uint64_t kBoundaries[] = {dfBcNotAKnot, dfBcFreeEnd, dfBc1st1st, dfBc1st2nd,
                                    dfBc2nd1st,   dfBc2nd2nd,  dfBcPeriodic};
template <class T> constexpr double kRelTol = sizeof(T) == 8 ? 1e-11 : 2e-3;

// Base of the tests typed over the two real types.
template <class T> class Typed : public ::testing::Test {};
using RealTypes = ::testing::Types<double, float>;
}  // namespace fit_test

#endif  // QOR_TESTS_FITTING_CONSTRUCT_FIXTURE_H_
