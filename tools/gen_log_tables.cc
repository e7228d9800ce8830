// Prints the reduction tables of the logarithm family (kernels/log_tables.inc):
//   block tables of Ln, Log2 and Log10: for each integer reciprocal c = 512..1024 the value
//     -log_b(c) - 1013 log_b(2) as hi + lo, where hi = -(k L2hi + H) and lo = -(k L2lo + L),
//     with k = 1022 and log_b(c / 512) = H + L (k = 1023, H = L = 0 for c = 1024), H rounded to
//     32 significant bits; so n * L2hi + hi is exact and ln(1) comes out as +0.
//   scalar table: 128 rows rcp = RN9(1 / (1 + j / 64)), -ln(rcp) as hi (32 bits) + lo.
// Usage: gen_log_tables > kernels/log_tables.inc
#include <mpfr.h>
#include <stdio.h>

#include "tools/mpfr_round.h"

namespace {

constexpr mpfr_prec_t kPrec = 256;

enum class Base { kE, k2, k10 };

void LogBase(mpfr_t out, const mpfr_t x, Base base) {
  switch (base) {
    case Base::kE: mpfr_log(out, x, MPFR_RNDN); break;
    case Base::k2: mpfr_log2(out, x, MPFR_RNDN); break;
    case Base::k10: mpfr_log10(out, x, MPFR_RNDN); break;
  }
}

void PrintBlockTable(const char* name, Base base, double l2hi, double l2lo) {
  printf("// -log_b(c) - 1013 log_b(2), c = 512..1024: {hi, lo}.\n");
  printf("alignas(16) const double %s[513][2] = {\n", name);
  mpfr_t f, lg, h, rest, lo;
  mpfr_inits2(kPrec, f, lg, h, rest, lo, (mpfr_ptr)0);
  for (int c = 512; c <= 1024; ++c) {
    const int k = c == 1024 ? 1023 : 1022;
    double hi_part = 0;
    mpfr_set_zero(rest, 1);
    if (c != 1024) {
      mpfr_set_si(f, c, MPFR_RNDN);
      mpfr_div_ui(f, f, 512, MPFR_RNDN);
      LogBase(lg, f, base);
      hi_part = RoundToBits(lg, 32);
      mpfr_sub_d(rest, lg, hi_part, MPFR_RNDN);
    }
    // Both sums are exact in double: multiples of 2^-40 below 2^10.
    const double hi = -(k * l2hi + hi_part);
    mpfr_set_d(lo, l2lo, MPFR_RNDN);
    mpfr_mul_si(lo, lo, k, MPFR_RNDN);
    mpfr_add(lo, lo, rest, MPFR_RNDN);
    mpfr_neg(lo, lo, MPFR_RNDN);
    printf("    {%a, %a},  // %d\n", hi, mpfr_get_d(lo, MPFR_RNDN), c);
  }
  printf("};\n\n");
  mpfr_clears(f, lg, h, rest, lo, (mpfr_ptr)0);
}

void PrintScalarTable() {
  printf("// rcp ~ 1 / (1 + j / 64) in 9 bits, -ln(rcp) = hi + lo with hi in 32 bits: {rcp, hi, lo}.\n");
  printf("alignas(16) const double kLnCoreTable[128][3] = {\n");
  mpfr_t x, lg, lo;
  mpfr_inits2(kPrec, x, lg, lo, (mpfr_ptr)0);
  for (int j = 0; j < 128; ++j) {
    mpfr_set_ui(x, 64, MPFR_RNDN);
    mpfr_div_ui(x, x, 64 + j, MPFR_RNDN);
    const double rcp = RoundToBits(x, 9);
    mpfr_set_d(x, rcp, MPFR_RNDN);
    mpfr_log(lg, x, MPFR_RNDN);
    mpfr_neg(lg, lg, MPFR_RNDN);
    const double hi = RoundToBits(lg, 32);
    mpfr_sub_d(lo, lg, hi, MPFR_RNDN);
    printf("    {%a, %a, %a},  // %d\n", rcp, hi, mpfr_get_d(lo, MPFR_RNDN), j);
  }
  printf("};\n");
  mpfr_clears(x, lg, lo, (mpfr_ptr)0);
}

}  // namespace

int main() {
  printf("// BEGIN GENERATED CODE; DO NOT EDIT\n");
  printf("// build/tools/gen_log_tables > kernels/log_tables.inc\n");
  printf("// clang-format off\n\n");
  // log_b(2) in two parts: 36 bits, then the rest in 36 bits (1 and 0 for base 2).
  PrintBlockTable("kLnBlockTable", Base::kE, 0x1.62e42fefap-1, 0x1.cf79abc9ep-40);
  PrintBlockTable("kLog2BlockTable", Base::k2, 1.0, 0.0);
  PrintBlockTable("kLog10BlockTable", Base::k10, 0x1.34413509fp-2, 0x1.e7fbcc47cp-40);
  PrintScalarTable();
  printf("// END GENERATED CODE\n");
  return 0;
}
