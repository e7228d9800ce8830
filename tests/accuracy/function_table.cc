// One row per vector function; the fast sample and the sweep skip rows without a kernel.
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

// centre + d and centre - d for d = 2^-k and 3 2^-k, k = 7..52: where a result is far smaller
// than the parts of a reduction (the logarithms near 1), or the input is close to a pole.
std::vector<double> Around(double centre) {
  std::vector<double> points = {centre};
  for (int k = 7; k <= 52; ++k) {
    for (double d : {std::ldexp(1.0, -k), std::ldexp(3.0, -k)}) {
      points.push_back(centre + d);
      points.push_back(centre - d);
    }
  }
  return points;
}
// Near 4/3, where the single logarithms' r is near -1/3: their worst inputs over every float.
const std::vector<double> kSingleLogWorst = {0x1.556f9p+0,  0x1.557b74p+0, 0x1.55a95p+0,
                                             0x1.55594cp+0, 0x1.4500c8p+0, 0x1.556b24p+0,
                                             0x1.555ad8p+0, 0x1.555c4cp+0, 0x1.5560b2p+0};

double InvSqrt(double x) { return x == 0.0 ? 1.0 / x : 1.0 / std::sqrt(x); }
double InvCbrt(double x) { return 1.0 / std::cbrt(x); }
double Pow2o3(double x) { return std::cbrt(x * x); }
double Pow3o2(double x) { return x < 0.0 ? NAN : std::pow(x, 1.5); }

// 1/sqrt(x), with the sign of a zero kept: 1/sqrt(-0) = -inf.
int MpfrInvSqrt(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) {
  if (mpfr_zero_p(x)) return mpfr_set_inf(r, mpfr_signbit(x) ? -1 : 1), 0;
  return mpfr_rec_sqrt(r, x, rnd);
}

// exp(y ln x) as IEEE powr, but a NaN in either input gives NaN, powr(1, NaN) too.
int MpfrPowr(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr y, mpfr_rnd_t rnd) {
  if (mpfr_nan_p(x) || mpfr_nan_p(y)) return mpfr_set_nan(r), 0;
  return mpfr_powr(r, x, y, rnd);
}

// 1/cbrt(x), x^(2/3) and x^(3/2) in MPFR, through 64 extra bits.
using Steps = void (*)(mpfr_ptr, mpfr_srcptr);
template <Steps kSteps>
int Extended(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) {
  mpfr_t t;
  mpfr_init2(t, 2 * mpfr_get_prec(x) + 64);
  kSteps(t, x);
  const int inexact = mpfr_set(r, t, rnd);
  mpfr_clear(t);
  return inexact;
}
void InvCbrtSteps(mpfr_ptr t, mpfr_srcptr v) {
  mpfr_cbrt(t, v, MPFR_RNDN);
  mpfr_ui_div(t, 1, t, MPFR_RNDN);
}
void Pow2o3Steps(mpfr_ptr t, mpfr_srcptr v) {
  mpfr_sqr(t, v, MPFR_RNDN);
  mpfr_cbrt(t, t, MPFR_RNDN);
}
void Pow3o2Steps(mpfr_ptr t, mpfr_srcptr v) {
  if (mpfr_sgn(v) < 0) return mpfr_set_nan(t);
  mpfr_pow_si(t, v, 3, MPFR_RNDN);
  mpfr_sqrt(t, t, MPFR_RNDN);
  mpfr_abs(t, t, MPFR_RNDN);  // +0 for -0
}

// The ends of the medium reductions (rows of pi/256 and pi/512), two arguments where the rest
// reaches 2^-50, the step pi/512, multiples of pi/2 and pi, huge arguments (the double closest
// to a multiple of pi/2).
const std::vector<double> kTrigPoints = {
    65536.00349206588, 65536.0, 65537.0, 64473.213697426458, -63344.04660132368,
    32768.00174603294, 32768.0, -32769.0,
    0x1p-26, 0.0061359231515425647, 1.5707963267948966,
    3.1415926535897931, 4.7123889803846897, 1e22, 6381956970095103.0 * 0x1p797, 0x1p1000,
    1e300, 1.7976931348623157e308};
