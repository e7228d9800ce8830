// The transforms of the generators recomputed in a test through the exported kernels, in the
// slot the generators use for bulk work: EP for double, LA for float.
#ifndef QOR_TESTS_DISTRIBUTIONS_REFERENCE_KERNELS_H_
#define QOR_TESTS_DISTRIBUTIONS_REFERENCE_KERNELS_H_

#include <type_traits>
#include <vector>

#include "qor/tem.h"

namespace dist_test {

// Sets the thread's accuracy to the generators' bulk slot for the length of a scope.
template <class T>
class BulkAccuracy {
 public:
  BulkAccuracy()
      : mode_(qor_tem_kernel_SetMode((std::is_same_v<T, double> ? TEM_EP : TEM_LA) |
                                     TEM_FTZDAZ_OFF | TEM_ERRMODE_IGNORE)) {}
  ~BulkAccuracy() { qor_tem_kernel_SetMode(mode_); }

 private:
  unsigned int mode_;
};

#define DIST_TEST_UNARY(stem)                                                          \
  inline std::vector<double> stem(std::vector<double> x) {                             \
    BulkAccuracy<double> slot;                                                         \
    _temd##stem(static_cast<int>(x.size()), x.data(), x.data());                       \
    return x;                                                                          \
  }                                                                                    \
  inline std::vector<float> stem(std::vector<float> x) {                               \
    BulkAccuracy<float> slot;                                                          \
    _tems##stem(static_cast<int>(x.size()), x.data(), x.data());                       \
    return x;                                                                          \
  }
DIST_TEST_UNARY(Ln)
DIST_TEST_UNARY(Sqrt)
DIST_TEST_UNARY(Sin)
DIST_TEST_UNARY(Cos)
DIST_TEST_UNARY(Exp)
DIST_TEST_UNARY(Tan)
DIST_TEST_UNARY(ErfInv)
#undef DIST_TEST_UNARY

inline std::vector<double> Powx(std::vector<double> x, double b) {
  BulkAccuracy<double> slot;
  _temdPowx(static_cast<int>(x.size()), x.data(), b, x.data());
  return x;
}
inline std::vector<float> Powx(std::vector<float> x, float b) {
  BulkAccuracy<float> slot;
  _temsPowx(static_cast<int>(x.size()), x.data(), b, x.data());
  return x;
}

}  // namespace dist_test

#endif  // QOR_TESTS_DISTRIBUTIONS_REFERENCE_KERNELS_H_
