// Exponential, Laplace, Weibull, Cauchy, Rayleigh, Gumbel: transforms, fits, zeros, clamp, frame.
#include <math.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/distributions/distribution_support.h"

namespace {
using namespace dist_test;

template <class T>
std::vector<T> Scaled(std::vector<T> x, T beta, T a) {
  for (T& v : x) v = v * beta + a;
  return x;
}
// -ln u for the stream's uniforms: the standard exponential.
template <class T>
std::vector<T> MinusLn(void* stream, int n) {
  std::vector<T> x = Ln(Uniforms<T>(stream, n, 0, 1));
  for (T& v : x) v = -v;
  return x;
}

// A generator, its transform via the reference kernels, its result from ln 0, its cdf.
template <class T>
struct Generator {
  std::string name;
  std::function<int(int method, void* stream, int n, T* r, T a, T beta)> draw;
  bool accurate;  // honours ROF_ACCURATE_BIT
  std::function<std::vector<T>(void* fresh_stream, int n, T a, T beta)> reference;
  std::function<T(T ln_zero)> from_zero;
  std::function<double(double z)> standard_cdf;
};

#define DIST_TEST_DRAW(Name)                                             \
  [](int m, void* s, int n, T* r, T a, T beta) {                         \
    return Call<T>(_rofsRng##Name, _rofdRng##Name, m, s, n, r, a, beta); \
  }

template <class T>
Generator<T> Weibull(T alpha) {
  return {"Weibull alpha " + std::to_string(alpha),
          [alpha](int m, void* s, int n, T* r, T a, T beta) {
            return Call<T>(_rofsRngWeibull, _rofdRngWeibull, m, s, n, r, alpha, a, beta);
          },
          true,
          [alpha](void* s, int n, T a, T beta) {
            std::vector<T> x = MinusLn<T>(s, n);
            return Scaled(alpha == T(1) ? x : Powx(x, T(1) / alpha), beta, a);
          },
          [alpha](T ln_zero) {
            return alpha == T(1) ? -ln_zero : Powx(std::vector<T>{-ln_zero}, T(1) / alpha)[0];
          },
          [k = double(alpha)](double z) { return z <= 0 ? 0 : -expm1(-pow(z, k)); }};
}

template <class T>
std::vector<Generator<T>> Generators() {
  return {
      {"Exponential", DIST_TEST_DRAW(Exponential), true,
       [](void* s, int n, T a, T beta) { return Scaled(MinusLn<T>(s, n), beta, a); },
       [](T ln_zero) { return -ln_zero; }, [](double z) { return z <= 0 ? 0 : -expm1(-z); }},
      {"Rayleigh", DIST_TEST_DRAW(Rayleigh), true,
       [](void* s, int n, T a, T beta) { return Scaled(Sqrt(MinusLn<T>(s, n)), beta, a); },
       [](T ln_zero) { return Sqrt<T>({-ln_zero})[0]; },
       [](double z) { return z <= 0 ? 0 : -expm1(-z * z); }},
      Weibull<T>(1), Weibull<T>(T(0.625)),
      {"Gumbel", DIST_TEST_DRAW(Gumbel), false,
       [](void* s, int n, T a, T beta) { return Scaled(Ln(MinusLn<T>(s, n)), beta, a); },
       [](T ln_zero) { return Ln<T>({-ln_zero})[0]; },
       [](double z) { return -expm1(-exp(z)); }},
      {"Cauchy", DIST_TEST_DRAW(Cauchy), false,
       [](void* s, int n, T a, T beta) {
         return Scaled(Tan(Uniforms<T>(s, n, -T(M_PI_2), T(M_PI_2))), beta, a);
       },
       [](T) { return Tan<T>({-T(M_PI_2)})[0]; }, [](double z) { return 0.5 + atan(z) / M_PI; }},
      // Result i takes the uniforms 2i (through Ln) and 2i + 1 (the side: +beta above 0.5).
      {"Laplace", DIST_TEST_DRAW(Laplace), false,
       [](void* s, int n, T a, T beta) {
         const std::vector<T> u = Uniforms<T>(s, 2 * n, 0, 1);
         std::vector<T> even(n);
         for (int i = 0; i < n; ++i) even[i] = u[2 * i];
         std::vector<T> r = Ln(even);
         for (int i = 0; i < n; ++i) r[i] = r[i] * (u[2 * i + 1] > T(0.5) ? beta : -beta) + a;
         return r;
       },
       [](T ln_zero) { return ln_zero * T(-1); },  // a side uniform of 0: the -beta side
       [](double z) { return z < 0 ? 0.5 * exp(z) : 1 - 0.5 * exp(-z); }},
  };
}
#undef DIST_TEST_DRAW

template <class T>
class SimpleContinuousTest : public ::testing::Test {};
TYPED_TEST_SUITE(SimpleContinuousTest, RealTypes);

// Each is its transform of the uniforms bit for bit, clamps to a if accurate, takes the finite
// substitute for a uniform of 0, fits, and returns a failing stream's status, frame restored.
TYPED_TEST(SimpleContinuousTest, EachIsTheTransformOfTheUniformsAndFits) {
  using T = TypeParam;
  const int n = 2500;  // two whole Laplace blocks and a remainder
  const T a = T(1.5);
  uint32_t seed = 100;
  for (const Generator<T>& g : Generators<T>()) {
    SCOPED_TRACE(g.name);
    TestStream s1, s2, s3, fitted(ROF_BRNG_MT19937, {++seed});
    std::vector<T> r(n), accurate(n), x(kDraws);
    ASSERT_EQ(g.draw(0, s1, n, r.data(), a, T(-0.75)), ROF_STATUS_OK);
    EXPECT_EQ(r, g.reference(s2, n, a, T(-0.75)));
    ASSERT_EQ(g.draw(ROF_ACCURATE_BIT, s3, n, accurate.data(), a, T(-0.75)), ROF_STATUS_OK);
    for (int i = 0; i < n; ++i) ASSERT_EQ(accurate[i], g.accurate && r[i] < a ? a : r[i]) << i;
    const ThreadFrame before;
    ScriptedStream zero({0.0});
    ASSERT_EQ(g.draw(0, zero, 1, r.data(), T(0), T(1)), ROF_STATUS_OK);
    EXPECT_EQ(r[0], g.from_zero(T(LnOfZero<T>())));
    EXPECT_TRUE(ThreadFrame() == before) << "after the substitute";
    ASSERT_EQ(g.draw(0, fitted, kDraws, x.data(), T(0.5), T(2)), ROF_STATUS_OK);
    ExpectFit(x, [&](double v) { return g.standard_cdf((v - 0.5) / 2); });
    ExpectFailureAndFrame<T>([&](void* s, int n, T* r) { return g.draw(0, s, n, r, 0, 1); });
  }
  ScriptedStream s({0.25});  // a NaN Weibull alpha is not 1: NaN results
  T r;
  ASSERT_EQ(Weibull(T(NAN)).draw(0, s, 1, &r, 0, 1), ROF_STATUS_OK);
  EXPECT_TRUE(std::isnan(r));
}

// Laplace draws 2048 uniforms per block of 1024, then the rest; a side of 0.5 is -beta.
TYPED_TEST(SimpleContinuousTest, LaplaceBlocksAndSides) {
  using T = TypeParam;
  const Generator<T> laplace = Generators<T>().back();
  const std::vector<T> ln = Ln(std::vector<T>{T(0.125), T(0.625), T(0.375)});
  const T side[3] = {T(-3), T(3), T(-3)};
  const long long rows[][3] = {{0, 1, 0}, {5, 1, 10}, {1024, 2, 2048}, {2048, 3, 4096},
                               {2049, 3, 4098}};  // n, calls, drawn
  for (const auto& [n, calls, drawn] : rows) {
    // Pairs (u, v) with v cycling through 0.5 (-beta), 0.75 (+beta), 0.25 (-beta).
    ScriptedStream s({0.125, 0.5, 0.625, 0.75, 0.375, 0.25});
    std::vector<T> r(n + 1, T(7));
    ASSERT_EQ(laplace.draw(0, s, int(n), r.data(), T(2), T(3)), ROF_STATUS_OK);
    EXPECT_EQ(CurrentScript().calls, calls) << n;
    EXPECT_EQ(CurrentScript().drawn, drawn) << n;
    EXPECT_EQ(r[n], T(7)) << "written past n = " << n;
    for (int i = 0; i < n; ++i) ASSERT_EQ(r[i], ln[i % 3] * side[i % 3] + T(2)) << i;
  }
}
}  // namespace