// The end of the single-precision reduction, multiples of pi/2 and pi, and huge arguments.
const std::vector<double> kTrigPointsF = {10000.0, 1.5707963267948966, 3.1415926535897931,
                                          4.7123889803846897, 1e22, 3.4028234663852886e38};

// x^y with y log2 x across all results, overflow and gradual underflow included; half of the x
// within 2^-k of 1 for k up to the type's precision, where log2 x must keep its relative
// accuracy however small it is.
void PowerDraw(std::mt19937_64& engine, bool single, double& x, double& y) {
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  if (engine() & 1) {
    const int k = 1 + int(engine() % (single ? 23 : 52));
    x = 1.0 + ((engine() & 2) ? 1.0 : -1.0) * std::ldexp(1.0 + unit(engine), -k);
  } else {
    x = std::exp2(40.0 * unit(engine) - 20.0);
  }
  if (single) x = static_cast<float>(x);
  const double lowest = single ? -152.0 : -1077.0, highest = single ? 130.0 : 1026.0;
  const double z = lowest + (highest - lowest) * unit(engine);
  y = x == 1.0 ? z : z / std::log2(x);
}

FunctionRow WithOwnDraw(PairDraw draw, FunctionRow row) {
  row.own_draw = draw;
  return row;
}

// Row k (1 or 2) of a kernel with two results.
FunctionRow ResultOf(int k, FunctionRow row) {
  row.result = k;
  return row;
}

// ErfInv: w = 1 - |x| at row ends, the poles, and the smallest double whose result is normal.
const std::vector<double> kErfInvPoints = {0.125, 0.5, 1.0 - 0x1p-20, 1.0, -1.0,
                                           0x1p-1022 / 0.886226925452758};

std::vector<double> Concat(std::vector<double> a, const std::vector<double>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

}  // namespace

