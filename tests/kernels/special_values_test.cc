// Special values, overflow and underflow bounds and statuses of the elementary functions: one
// table per family, each case through every entry, loop kind and error mode (special_cases.h).
#include "tests/kernels/special_cases.h"

namespace {

using special_cases::kInf;
using special_cases::kNaN;
using special_cases::RunCases;

constexpr int kDom = TEM_STATUS_ERRDOM, kSing = TEM_STATUS_SING;
constexpr int kOver = TEM_STATUS_OVERFLOW, kUnder = TEM_STATUS_UNDERFLOW;

TEST(SpecialValues, ExponentialFamily) {
  RunCases({
      {"sd", "Exp", 0.0, 0, 1.0, 0}, {"sd", "Exp", -kInf, 0, 0.0, 0},
      {"sd", "Exp", kInf, 0, kInf, 0}, {"sd", "Exp", kNaN, 0, kNaN, 0},
      {"d", "Exp", 0x1p-60, 0, 1.0, 0},
      {"d", "Exp", 709.782712893384, 0, 1.7976931348622732e+308, 0},
      {"d", "Exp", 0x1.62e42fefa39f0p+9, 0, kInf, kOver}, {"d", "Exp", -745.14, 0, 0.0, kUnder},
      {"d", "Exp", -708.5, 0, 2.006132305331306e-308, kUnder}, {"s", "Exp", 88.73, 0, kInf, kOver},
      {"s", "Exp", 88.72283172607422, 0, 0x1.ffff08p+127, 0},
      {"s", "Exp", -90.0, 0, 0x1.1d85p-130, kUnder}, {"s", "Exp", -104.0, 0, 0.0, kUnder},
      {"d", "Exp2", 1023.5, 0, 1.2711610061536464e+308, 0}, {"d", "Exp2", 1024.0, 0, kInf, kOver},
      {"d", "Exp2", -1074.0, 0, 0x1p-1074, kUnder}, {"d", "Exp2", -1080.0, 0, 0.0, kUnder},
      {"s", "Exp2", 128.0, 0, kInf, kOver}, {"s", "Exp2", -149.0, 0, 0x1p-149, kUnder},
      {"sd", "Exp2", -kInf, 0, 0.0, 0}, {"d", "Exp10", 308.0, 0, 1e308, 0},
      {"d", "Exp10", 309.0, 0, kInf, kOver}, {"d", "Exp10", -320.0, 0, 1e-320, kUnder},
      {"d", "Exp10", -400.0, 0, 0.0, kUnder}, {"s", "Exp10", 39.0, 0, kInf, kOver},
      {"s", "Exp10", -38.0, 0, 0x1.b38fb8p-127, kUnder}, {"d", "Expm1", 710.0, 0, kInf, kOver},
      {"s", "Expm1", 89.0, 0, kInf, kOver}, {"d", "Expm1", -50.0, 0, -1.0, 0},
      {"s", "Expm1", -89.0, 0, -1.0, 0}, {"sd", "Expm1", -kInf, 0, -1.0, 0},
      {"d", "Expm1", 1e-300, 0, 1e-300, 0}, {"d", "Sinh", 711.0, 0, kInf, kOver},
      {"d", "Sinh", -711.0, 0, -kInf, kOver}, {"s", "Sinh", -89.5, 0, -kInf, kOver},
      {"sd", "Sinh", -kInf, 0, -kInf, 0}, {"sd", "Sinh", -0.0, 0, -0.0, 0},
      {"d", "Cosh", -711.0, 0, kInf, kOver}, {"d", "Cosh", 710.0, 0, 1.1169973830808555e+308, 0},
      {"s", "Cosh", 89.41, 0, 0x1.fcf23p+127, 0}, {"s", "Cosh", 89.5, 0, kInf, kOver},
      {"sd", "Cosh", kNaN, 0, kNaN, 0}, {"sd", "Tanh", 20.0, 0, 1.0, 0},
      {"d", "Tanh", -25.0, 0, -1.0, 0}, {"sd", "Tanh", -kInf, 0, -1.0, 0},
      {"sd", "Tanh", -0.0, 0, -0.0, 0}, {"d", "Tanh", 1e-300, 0, 1e-300, 0},
  });
}

TEST(SpecialValues, LogarithmFamily) {
  RunCases({
      {"sd", "Ln", kNaN, 0, kNaN, 0}, {"sd", "Ln", kInf, 0, kInf, 0},
      {"sd", "Ln", -kInf, 0, kNaN, kDom}, {"sd", "Ln", 0.0, 0, -kInf, kSing},
      {"sd", "Ln", -0.0, 0, -kInf, kSing}, {"sd", "Ln", -1.0, 0, kNaN, kDom},
      {"sd", "Ln", 1.0, 0, 0.0, 0},
      // The smallest normal takes the block path, the largest subnormal the companion.
      {"d", "Ln", 0x1p-1022, 0, -708.39641853226408, 0},
      {"d", "Ln", 0x1p-1022 - 0x1p-1074, 0, -708.39641853226408, 0},
      {"sd", "Log2", 0.0, 0, -kInf, kSing}, {"sd", "Log2", -3.0, 0, kNaN, kDom},
      {"sd", "Log2", 1024.0, 0, 10.0, 0}, {"sd", "Log2", -kInf, 0, kNaN, kDom},
      {"sd", "Log10", -0.0, 0, -kInf, kSing}, {"sd", "Log10", 1e-5, 0, -5.0, 0},
      {"sd", "Log10", kInf, 0, kInf, 0}, {"sd", "Log1p", -1.0, 0, -kInf, kSing},
      {"sd", "Log1p", -2.0, 0, kNaN, kDom}, {"sd", "Log1p", -kInf, 0, kNaN, kDom},
      {"sd", "Log1p", -0.0, 0, -0.0, 0}, {"sd", "Log1p", kInf, 0, kInf, 0},
      {"sd", "Log1p", kNaN, 0, kNaN, 0}, {"sd", "Logb", 0.0, 0, -kInf, kDom},
      {"sd", "Logb", -0.0, 0, -kInf, kDom}, {"sd", "Logb", -kInf, 0, kInf, 0},
      {"sd", "Logb", kNaN, 0, kNaN, 0}, {"sd", "Logb", -8.5, 0, 3.0, 0},
      {"d", "Logb", 5e-324, 0, -1074.0, 0}, {"s", "Logb", 0x1p-149, 0, -149.0, 0},
      {"sd", "Asinh", -0.0, 0, -0.0, 0}, {"sd", "Asinh", -kInf, 0, -kInf, 0},
      {"sd", "Asinh", kNaN, 0, kNaN, 0}, {"sd", "Acosh", 0.5, 0, kNaN, kDom},
      {"sd", "Acosh", 1.0, 0, 0.0, 0}, {"sd", "Acosh", -kInf, 0, kNaN, kDom},
      {"sd", "Acosh", kInf, 0, kInf, 0}, {"s", "Atanh", 1.0, 0, kInf, kSing},
      {"s", "Atanh", -1.0, 0, -kInf, kSing}, {"d", "Atanh", 1.0, 0, kInf, kDom},
      {"d", "Atanh", -1.0, 0, -kInf, kDom}, {"sd", "Atanh", 2.0, 0, kNaN, kDom},
      {"sd", "Atanh", -kInf, 0, kNaN, kDom}, {"sd", "Atanh", -0.0, 0, -0.0, 0},
      {"sd", "Atanh", kNaN, 0, kNaN, 0},
  });
}

TEST(SpecialValues, SquareRoots) {
  RunCases({
      {"sd", "Sqrt", 4.0, 0, 2.0, 0}, {"sd", "Sqrt", 0.0, 0, 0.0, 0},
      {"sd", "Sqrt", -0.0, 0, -0.0, 0}, {"sd", "Sqrt", -1.0, 0, kNaN, kDom},
      {"sd", "Sqrt", -kInf, 0, kNaN, kDom}, {"sd", "Sqrt", kInf, 0, kInf, 0},
      {"sd", "Sqrt", kNaN, 0, kNaN, 0}, {"sd", "Sqrt", -kNaN, 0, kNaN, 0},
      {"s", "Sqrt", 0x1p-148, 0, 0x1p-74, 0}, {"d", "Sqrt", 0x1p-1074, 0, 0x1p-537, 0},
      {"d", "Sqrt", 0x1p-1073, 0, 0x1.6a09e667f3bcdp-537, 0},
      {"d", "Sqrt", 0x1p1022, 0, 0x1p511, 0}, {"d", "Sqrt", 0x1.2p1023, 0, 0x1.8p511, 0},
      {"sd", "InvSqrt", 0.25, 0, 2.0, 0}, {"sd", "InvSqrt", 0.0, 0, kInf, kSing},
      {"sd", "InvSqrt", -0.0, 0, -kInf, kSing}, {"sd", "InvSqrt", -4.0, 0, kNaN, kDom},
      {"sd", "InvSqrt", kInf, 0, 0.0, 0}, {"sd", "InvSqrt", kNaN, 0, kNaN, 0},
      {"s", "InvSqrt", 0x1p-148, 0, 0x1p74, 0}, {"d", "InvSqrt", 0x1p-1074, 0, 0x1p537, 0},
      {"d", "InvSqrt", 0x1p1022, 0, 0x1p-511, 0},
  });
}

TEST(SpecialValues, CubeRootsAndRationalPowers) {
  RunCases({
      {"sd", "Cbrt", -27.0, 0, -3.0, 0}, {"sd", "Cbrt", 0.125, 0, 0.5, 0},
      {"sd", "Cbrt", 0.0, 0, 0.0, 0}, {"sd", "Cbrt", -0.0, 0, -0.0, 0},
      {"sd", "Cbrt", kInf, 0, kInf, 0}, {"sd", "Cbrt", -kInf, 0, -kInf, 0},
      {"sd", "Cbrt", kNaN, 0, kNaN, 0}, {"s", "Cbrt", 0x1p-147, 0, 0x1p-49, 0},
      {"d", "Cbrt", -0x1p-1074, 0, -0x1p-358, 0}, {"d", "Cbrt", 0x1p1023, 0, 0x1p341, 0},
      {"sd", "InvCbrt", -8.0, 0, -0.5, 0}, {"sd", "InvCbrt", 0.0, 0, kInf, kSing},
      {"sd", "InvCbrt", -0.0, 0, -kInf, kSing}, {"sd", "InvCbrt", kInf, 0, 0.0, 0},
      {"sd", "InvCbrt", -kInf, 0, -0.0, 0}, {"sd", "InvCbrt", kNaN, 0, kNaN, 0},
      {"d", "InvCbrt", 0x1p-1074, 0, 0x1p358, 0}, {"sd", "Pow2o3", -8.0, 0, 4.0, 0},
      {"sd", "Pow2o3", -0.0, 0, 0.0, 0}, {"sd", "Pow2o3", -kInf, 0, kInf, 0},
      {"sd", "Pow2o3", kNaN, 0, kNaN, 0}, {"d", "Pow2o3", 0x1p-1074, 0, 0x1p-716, 0},
      {"d", "Pow2o3", -0x1p1023, 0, 0x1p682, 0}, {"sd", "Pow3o2", 4.0, 0, 8.0, 0},
      {"sd", "Pow3o2", -4.0, 0, kNaN, kDom}, {"sd", "Pow3o2", -kInf, 0, kNaN, kDom},
      {"sd", "Pow3o2", -0.0, 0, 0.0, 0}, {"sd", "Pow3o2", kInf, 0, kInf, 0},
      {"s", "Pow3o2", 0x1p86, 0, kInf, kOver}, {"d", "Pow3o2", 0x1p1000, 0, kInf, kOver},
      {"d", "Pow3o2", 0x1p-1000, 0, 0.0, 0}, {"d", "Pow3o2", 0x1p-700, 0, 0x1p-1050, 0},
  });
}

TEST(SpecialValues, Hypot) {
  RunCases({
      {"sd", "Hypot", 3.0, -4.0, 5.0, 0}, {"sd", "Hypot", kInf, kNaN, kInf, 0},
      {"sd", "Hypot", kNaN, -kInf, kInf, 0}, {"sd", "Hypot", kNaN, 1.0, kNaN, 0},
      {"sd", "Hypot", -0.0, 0.0, 0.0, 0},
      {"s", "Hypot", 3 * 0x1p-149, 4 * 0x1p-149, 5 * 0x1p-149, 0},
      {"s", "Hypot", 3 * 0x1p125, 4 * 0x1p125, 5 * 0x1p125, 0},
      {"s", "Hypot", 0x1.8p127, 0x1.8p127, kInf, 0},
      {"d", "Hypot", 3 * 0x1p-1074, 4 * 0x1p-1074, 5 * 0x1p-1074, 0},
      {"d", "Hypot", 3 * 0x1p1021, 4 * 0x1p1021, 5 * 0x1p1021, 0},
      {"d", "Hypot", 0x1.8p1023, 0x1.8p1023, kInf, 0},
      // Either side of the range that the blocks take without scaling.
      {"d", "Hypot", 0x1p509, -0x1p509, 0x1.6a09e667f3bcdp509, 0},
      {"d", "Hypot", 0x1p510, 0x1p510, 0x1.6a09e667f3bcdp510, 0},
      {"d", "Hypot", -0x1p-480, 0x1p-480, 0x1.6a09e667f3bcdp-480, 0},
      {"d", "Hypot", 0x1p-481, 0x1p-481, 0x1.6a09e667f3bcdp-481, 0},
      {"d", "Hypot", 0x1p-481, 0x1p-540, 0x1p-481, 0},
      // A subnormal result rounded once (twice, it is one ulp too low).
      {"d", "Hypot", 0x0.046d073ab73aap-1022, 0x0.b4ae035a7ba5dp-1022, 0x0.b4bbe362b51afp-1022, 0},
  });
}

// The same matrix holds for Pow and for Powx on its general path.
TEST(SpecialValues, PowAndPowx) {
  for (const char* stem : {"Pow", "Powx"}) {
    RunCases({
        {"sd", stem, 0.0, -3.0, kInf, kDom}, {"sd", stem, -0.0, -3.0, -kInf, kDom},
        {"sd", stem, -0.0, -4.0, kInf, kDom}, {"sd", stem, -0.0, 3.0, -0.0, 0},
        {"sd", stem, -0.0, 0.25, 0.0, 0}, {"sd", stem, -8.0, 1.0 / 3, kNaN, kDom},
        {"sd", stem, -8.0, 3.0, -512.0, 0}, {"sd", stem, -2.0, -8.0, 0x1p-8, 0},
        {"sd", stem, 1.0, kNaN, 1.0, 0}, {"sd", stem, kNaN, 0.0, 1.0, 0},
        {"sd", stem, kNaN, -0.0, 1.0, 0}, {"sd", stem, kNaN, 1.0, kNaN, 0},
        {"sd", stem, 0.0, 0.0, 1.0, 0}, {"sd", stem, -1.0, kInf, 1.0, 0},
        {"sd", stem, -1.0, -kInf, 1.0, 0}, {"sd", stem, 0.5, kInf, 0.0, 0},
        {"sd", stem, -0.5, -kInf, kInf, 0}, {"sd", stem, 2.0, kInf, kInf, 0},
        {"sd", stem, -2.0, -kInf, 0.0, 0}, {"sd", stem, -kInf, 3.0, -kInf, 0},
        {"sd", stem, -kInf, -3.0, -0.0, 0}, {"sd", stem, -kInf, 4.0, kInf, 0},
        {"sd", stem, kInf, -0.25, 0.0, 0}, {"sd", stem, 4.0, 0.5, 2.0, 0},
        {"s", stem, 2.0, 128.0, kInf, kOver}, {"s", stem, -2.0, 129.0, -kInf, kOver},
        {"s", stem, 2.0, -149.0, 0x1p-149, 0}, {"s", stem, 2.0, -200.0, 0.0, 0},
        {"d", stem, 2.0, 1024.0, kInf, kOver}, {"d", stem, -2.0, 1025.0, -kInf, kOver},
        {"d", stem, 2.0, -1074.0, 0x1p-1074, 0}, {"d", stem, 2.0, -2000.0, 0.0, 0},
        {"d", stem, 0x1p-1074, 0.5, 0x1p-537, 0}, {"d", stem, 1.5, 0x1p-1074, 1.0, 0},
    });
  }
}

TEST(SpecialValues, Powr) {
  RunCases({
      {"sd", "Powr", -8.0, 3.0, kNaN, kDom}, {"sd", "Powr", -kInf, 2.0, kNaN, kDom},
      {"sd", "Powr", 1.0, kNaN, kNaN, 0}, {"sd", "Powr", kNaN, 0.0, kNaN, 0},
      {"sd", "Powr", 0.0, 0.0, kNaN, 0}, {"sd", "Powr", -0.0, -0.0, kNaN, 0},
      {"sd", "Powr", 0.0, kInf, 0.0, 0}, {"sd", "Powr", 0.0, -kInf, kInf, 0},
      {"sd", "Powr", -0.0, -3.0, kInf, kDom}, {"sd", "Powr", -0.0, 3.0, 0.0, 0},
      {"sd", "Powr", 1.0, kInf, kNaN, 0}, {"sd", "Powr", 1.0, -5.0, 1.0, 0},
      {"sd", "Powr", kInf, 0.0, kNaN, 0}, {"sd", "Powr", kInf, -2.0, 0.0, 0},
      {"sd", "Powr", 0.5, -kInf, kInf, 0}, {"sd", "Powr", 3.0, 0.0, 1.0, 0},
      {"sd", "Powr", 4.0, 0.5, 2.0, 0}, {"s", "Powr", 2.0, 128.0, kInf, kOver},
      {"s", "Powr", 2.0, -140.0, 0x1p-140, kUnder}, {"s", "Powr", 2.0, -160.0, 0.0, kUnder},
      {"d", "Powr", 2.0, 1024.0, kInf, kOver}, {"d", "Powr", 2.0, -1074.0, 0x1p-1074, kUnder},
      {"d", "Powr", 2.0, -1080.0, 0.0, kUnder},
  });
}

// Exponents that Powx sends to another function's table or its own loops: Inv(-0) and
// InvSqrt(0) with status 2, Sqrt(-0) = -0.
TEST(SpecialValues, PowxShortcuts) {
  RunCases({
      {"sd", "Powx", -4.0, -1.0, -0.25, 0}, {"sd", "Powx", -0.0, -1.0, -kInf, kSing},
      {"sd", "Powx", -0.0, 0.5, -0.0, 0}, {"sd", "Powx", -1.0, 0.5, kNaN, kDom},
      {"sd", "Powx", 16.0, -0.5, 0.25, 0}, {"sd", "Powx", 0.0, -0.5, kInf, kSing},
      {"sd", "Powx", kNaN, 0.0, 1.0, 0}, {"sd", "Powx", -0.0, 1.0, -0.0, 0},
      {"sd", "Powx", -3.0, 2.0, 9.0, 0}, {"s", "Powx", 0x1p64, 2.0, kInf, kOver},
      {"d", "Powx", 1e200, 2.0, kInf, kOver}, {"sd", "Powx", 4.0, 1.5, 8.0, 0},
      {"sd", "Powx", -4.0, 1.5, kNaN, kDom}, {"sd", "Powx", -kInf, 1.5, kInf, 0},
  });
}

// An infinity gives NaN with status 1, reported once per element by SinCos too; zeros keep
// their sign in sin and tan, and cos of a zero is 1.
TEST(SpecialValues, Trigonometric) {
  for (const char* stem : {"Sin", "SinCos_sin", "Tan"}) {
    RunCases({{"sd", stem, 0.0, 0, 0.0, 0}, {"sd", stem, -0.0, 0, -0.0, 0},
              {"sd", stem, kInf, 0, kNaN, kDom}, {"sd", stem, -kInf, 0, kNaN, kDom},
              {"sd", stem, kNaN, 0, kNaN, 0}, {"sd", stem, 1e-30, 0, 1e-30, 0}});
  }
  for (const char* stem : {"Cos", "SinCos_cos"}) {
    RunCases({{"sd", stem, 0.0, 0, 1.0, 0}, {"sd", stem, -0.0, 0, 1.0, 0},
              {"sd", stem, kInf, 0, kNaN, kDom}, {"sd", stem, -kInf, 0, kNaN, kDom},
              {"sd", stem, kNaN, 0, kNaN, 0}, {"sd", stem, 1e-30, 0, 1.0, 0}});
  }
}

TEST(SpecialValues, ErfInv) {
  RunCases({
      {"sd", "ErfInv", kNaN, 0, kNaN, 0}, {"sd", "ErfInv", kInf, 0, kNaN, kDom},
      {"sd", "ErfInv", -kInf, 0, kNaN, kDom}, {"sd", "ErfInv", 1.5, 0, kNaN, kDom},
      {"sd", "ErfInv", -2.0, 0, kNaN, kDom}, {"sd", "ErfInv", 1.0, 0, kInf, kSing},
      {"sd", "ErfInv", -1.0, 0, -kInf, kSing}, {"sd", "ErfInv", 0.0, 0, 0.0, 0},
      {"sd", "ErfInv", -0.0, 0, -0.0, 0}, {"sd", "ErfInv", 0.5, 0, 0.4769362762044699, 0},
      {"sd", "ErfInv", -0.5, 0, -0.4769362762044699, 0},
  });
}

// Fmod reports a zero divisor or an infinite dividend as a singularity, Remainder as a
// domain error.
TEST(SpecialValues, FmodAndRemainder) {
  RunCases({
      {"sd", "Fmod", 5, 0, kNaN, kSing}, {"sd", "Fmod", kInf, 2, kNaN, kSing},
      {"sd", "Fmod", -6, 3, -0.0, 0}, {"sd", "Fmod", 3, kInf, 3, 0},
      {"sd", "Fmod", -2.5, 1, -0.5, 0}, {"sd", "Fmod", kNaN, 0, kNaN, 0},
      // Equal magnitudes give a zero with the sign of a.
      {"sd", "Fmod", -3, 3, -0.0, 0}, {"sd", "Fmod", 3, -3, 0.0, 0},
      {"sd", "Remainder", -3, 3, -0.0, 0}, {"sd", "Remainder", 3, -3, 0.0, 0},
      {"sd", "Remainder", 5, 0, kNaN, kDom}, {"sd", "Remainder", -kInf, 3, kNaN, kDom},
      {"sd", "Remainder", 5, 2, 1, 0}, {"sd", "Remainder", 7, 2, -1, 0},
      {"sd", "Remainder", -0.0, 2, -0.0, 0}, {"sd", "Remainder", 2, kInf, 2, 0},
      {"sd", "Remainder", kNaN, 0, kNaN, 0},
  });
}

// Inv and Div store the hardware quotient and report a divisor of +-0, whatever the dividend.
TEST(SpecialValues, QuotientsReportZeroDivisors) {
  RunCases({
      {"sd", "Inv", -0.0, 0, -kInf, kSing}, {"sd", "Inv", 0.0, 0, kInf, kSing},
      {"sd", "Inv", kInf, 0, 0.0, 0}, {"sd", "Inv", kNaN, 0, kNaN, 0}, {"sd", "Inv", 4, 0, 0.25, 0},
      {"sd", "Div", 1, -0.0, -kInf, kSing}, {"sd", "Div", 0, 0, kNaN, kSing},
      {"sd", "Div", kNaN, 0, kNaN, kSing}, {"sd", "Div", -3, 0, -kInf, kSing},
      {"sd", "Div", 1, 4, 0.25, 0}, {"sd", "Div", 1, kInf, 0.0, 0}, {"sd", "Div", kInf, kInf, kNaN, 0},
      {"sd", "Div", 2, kNaN, kNaN, 0}, {"sd", "Div", -6, 0x1p-100, -0x1.8p102, 0},
  });
}

}  // namespace
