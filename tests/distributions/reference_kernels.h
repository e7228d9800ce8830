// Generator transforms recomputed through the exported kernels (EP double, LA float).
#ifndef QOR_TESTS_DISTRIBUTIONS_REFERENCE_KERNELS_H_
#define QOR_TESTS_DISTRIBUTIONS_REFERENCE_KERNELS_H_

#include <type_traits>
#include <vector>

#include "qor/tem.h"
#include "tests/distributions/distribution_support.h"

namespace dist_test {
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

// One value through a kernel: Of(Ln<T>, u).
template <class T>
T Of(std::vector<T> (*kernel)(std::vector<T>), T x) {
  return kernel({x})[0];
}
}  // namespace dist_test

#endif  // QOR_TESTS_DISTRIBUTIONS_REFERENCE_KERNELS_H_
