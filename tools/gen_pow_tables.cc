// Prints the logarithm table and the constants of the power functions (kernels/pow_tables.inc):
//   257 rows for m = 1 + i/256 (i = 0..256): rc = floor(2^16 / m) / 2^16 and -log2(rc) as
//     hi + lo, hi on the grid of 2^-42 so that an exponent plus hi is exact; a zero pads each
//     row to two pairs;
//   1/ln 2 as a 20-bit head and its rest, 1/(2 ln 2) as a 17-bit head and its rest;
//   the Taylor coefficients of log2(1 + r) from r^3 to r^7 and of 2^g from g to g^5;
//   the three reciprocal stages of the scalar reduction (see PrintStage).
// Usage: gen_pow_tables > kernels/pow_tables.inc
#include <mpfr.h>
#include <stdio.h>

namespace {

constexpr mpfr_prec_t kPrec = 256;

// v rounded to `bits` significant bits, and the rest rounded to double.
void Split(const mpfr_t v, int bits, double* head, double* rest) {
  mpfr_t h, r;
  mpfr_init2(h, bits);
  mpfr_init2(r, kPrec);
  mpfr_set(h, v, MPFR_RNDN);
  mpfr_sub(r, v, h, MPFR_RNDN);
  *head = mpfr_get_d(h, MPFR_RNDN);
  *rest = mpfr_get_d(r, MPFR_RNDN);
  mpfr_clears(h, r, (mpfr_ptr)0);
}

// -log2(v) as hi + lo, hi on the grid of 2^-42 so that sums of an exponent and several hi
// are exact.
void MinusLog2(const mpfr_t v, double* hi, double* lo) {
  mpfr_t l, h;
  mpfr_inits2(kPrec, l, h, (mpfr_ptr)0);
  mpfr_log2(l, v, MPFR_RNDN);
  mpfr_neg(l, l, MPFR_RNDN);
  mpfr_mul_2si(h, l, 42, MPFR_RNDN);
  mpfr_rint(h, h, MPFR_RNDN);
  mpfr_mul_2si(h, h, -42, MPFR_RNDN);
  *hi = mpfr_get_d(h, MPFR_RNDN) + 0.0;  // +0, never -0
  mpfr_sub(l, l, h, MPFR_RNDN);
  *lo = mpfr_get_d(l, MPFR_RNDN) + 0.0;
  mpfr_clears(l, h, (mpfr_ptr)0);
}

// One stage of the scalar reduction: `rows` rows {factor, hi, lo}. Row i stands for the
// argument q = 1 + i * step for i < wrap and q = 1 - (rows - 1 - i) * step / 2 from there on:
// the index is a rounded bit field of the argument's high word, which wraps round for
// arguments below 1, whose exponent is one lower. The factor is floor(2^bits * scale / q) /
// 2^bits, and hi + lo = -log2(factor / factor of row 0).
void PrintStage(const char* name, const char* what, int rows, int wrap, double step, int bits,
                const mpfr_t scale) {
  mpfr_t q, f, f0;
  mpfr_inits2(kPrec, q, f, f0, (mpfr_ptr)0);
  printf("// %s\n", what);
  printf("alignas(16) const double %s[%d][3] = {\n", name, rows);
  for (int i = 0; i < rows; ++i) {
    const double arg = i < wrap ? 1.0 + i * step : 1.0 - (rows - 1 - i) * step / 2;
    mpfr_set_d(q, arg, MPFR_RNDN);
    mpfr_div(f, scale, q, MPFR_RNDN);
    mpfr_mul_2si(f, f, bits, MPFR_RNDN);
    mpfr_floor(f, f);
    mpfr_mul_2si(f, f, -bits, MPFR_RNDN);
    if (i == 0) mpfr_set(f0, f, MPFR_RNDN);
    mpfr_div(q, f, f0, MPFR_RNDN);
    double hi, lo;
    MinusLog2(q, &hi, &lo);
    printf("    {%a, %a, %a},  // %d\n", mpfr_get_d(f, MPFR_RNDN), hi, lo, i);
  }
  printf("};\n\n");
  mpfr_clears(q, f, f0, (mpfr_ptr)0);
}

}  // namespace

