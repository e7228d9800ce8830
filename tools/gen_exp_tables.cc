// Generates the tables of the exponential family with MPFR: the 2^(i/N) reduction tables with
// their rest parts, the hyperbolic power table, the fitted polynomials of the single-precision
// members, the overflow and underflow bounds, and the piecewise Tanh coefficients.
//
//   gen_exp_tables tables > kernels/exp_tables.inc
//   gen_exp_tables fits   > kernels/exp_fits.inc
//   gen_exp_tables tanh   > kernels/tanh_table.inc
#include <math.h>
#include <mpfr.h>
#include <stdio.h>
#include <string.h>

#include <functional>
#include <vector>

#include "tools/mpfr_number.h"

namespace {

using Fn = std::function<Big(const Big&)>;
using MpfrFn = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);

Big Apply(MpfrFn f, const Big& x) { Big r; f(r.get(), x.get(), MPFR_RNDN); return r; }
Big Exp2(const Big& x) { return Apply(mpfr_exp2, x); }
Big Pi() { Big r; mpfr_const_pi(r.get(), MPFR_RNDN); return r; }

// 2^(i/rows) as a double and its rest, divided by the double when `relative`.
void PrintPowerTable(const char* name, int rows, bool relative) {
  printf("alignas(16) const double %s[%d][2] = {\n", name, rows);
  for (int i = 0; i < rows; ++i) {
    Big v = Exp2(Big(i) / Big(rows));
    double hi = v.D();
    Big rest = v - Big(hi);
    if (relative) rest = rest / Big(hi);
    printf("    {%a, %a},  // 2^(%d/%d)\n", hi, rest.D(), i, rows);
  }
  printf("};\n\n");
}

// Coefficients c[0..degree] of the polynomial through f at the Chebyshev nodes of [a, b]:
// within a small factor of the minimax polynomial.
std::vector<Big> ChebyshevFit(const Fn& f, double a, double b, int degree) {
  const int m = degree + 1;
  std::vector<std::vector<Big>> rows(m, std::vector<Big>(m + 1));
  for (int k = 0; k < m; ++k) {
    Big angle = Pi() * Big(2 * k + 1) / Big(2 * m);
    Big x = Big(0.5 * (a + b)) + Big(0.5 * (b - a)) * Apply(mpfr_cos, angle);
    Big p = 1.0;
    for (int j = 0; j < m; ++j, p = p * x) rows[k][j] = p;
    rows[k][m] = f(x);
  }
  for (int c = 0; c < m; ++c) {  // Gaussian elimination with partial pivoting.
    int pivot = c;
    for (int r = c + 1; r < m; ++r) {
      if (mpfr_cmpabs(rows[r][c].get(), rows[pivot][c].get()) > 0) pivot = r;
    }
    std::swap(rows[c], rows[pivot]);
    for (int r = 0; r < m; ++r) {
      if (r == c) continue;
      Big factor = rows[r][c] / rows[c][c];
      for (int j = c; j <= m; ++j) rows[r][j] = rows[r][j] - factor * rows[c][j];
    }
  }
  std::vector<Big> coef(m);
  for (int c = 0; c < m; ++c) coef[c] = rows[c][m] / rows[c][c];
  return coef;
}

// Error of a double result in ulps of the exact value, as a double of the given precision.
double UlpError(double got, const Big& exact, int mantissa_bits) {
  double e = exact.D();
  if (e == 0) return got == 0 ? 0 : INFINITY;
  int exponent;
  frexp(e, &exponent);
  Big diff = Big(got) - exact;
  return fabs(diff.D()) / ldexp(1.0, exponent - mantissa_bits);
}

// Powers of two for sinh and cosh: 2^(j/16)/2 and 2^(-j/16)/2, each as a double and its rest.
void PrintHyperbolicTable() {
  printf("// Row j: 2^(j/16)/2 and its rest, 2^(-j/16)/2 and its rest.\n");
  printf("alignas(16) const double kHyperbolicPowers[16][4] = {\n");
  for (int j = 0; j < 16; ++j) {
    Big up = Exp2(Big(j) / Big(16)) / Big(2), down = Exp2(Big(-j) / Big(16)) / Big(2);
    double uh = up.D(), dh = down.D();
    printf("    {%a, %a, %a, %a},\n", uh, (up - Big(uh)).D(), dh, (down - Big(dh)).D());
  }
  printf("};\n\n");
}

