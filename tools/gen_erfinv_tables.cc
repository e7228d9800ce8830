// Generates the tables of ErfInv with MPFR. Each row fits erfinv(x) / x, x = 1 - w, over a
// quarter (double) or an eighth (single) binade of w, as a polynomial in the row's local
// variable t, by interpolation at Chebyshev nodes; the first two coefficients are split into a
// short high part and the rest, so that the kernels' products with the split t and x are exact.
// The worst relative error of the rounded rows goes in the header.
//
//   gen_erfinv_tables > kernels/erfinv_tables.inc
#include <math.h>
#include <mpfr.h>
#include <stdio.h>

#include <vector>

#include "tools/mpfr_erfinv.h"
#include "tools/mpfr_number.h"

namespace {

// One table's layout: rows by 2^-kTopBits binades, the local variable t = w 2^-E - top - mid
// on [-half, half), the degree, and the bits kept in the high parts.
struct Layout {
  const char* name;
  const char* type;
  int rows;
  int top_bits;     // mantissa bits of w that pick the row within its binade
  int first_key;    // (biased exponent << top_bits | top) of row 0
  int bias;         // exponent bias of the type
  int degree;
  int high_bits_constant, high_bits_linear;
  mpfr_rnd_t linear_rounding;  // of the high linear part
  int digits;       // significant bits of the type
};

// The single high linear part is rounded down, so that its low part is never negative.
constexpr Layout kDouble = {"temErfInvTableD", "double", 212, 2, 4091, 1023, 14,
                            26, 26, MPFR_RNDN, 53};
constexpr Layout kSingle = {"temErfInvTableS", "float", 192, 3, 1015, 127, 5,
                            24, 12, MPFR_RNDD, 24};

// w at the local variable t of row `row`.
Big WOf(const Layout& l, int row, const Big& t) {
  const int key = l.first_key - row;
  const int exponent = (key >> l.top_bits) - l.bias;
  const int top = key & ((1 << l.top_bits) - 1);
  const double half = 0.5 / (1 << l.top_bits);
  Big m = Big(1.0 + half) + Big(static_cast<double>(top) / (1 << l.top_bits)) + t;
  mpfr_mul_2si(m.get(), m.get(), exponent, MPFR_RNDN);
  return m;
}

// erfinv(x) / x at x = 1 - w.
Big Target(const Big& w) {
  Big x = Big(1.0) - w, y;
  erfinv_reference::MpfrErfInv(y.get(), x.get(), MPFR_RNDN);
  return y / x;
}

// Coefficients of the interpolating polynomial at n + 1 Chebyshev nodes on [-half, half), by
// Gaussian elimination on the Vandermonde system.
std::vector<Big> Fit(const Layout& l, int row) {
  const int n = l.degree + 1;
  const double half = 0.5 / (1 << l.top_bits);
  std::vector<std::vector<Big>> a(n, std::vector<Big>(n + 1));
  Big pi;
  mpfr_const_pi(pi.get(), MPFR_RNDN);
  for (int k = 0; k < n; ++k) {
    Big angle = pi * Big(2.0 * k + 1) / Big(2.0 * n), t;
    mpfr_cos(t.get(), angle.get(), MPFR_RNDN);
    t = t * Big(half);
    Big power(1.0);
    for (int j = 0; j < n; ++j, power = power * t) a[k][j] = power;
    a[k][n] = Target(WOf(l, row, t));
  }
  for (int c = 0; c < n; ++c) {
    int pivot = c;
    for (int k = c + 1; k < n; ++k) {
      if (mpfr_cmpabs(a[k][c].get(), a[pivot][c].get()) > 0) pivot = k;
    }
    std::swap(a[c], a[pivot]);
    for (int k = 0; k < n; ++k) {
      if (k == c) continue;
      Big f = a[k][c] / a[c][c];
      for (int j = c; j <= n; ++j) a[k][j] = a[k][j] - f * a[c][j];
    }
  }
  std::vector<Big> coef(n);
  for (int j = 0; j < n; ++j) coef[j] = a[j][n] / a[j][j];
  return coef;
}

// v rounded to `bits` significant bits.
Big RoundToBits(const Big& v, int bits, mpfr_rnd_t rounding = MPFR_RNDN) {
  Big r;
  mpfr_t s;
  mpfr_init2(s, bits);
  mpfr_set(s, v.get(), rounding);
  mpfr_set(r.get(), s, MPFR_RNDN);
  mpfr_clear(s);
  return r;
}

Big InType(const Layout& l, const Big& v) { return RoundToBits(v, l.digits); }

// The stored row: low constant, low linear, t^2.., high constant, high linear.
std::vector<Big> Row(const Layout& l, const std::vector<Big>& c) {
  const Big high0 = RoundToBits(c[0], l.high_bits_constant);
  const Big high1 = RoundToBits(c[1], l.high_bits_linear, l.linear_rounding);
  std::vector<Big> row = {InType(l, c[0] - high0), InType(l, c[1] - high1)};
  for (int j = 2; j <= l.degree; ++j) row.push_back(InType(l, c[j]));
  row.push_back(high0);
  row.push_back(high1);
  return row;
}

// Worst relative error of the stored row, evaluated exactly, on 64 points of the interval.
double RowError(const Layout& l, int row, const std::vector<Big>& r) {
  const double half = 0.5 / (1 << l.top_bits);
  const int n = l.degree;
  double worst = 0;
  for (int k = 0; k < 64; ++k) {
    const Big t = Big(-half + (k + 0.5) * (2 * half / 64));
    Big p = r[n];
    for (int j = n - 1; j >= 2; --j) p = p * t + r[j];
    p = p * t + (r[1] + r[n + 2]);
    p = p * t + (r[0] + r[n + 1]);
    const Big exact = Target(WOf(l, row, t));
    const double e = ((p - exact) / exact).Abs().D();
    if (e > worst) worst = e;
  }
  return worst;
}

void PrintTable(const Layout& l) {
  std::vector<std::vector<Big>> rows;
  double worst = 0;
  for (int i = 0; i < l.rows; ++i) {
    rows.push_back(Row(l, Fit(l, i)));
    const double e = RowError(l, i, rows.back());
    if (e > worst) worst = e;
  }
  printf("// %s: %d rows of erfinv(x) / x, degree %d; worst relative error of a row, evaluated\n"
         "// exactly: %.3g (2^%.2f).\n", l.name, l.rows, l.degree, worst, log2(worst));
  // Double rows lead with one unused double, so that the pairs r[1..2], ..., r[15..16] lie on
  // 16-byte boundaries and the kernel's loads fold into its arithmetic.
  const bool padded = l.digits == 53;
  if (padded) {
    printf("struct alignas(16) %sRow {\n  double pad;\n  double r[%d];\n};\n", l.name,
           l.degree + 3);
    printf("const %sRow %s[%d] = {\n", l.name, l.name, l.rows);
  } else {
    printf("alignas(32) const %s %s[%d][%d] = {\n", l.type, l.name, l.rows, l.degree + 3);
  }
  for (int i = 0; i < l.rows; ++i) {
    printf(padded ? "    {0, {" : "    {");
    for (size_t j = 0; j < rows[i].size(); ++j) {
      if (l.digits == 53) {
        printf("%s%a", j == 0 ? "" : ", ", rows[i][j].D());
      } else {
        printf("%s%af", j == 0 ? "" : ", ", static_cast<double>(rows[i][j].F()));
      }
    }
    printf(padded ? "}},  // %d\n" : "},  // %d\n", i);
  }
  printf("};\n\n");
}

}  // namespace

int main() {
  printf("// BEGIN GENERATED CODE; DO NOT EDIT\n");
  printf("// Made by: build/tools/gen_erfinv_tables > kernels/erfinv_tables.inc\n");
  printf("// clang-format off\n\n");
  PrintTable(kDouble);
  PrintTable(kSingle);
  printf("// END GENERATED CODE\n");
  return 0;
}
