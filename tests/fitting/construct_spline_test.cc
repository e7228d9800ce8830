// Spline coefficients against their defining conditions solved densely in long double, and
// the natural cubic spline against GSL.
#include <gsl/gsl_errno.h>
#include <gsl/gsl_spline.h>
#include <gtest/gtest.h>

#include "tests/fitting/construct_fixture.h"
#include "tests/common/allocation_control.h"

namespace fit_test {
namespace {

template <class T> struct Api;
template <> struct Api<double> {
  static constexpr auto linear = qor_df_kernel_dDFLinearSpline1D;
  static constexpr auto quadratic = qor_df_kernel_dDFQuadraticSpline1D;
  static constexpr auto default_cubic = qor_df_kernel_dDFDefaultCubicSpline1D;
  static constexpr auto natural = qor_df_kernel_dDFNaturalCubicSpline1D;
};
template <> struct Api<float> {
  static constexpr auto linear = qor_df_kernel_sDFLinearSpline1D;
  static constexpr auto quadratic = qor_df_kernel_sDFQuadraticSpline1D;
  static constexpr auto default_cubic = qor_df_kernel_sDFDefaultCubicSpline1D;
  static constexpr auto natural = qor_df_kernel_sDFNaturalCubicSpline1D;
};

using Row = std::vector<long double>;

// Solves the square system rows * c = rhs by Gaussian elimination with partial pivoting.
std::vector<long double> Solve(std::vector<Row> a, std::vector<long double> b) {
  const size_t n = b.size();
  for (size_t k = 0; k < n; ++k) {
    size_t p = k;
    for (size_t i = k + 1; i < n; ++i)
      if (std::fabs(a[i][k]) > std::fabs(a[p][k])) p = i;
    std::swap(a[k], a[p]);
    std::swap(b[k], b[p]);
    for (size_t i = k + 1; i < n; ++i) {
      const long double l = a[i][k] / a[k][k];
      for (size_t j = k; j < n; ++j) a[i][j] -= l * a[k][j];
      b[i] -= l * b[k];
    }
  }
  for (size_t i = n; i-- > 0;) {
    for (size_t j = i + 1; j < n; ++j) b[i] -= a[i][j] * b[j];
    b[i] /= a[i][i];
  }
  return b;
}

// Row of derivative `der` of the cubic of `cell` at offset t, over 4*(nx-1) unknowns.
Row Cubic(int64_t nx, int64_t cell, long double t, int der, long double sign = 1) {
  Row r(4 * (nx - 1), 0.0L);
  for (int p = der; p < 4; ++p) {
    long double f = 1;
    for (int q = 0; q < der; ++q) f *= p - q;
    r[4 * cell + p] = sign * f * std::pow(t, p - der);
  }
  return r;
}
Row Sum(Row a, const Row& b) {
  for (size_t i = 0; i < a.size(); ++i) a[i] += b[i];
  return a;
}

// The natural cubic spline from its definition: interpolation, C2 inside, two end conditions.
template <class T>
std::vector<long double> NaturalReference(const Problem<T>& p, int64_t k, uint64_t bc_type,
                                          const T* bc) {
  const int64_t nx = p.shape.nx, last = nx - 2;
  const long double hl = p.at[nx - 1] - p.at[nx - 2];
  auto y = [&](int64_t i) { return (long double)const_cast<Problem<T>&>(p).Y(k, i); };
  std::vector<Row> rows;
  std::vector<long double> rhs;
  for (int64_t i = 0; i + 1 < nx; ++i) {
    const long double h = p.at[i + 1] - p.at[i];
    rows.push_back(Cubic(nx, i, 0, 0)), rhs.push_back(y(i));
    rows.push_back(Cubic(nx, i, h, 0)), rhs.push_back(y(i + 1));
    if (i + 2 < nx)
      for (int der = 1; der <= 2; ++der)
        rows.push_back(Sum(Cubic(nx, i, h, der), Cubic(nx, i + 1, 0, der, -1))), rhs.push_back(0);
  }
  const bool free_end = bc_type == dfBcFreeEnd;
  const long double l0 = free_end ? 0 : bc[0], r0 = free_end ? 0 : bc[1];
  switch (bc_type) {
    case dfBcNotAKnot:
      rows.push_back(Sum(Cubic(nx, 0, 0, 3), Cubic(nx, 1, 0, 3, -1))), rhs.push_back(0);
      if (nx == 3) rows.push_back(Cubic(nx, 0, 0, 3));
      else rows.push_back(Sum(Cubic(nx, last - 1, 0, 3), Cubic(nx, last, 0, 3, -1)));
      rhs.push_back(0);
      break;
    case dfBcPeriodic:
      for (int der = 1; der <= 2; ++der)
        rows.push_back(Sum(Cubic(nx, 0, 0, der), Cubic(nx, last, hl, der, -1))), rhs.push_back(0);
      break;
    default: {
      const bool first_left = bc_type == dfBc1st1st || bc_type == dfBc1st2nd;
      const bool first_right = bc_type == dfBc1st1st || bc_type == dfBc2nd1st;
      rows.push_back(Cubic(nx, 0, 0, first_left ? 1 : 2)), rhs.push_back(l0);
      rows.push_back(Cubic(nx, last, hl, first_right ? 1 : 2)), rhs.push_back(r0);
    }
  }
  return Solve(rows, rhs);
}

template <class T>
class ConstructTest : public ::testing::Test {};
using RealTypes = ::testing::Types<double, float>;
TYPED_TEST_SUITE(ConstructTest, RealTypes);

const Shape kShapes[] = {{9, 3, false, false}, {9, 3, true, false}, {6, 2, false, true},
                         {7, 3, true, true},   {3, 2, false, false}, {4, 1, true, false},
                         {40, 2, false, false}};
const uint64_t kBoundaries[] = {dfBcNotAKnot, dfBcFreeEnd, dfBc1st1st, dfBc1st2nd,
                                dfBc2nd1st,   dfBc2nd2nd,  dfBcPeriodic};

template <class T>
void ExpectCoefficients(const Problem<T>& p, int64_t k, const std::vector<long double>& want,
                        int order) {
  long double scale = 1;
  for (long double w : want) scale = std::max(scale, std::fabs(w));
  for (size_t j = 0; j < want.size(); ++j)
    ASSERT_NEAR(p.C(k, 0, order)[j], double(want[j]), kRelTol<T> * double(scale))
        << "function " << k << " cell " << j / order << " power " << j % order;
}

TYPED_TEST(ConstructTest, NaturalCubicMatchesDenseSolveForEveryBoundary) {
  using T = TypeParam;
  const T bc[2] = {T(0.625), T(-1.5)};
  for (const Shape& s : kShapes)
    for (uint64_t b : kBoundaries) {
      SCOPED_TRACE(::testing::Message() << "nx=" << s.nx << " uniform=" << s.uniform
                                        << " columns=" << s.columns << " bcType=" << b);
      Problem<T> p(s, 7, b == dfBcPeriodic);
      p.Describe(4, dfCubicNatural, b, bc, 0, nullptr, 4 * (s.nx - 1));
      ASSERT_EQ(Api<T>::natural(&p.task, 0, 0, nullptr), 0);
      for (int64_t k = 0; k < s.ny; ++k) ExpectCoefficients(p, k, NaturalReference(p, k, b, bc), 4);
    }
}

TYPED_TEST(ConstructTest, NaturalCubicOfTwoBreakpointsIsTheLine) {
  using T = TypeParam;
  Problem<T> p({2, 1, false, false}, 3);
  p.Describe(4, dfCubicNatural, dfBcFreeEnd, nullptr, 0, nullptr, 4);
  ASSERT_EQ(Api<T>::natural(&p.task, 0, 0, nullptr), 0);
  const long double slope = (p.Y(0, 1) - p.Y(0, 0)) / (p.at[1] - p.at[0]);
  EXPECT_NEAR(p.coeff[1], double(slope), kRelTol<T>);
  EXPECT_NEAR(p.coeff[2], 0, kRelTol<T>);
  EXPECT_NEAR(p.coeff[3], 0, kRelTol<T>);
}

TYPED_TEST(ConstructTest, LinearHoldsValueAndSlope) {
  using T = TypeParam;
  for (const Shape& s : kShapes) {
    Problem<T> p(s, 5);
    p.Describe(2, 0, 0, nullptr, 0, nullptr, 2 * (s.nx - 1));
    ASSERT_EQ(Api<T>::linear(&p.task, 0, 0, nullptr), 0);
    for (int64_t k = 0; k < s.ny; ++k)
      for (int64_t i = 0; i + 1 < s.nx; ++i) {
        const long double slope = (p.Y(k, i + 1) - p.Y(k, i)) / (p.at[i + 1] - p.at[i]);
        EXPECT_EQ(p.C(k, i, 2)[0], p.Y(k, i));
        EXPECT_NEAR(p.C(k, i, 2)[1], double(slope), kRelTol<T> * (1 + std::fabs(double(slope))));
      }
  }
}

// The quadratic interpolates, is C1, and takes bc[0] at the middle of the first cell.
TYPED_TEST(ConstructTest, QuadraticIsContinuouslyDifferentiableThroughTheData) {
  using T = TypeParam;
  const T mid[1] = {T(0.3)};
  for (const Shape& s : kShapes) {
    Problem<T> p(s, 9);
    p.Describe(3, dfQuadraticDefault, dfBcMidValue, mid, 0, nullptr, 3 * (s.nx - 1));
    ASSERT_EQ(Api<T>::quadratic(&p.task, 0, 0, nullptr), 0);
    const double tol = sizeof(T) == 8 ? 1e-9 : 0.05;  // the recurrence amplifies rounding
    for (int64_t k = 0; k < s.ny; ++k) {
      EXPECT_NEAR(double(Poly(p.C(k, 0, 3), 3, (p.at[1] - p.at[0]) / 2)), mid[0], tol);
      for (int64_t i = 0; i + 1 < s.nx; ++i) {
        const long double h = p.at[i + 1] - p.at[i];
        EXPECT_EQ(p.C(k, i, 3)[0], p.Y(k, i));
        EXPECT_NEAR(double(Poly(p.C(k, i, 3), 3, h)), p.Y(k, i + 1), tol) << "cell " << i;
        if (i + 2 < s.nx)
          EXPECT_NEAR(double(Poly(p.C(k, i, 3), 3, h, 1)), double(p.C(k, i + 1, 3)[1]), tol);
      }
    }
  }
}

// The default cubic takes the given second derivatives inside; each boundary code settles the
// end cells as its condition says.
TYPED_TEST(ConstructTest, DefaultCubicMeetsItsConditions) {
  using T = TypeParam;
  const T bc[2] = {T(0.5), T(-0.75)};
  for (const Shape& s : kShapes)
    for (uint64_t b : kBoundaries) {
      SCOPED_TRACE(::testing::Message() << "nx=" << s.nx << " bcType=" << b);
      if (s.nx == 3 && b == dfBcNotAKnot) continue;  // reads the end cell's own c3
      Problem<T> p(s, 13, b == dfBcPeriodic);
      std::vector<T> m(s.nx - 2);
      for (size_t i = 0; i < m.size(); ++i) m[i] = T(std::sin(double(i)) * 2);
      p.Describe(4, dfCubicDefault, b, bc, dfIc2nd, m.data(), 4 * (s.nx - 1));
      ASSERT_EQ(Api<T>::default_cubic(&p.task, 0, 0, nullptr), 0);
      const double tol = sizeof(T) == 8 ? 1e-10 : 2e-3;
      const int64_t last = s.nx - 2;
      const long double hl = p.at[s.nx - 1] - p.at[last];
      for (int64_t k = 0; k < s.ny; ++k) {
        auto at = [&](int64_t cell, long double t, int der) {
          return double(Poly(p.C(k, cell, 4), 4, t, der));
        };
        for (int64_t i = 0; i + 1 < s.nx; ++i) {
          const long double h = p.at[i + 1] - p.at[i];
          EXPECT_NEAR(at(i, 0, 0), p.Y(k, i), tol);
          EXPECT_NEAR(at(i, h, 0), p.Y(k, i + 1), tol) << "cell " << i;
          if (i + 2 < s.nx) {
            EXPECT_NEAR(at(i, h, 2), m[i], tol * 10) << "cell " << i;
            EXPECT_NEAR(at(i + 1, 0, 2), m[i], tol * 10) << "cell " << i + 1;
          }
        }
        switch (b) {
          case dfBcNotAKnot:
            EXPECT_NEAR(at(0, 0, 3), at(1, 0, 3), tol * 10);
            EXPECT_NEAR(at(last, 0, 3), at(last - 1, 0, 3), tol * 10);
            break;
          case dfBcPeriodic:
            EXPECT_NEAR(at(0, 0, 1), at(last, hl, 1), tol * 10);
            EXPECT_NEAR(at(0, 0, 2), at(last, hl, 2), tol * 10);
            break;
          default: {
            const bool fl = b == dfBc1st1st || b == dfBc1st2nd, fr = b == dfBc1st1st || b == dfBc2nd1st;
            const double l = b == dfBcFreeEnd ? 0 : bc[0], r = b == dfBcFreeEnd ? 0 : bc[1];
            EXPECT_NEAR(at(0, 0, fl ? 1 : 2), l, tol * 10);
            EXPECT_NEAR(at(last, hl, fr ? 1 : 2), r, tol * 10);
          }
        }
      }
    }
}

// GSL's natural and periodic cubic splines on the same data give the same values.
TEST(ConstructGslTest, NaturalCubicAgreesWithGsl) {
  const struct {
    const gsl_interp_type* type;
    uint64_t bc_type;
  } kinds[] = {{gsl_interp_cspline, dfBcFreeEnd}, {gsl_interp_cspline_periodic, dfBcPeriodic}};
  for (const auto& kind : kinds)
    for (int64_t nx : {3, 5, 40, 1001}) {
      Problem<double> p({nx, 1, false, false}, 21, kind.bc_type == dfBcPeriodic);
      p.Describe(4, dfCubicNatural, kind.bc_type, nullptr, 0, nullptr, 4 * (nx - 1));
      ASSERT_EQ(qor_df_kernel_dDFNaturalCubicSpline1D(&p.task, 0, 0, nullptr), 0);
      gsl_spline* g = gsl_spline_alloc(kind.type, nx);
      ASSERT_EQ(gsl_spline_init(g, p.x.data(), p.y.data(), nx), GSL_SUCCESS);
      gsl_interp_accel* acc = gsl_interp_accel_alloc();
      for (int64_t i = 0; i + 1 < nx; ++i)
        for (double f : {0.0, 0.3, 0.77}) {
          const double t = f * (p.x[i + 1] - p.x[i]), s = p.x[i] + t;
          EXPECT_NEAR(double(Poly(p.C(0, i, 4), 4, t)), gsl_spline_eval(g, s, acc), 1e-12)
              << "nx=" << nx << " cell " << i;
        }
      gsl_interp_accel_free(acc);
      gsl_spline_free(g);
    }
}

struct Refusal {
  const char* what;
  int64_t nx, order, type, ic_type;
  uint64_t bc_type, y_hint;
  bool null_bc;
  int method;
  int (*construct)(dfTask*, int, int, const qorThreading*);
  int status;
};

TEST(ConstructStatusTest, RefusalsInTheirOrder) {
  const Refusal cases[] = {
      {"linear method", 1, 2, 0, 0, 0, 99, false, 1, qor_df_kernel_dDFLinearSpline1D, dfErrBadMethod},
      {"linear nx", 1, 2, 0, 0, 0, 99, false, 0, qor_df_kernel_dDFLinearSpline1D, dfErrBadNx},
      {"linear yHint", 2, 2, 0, 0, 0, 99, false, 0, qor_df_kernel_dDFLinearSpline1D, dfErrBadYHint},
      {"quadratic yHint", 1, 3, 5, 0, 12, 99, true, 0, qor_df_kernel_dDFQuadraticSpline1D, dfErrBadYHint},
      {"quadratic type", 1, 3, 5, 0, 12, 16, true, 0, qor_df_kernel_dDFQuadraticSpline1D, dfErrBadMethod},
      {"quadratic bcType", 5, 3, 0, 0, 12, 16, true, 0, qor_df_kernel_dDFQuadraticSpline1D, dfErrBadBcType},
      {"quadratic bc", 5, 3, 0, 0, 128, 16, true, 0, qor_df_kernel_dDFQuadraticSpline1D, dfErrBadBc},
      {"default nx", 2, 4, 0, 2, 0, 99, true, 0, qor_df_kernel_dDFDefaultCubicSpline1D, dfErrBadNx},
      {"default yHint", 3, 4, 0, 2, 0, 99, true, 0, qor_df_kernel_dDFDefaultCubicSpline1D, dfErrBadYHint},
      {"default bcType 0", 3, 4, 0, 2, 0, 16, true, 0, qor_df_kernel_dDFDefaultCubicSpline1D, dfErrBadBcType},
      {"default bcType 128", 3, 4, 0, 2, 128, 16, true, 0, qor_df_kernel_dDFDefaultCubicSpline1D, dfErrBadBcType},
      {"default bc", 3, 4, 0, 2, 36, 16, true, 0, qor_df_kernel_dDFDefaultCubicSpline1D, dfErrBadBc},
      {"default periodic bc", 3, 4, 0, 2, 64, 16, true, 0, qor_df_kernel_dDFDefaultCubicSpline1D, dfErrBadBc},
      {"natural method", 1, 4, 2, 0, 7, 99, true, 1, qor_df_kernel_dDFNaturalCubicSpline1D, dfErrBadMethod},
      {"natural nx", 1, 4, 2, 0, 7, 99, true, 0, qor_df_kernel_dDFNaturalCubicSpline1D, dfErrBadNx},
      {"natural not-a-knot nx 2", 2, 4, 2, 0, 1, 99, true, 0, qor_df_kernel_dDFNaturalCubicSpline1D, dfErrBadNx},
      {"natural yHint", 2, 4, 2, 0, 7, 99, true, 0, qor_df_kernel_dDFNaturalCubicSpline1D, dfErrBadYHint},
      {"natural bcType", 2, 4, 2, 0, 7, 16, true, 0, qor_df_kernel_dDFNaturalCubicSpline1D, dfErrBadBcType},
      {"natural bc", 2, 4, 2, 0, 48, 16, true, 0, qor_df_kernel_dDFNaturalCubicSpline1D, dfErrBadBc},
  };
  for (const Refusal& c : cases) {
    Problem<double> p({std::max<int64_t>(c.nx, 2), 1, false, false}, 1);
    p.task.nx = c.nx;
    p.task.yHint = c.y_hint;
    const double bc[2] = {1, 2};
    p.Describe(c.order, c.type, c.bc_type, c.null_bc ? nullptr : bc, c.ic_type, nullptr, 8);
    const std::vector<double> before = p.coeff;
    EXPECT_EQ(c.construct(&p.task, 0, c.method, nullptr), c.status) << c.what;
    EXPECT_EQ(p.coeff, before) << c.what;
  }
}

TEST(ConstructStatusTest, PeriodicMismatchWritesNothing) {
  Problem<float> p({8, 3, false, true}, 2, true);
  p.Y(2, 7) += 1;
  p.Describe(4, dfCubicNatural, dfBcPeriodic, nullptr, 0, nullptr, 28);
  EXPECT_EQ(qor_df_kernel_sDFNaturalCubicSpline1D(&p.task, 0, 0, nullptr), dfErrBadPeriodic);
  EXPECT_EQ(p.coeff, std::vector<float>(84, -777.f));
}

// Every allocation of every constructor may fail: -1001, nothing written, nothing left behind.
TEST(ConstructStatusTest, FailedAllocationLeaksNothing) {
  const double bc[2] = {0.1, 0.2};
  std::vector<double> m(5000);
  const struct {
    int64_t nx, order, type;
    uint64_t bc_type;
    int (*construct)(dfTask*, int, int, const qorThreading*);
  } cases[] = {{9, 4, 2, dfBcNotAKnot, qor_df_kernel_dDFNaturalCubicSpline1D},
               {9, 4, 2, dfBcPeriodic, qor_df_kernel_dDFNaturalCubicSpline1D},
               {9, 4, 0, dfBcFreeEnd, qor_df_kernel_dDFDefaultCubicSpline1D},
               {5000, 3, 0, dfBcMidValue, qor_df_kernel_dDFQuadraticSpline1D}};
  for (const auto& c : cases) {
    Problem<double> p({c.nx, 2, false, false}, 4, c.bc_type == dfBcPeriodic);
    p.Describe(c.order, c.type, c.bc_type, bc, dfIc2nd, m.data(), c.order * (c.nx - 1));
    const long live = alloc_control::LiveBlocks();
    {
      alloc_control::ScopedFailure fail(0);
      EXPECT_EQ(c.construct(&p.task, 0, 0, nullptr), dfErrNoMemory) << c.nx;
    }
    EXPECT_EQ(alloc_control::LiveBlocks(), live);
    EXPECT_EQ(p.coeff[0], -777);
    EXPECT_EQ(c.construct(&p.task, 0, 0, nullptr), 0);
    EXPECT_EQ(alloc_control::LiveBlocks(), live);
  }
}

}  // namespace
}  // namespace fit_test