int main() {
  printf("// BEGIN GENERATED CODE; DO NOT EDIT\n");
  printf("// build/tools/gen_pow_tables > kernels/pow_tables.inc\n// clang-format off\n\n");
  mpfr_t v, t, ln2;
  mpfr_inits2(kPrec, v, t, ln2, (mpfr_ptr)0);
  mpfr_const_log2(ln2, MPFR_RNDN);

  printf("// m = 1 + i/256: {rc = floor(2^16 / m) / 2^16, 0}, {hi, lo} of -log2(rc).\n");
  printf("alignas(16) const double kPowLog2[257][4] = {\n");
  for (int i = 0; i <= 256; ++i) {
    const double rc = static_cast<long>(65536.0 * 256.0 / (256 + i)) / 65536.0;
    mpfr_set_d(v, rc, MPFR_RNDN);
    mpfr_log2(v, v, MPFR_RNDN);
    mpfr_neg(v, v, MPFR_RNDN);
    mpfr_mul_2si(t, v, 42, MPFR_RNDN);
    mpfr_rint(t, t, MPFR_RNDN);
    mpfr_mul_2si(t, t, -42, MPFR_RNDN);
    const double hi = mpfr_get_d(t, MPFR_RNDN) + 0.0;  // row 0: +0
    mpfr_sub(t, v, t, MPFR_RNDN);
    printf("    {%a, 0.0, %a, %a},  // %d\n", rc, hi, mpfr_get_d(t, MPFR_RNDN), i);
  }
  printf("};\n\n");

  double head, rest;
  mpfr_ui_div(v, 1, ln2, MPFR_RNDN);
  Split(v, 20, &head, &rest);
  printf("// 1/ln 2 = kInvLn2Head + kInvLn2Rest, the head of 20 bits.\n");
  printf("constexpr double kInvLn2Head = %a, kInvLn2Rest = %a;\n", head, rest);
  mpfr_div_2ui(v, v, 1, MPFR_RNDN);
  Split(v, 17, &head, &rest);
  printf("// 1/(2 ln 2) = kHalfInvLn2Head + kHalfInvLn2Rest, the head of 17 bits.\n");
  printf("constexpr double kHalfInvLn2 = %a, kHalfInvLn2Head = %a, kHalfInvLn2Rest = %a;\n",
         mpfr_get_d(v, MPFR_RNDN), head, rest);

  printf("// log2(1 + r): the coefficients of r^3 .. r^7, (-1)^(n+1) / (n ln 2).\n");
  printf("constexpr double kLog2Series[5] = {");
  for (int n = 3; n <= 7; ++n) {
    mpfr_mul_ui(v, ln2, n, MPFR_RNDN);
    mpfr_ui_div(v, 1, v, MPFR_RNDN);
    if (n % 2 == 0) mpfr_neg(v, v, MPFR_RNDN);
    printf("%s%a", n == 3 ? "" : ", ", mpfr_get_d(v, MPFR_RNDN));
  }
  printf("};\n");

  printf("// 2^g - 1: the coefficients of g .. g^5, (ln 2)^n / n!.\n");
  printf("constexpr double kExp2Series[5] = {");
  mpfr_set_ui(v, 1, MPFR_RNDN);
  for (int n = 1; n <= 5; ++n) {
    mpfr_mul(v, v, ln2, MPFR_RNDN);
    mpfr_div_ui(v, v, n, MPFR_RNDN);
    printf("%s%a", n == 1 ? "" : ", ", mpfr_get_d(v, MPFR_RNDN));
  }
  printf("};\n\n");

  mpfr_set_ui(v, 1, MPFR_RNDN);
  PrintStage("kPowStage1",
             "First stage: m = 1 + i/32 (m in [1, 2]), {floor(2^16 / m) / 2^16, -log2 as hi, lo}.",
             33, 33, 1.0 / 32, 16, v);
  PrintStage("kPowStage2",
             "Second stage: q = 1 + j/512 (j < 16) or 1 - (32 - j)/1024, {floor(2^16 / q) / 2^16, "
             "-log2 as hi, lo}.",
             33, 16, 1.0 / 512, 16, v);
  mpfr_ui_div(v, 1, ln2, MPFR_RNDN);
  // The second stage leaves its product within 2^-10 of 1 above 1, and up to 2^-10 + 2^-15 below
  // (its factors are rounded down): the rows above 1 end at k = 47, so that the rows below
  // reach 1 - 80/2^16.
  PrintStage("kPowStage3",
             "Third stage: q = 1 + k/2^15 (k < 48) or 1 - (128 - k)/2^16, {c = floor(2^22 / (q ln 2)) "
             "/ 2^22, -log2(c / c0) as hi, lo}.",
             129, 48, 1.0 / 32768, 22, v);

  printf("// END GENERATED CODE\n");
  mpfr_clears(v, t, ln2, (mpfr_ptr)0);
  return 0;
}
