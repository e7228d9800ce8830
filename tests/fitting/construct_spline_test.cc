// Spline coefficients against their defining conditions, and the refusals of construction.
#include "tests/common/allocation_control.h"
#include "tests/fitting/construct_fixture.h"

namespace fit_test {
namespace {
template <class T> using ConstructTest = Typed<T>;
TYPED_TEST_SUITE(ConstructTest, RealTypes);

// Two breakpoints reach the natural cubic's smallest systems (periodic: one unknown).
using D = Api<double>;
const Shape kShapes[] = {{9, 3, false, false}, {9, 3, true, false}, {6, 2, false, true},
                         {7, 3, true, true},   {3, 2, false, false}, {4, 1, true, false},
                         {2, 1, false, false}, {40, 2, false, false}};

// Cubic conditions: interpolation, inner m (default) or C2 (natural, m null), boundary `b`.
template <class T>
void ExpectCubicConditions(Problem<T>& p, uint64_t b, const T* bc, const T* m) {
  const double tol = sizeof(T) == 8 ? 1e-10 : 2e-3;
  const int64_t nx = p.shape.nx, last = nx - 2;
  const long double hl = p.at[nx - 1] - p.at[last];
  for (int64_t k = 0; k < p.shape.ny; ++k) {
    auto at = [&](int64_t cell, long double t, int der) {
      return double(Poly(p.C(k, cell, 4), 4, t, der));
    };
    for (int64_t i = 0; i + 1 < nx; ++i) {
      const long double h = p.at[i + 1] - p.at[i];
      EXPECT_NEAR(at(i, 0, 0), p.Y(k, i), tol) << "cell " << i;
      EXPECT_NEAR(at(i, h, 0), p.Y(k, i + 1), tol) << "cell " << i;
      if (i + 2 == nx) continue;
      if (m != nullptr) {
        EXPECT_NEAR(at(i, h, 2), m[i], tol * 10) << "cell " << i;
        EXPECT_NEAR(at(i + 1, 0, 2), m[i], tol * 10) << "cell " << i + 1;
      } else {
        EXPECT_NEAR(at(i, h, 1), at(i + 1, 0, 1), tol * 10) << "cell " << i;
        EXPECT_NEAR(at(i, h, 2), at(i + 1, 0, 2), tol * 10) << "cell " << i;
      }
    }
    if (b != dfBcNotAKnot) {
      ExpectEnds(b, bc, at(0, 0, 1), at(0, 0, 2), at(last, hl, 1), at(last, hl, 2), tol * 10);
      continue;
    }
    EXPECT_NEAR(at(0, 0, 3), at(1, 0, 3), tol * 10);
    EXPECT_NEAR(at(last, 0, 3), at(last - 1, 0, 3), tol * 10);
    if (nx == 3) EXPECT_NEAR(at(0, 0, 3), 0, tol * 10);  // the parabola through three points
  }
}

TYPED_TEST(ConstructTest, CubicsMeetTheirConditionsForEveryBoundary) {
  using T = TypeParam;
  const T bc[2] = {T(0.625), T(-1.5)};
  for (const Shape& s : kShapes)
    for (uint64_t b : kBoundaries) {
      SCOPED_TRACE(testing::Message() << "nx " << s.nx << " " << s.uniform << s.columns << " bc " << b);
      if (s.nx == 2 && b == dfBcNotAKnot) continue;  // refused
      Problem<T> natural(s, 7, b == dfBcPeriodic);
      natural.Describe(4, dfCubicNatural, b, bc, 0, nullptr, 4 * (s.nx - 1));
      ASSERT_EQ(Api<T>::natural(&natural.task, 0, 0, nullptr), 0);
      ExpectCubicConditions(natural, b, bc, static_cast<const T*>(nullptr));
      // The default cubic needs an inner breakpoint; its not-a-knot reads the end cell's c3.
      if (s.nx == 2 || (s.nx == 3 && b == dfBcNotAKnot)) continue;
      Problem<T> p(s, 13, b == dfBcPeriodic);
      std::vector<T> m(s.nx - 2);
      for (size_t i = 0; i < m.size(); ++i) m[i] = T(std::sin(double(i)) * 2);
      p.Describe(4, dfCubicDefault, b, bc, dfIc2nd, m.data(), 4 * (s.nx - 1));
      ASSERT_EQ(Api<T>::default_cubic(&p.task, 0, 0, nullptr), 0);
      ExpectCubicConditions(p, b, bc, m.data());
    }
}

// Cells run from y[i] to y[i+1]; the quadratic is C1 and takes bc[0] mid first cell.
TYPED_TEST(ConstructTest, LinearAndQuadraticThroughTheData) {
  using T = TypeParam;
  const T mid[1] = {T(0.3)};
  for (const Shape& s : kShapes)
    for (int order : {2, 3}) {
      Problem<T> p(s, 9);
      p.Describe(order, 0, order == 3 ? dfBcMidValue : 0, mid, 0, nullptr, order * (s.nx - 1));
      ASSERT_EQ((order == 2 ? Api<T>::linear : Api<T>::quadratic)(&p.task, 0, 0, nullptr), 0);
      // The quadratic's recurrence amplifies rounding.
      const double tol = order == 2 ? 10 * kRelTol<T> : sizeof(T) == 8 ? 1e-9 : 0.05;
      for (int64_t k = 0; k < s.ny; ++k) {
        if (order == 3)
          EXPECT_NEAR(double(Poly(p.C(k, 0, 3), 3, (p.at[1] - p.at[0]) / 2)), mid[0], tol);
        for (int64_t i = 0; i + 1 < s.nx; ++i) {
          const long double h = p.at[i + 1] - p.at[i];
          EXPECT_EQ(p.C(k, i, order)[0], p.Y(k, i)) << order << " cell " << i;
          EXPECT_NEAR(double(Poly(p.C(k, i, order), order, h)), p.Y(k, i + 1), tol)
              << order << " cell " << i;
          if (order == 3 && i + 2 < s.nx)
            EXPECT_NEAR(double(Poly(p.C(k, i, 3), 3, h, 1)), double(p.C(k, i + 1, 3)[1]), tol);
        }
      }
    }
}

// Refusals in order and failed allocations: nothing written or left behind, a retry succeeds.
TEST(ConstructStatusTest, RefusalsAndFailedAllocations) {
  const struct { const char* what; int64_t nx, order, type, ic_type; uint64_t bc_type, y_hint;
    bool null_bc; int method; int (*construct)(dfTask*, int, int, const qorThreading*); int status;
  } cases[] = {
      {"linear method", 1, 2, 0, 0, 0, 99, false, 1, D::linear, dfErrBadMethod},
      {"linear nx", 1, 2, 0, 0, 0, 99, false, 0, D::linear, dfErrBadNx},
      {"linear yHint", 2, 2, 0, 0, 0, 99, false, 0, D::linear, dfErrBadYHint},
      {"quadratic yHint", 1, 3, 5, 0, 12, 99, true, 0, D::quadratic, dfErrBadYHint},
      {"quadratic type", 1, 3, 5, 0, 12, 16, true, 0, D::quadratic, dfErrBadMethod},
      {"quadratic bcType", 5, 3, 0, 0, 12, 16, true, 0, D::quadratic, dfErrBadBcType},
      {"quadratic bc", 5, 3, 0, 0, 128, 16, true, 0, D::quadratic, dfErrBadBc},
      {"quadratic allocation", 5000, 3, 0, 0, 128, 16, false, 0, D::quadratic, dfErrNoMemory},
      {"knotted allocation", 9, 3, 1, dfIcKnots, 1, 16, false, 0, D::quadratic, dfErrNoMemory},
      {"default nx", 2, 4, 0, 2, 0, 99, true, 0, D::default_cubic, dfErrBadNx},
      {"default bcType 0", 3, 4, 0, 2, 0, 16, true, 0, D::default_cubic, dfErrBadBcType},
      {"default bcType 128", 3, 4, 0, 2, 128, 16, true, 0, D::default_cubic, dfErrBadBcType},
      {"default bc", 3, 4, 0, 2, 36, 16, true, 0, D::default_cubic, dfErrBadBc},
      {"default periodic bc", 3, 4, 0, 2, 64, 16, true, 0, D::default_cubic, dfErrBadBc},
      {"default allocation", 9, 4, 0, 2, 2, 16, false, 0, D::default_cubic, dfErrNoMemory},
      {"natural method", 1, 4, 2, 0, 7, 99, true, 1, D::natural, dfErrBadMethod},
      {"natural nx", 1, 4, 2, 0, 7, 99, true, 0, D::natural, dfErrBadNx},
      {"natural not-a-knot nx 2", 2, 4, 2, 0, 1, 99, true, 0, D::natural, dfErrBadNx},
      {"natural yHint", 2, 4, 2, 0, 7, 99, true, 0, D::natural, dfErrBadYHint},
      {"natural bcType 7, unknown", 2, 4, 2, 0, 7, 16, true, 0, D::natural, dfErrBadBcType},
      {"natural periodic values", 5, 4, 2, 0, 64, 32, true, 0, D::natural, dfErrBadPeriodic},
      {"natural allocation", 9, 4, 2, 0, 64, 16, false, 0, D::natural, dfErrNoMemory},
  };
  const double bc[2] = {0.1, 0.2};
  const std::vector<double> m(5000);
  for (const auto& c : cases) {
    const bool oom = c.status == dfErrNoMemory;
    Problem<double> p({std::max<int64_t>(c.nx, 2), oom ? 2 : 1, false, false}, 1,
                      oom && c.bc_type == dfBcPeriodic);
    p.task.nx = c.nx;
    p.task.yHint = c.y_hint;
    p.Describe(c.order, c.type, c.bc_type, c.null_bc ? nullptr : bc, c.ic_type,
               c.ic_type == dfIc2nd ? m.data() : nullptr, c.order * std::max<int64_t>(c.nx, 2));
    const long live = alloc_control::LiveBlocks();
    {
      alloc_control::ScopedFailure fail(oom ? 0 : -1);
      EXPECT_EQ(c.construct(&p.task, 0, c.method, nullptr), c.status) << c.what;
    }
    EXPECT_EQ(p.coeff, std::vector<double>(p.coeff.size(), -777)) << c.what;
    if (oom) EXPECT_EQ(c.construct(&p.task, 0, 0, nullptr), 0) << c.what;
    EXPECT_EQ(alloc_control::LiveBlocks(), live) << c.what;
  }
}
}  // namespace
}  // namespace fit_test
