// Prints the reduction tables of the cube roots (kernels/root_tables.inc): for the 32 mantissa
// intervals [1 + i/32, 1 + (i+1)/32) the centre c = 1 + (2i + 1)/64 and 1/c rounded; for the
// rows 32 j + i, j = 0, 1, 2 the exponent's remainder modulo 3, cbrt(2^j c) and 1/cbrt(2^j c),
// each as hi + lo.
// Usage: gen_root_tables > kernels/root_tables.inc
#include <mpfr.h>
#include <stdio.h>

namespace {

constexpr mpfr_prec_t kPrec = 256;

void PrintPair(const mpfr_t v, int row) {
  mpfr_t rest;
  mpfr_init2(rest, kPrec);
  const double hi = mpfr_get_d(v, MPFR_RNDN);
  mpfr_sub_d(rest, v, hi, MPFR_RNDN);
  printf("    {%a, %a},  // %d\n", hi, mpfr_get_d(rest, MPFR_RNDN), row);
  mpfr_clear(rest);
}

void PrintRoots(const char* name, bool reciprocal) {
  printf("alignas(16) const double %s[96][2] = {\n", name);
  mpfr_t v;
  mpfr_init2(v, kPrec);
  for (int row = 0; row < 96; ++row) {
    mpfr_set_d(v, (1.0 + (2 * (row % 32) + 1) / 64.0) * (1 << (row / 32)), MPFR_RNDN);
    mpfr_cbrt(v, v, MPFR_RNDN);
    if (reciprocal) mpfr_ui_div(v, 1, v, MPFR_RNDN);
    PrintPair(v, row);
  }
  printf("};\n\n");
  mpfr_clear(v);
}

// The rows of the float formula: {c, 1/c, hi, lo} in floats, hi + lo = cbrt(2^j c) or its
// reciprocal.
void PrintSingleRows(const char* name, bool reciprocal) {
  printf("alignas(16) const float %s[96][4] = {\n", name);
  mpfr_t v, rest;
  mpfr_inits2(kPrec, v, rest, static_cast<mpfr_ptr>(nullptr));
  for (int row = 0; row < 96; ++row) {
    const double c = 1.0 + (2 * (row % 32) + 1) / 64.0;
    mpfr_set_d(v, c * (1 << (row / 32)), MPFR_RNDN);
    mpfr_cbrt(v, v, MPFR_RNDN);
    if (reciprocal) mpfr_ui_div(v, 1, v, MPFR_RNDN);
    const float hi = mpfr_get_flt(v, MPFR_RNDN);
    mpfr_sub_d(rest, v, hi, MPFR_RNDN);
    printf("    {%a, %a, %a, %a},  // %d\n", c, static_cast<float>(1.0 / c), hi,
           mpfr_get_flt(rest, MPFR_RNDN), row);
  }
  printf("};\n\n");
  mpfr_clears(v, rest, static_cast<mpfr_ptr>(nullptr));
}

}  // namespace

int main() {
  printf("// BEGIN GENERATED CODE; DO NOT EDIT\n");
  printf("// build/tools/gen_root_tables > kernels/root_tables.inc\n// clang-format off\n\n");
  printf("// Centres c of the mantissa intervals and 1/c rounded: {c, 1/c}.\n");
  printf("alignas(16) const double kCbrtCentres[32][2] = {\n");
  for (int i = 0; i < 32; ++i) {
    const double c = 1.0 + (2 * i + 1) / 64.0;
    printf("    {%a, %a},  // %d\n", c, 1.0 / c, i);
  }
  printf("};\n\n");
  printf("// cbrt(2^j c), row 32 j + i: {hi, lo}.\n");
  PrintRoots("kCbrtRows", false);
  printf("// 1/cbrt(2^j c), row 32 j + i: {hi, lo}.\n");
  PrintRoots("kInvCbrtRows", true);
  printf("// The float rows of cbrt and 1/cbrt, row 32 j + i: {c, 1/c, hi, lo}.\n");
  PrintSingleRows("kCbrtRowsSingle", false);
  PrintSingleRows("kInvCbrtRowsSingle", true);
  printf("// END GENERATED CODE\n");
  return 0;
}
