// Knotted quadratic spline: defining properties, interpolation by the knots, refusals.
#include "tests/fitting/construct_fixture.h"

namespace fit_test {
namespace {
// Knots: cell middles (no ic), the caller's array, or the worker's own (ignoring the array).
enum Layout { kMiddles, kGiven, kOwn };

// A task with a knotted quadratic description; `knots` holds t[0..nx] as the test expects them.
template <class T>
struct Knotted : Problem<T> {
  std::vector<T> ic;
  std::vector<long double> knots;

  Knotted(Shape s, uint32_t seed, uint64_t bc_type, const T* bc, Layout layout)
      : Problem<T>(s, seed, bc_type == dfBcPeriodic), ic(s.nx + 1), knots(this->at) {
    const std::vector<long double>& at = this->at;
    ic[0] = this->x[0];
    ic[s.nx] = this->x.back();
    knots.push_back(at.back());
    for (int64_t i = 1; i < s.nx; ++i) {
      ic[i] = T(at[i - 1] + 0.3L * (at[i] - at[i - 1]));
      knots[i] = layout == kGiven ? (long double)ic[i] : 0.5L * (at[i - 1] + at[i]);
    }
    this->Describe(3, dfQuadraticKnotted, bc_type, bc, layout == kOwn ? dfIcKnots | 4 : dfIcKnots,
                   layout == kMiddles ? nullptr : ic.data(), 3 * s.nx);
  }
  // Derivative `der` of piece j of function k at site s.
  long double At(int64_t k, int64_t j, long double s, int der) const {
    return Poly(this->C(k, j, 3), 3, s - this->at[j], der);
  }
};

template <class T>
void ExpectNear(long double a, long double b, const char* what, int64_t at) {
  EXPECT_NEAR(double(a), double(b), kRelTol<T> * (1 + std::fabs(double(b)))) << what << " at " << at;
}

template <class T> using KnottedQuadraticTest = Typed<T>;
TYPED_TEST_SUITE(KnottedQuadraticTest, RealTypes);

// Values at the breakpoints, C1 at the knots, the end conditions; the interpolator picks the
// piece by the knots, inside and outside the partition.
TYPED_TEST(KnottedQuadraticTest, MeetsItsDefinitionAndInterpolatesByTheKnots) {
  using T = TypeParam;
  const T bc[2] = {T(0.75), T(-1.5)};
  const Shape shapes[] = {{2, 1, false, false}, {3, 2, true, false}, {5, 3, false, true},
                          {9, 2, true, true}, {12, 1, false, false}};
  for (const Shape& shape : shapes)
    for (uint64_t code : kBoundaries)
      for (Layout layout : {kMiddles, kGiven, kOwn}) {
        if (shape.nx == 2 && code == dfBcNotAKnot) continue;
        Knotted<T> p(shape, uint32_t(shape.nx + code), code, bc, layout);
        SCOPED_TRACE(::testing::Message() << "nx " << shape.nx << " bc " << code << " knots " << layout);
        ASSERT_EQ(Api<T>::quadratic(&p.task, 0, 0, nullptr), 0);
        const int64_t nx = shape.nx, end = nx - 1;
        std::vector<T> site = {T(p.at[0] - 0.5L), T(p.at[end] + 0.5L)};
        for (int64_t i = 1; i < nx; ++i)
          for (long double f : {-0.01L, 0.01L})
            site.push_back(T(p.knots[i] + f * (p.at[i] - p.at[i - 1])));
        const int64_t n = int64_t(site.size());
        std::vector<T> r(3 * n * shape.ny);
        ASSERT_EQ(Interpolate(p, 1, site, {1, 1, 1}, r.data(), 0), 0);
        for (int64_t k = 0; k < shape.ny; ++k) {
          for (int64_t j = 0; j < nx; ++j) EXPECT_EQ(p.C(k, j, 3)[0], p.Y(k, j)) << "piece " << j;
          for (int64_t i = 1; i < nx; ++i)
            for (int der = 0; der < 2; ++der)
              ExpectNear<T>(p.At(k, i - 1, p.knots[i], der), p.At(k, i, p.knots[i], der), "knot", i);
          for (int64_t s = 0; s < n; ++s) {
            int64_t piece = 0;
            while (piece + 1 < nx && site[s] >= p.knots[piece + 1]) ++piece;
            for (int der = 0; der < 3; ++der)
              ExpectNear<T>(r[(k * n + s) * 3 + der], p.At(k, piece, site[s], der), "site", s);
          }
          const long double left2 = p.At(k, 0, p.at[0], 2), right2 = p.At(k, end, p.at[end], 2);
          if (code != dfBcNotAKnot) {
            ExpectEnds(code, bc, p.At(k, 0, p.at[0], 1), left2, p.At(k, end, p.at[end], 1), right2,
                       20 * kRelTol<T>);
            continue;
          }
          ExpectNear<T>(left2, p.At(k, 1, p.knots[1], 2), "not-a-knot", 0);
          ExpectNear<T>(right2, p.At(k, end - 1, p.knots[end], 2), "not-a-knot", end);
        }
      }
}

// Faults planted in a valid task: which of them is reported shows the order of the tests.
enum Fault { kNone, kFirstKnot, kLastKnot, kInnerKnot, kUnequalEnds };

TEST(KnottedQuadraticTest, RefusalsInTheirOrder) {
  const struct { const char* what; int64_t nx, ic_type; uint64_t bc_type, y_hint; bool null_bc;
    Fault fault; int status; } cases[] = {
      {"icType 2", 5, dfIc2nd, 0, 16, true, kFirstKnot, dfErrBadIcType},
      {"bcType 0", 5, dfIcKnots, 0, 16, true, kFirstKnot, dfErrBadBcType},
      {"bcType 128", 5, dfIcKnots, dfBcMidValue, 16, true, kFirstKnot, dfErrBadBcType},
      {"bc", 5, dfIcKnots, dfBc2nd1st, 16, true, kFirstKnot, dfErrBadBc},
      {"not-a-knot nx 2", 2, dfIcKnots, dfBcNotAKnot, 32, true, kFirstKnot, dfErrBadNx},
      {"first knot", 5, dfIcKnots, dfBcPeriodic, 16, true, kFirstKnot, dfErrBadIc},
      {"last knot", 5, dfIcKnots, dfBc1st1st, 32, false, kLastKnot, dfErrBadIc},
      {"inner knot", 5, dfIcKnots, dfBcFreeEnd, 16, true, kInnerKnot, dfErrBadIc},
      {"periodic", 5, dfIcKnots, dfBcPeriodic, 32, true, kUnequalEnds, dfErrBadPeriodic},
  };
  for (const auto& c : cases) {
    const double bc[2] = {1, 2};
    Knotted<double> p({c.nx, 2, false, c.y_hint == dfYColumns}, 3, c.bc_type,
                      c.null_bc ? nullptr : bc, kGiven);
    p.task.yHint = c.y_hint;
    p.task.icType = c.ic_type;
    if (c.fault == kFirstKnot) p.ic[0] = std::nextafter(p.ic[0], 1e9);
    if (c.fault == kLastKnot) p.ic[c.nx] = std::nextafter(p.ic[c.nx], -1e9);
    if (c.fault == kInnerKnot) p.ic[2] = p.x[2];
    if (c.fault == kUnequalEnds) p.Y(1, c.nx - 1) += 1;
    EXPECT_EQ(qor_df_kernel_dDFQuadraticSpline1D(&p.task, 0, 0, nullptr), c.status) << c.what;
    EXPECT_EQ(p.coeff, std::vector<double>(p.coeff.size(), -777)) << c.what;
  }
}

}  // namespace
}  // namespace fit_test