void PrintTables() {
  printf("// dExp and dExp2 block paths: 2^(i/64) and its rest.\n");
  PrintPowerTable("kExp64", 64, false);
  printf("// dExp companion: 2^(i/64) and its rest divided by it.\n");
  PrintPowerTable("kExp64Relative", 64, true);
  printf("// dExp10, Expm1: 2^(i/128) and its rest.\n");
  PrintPowerTable("kExp128", 128, false);
  printf("// sExp block path: 2^(i/128) as a float and its rest.\n");
  printf("alignas(16) const float kExpF128[128][2] = {\n");
  for (int i = 0; i < 128; ++i) {
    Big v = Exp2(Big(i) / Big(128));
    float hi = v.F();
    printf("    {%af, %af},\n", hi, (v - Big(hi)).F());
  }
  printf("};\n\n");
  PrintHyperbolicTable();
}

// The largest double x with f(x) at most `limit` (by bisection on the bit patterns).
double LargestBelow(MpfrFn f, double lo, double hi, const Big& limit) {
  while (nextafter(lo, hi) != hi) {
    double mid = lo + (hi - lo) / 2;
    if (mid == lo || mid == hi) break;
    (Apply(f, Big(mid)) < limit ? lo : hi) = mid;
  }
  return lo;
}

void PrintBound(const char* name, MpfrFn f, double lo, double hi, const Big& limit,
                const char* what) {
  printf("// %s\ninline constexpr double %s = %a;  // %.17g\n", what, name,
         LargestBelow(f, lo, hi, limit), LargestBelow(f, lo, hi, limit));
}

int Exp10M(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) { return mpfr_exp10(r, x, rnd); }
int Expm1M(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) { return mpfr_expm1(r, x, rnd); }
int ExpM(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) { return mpfr_exp(r, x, rnd); }
int Exp2M(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) { return mpfr_exp2(r, x, rnd); }
int CoshM(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) { return mpfr_cosh(r, x, rnd); }

void PrintFits() {
  // Double limits: the largest finite double, half the least normal, the least normal.
  Big max_double = Big(0x1.fffffffffffffp1023) + Big(0x1p970) * Big(0.999);
  Big zero_limit = Big(0x1p-1074) * Big(0.5), normal = Big(0x1p-1022);
  printf("// Bounds of dExp2 and dExp10: above the first, overflow; at or below the second, a\n");
  printf("// result that rounds to zero; below the third, a subnormal result.\n");
  PrintBound("kExp2Overflow", Exp2M, 1023, 1025, max_double, "2^x finite up to here.");
  PrintBound("kExp2Zero", Exp2M, -1100, -1000, zero_limit, "2^x rounds to +0 at or below.");
  PrintBound("kExp10Overflow", Exp10M, 300, 310, max_double, "10^x finite up to here.");
  PrintBound("kExp10Zero", Exp10M, -330, -320, zero_limit, "10^x rounds to +0 at or below.");
  PrintBound("kExp10Subnormal", Exp10M, -310, -300, normal, "10^x subnormal below.");
  PrintBound("kCoshOverflow", CoshM, 700, 720, max_double, "cosh and |sinh| finite up to here.");
  // Single limits, in double: the largest finite float and half the least subnormal float.
  Big max_float = Big(0x1.fffffep127) + Big(0x1p103) * Big(0.999);
  Big zero_float = Big(0x1p-150), normal_float = Big(0x1p-126);
  PrintBound("kExpFZero", ExpM, -110, -100, zero_float, "Single e^x rounds to +0 at or below.");
  PrintBound("kExpFSubnormal", ExpM, -90, -80, normal_float, "Single e^x subnormal below.");
  PrintBound("kExp10FOverflow", Exp10M, 30, 40, max_float, "Single 10^x finite up to here.");
  PrintBound("kExp10FZero", Exp10M, -50, -40, zero_float, "Single 10^x rounds to +0 at or below.");
  PrintBound("kExp10FSubnormal", Exp10M, -40, -30, normal_float, "Single 10^x subnormal below.");
  PrintBound("kExpm1FOverflow", Expm1M, 80, 90, max_float, "Single e^x - 1 finite up to here.");
}

}  // namespace

void PrintTanh();

int main(int argc, char** argv) {
  const char* what = argc > 1 ? argv[1] : "";
  printf("// BEGIN GENERATED CODE; DO NOT EDIT\n");
  printf("// Made by: build/tools/gen_exp_tables %s > kernels/%s\n", what,
         !strcmp(what, "tables") ? "exp_tables.inc"
         : !strcmp(what, "fits") ? "exp_fits.inc"
                                 : "tanh_table.inc");
  printf("// clang-format off\n\n");
  if (!strcmp(what, "tables")) {
    PrintTables();
  } else if (!strcmp(what, "fits")) {
    PrintFits();
  } else if (!strcmp(what, "tanh")) {
    PrintTanh();
  } else {
    fprintf(stderr, "usage: gen_exp_tables tables|fits|tanh\n");
    return 1;
  }
  printf("// END GENERATED CODE\n");
  return 0;
}

