// Special values of the vector functions, table-driven: each case runs alone (the tail) and
// inside a block of ordinary elements, through the contiguous and the strided entry, in the
// default mode (status, one callback, errno) and in the no-error mode (nothing reported).
#ifndef QOR_TESTS_KERNELS_SPECIAL_CASES_H_
#define QOR_TESTS_KERNELS_SPECIAL_CASES_H_

#include <errno.h>

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

// One element of a call of n elements (1, or kCount with the case at kAt), the other lanes
// `fill`: f(a), f(a, b) or one result of SinCos. Strided calls take a, b and r at strides 2, 3
// and 4 (SinCos's other result at 1).
using Element = std::function<double(double a, double b, int n)>;
constexpr int kCount = 9, kAt = 3;
inline int At(int n) { return n == 1 ? 0 : kAt; }

template <class T, class Call>
Element Make(Call call, bool strided, double fill) {
  return [=](double a, double b, int n) {
    const int s = strided ? 2 : 1, at = At(n);
    std::vector<T> x(2 * n, T(fill)), y(3 * n, T(fill)), r(4 * n), r2(n);
    x[s * at] = T(a), y[(s + strided) * at] = T(b);
    call(n, x.data(), y.data(), r.data(), r2.data());
    return double(r[(strided ? 4 : 1) * at]);
  };
}

// The s and d entries of `fn` under `name`, taking x, y, r and a second result r2 as `args`
// lists them.
#define QOR_ENTRIES_OF(t, T, name, fn, fill, args, strided_args)                           \
  {#t name,                                                                                 \
   {Make<T>([](int n, T* x, T* y, T* r, T* r2) { _tem##t##fn args; }, false, fill),        \
    Make<T>([](int n, T* x, T* y, T* r, T* r2) { _tem##t##fn##I strided_args; }, true, fill)}}
#define QOR_ENTRIES(name, fn, fill, args, strided_args)           \
  QOR_ENTRIES_OF(s, float, name, fn, fill, args, strided_args), \
      QOR_ENTRIES_OF(d, double, name, fn, fill, args, strided_args)
#define QOR_UNARY(stem, fill) QOR_ENTRIES(#stem, stem, fill, (n, x, r), (n, x, 2, r, 4))
#define QOR_BINARY(stem) QOR_ENTRIES(#stem, stem, 1.5, (n, x, y, r), (n, x, 2, y, 3, r, 4))

// Every entry under test by name ("dExp"; "dSinCos_cos" for the second result of dSinCos).
inline const std::map<std::string, std::vector<Element>>& Entries() {
  static const std::map<std::string, std::vector<Element>> entries = {
      QOR_UNARY(Exp, 0.5),     QOR_UNARY(Exp2, 0.5),    QOR_UNARY(Exp10, 0.5),
      QOR_UNARY(Expm1, 0.5),   QOR_UNARY(Sinh, 0.5),    QOR_UNARY(Cosh, 0.5),
      QOR_UNARY(Tanh, 0.5),    QOR_UNARY(Ln, 0.5),      QOR_UNARY(Log2, 0.5),
      QOR_UNARY(Log10, 0.5),   QOR_UNARY(Log1p, 0.5),   QOR_UNARY(Logb, 0.5),
      QOR_UNARY(Asinh, 0.5),   QOR_UNARY(Acosh, 1.5),   QOR_UNARY(Atanh, 0.5),
      QOR_UNARY(Sqrt, 1.5),    QOR_UNARY(InvSqrt, 1.5), QOR_UNARY(Cbrt, 1.5),
      QOR_UNARY(InvCbrt, 1.5), QOR_UNARY(Pow2o3, 1.5),  QOR_UNARY(Pow3o2, 1.5),
      QOR_UNARY(Sin, 0.5),     QOR_UNARY(Cos, 0.5),     QOR_UNARY(Tan, 0.5),
      QOR_UNARY(ErfInv, 0.25), QOR_BINARY(Hypot),       QOR_BINARY(Pow),
      QOR_BINARY(Powr),        QOR_BINARY(Fmod),        QOR_BINARY(Remainder),
      QOR_UNARY(Inv, 1.5),     QOR_BINARY(Div),
      QOR_ENTRIES("Powx", Powx, 1.5, (n, x, y[At(n)], r), (n, x, 2, y[3 * At(n)], r, 4)),
      QOR_ENTRIES("SinCos_sin", SinCos, 0.5, (n, x, r, r2), (n, x, 2, r, 4, r2, 1)),
      QOR_ENTRIES("SinCos_cos", SinCos, 0.5, (n, x, r2, r), (n, x, 2, r2, 1, r, 4)),
  };
  return entries;
}
#undef QOR_ENTRIES_OF
#undef QOR_ENTRIES
#undef QOR_UNARY
#undef QOR_BINARY

// An expected value of an "s" case is rounded to float.
struct Case {
  const char* types;  // "sd": the case holds for both
  const char* stem;
  double a, b, expected;
  int status;
};

inline int ErrnoOf(int status) { return status == 0 ? 0 : status == TEM_STATUS_ERRDOM ? EDOM : ERANGE; }

inline int g_reports = 0, g_index = -1;
inline int CountReport(temErrorContext* context) { return ++g_reports, g_index = context->Index, 0; }

// A clean call leaves the status as it was (-7 here); a flagged one reports once, with the
// element's index.
inline void RunCases(const std::vector<Case>& cases) {
  const temErrorCallBack old = _temSetErrorCallBack(CountReport);
  for (const Case& c : cases) {
    for (const char* t = c.types; *t != '\0'; ++t) {
      const std::string name = std::string(1, *t) + c.stem;
      const auto found = Entries().find(name);
      ASSERT_NE(found, Entries().end()) << name;
      for (const Element& element : found->second) {
        for (int n : {1, kCount}) {
          for (unsigned mode : {unsigned{TEM_MODE_DEFAULT}, TEM_ERRMODE_NOERR | TEM_HA}) {
            ModeGuard guard(mode);
            _temSetErrStatus(-7);
            errno = 0, g_reports = 0, g_index = -1;
            const double r = element(c.a, c.b, n);
            const double want = *t == 's' ? double(float(c.expected)) : c.expected;
            const int status = mode == TEM_MODE_DEFAULT ? c.status : 0;
            SCOPED_TRACE(testing::Message() << name << "(" << c.a << ", " << c.b << "), n "
                                            << n << ", mode " << mode);
            EXPECT_TRUE(SameValue(r, want)) << r << ", expected " << want;
            EXPECT_EQ(_temGetErrStatus(), status ? status : -7);
            EXPECT_EQ(errno, ErrnoOf(status));
            EXPECT_EQ(g_reports, status ? 1 : 0);
            if (status) EXPECT_EQ(g_index, At(n));
          }
        }
      }
    }
  }
  _temSetErrorCallBack(old);
}

}  // namespace special_cases

#endif  // QOR_TESTS_KERNELS_SPECIAL_CASES_H_
