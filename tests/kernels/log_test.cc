// The logarithm family beyond its special values: the reports of Log1p's two-register steps,
// and the single logarithms' error on the reduction, tighter than the accuracy harness's ulp.
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "qor/tem.h"

namespace {

std::vector<std::pair<int, double>> g_seen;
int Record(temErrorContext* c) { return g_seen.push_back({c->Index, c->Arg1}), 0; }

// Flagged lanes in either register of a step, after a clean step, and in the register left
// after the last step are each reported once, in order.
template <class T>
void CheckLog1pReports(void (*log1p)(int, const T*, T*)) {
  const T b[11] = {2, -1, 3, 0.5, 4, 5, 6, -2, 7, -3, 8};
  T r[11];
  g_seen.clear();
  const temErrorCallBack old = _temSetErrorCallBack(Record);
  log1p(11, b, r);
  _temSetErrorCallBack(old);
  const std::vector<std::pair<int, double>> want = {{1, -1.0}, {7, -2.0}, {9, -3.0}};
  EXPECT_EQ(g_seen, want);
}

TEST(LogTest, Log1pReportsEachFlaggedElementOfItsSteps) {
  CheckLog1pReports<float>(_temsLog1p);
  CheckLog1pReports<double>(_temdLog1p);
}

// Every 61st float of [1/2, 4), the worst input of the plain single-precision sum
// (0x1.556f9p+0, 0.97 ulp there) and the worst inputs over all floats, against the double
// function (its error is below 2^-28 float ulps).
TEST(LogTest, SingleLogsStayWellBelowOneUlpOnTheReduction) {
  const struct {
    void (*f)(int, const float*, float*);
    double (*reference)(double);
    double bound;
  } cases[] = {{_temsLn, std::log, 0.66}, {_temsLog2, std::log2, 0.77},
               {_temsLog10, std::log10, 0.71}};
  std::vector<float> a = {0x1.556f9p+0f, 0x1.557b74p+0f, 0x1.55a95p+0f, 0x1.55594cp+0f};
  for (uint32_t bits = 0x3F000000; bits < 0x40800000; bits += 61) {
    float v;
    memcpy(&v, &bits, sizeof v);
    a.push_back(v);
  }
  std::vector<float> r(a.size());
  for (const auto& c : cases) {
    c.f(static_cast<int>(a.size()), a.data(), r.data());
    for (size_t i = 0; i < a.size(); ++i) {
      const double exact = c.reference(a[i]);
      if (exact == 0) continue;
      const double ulp = std::ldexp(1.0, std::ilogb(static_cast<float>(exact)) - 23);
      ASSERT_LT(std::fabs(r[i] - exact) / ulp, c.bound) << "at " << std::hexfloat << a[i];
    }
  }
}

}  // namespace
