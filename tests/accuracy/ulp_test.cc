// The error measure on hand-checked cases: ties, binade edges, subnormals, overflow, results
// that must match; and the double reference of the all-floats sweep against MPFR.
#include "tests/accuracy/ulp.h"

#include <cfloat>
#include <random>

#include "gtest/gtest.h"

namespace accuracy {
namespace {

// The exact value (hi + lo) * 2^scale, inexact when the reference rounded; the error wanted in
// ulps, INFINITY for a result that must match and does not.
struct Case { double hi, lo; bool inexact; double computed, want; int scale = 0; };

template <class T>
void Check(const std::vector<Case>& cases) {
  mpfr_t exact;
  mpfr_init2(exact, 2200);  // holds hi + lo exactly across the whole double range
  for (const Case& c : cases) {
    mpfr_set_d(exact, c.hi, MPFR_RNDN);
    mpfr_add_d(exact, exact, c.lo, MPFR_RNDN);
    mpfr_mul_2si(exact, exact, c.scale, MPFR_RNDN);
    const Expected<T> e = FromMpfr<T>(exact, c.inexact ? 1 : 0);
    EXPECT_EQ(UlpError(static_cast<T>(c.computed), e), c.want)
        << "exact " << c.hi << " + " << c.lo << ", computed " << c.computed;
  }
  mpfr_clear(exact);
}

TEST(UlpErrorTest, DoubleCases) {
  const double below_min_normal = 0x1p-1022 - 0x1p-1074;
  Check<double>({
      {1.0, 0x1p-53, false, 1.0 + 0x1p-52, 0.5},  // a tie rounds to even: 1
      // Just below 1 rounds to 1; the ulp is that of 1's binade.
      {1.0, -0x1p-60, false, 1.0 - 0x1p-53, 0.5 - 0x1p-8},
      // Subnormals: the ulp is 2^-1074 throughout; 2.5 units tie to 2.
      {2.0, 0.5, false, 0x1p-1074, 1.5, -1074},
      {1.0, -0x1p-58, false, below_min_normal, 1.0 - 0x1p-6, -1022},
      // A quarter of the smallest subnormal rounds to zero, which must come with its sign.
      {0.25, 0.0, false, 0x1p-1074, INFINITY, -1074},
      {-0.25, 0.0, false, 0.0, INFINITY, -1074},
      {-0.25, 0.0, false, -0.0, 0.0, -1074},
      // Above the largest double: below the midpoint it rounds to DBL_MAX, from 2^1024 to inf.
      {DBL_MAX, 0x1p969, false, DBL_MAX, 0.25},
      {DBL_MAX, 0x1p969, false, INFINITY, INFINITY},
      {0x1p1023, 0x1p1023, false, DBL_MAX, INFINITY},
      {-INFINITY, 0.0, false, -INFINITY, 0.0},
      // An exact result must be met bit for bit; an inexact one of the same value need not.
      {8.0, 0.0, false, 8.0 - 0x1p-50, INFINITY},
      {8.0, 0.0, true, 8.0 - 0x1p-50, 0.5},
      {NAN, 0.0, false, -NAN, 0.0},
      {NAN, 0.0, false, 1.0, INFINITY},
      {1.0, 0.0, false, NAN, INFINITY},
  });
}

TEST(UlpErrorTest, FloatCases) {
  Check<float>({
      {1.0, -0x1p-30, false, 1.0 - 0x1p-24, 0.5 - 0x1p-7},
      {0x1p-148, 0x1p-150, false, 0x1p-149, 1.5},
      {0x1p-151, 0.0, false, 0.0, 0.0},
      {0x1p-151, 0.0, false, 0x1p-149, INFINITY},
      // The midpoint above FLT_MAX ties to the even 2^128, which overflows.
      {FLT_MAX, 0x1p103, false, INFINITY, 0.0},
      {FLT_MAX, 0x1p102, false, FLT_MAX, 0.25},
      {FLT_MAX, 0x1p102, false, INFINITY, INFINITY},
  });
}

TEST(DoubleReferenceTest, HardCasesGoToMpfr) {
  // A float midpoint, next to a float (perhaps exact), next to the overflow midpoint and far
  // above it (inf for sure), half the smallest subnormal and far below it (zero for sure).
  const struct { double reference; bool needs_mpfr; } cases[] = {
      {1.0 + 0x1p-24, true},         {1.0 + 0x1p-46, true}, {3.0, true}, {1.0 + 0x1p-26, false},
      {0x1.fffffefffffffp127, true}, {0x1p129, false},      {0x1p-150, true}, {0x1p-200, false},
      {0x1.8p-150, false},           {0.0, false},          {INFINITY, false}, {NAN, false}};
  for (const auto& c : cases)
    EXPECT_EQ(NeedsExactReference(c.reference, false), c.needs_mpfr) << c.reference;
  EXPECT_FALSE(NeedsExactReference(3.0, true));
}

// Away from the hard cases the double reference gives MPFR's expectation for any double that
// stands for the exact value.
TEST(DoubleReferenceTest, AgreesWithMpfrOffTheHardCases) {
  std::mt19937_64 engine(20240611);
  mpfr_t exact;
  mpfr_init2(exact, 53);
  int checked = 0;
  for (int i = 0; i < 200000; ++i) {
    double d;
    const uint64_t bits = (engine() & 0x800FFFFFFFFFFFFFu) | ((engine() % 0x160 + 0x320) << 52);
    std::memcpy(&d, &bits, sizeof d);  // exponents from 2^-224 to 2^128, across every edge
    if (NeedsExactReference(d, false)) continue;
    ++checked;
    mpfr_set_d(exact, d, MPFR_RNDN);
    const Expected<float> a = FromDouble(d, false), b = FromMpfr<float>(exact, 1);
    ASSERT_TRUE(SameBits(a.rounded, b.rounded) && a.offset == b.offset &&
                a.must_match == b.must_match)
        << std::hexfloat << d;
  }
  EXPECT_GT(checked, 190000);
}

}  // namespace
}  // namespace accuracy