const std::vector<FunctionRow>& Functions() {
  static const std::vector<FunctionRow> rows = {
      {"sAbs", mpfr_abs, std::fabs, {-1e3, 1e3}, {}, true},
      {"dAdd", mpfr_add, {-1e3, 1e3}, {1.0, 0x1p1023}},

      // Overflow, underflow, first subnormal result, block-path lane flag.
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
      // The direct polynomial's ends, and where the table index first steps away from 0.
      {"dExpm1", mpfr_expm1, expm1, {-37.0, 709.0},
       {709.782712893384, -37.42994775023705, 0x1p-5, -0x1p-5, -0.0074646136898535468}},
      {"sSinh", mpfr_sinh, sinh, {-89.0, 89.0}, {89.4159927368164, -89.4159927368164}},
      // Overflow, lane flag, the direct polynomial's ends, and 22, from where e^-|x| drops out.
      {"dSinh", mpfr_sinh, sinh, {-710.0, 710.0},
       {710.4758600739439, -710.4758600739439, 669.77490234375, 0x1p-3, -0x1p-3,
        0.023463019943565561, -0.11092712609861088, 22.0, -22.0}},
      {"sCosh", mpfr_cosh, cosh, {-89.0, 89.0}, {89.4159927368164, -89.4159927368164}},
      {"dCosh", mpfr_cosh, cosh, {-710.0, 710.0},
       {710.4758600739439, -710.4758600739439, 669.77490234375, 22.0, -22.0}},
      // Beyond atanh(1 - ulp/2) tanh rounds to +-1.
      {"sTanh", mpfr_tanh, tanh, {-10.0, 10.0}, Concat(kTanhIntervals, {8.664339742098155})},
      {"dTanh", mpfr_tanh, tanh, {-20.0, 20.0}, Concat(kTanhIntervals, {18.714973875118524})},

      {"sLn", mpfr_log, log, {0x1p-10, 0x1p10}, Concat(Around(1.0), kSingleLogWorst)},
      {"dLn", mpfr_log, log, {0x1p-10, 0x1p10}, Around(1.0)},
      {"sLog2", mpfr_log2, log2, {0x1p-10, 0x1p10}, Concat(Around(1.0), kSingleLogWorst)},
      {"dLog2", mpfr_log2, log2, {0x1p-10, 0x1p10}, Around(1.0)},
      {"sLog10", mpfr_log10, log10, {0x1p-10, 0x1p10},
       Concat(Concat(Around(1.0), kSingleLogWorst), {10.0, 1e10})},
      {"dLog10", mpfr_log10, log10, {0x1p-10, 0x1p10}, Concat(Around(1.0), {10.0, 1e22})},
      // Around 1 also gives -1 + d: boundaries are taken with both signs.
      {"sLog1p", mpfr_log1p, log1p, {-0.5, 1e3},
       Concat(Concat(Around(0.0), Around(1.0)), {0.5, 0x1p24, 0x1.13d57cp-2})},
      {"dLog1p", mpfr_log1p, log1p, {-0.5, 1e3},
       Concat(Concat(Around(0.0), Around(1.0)), {0.5, 0x1p53})},
      {"sLogb", MpfrLogb, logb, {-1e3, 1e3}, {}, true},
      {"dLogb", MpfrLogb, logb, {-1e3, 1e3}, {}, true},
      {"sAsinh", mpfr_asinh, asinh, {-1e3, 1e3}, {0x1p-12, 0x1p12, 0x1p28}},
      {"dAsinh", mpfr_asinh, asinh, {-1e3, 1e3}, {0x1p-26, 0x1p26, 0x1p511, 0x1p1023}},
      {"sAcosh", mpfr_acosh, acosh, {1.0, 1e3}, Concat(Around(1.0), {2.0, 0x1p28})},
      {"dAcosh", mpfr_acosh, acosh, {1.0, 1e3}, Concat(Around(1.0), {2.0, 0x1p511, 0x1p1023})},
      {"sAtanh", mpfr_atanh, atanh, {-1.0, 1.0}, Concat(Around(1.0), {0.5, 0x1p-12})},
      {"dAtanh", mpfr_atanh, atanh, {-1.0, 1.0}, Concat(Around(1.0), {0.5, 0x1p-26})},

      // The seed's range ends at 2^-1022 and 2^1022; the estimate's exponent changes parity at 2.
      {"sSqrt", mpfr_sqrt, sqrt, {0.0, 1e3}, {0x1p-126, 2.0, 4.0}},
      {"dSqrt", mpfr_sqrt, sqrt, {0.0, 1e3}, {0x1p-1022, 0x1p1022, 2.0, 4.0}},
      {"sInvSqrt", MpfrInvSqrt, InvSqrt, {0.0, 1e3}, {0x1p-126, 2.0, 4.0}},
      {"dInvSqrt", MpfrInvSqrt, InvSqrt, {0.0, 1e3}, {0x1p-1022, 0x1p1022, 2.0, 4.0}},
      // Rows of the cube-root table change with the exponent modulo 3 and the top mantissa bits.
      {"sCbrt", mpfr_cbrt, std::cbrt, {-1e3, 1e3}, {1.0, 2.0, 4.0, 8.0, 1.03125, 0x1p-126}},
      {"dCbrt", mpfr_cbrt, std::cbrt, {-1e3, 1e3}, {1.0, 2.0, 4.0, 8.0, 1.03125, 0x1p-1022}},
      {"sInvCbrt", Extended<InvCbrtSteps>, InvCbrt, {-1e3, 1e3}, {1.0, 2.0, 4.0, 8.0, 0x1p-126}},
      {"dInvCbrt", Extended<InvCbrtSteps>, InvCbrt, {-1e3, 1e3}, {1.0, 2.0, 4.0, 8.0, 0x1p-1022}},
      // The scaling of x * x and of x^(3/2) changes at 2^-+500 and 2^-+600; the register path
      // ends at 2^-+500 and, for x^(3/2), at the overflow flag 2^682 (single 2^85).
      {"sPow2o3", Extended<Pow2o3Steps>, Pow2o3, {-1e3, 1e3}, {1.0, 0x1p-126}},
      {"dPow2o3", Extended<Pow2o3Steps>, Pow2o3, {-1e3, 1e3}, {1.0, 0x1p-500, 0x1p500, 0x1p-1022}},
      {"sPow3o2", Extended<Pow3o2Steps>, Pow3o2, {0.0, 1e3}, {1.0, 0x1p85, 0x1p-126}},
      {"dPow3o2", Extended<Pow3o2Steps>, Pow3o2, {0.0, 1e3},
       {1.0, 0x1p-500, 0x1p-600, 0x1p600, 0x1p682, 0x1p-1022}},
      {"sHypot", mpfr_hypot, {-1e3, 1e3}, {0x1p-126, 0x1p127, 0x1p-63, 0x1p63, 0x1.8p63}},
      {"dHypot", mpfr_hypot, {-1e3, 1e3}, {0x1p-900, 0x1p-1022, 0x1p1023, 0x1p-480, 0x1p510}},
      // The exponent 1.5 and 2 take own loops in Powx; 1 and -1 are exact powers.
      WithOwnDraw(PowerDraw, {"sPow", mpfr_pow, {0.0, 30.0}, {1.0, -1.0, 0.5, 2.0, 3.0, 0x1p-126}}),
      WithOwnDraw(PowerDraw,
                  {"dPow", mpfr_pow, {0.0, 30.0}, {1.0, -1.0, 0.5, 2.0, 3.0, 0x1p-1022, 1020.0}}),
      WithOwnDraw(PowerDraw, {"sPowr", MpfrPowr, {0.0, 30.0}, {1.0, -1.0, 0.5, 2.0, 3.0, 0x1p-126}}),
      WithOwnDraw(PowerDraw,
                  {"dPowr", MpfrPowr, {0.0, 30.0}, {1.0, -1.0, 0.5, 2.0, 3.0, 0x1p-1022, 1020.0}}),
      {"sSin", mpfr_sin, sin, {-1e4, 1e4}, kTrigPointsF},
      {"dSin", mpfr_sin, sin, {-1e5, 1e5}, kTrigPoints},
      {"sCos", mpfr_cos, cos, {-1e4, 1e4}, kTrigPointsF},
      {"dCos", mpfr_cos, cos, {-1e5, 1e5}, kTrigPoints},
      ResultOf(1, {"sSinCos_sin", mpfr_sin, sin, {-1e4, 1e4}, kTrigPointsF}),
      ResultOf(2, {"sSinCos_cos", mpfr_cos, cos, {-1e4, 1e4}, kTrigPointsF}),
      ResultOf(1, {"dSinCos_sin", mpfr_sin, sin, {-1e5, 1e5}, kTrigPoints}),
      ResultOf(2, {"dSinCos_cos", mpfr_cos, cos, {-1e5, 1e5}, kTrigPoints}),
      {"sTan", mpfr_tan, tan, {-1e4, 1e4}, kTrigPointsF},
      {"dTan", mpfr_tan, tan, {-1e5, 1e5}, kTrigPoints},
      {"sErfInv", erfinv_reference::MpfrErfInv, erfinv_reference::ErfInvNewton, {-1.0, 1.0},
       Concat(Concat(kErfInvPoints, Around(1.0)), {0x1p-24})},
      {"dErfInv", erfinv_reference::MpfrErfInv, nullptr, {-1.0, 1.0},
       // 0.6875 and 0.75: the ends of row 7, whose linear term is the largest against r15.
       Concat(Concat(kErfInvPoints, Around(1.0)), {0x1p-53, 0x1.0000100000000p-53, 0.6875, 0.75})},
  };
  return rows;
}

}  // namespace accuracy
