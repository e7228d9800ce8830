// Special values of vector functions with their statuses, table-driven: each case's inputs
// sit inside a block of ordinary elements and run through the contiguous and the strided
// entry, in the default mode and in the no-error mode (where the status must stay 0).
#ifndef QOR_TESTS_KERNELS_SPECIAL_CASES_H_
#define QOR_TESTS_KERNELS_SPECIAL_CASES_H_

#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "qor/tem.h"

namespace special_cases {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// One element of a call: the case's inputs at index 3 of 9, the other lanes 1.5.
using Element = std::function<double(double a, double b)>;

constexpr int kCount = 9, kAt = 3;

template <class T>
Element Unary(void (*f)(int, const T*, T*)) {
  return [f](double a, double) {
    std::vector<T> x(kCount, T(1.5)), r(kCount);
    x[kAt] = static_cast<T>(a);
    f(kCount, x.data(), r.data());
    return static_cast<double>(r[kAt]);
  };
}
template <class T>
Element UnaryStrided(void (*f)(int, const T*, int, T*, int)) {
  return [f](double a, double) {
    std::vector<T> x(2 * kCount, T(1.5)), r(3 * kCount);
    x[2 * kAt] = static_cast<T>(a);
    f(kCount, x.data(), 2, r.data(), 3);
    return static_cast<double>(r[3 * kAt]);
  };
}
template <class T>
Element Binary(void (*f)(int, const T*, const T*, T*)) {
  return [f](double a, double b) {
    std::vector<T> x(kCount, T(1.5)), y(kCount, T(1.5)), r(kCount);
    x[kAt] = static_cast<T>(a);
    y[kAt] = static_cast<T>(b);
    f(kCount, x.data(), y.data(), r.data());
    return static_cast<double>(r[kAt]);
  };
}
template <class T>
Element BinaryStrided(void (*f)(int, const T*, int, const T*, int, T*, int)) {
  return [f](double a, double b) {
    std::vector<T> x(2 * kCount, T(1.5)), y(kCount, T(1.5)), r(2 * kCount);
    x[2 * kAt] = static_cast<T>(a);
    y[kAt] = static_cast<T>(b);
    f(kCount, x.data(), 2, y.data(), 1, r.data(), 2);
    return static_cast<double>(r[2 * kAt]);
  };
}

struct Case {
  const char* types;  // "sd": the case holds for both
  const char* stem;
  double a, b, expected;
  int status;
};

// Both NaN, or equal with the same sign (so +0 and -0 differ).
template <class T>
bool SameValue(T a, T b) {
  return (std::isnan(a) && std::isnan(b)) || (a == b && std::signbit(a) == std::signbit(b));
}

// Sets the thread's mode word and clears the error status; puts the old mode back.
class ModeGuard {
 public:
  explicit ModeGuard(unsigned mode) : old_(_temSetMode(mode)) { _temClearErrStatus(); }
  ~ModeGuard() { _temSetMode(old_); }

 private:
  unsigned old_;
};

// Runs each case through every entry of `entries` named by its type letters and stem.
inline void RunCases(const std::map<std::string, std::vector<Element>>& entries,
                     const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    for (const char* t = c.types; *t != '\0'; ++t) {
      const std::string name = std::string(1, *t) + c.stem;
      const auto found = entries.find(name);
      ASSERT_NE(found, entries.end()) << name;
      for (const Element& element : found->second) {
        for (unsigned mode : {TEM_ERRMODE_DEFAULT, TEM_ERRMODE_NOERR}) {
          ModeGuard guard(mode);
          const double r = element(c.a, c.b);
          EXPECT_TRUE(SameValue(r, c.expected))
              << name << "(" << c.a << ", " << c.b << ") = " << r << ", expected " << c.expected;
          const int status = mode == TEM_ERRMODE_NOERR ? 0 : c.status;
          EXPECT_EQ(_temGetErrStatus(), status) << name << "(" << c.a << ", " << c.b << ")";
        }
      }
    }
  }
}

}  // namespace special_cases

#endif  // QOR_TESTS_KERNELS_SPECIAL_CASES_H_
