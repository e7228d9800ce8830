// Special values, overflow and underflow bounds and statuses: one table per family.
#include "tests/kernels/special_cases.h"

namespace {

using special_cases::kInf;
using special_cases::kNaN;
using special_cases::Binary;
using special_cases::RunCases;
using special_cases::Unary;

constexpr int kDom = TEM_STATUS_ERRDOM, kSing = TEM_STATUS_SING;
constexpr int kOver = TEM_STATUS_OVERFLOW, kUnder = TEM_STATUS_UNDERFLOW;

// Values at the edges of the statuses; results alone are the accuracy harness's.
TEST(SpecialValues, FunctionsOfOneInput) {
  RunCases<Unary>({
      {"sd", "Exp", {{-kInf, 0.0}, {kInf, kInf}, {kNaN, kNaN}}},
      // Subnormal results rounded once (at -0x1.62333c382a12fp+9 twice is one ulp too low).
      {"d", "Exp", {{709.782712893384, 1.7976931348622732e+308},
          {0x1.62e42fefa39f0p+9, kInf, kOver}, {-745.14, 0.0, kUnder},
          {-0x1.62333c382a12fp+9, 0x0.ff03bba0af77dp-1022, kUnder},
          {-720.0, 0x0.0000993b4dc95p-1022, kUnder}}},
      {"s", "Exp", {{88.73, kInf, kOver}, {88.72283172607422, 0x1.ffff08p+127},
          {-90.0, 0x1.1d85p-130, kUnder}, {-104.0, 0.0, kUnder}}},
      {"d", "Exp2", {{1024.0, kInf, kOver}, {-1074.0, 0x1p-1074, kUnder}, {-1080.0, 0.0, kUnder}}},
      {"s", "Exp2", {{128.0, kInf, kOver}, {-149.0, 0x1p-149, kUnder}}},
      {"d", "Exp10", {{309.0, kInf, kOver}, {-320.0, 1e-320, kUnder}, {-400.0, 0.0, kUnder}}},
      {"s", "Exp10", {{39.0, kInf, kOver}, {-38.0, 0x1.b38fb8p-127, kUnder}}},
      {"d", "Expm1", {{710.0, kInf, kOver}, {-50.0, -1.0}}},
      {"s", "Expm1", {{89.0, kInf, kOver}, {-89.0, -1.0}}},
      {"d", "Sinh", {{711.0, kInf, kOver}, {-711.0, -kInf, kOver}}},
      {"s", "Sinh", {{-89.5, -kInf, kOver}}},
      {"sd", "Sinh", {{-kInf, -kInf}}},
      {"d", "Cosh", {{-711.0, kInf, kOver}, {710.0, 1.1169973830808555e+308}}},
      {"s", "Cosh", {{89.41, 0x1.fcf23p+127}, {89.5, kInf, kOver}}},
      {"sd", "Tanh", {{20.0, 1.0}, {-kInf, -1.0}}},
      // Log2 and Log10 share Ln's flags and special cases.
      {"sd", "Ln", {{kNaN, kNaN}, {kInf, kInf}, {-kInf, kNaN, kDom}, {0.0, -kInf, kSing},
          {-0.0, -kInf, kSing}, {-1.0, kNaN, kDom}, {1.0, 0.0}}},
      // The largest subnormal takes the companion.
      {"d", "Ln", {{0x1p-1022 - 0x1p-1074, -708.39641853226408}}},
      {"sd", "Log1p", {{-1.0, -kInf, kSing}, {-2.0, kNaN, kDom}, {-kInf, kNaN, kDom}, {kInf, kInf},
          {kNaN, kNaN}}},
      {"sd", "Logb", {{0.0, -kInf, kDom}, {-0.0, -kInf, kDom}, {-kInf, kInf}, {kNaN, kNaN}}},
      {"sd", "Asinh", {{-kInf, -kInf}, {kNaN, kNaN}}},
      {"sd", "Acosh", {{0.5, kNaN, kDom}, {1.0, 0.0}, {-kInf, kNaN, kDom}, {kInf, kInf}}},
      {"s", "Atanh", {{1.0, kInf, kSing}, {-1.0, -kInf, kSing}}},
      {"d", "Atanh", {{1.0, kInf, kDom}, {-1.0, -kInf, kDom}}},
      {"sd", "Atanh", {{2.0, kNaN, kDom}, {-kInf, kNaN, kDom}, {kNaN, kNaN}}},
      {"sd", "Sqrt", {{-0.0, -0.0}, {-1.0, kNaN, kDom}, {-kInf, kNaN, kDom}, {kInf, kInf},
          {-kNaN, kNaN}}},
      {"sd", "InvSqrt", {{0.0, kInf, kSing}, {-0.0, -kInf, kSing}, {-4.0, kNaN, kDom}, {kInf, 0.0},
          {kNaN, kNaN}}},
      {"sd", "Cbrt", {{-kInf, -kInf}, {kNaN, kNaN}}},
      {"sd", "InvCbrt", {{0.0, kInf, kSing}, {-0.0, -kInf, kSing}, {-kInf, -0.0}}},
      {"sd", "Pow2o3", {{-kInf, kInf}, {kNaN, kNaN}}},
      {"sd", "Pow3o2", {{-4.0, kNaN, kDom}, {-kInf, kNaN, kDom}, {-0.0, 0.0}, {kInf, kInf}}},
      {"s", "Pow3o2", {{0x1p86, kInf, kOver}}},
      {"d", "Pow3o2", {{0x1p1000, kInf, kOver}, {0x1p-1000, 0.0}}},
      {"sd", "ErfInv", {{kNaN, kNaN}, {kInf, kNaN, kDom}, {-kInf, kNaN, kDom}, {1.5, kNaN, kDom},
          {-2.0, kNaN, kDom}, {1.0, kInf, kSing}, {-1.0, -kInf, kSing}}},
  });
}

// The same statuses hold for Pow and for Powx on its general path; Pow reports no underflow.
TEST(SpecialValues, PowAndPowx) {
  for (const char* stem : {"Pow", "Powx"}) {
    RunCases<Binary>({
        {"sd", stem, {{0.0, -3.0, kInf, kDom}, {-0.0, -3.0, -kInf, kDom}, {-0.0, -4.0, kInf, kDom},
            {-8.0, 1.0 / 3, kNaN, kDom}, {1.0, kNaN, 1.0}, {kNaN, 0.0, 1.0}, {-1.0, kInf, 1.0},
            {-kInf, 3.0, -kInf}}},
        {"s", stem, {{2.0, 128.0, kInf, kOver}, {-2.0, 129.0, -kInf, kOver},
            {2.0, -149.0, 0x1p-149}, {2.0, -200.0, 0.0}}},
        {"d", stem, {{2.0, 1024.0, kInf, kOver}, {-2.0, 1025.0, -kInf, kOver},
            {2.0, -1074.0, 0x1p-1074}, {2.0, -2000.0, 0.0}}},
    });
  }
  // Exponents near the largest double, on both sides of 1 (Pow alone: Powx would take them for
  // its other lanes too).
  RunCases<Binary>({{"d", "Pow", {{1.0, 0x1p1000, 1.0}, {-1.0, -0x1.fffffffffffffp1023, 1.0},
      {0x1.fffffffffffffp-1, 0x1p961, 0.0}, {0x1.0000000000001p0, 0x1p961, kInf, kOver}}}});
}

// An infinity gives NaN with status 1, reported once per element by SinCos too; 1e22, far past
// the medium reduction, is reduced exactly.
TEST(SpecialValues, Trigonometric) {
  for (const char* stem : {"Sin", "Cos", "SinCos_sin", "SinCos_cos", "Tan"})
    RunCases<Unary>({{"sd", stem, {{kInf, kNaN, kDom}, {-kInf, kNaN, kDom}, {kNaN, kNaN}}}});
  RunCases<Unary>({{"d", "Sin", {{1e22, -0.8522008497671888}}}});
}

TEST(SpecialValues, FunctionsOfTwoInputs) {
  RunCases<Binary>({
      {"sd", "Hypot", {{kInf, kNaN, kInf}, {kNaN, -kInf, kInf}, {kNaN, 1.0, kNaN}}},
      {"s", "Hypot", {{3 * 0x1p125, 4 * 0x1p125, 5 * 0x1p125}, {0x1.8p127, 0x1.8p127, kInf}}},
      // Squares beyond the floats, or below their normal range, under a root within them.
      {"s", "Hypot", {{0x1p100, -1.0, 0x1p100}, {3 * 0x1p-100, 4 * 0x1p-100, 5 * 0x1p-100},
                      {0x1p-149, -0.0, 0x1p-149}, {0x1.fffffep127, 0.0, 0x1.fffffep127}}},
      {"d", "Hypot", {{3 * 0x1p1021, 4 * 0x1p1021, 5 * 0x1p1021}, {0x1.8p1023, 0x1.8p1023, kInf}}},
      // A subnormal result rounded once (twice, it is one ulp too low).
      {"d", "Hypot", {{0x0.046d073ab73aap-1022, 0x0.b4ae035a7ba5dp-1022, 0x0.b4bbe362b51afp-1022}}},
      {"sd", "Powr", {{-8.0, 3.0, kNaN, kDom}, {-kInf, 2.0, kNaN, kDom}, {-0.0, -3.0, kInf, kDom},
          {0.0, 0.0, kNaN}, {1.0, kInf, kNaN}, {kInf, 0.0, kNaN}}},
      {"s", "Powr", {{2.0, 128.0, kInf, kOver}, {2.0, -140.0, 0x1p-140, kUnder},
          {2.0, -160.0, 0.0, kUnder}}},
      {"d", "Powr", {{2.0, 1024.0, kInf, kOver}, {2.0, -1074.0, 0x1p-1074, kUnder},
          {2.0, -1080.0, 0.0, kUnder}}},
      // Exponents that Powx sends to another function's table or its own loops: Inv(-0) and
      // InvSqrt(0) with status 2, Sqrt(-0) = -0.
      {"sd", "Powx", {{-4.0, -1.0, -0.25}, {-0.0, -1.0, -kInf, kSing}, {-0.0, 0.5, -0.0},
          {-1.0, 0.5, kNaN, kDom}, {16.0, -0.5, 0.25}, {0.0, -0.5, kInf, kSing}, {-0.0, 1.0, -0.0},
          {-3.0, 2.0, 9.0}, {4.0, 1.5, 8.0}, {-4.0, 1.5, kNaN, kDom}, {-kInf, 1.5, kInf}}},
      {"s", "Powx", {{0x1p64, 2.0, kInf, kOver}}},
      {"d", "Powx", {{1e200, 2.0, kInf, kOver}}},
      // Fmod reports a zero divisor or an infinite dividend as a singularity, Remainder as a
      // domain error; equal magnitudes give a zero with the sign of a.
      {"sd", "Fmod", {{5, 0, kNaN, kSing}, {kInf, 2, kNaN, kSing}, {3, kInf, 3}, {kNaN, 0, kNaN},
          {-3, 3, -0.0}, {3, -3, 0.0}}},
      {"sd", "Remainder", {{-3, 3, -0.0}, {3, -3, 0.0}, {5, 0, kNaN, kDom}, {-kInf, 3, kNaN, kDom},
          {-0.0, 2, -0.0}, {2, kInf, 2}, {kNaN, 0, kNaN}}},
      // NextAfter reports a step to an infinity or to a subnormal or zero, but not from a zero
      // or an infinity (its values: the selection test).
      {"d", "NextAfter", {{0x1.fffffffffffffp1023, kInf, kInf, kOver},
          {-0x1.fffffffffffffp1023, -kInf, -kInf, kOver}, {-0x1p-1074, 1, -0.0, kUnder},
          {0x1p-1022, 0, 0x0.fffffffffffffp-1022, kUnder}, {0.0, 1, 0x1p-1074},
          {kInf, 0, 0x1.fffffffffffffp1023}}},
      {"s", "NextAfter", {{0x1.fffffep127, kInf, kInf, kOver}, {-0x1p-149, 1, -0.0, kUnder},
          {0x1p-126, 0, 0x0.fffffep-126, kUnder}, {0.0, 1, 0x1p-149}, {kInf, 0, 0x1.fffffep127}}},
  });
}

// Inv and Div store the hardware quotient and report a divisor of +-0, whatever the dividend;
// the other operations give the hardware result and report nothing, an overflow included (Abs:
// the selection test).
TEST(SpecialValues, Arithmetic) {
  RunCases<Unary>({
      {"sd", "Inv", {{-0.0, -kInf, kSing}, {0.0, kInf, kSing}, {kInf, 0.0}, {kNaN, kNaN},
          {4, 0.25}}},
      {"sd", "Sqr", {{-3, 9}}},
  });
  RunCases<Binary>({
      {"sd", "Div", {{1, -0.0, -kInf, kSing}, {0, 0, kNaN, kSing}, {kNaN, 0, kNaN, kSing},
          {1, 4, 0.25}, {1, kInf, 0.0}, {kInf, kInf, kNaN}}},
      {"d", "Add", {{0x1.fffffffffffffp1023, 0x1.fffffffffffffp1023, kInf}}},
      {"s", "Add", {{0x1.fffffep127, 0x1.fffffep127, kInf}}},
      {"sd", "Add", {{kInf, -kInf, kNaN}, {kNaN, 1, kNaN}, {1, 2, 3}}},
      {"sd", "Sub", {{1, 3, -2}}},
      {"sd", "Mul", {{3, -0.5, -1.5}}},
  });
}

}  // namespace