// Tanh in 15 intervals of |x|: below 0.21875 an odd polynomial x + x^3 P(x^2); from 20 up
// 1; between, a polynomial of degree kTanhDegree in the distance d to the interval's middle,
// summed as c0 + (c1 d + (c0 rest + d^2 (E(d^2) + d O(d^2)))), E and O the even and odd
// parts of c2 + c3 d + ..., so that the odd polynomial keeps x exact, the leading terms round
// once, and the two halves run side by side.
// Row j is interval j: the anchor, c1, c0, the rest of c0, then the pairs (c2, c3), (c4, c5),
// ..., (c16, 0), so that one 16-byte load per lane gives a coefficient of E and one of O.
void PrintTanh() {
  const double kEnds[16] = {0,   0.21875, 0.3125, 0.4375, 0.625, 0.875, 1.25, 1.75,
                            2.5, 3.5,     5.0,    7.0,    10.0,  14.0,  20.0, 20.0};
  const int kDegree = 16, kIntervals = 15, kRowLength = 20;
  // c[j][k]: the coefficient of d^k in interval j; anchor[j], rest[j] the rest of c[j][0].
  std::vector<std::vector<double>> c(kIntervals, std::vector<double>(kDegree + 2, 0.0));
  std::vector<double> anchor(kIntervals, 0.0), rest(kIntervals, 0.0);
  auto tanh_big = [](const Big& x) { return Apply(mpfr_tanh, x); };
  // Interval 0: odd coefficients of x from the fit of (tanh x - x) / x^3 in u = x^2.
  const double small = kEnds[1];
  Fn g = [&](const Big& u) {
    Big x = Apply(mpfr_sqrt, u);
    return (tanh_big(x) - x) / (u * x);
  };
  std::vector<Big> odd = ChebyshevFit(g, 0, small * small, (kDegree - 3) / 2);
  c[0][1] = 1.0;
  for (size_t k = 0; k < odd.size(); ++k) c[0][3 + 2 * k] = odd[k].D();
  for (int j = 1; j < 14; ++j) {
    double a = kEnds[j], b = kEnds[j + 1], h = 0.5 * (b - a);
    anchor[j] = 0.5 * (a + b);
    std::vector<Big> fit = ChebyshevFit(
        [&](const Big& d) { return tanh_big(Big(anchor[j]) + d); }, -h, h, kDegree);
    rest[j] = (fit[0] - Big(fit[0].D())).D();
    for (int k = 0; k <= kDegree; ++k) c[j][k] = fit[k].D();
  }
  c[14][0] = 1.0;
  // Worst error of the kernel's evaluation order, per interval, on a grid.
  printf("// Fit: Chebyshev interpolation of degree %d per interval (odd part of degree %d below\n",
         kDegree, kDegree);
  printf("// 0.21875), coefficients rounded to double. Worst error in ulps, by interval:\n//");
  for (int j = 0; j < 14; ++j) {
    double worst = 0;
    for (int s = 0; s < 4000; ++s) {
      double x = kEnds[j] + (kEnds[j + 1] - kEnds[j]) * (s + 0.5) / 4000;
      double d = x - anchor[j], d2 = d * d;
      double e = c[j][kDegree], o = c[j][kDegree - 1];
      for (int k = kDegree - 2; k >= 2; k -= 2) e = e * d2 + c[j][k];
      for (int k = kDegree - 3; k >= 3; k -= 2) o = o * d2 + c[j][k];
      double y = c[j][0] + (c[j][1] * d + (rest[j] + d2 * (e + d * o)));
      worst = fmax(worst, UlpError(y, tanh_big(Big(x)), 53));
    }
    printf(" %.3f", worst);
  }
  printf("\ninline constexpr int kTanhDegree = %d;\n", kDegree);
  printf("alignas(16) const double kTanhTable[%d][%d] = {\n", kIntervals, kRowLength);
  for (int j = 0; j < kIntervals; ++j) {
    std::vector<double> row = {anchor[j], c[j][1], c[j][0], rest[j]};
    for (int k = 2; k <= kDegree; ++k) row.push_back(c[j][k]);
    row.resize(kRowLength, 0.0);
    printf("    {");
    for (int k = 0; k < kRowLength; ++k) printf("%s%a", k ? ", " : "", row[k]);
    printf("},\n");
  }
  printf("};\n\n");
}
