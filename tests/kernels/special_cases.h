// Special values, table-driven: alone and in a block, contiguous and strided, in both modes.
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
#include "tests/kernels/exact_support.h"

namespace special_cases {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// A function of one input seen as one of two that ignores b, contiguous and strided.
template <class T, auto F>
void IgnoreB(int n, const T* a, const T*, T* r) { F(n, a, r); }
template <class T, auto F>
void IgnoreBStrided(int n, const T* a, int inca, const T*, int, T* r, int incr) {
  F(n, a, inca, r, incr);
}

// Sets the thread's mode word and clears the error status; puts the old mode back.
class ModeGuard {
 public:
  explicit ModeGuard(unsigned mode) : old_(_temSetMode(mode)) { _temClearErrStatus(); }
  ~ModeGuard() { _temSetMode(old_); }

 private:
  unsigned old_;
};

// The elementary and arithmetic functions of one input, as X(stem, value that fills the other
// lanes), and of two: the lists of the special-value and walk tests.
#define QOR_UNARY_FUNCTIONS(X)                                                                  \
  X(Exp, 0.5) X(Exp2, 0.5) X(Exp10, 0.5) X(Expm1, 0.5) X(Sinh, 0.5) X(Cosh, 0.5) X(Tanh, 0.5)  \
  X(Ln, 0.5) X(Log2, 0.5) X(Log10, 0.5) X(Log1p, 0.5) X(Logb, 0.5) X(Asinh, 0.5) X(Acosh, 1.5) \
  X(Atanh, 0.5) X(Sqrt, 1.5) X(InvSqrt, 1.5) X(Cbrt, 1.5) X(InvCbrt, 1.5) X(Pow2o3, 1.5)      \
  X(Pow3o2, 1.5) X(Sin, 0.5) X(Cos, 0.5) X(Tan, 0.5) X(ErfInv, 0.25) X(Inv, 1.5) X(Sqr, 1.5)   \
  X(Abs, 1.5)
#define QOR_BINARY_FUNCTIONS(X) \
  X(Hypot) X(Pow) X(Powr) X(Fmod) X(Remainder) X(Div) X(Add) X(Sub) X(Mul) X(NextAfter)

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

// The s and d entries of `fn` under `name`, called with the arguments `args` lists.
#define QOR_ENTRIES_OF(t, T, name, fn, fill, args, strided_args)                           \
  {#t name,                                                                                 \
   {Make<T>([](int n, T* x, T* y, T* r, T* r2) { _tem##t##fn args; }, false, fill),        \
    Make<T>([](int n, T* x, T* y, T* r, T* r2) { _tem##t##fn##I strided_args; }, true, fill)}}
#define QOR_ENTRIES(name, fn, fill, args, strided_args)           \
  QOR_ENTRIES_OF(s, float, name, fn, fill, args, strided_args), \
      QOR_ENTRIES_OF(d, double, name, fn, fill, args, strided_args)
#define QOR_UNARY(stem, fill) QOR_ENTRIES(#stem, stem, fill, (n, x, r), (n, x, 2, r, 4)),
#define QOR_BINARY(stem) QOR_ENTRIES(#stem, stem, 1.5, (n, x, y, r), (n, x, 2, y, 3, r, 4)),

// Every entry under test by name ("dExp"; "dSinCos_cos" for the second result of dSinCos).
inline const std::map<std::string, std::vector<Element>>& Entries() {
  static const std::map<std::string, std::vector<Element>> entries = {
      QOR_UNARY_FUNCTIONS(QOR_UNARY) QOR_BINARY_FUNCTIONS(QOR_BINARY)
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

// A case of one or two inputs: the expected value (rounded to float for s) and its status.
struct Unary { double a, expected; int status = 0; };
struct Binary { double a, b, expected; int status = 0; };
inline double SecondInput(const Unary&) { return 0; }
inline double SecondInput(const Binary& c) { return c.b; }

// The cases of one stem, for each type in `types` ("sd": both).
template <class Case>
struct Cases { const char* types; const char* stem; std::vector<Case> cases; };

inline int ErrnoOf(int status) { return status == 0 ? 0 : status == TEM_STATUS_ERRDOM ? EDOM : ERANGE; }

inline int g_reports = 0, g_index = -1;
inline int CountReport(temErrorContext* context) { return ++g_reports, g_index = context->Index, 0; }

// A clean call leaves the status as it was (-7 here); a flagged one reports once, with the
// element's index.
template <class Case>
void RunCases(const std::vector<Cases<Case>>& groups) {
  const temErrorCallBack old = _temSetErrorCallBack(CountReport);
  for (const Cases<Case>& group : groups) {
    for (const char* t = group.types; *t != '\0'; ++t) {
      const std::string name = std::string(1, *t) + group.stem;
      const auto found = Entries().find(name);
      ASSERT_NE(found, Entries().end()) << name;
      for (const Case& c : group.cases) {
        for (const Element& element : found->second) {
          for (int n : {1, kCount}) {
            for (unsigned mode : {unsigned{TEM_MODE_DEFAULT}, TEM_ERRMODE_NOERR | TEM_HA}) {
              ModeGuard guard(mode);
              _temSetErrStatus(-7);
              errno = 0, g_reports = 0, g_index = -1;
              const double r = element(c.a, SecondInput(c), n);
              const double want = *t == 's' ? double(float(c.expected)) : c.expected;
              const int status = mode == TEM_MODE_DEFAULT ? c.status : 0;
              SCOPED_TRACE(testing::Message() << name << "(" << c.a << ", " << SecondInput(c)
                                              << "), n " << n << ", mode " << mode);
              EXPECT_TRUE(exact::Same(r, want)) << r << ", expected " << want;
              EXPECT_EQ(_temGetErrStatus(), status ? status : -7);
              EXPECT_EQ(errno, ErrnoOf(status));
              EXPECT_EQ(g_reports, status ? 1 : 0);
              if (status) EXPECT_EQ(g_index, At(n));
            }
          }
        }
      }
    }
  }
  _temSetErrorCallBack(old);
}

}  // namespace special_cases

#endif  // QOR_TESTS_KERNELS_SPECIAL_CASES_H_
