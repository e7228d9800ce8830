// One row per vector function. To add a function, add its row; the fast sample and the sweep
// pick it up, and skip it while the library has no kernel for it.
#include "tests/accuracy/function_table.h"

#include <cmath>

#include "tools/mpfr_erfinv.h"

namespace accuracy {
namespace {

// logb(x): the exponent of x as an integer value; -inf at zero, +inf at either infinity.
int MpfrLogb(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) {
  if (mpfr_nan_p(x)) return mpfr_set_nan(r), 0;
  if (mpfr_inf_p(x)) return mpfr_set_inf(r, 1), 0;
  if (mpfr_zero_p(x)) return mpfr_set_inf(r, -1), 0;
  return mpfr_set_si(r, mpfr_get_exp(x) - 1, rnd);
}

// Interval ends of the Tanh polynomials, where each row's coefficients change.
const std::vector<double> kTanhIntervals = {0.21875, 0.3125, 0.4375, 0.625, 0.875, 1.25, 1.75,
                                            2.5, 3.5, 5.0, 7.0, 10.0, 14.0, 20.0};

// Distances from 1 where the logarithms' short path ends.
const std::vector<double> kNearOne = {1.0, 1.0 - 0x1p-7 * 1.25, 1.0 + 0x1p-7 * 1.25};

// ErfInv: w = 1 - |x| at row ends (0.875, 0.5, 2^-20), the last magnitudes of the companion
// (2^-53 in double, 2^-24 in single), the poles, and the smallest double whose result is normal.
const std::vector<double> kErfInvPoints = {0.125, 0.5, 1.0 - 0x1p-20, 1.0, -1.0,
                                           0x1p-1022 / 0.886226925452758};

std::vector<double> Concat(std::vector<double> a, const std::vector<double>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

}  // namespace

const std::vector<FunctionRow>& Functions() {
  // name, MPFR reference, libm reference, typical range, boundaries (with neighbours).
  static const std::vector<FunctionRow> rows = {
      {"sAbs", mpfr_abs, std::fabs, {-1e3, 1e3}, {}, true},
      {"dAdd", mpfr_add, {-1e3, 1e3}, {1.0, 0x1p1023}},

      // Overflow bound, underflow bound (result below half the smallest subnormal), first
      // subnormal result, block-path lane flag.
      {"sExp", mpfr_exp, exp, {-87.0, 88.0},
       {88.72283172607422, -103.97207641601562, -87.33654022216797, -90.0}},
      {"dExp", mpfr_exp, exp, {-708.0, 709.0},
       {709.782712893384, -745.1332191019411, -708.3964185322641, 708.3955078125, -720.0}},
      {"sExp2", mpfr_exp2, exp2, {-126.0, 127.0}, {128.0, -150.0, -149.0, -126.0}},
      {"dExp2", mpfr_exp2, exp2, {-1022.0, 1023.0},
       {1024.0, -1075.0, -1074.0, -1022.0, 1021.99951171875}},
      {"sExp10", mpfr_exp10, exp10, {-37.0, 38.0},
       {38.53183944498959, -45.15449934959718, -37.92977945366163}},
      {"dExp10", mpfr_exp10, exp10, {-307.0, 308.0},
       {308.25471555991675, -323.60724533877976, -307.6526555685888, 307.65234375}},
      // Beyond the last bound expm1 rounds to -1.
      {"sExpm1", mpfr_expm1, expm1, {-17.0, 88.0}, {88.72283172607422, -17.328679513998633}},
      // Beyond: the direct polynomial's ends, and results built from two terms of similar size
      // where the table index first steps away from 0.
      {"dExpm1", mpfr_expm1, expm1, {-37.0, 709.0},
       {709.782712893384, -37.42994775023705, 0x1p-5, -0x1p-5, -0.0074646136898535468}},
      {"sSinh", mpfr_sinh, sinh, {-89.0, 89.0}, {89.4159927368164, -89.4159927368164}},
      {"dSinh", mpfr_sinh, sinh, {-710.0, 710.0},
       {710.4758600739439, -710.4758600739439, 669.77490234375, 0x1p-3, -0x1p-3,
        0.023463019943565561, -0.11092712609861088}},
      {"sCosh", mpfr_cosh, cosh, {-89.0, 89.0}, {89.4159927368164, -89.4159927368164}},
      {"dCosh", mpfr_cosh, cosh, {-710.0, 710.0},
       {710.4758600739439, -710.4758600739439, 669.77490234375}},
      // Beyond atanh(1 - ulp/2) tanh rounds to +-1.
      {"sTanh", mpfr_tanh, tanh, {-10.0, 10.0}, Concat(kTanhIntervals, {8.664339742098155})},
      {"dTanh", mpfr_tanh, tanh, {-20.0, 20.0}, Concat(kTanhIntervals, {18.714973875118524})},

      {"sLn", mpfr_log, log, {0x1p-10, 0x1p10}, kNearOne},
      {"dLn", mpfr_log, log, {0x1p-10, 0x1p10}, kNearOne},
      {"sLog2", mpfr_log2, log2, {0x1p-10, 0x1p10}, kNearOne},
      {"dLog2", mpfr_log2, log2, {0x1p-10, 0x1p10}, kNearOne},
      {"sLog10", mpfr_log10, log10, {0x1p-10, 0x1p10}, Concat(kNearOne, {10.0, 1e10})},
      {"dLog10", mpfr_log10, log10, {0x1p-10, 0x1p10}, Concat(kNearOne, {10.0, 1e22})},
      {"sLog1p", mpfr_log1p, log1p, {-0.5, 1e3}, {-1.0, -0.5, 0x1p-24, 0x1p24}},
      {"dLog1p", mpfr_log1p, log1p, {-0.5, 1e3}, {-1.0, -0.5, 0x1p-53, 0x1p53}},
      {"sLogb", MpfrLogb, logb, {-1e3, 1e3}, {}, true},
      {"dLogb", MpfrLogb, logb, {-1e3, 1e3}, {}, true},
      {"sAsinh", mpfr_asinh, asinh, {-1e3, 1e3}, {0x1p-12, 0x1p12, 0x1p28}},
      {"dAsinh", mpfr_asinh, asinh, {-1e3, 1e3}, {0x1p-26, 0x1p26, 0x1p511, 0x1p1023}},
      {"sAcosh", mpfr_acosh, acosh, {1.0, 1e3}, {1.0, 1.0 + 0x1p-12, 2.0, 0x1p28}},
      {"dAcosh", mpfr_acosh, acosh, {1.0, 1e3}, {1.0, 1.0 + 0x1p-26, 2.0, 0x1p511, 0x1p1023}},
      {"sAtanh", mpfr_atanh, atanh, {-1.0, 1.0}, {1.0, -1.0, 0.5, -0.5, 0x1p-12}},
      {"dAtanh", mpfr_atanh, atanh, {-1.0, 1.0}, {1.0, -1.0, 0.5, -0.5, 0x1p-26}},

      {"sErfInv", erfinv_reference::MpfrErfInv, erfinv_reference::ErfInvNewton, {-1.0, 1.0},
       Concat(kErfInvPoints, {0x1p-24, 1.0 - 0x1p-24})},
      {"dErfInv", erfinv_reference::MpfrErfInv, nullptr, {-1.0, 1.0},
       Concat(kErfInvPoints, {0x1p-53, 0x1.0000100000000p-53, 1.0 - 0x1p-53})},
  };
  return rows;
}

const FunctionRow* FindFunction(const std::string& name) {
  for (const FunctionRow& row : Functions()) {
    if (row.name == name) return &row;
  }
  return nullptr;
}

}  // namespace accuracy
