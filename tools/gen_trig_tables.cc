// Generates the tables of the trigonometric family with MPFR: sine and cosine at the 512
// multiples of pi/256, tangent or cotangent at the 512 multiples of pi/512, the windows of the
// bits of 2/pi for the reduction of huge arguments, and the parts of the reduction constants.
//
//   gen_trig_tables > kernels/trig_tables.inc
#include <gmp.h>
#include <mpfr.h>
#include <stdint.h>
#include <stdio.h>

#include "tools/mpfr_round.h"

namespace {

constexpr mpfr_prec_t kPrec = 256;
// 2^(e + 192) / (2 pi) must be exact in its integer part for e up to 2047 - 1075.
constexpr mpfr_prec_t kWindowPrec = 2400;

// A value as {high, low}. Where |v| > 1 - 2^-7 the high part is +-1, so that products by it
// are exact near the zeros of the other function, and the low part is v -+ 1 rounded;
// elsewhere the high part is v rounded and the low part the rest cut to 24 bits.
void Split(mpfr_srcptr v, double* hi, double* lo) {
  mpfr_t rest, cut;
  mpfr_init2(rest, kPrec);
  mpfr_init2(cut, 24);
  mpfr_abs(rest, v, MPFR_RNDN);
  const bool near_one = mpfr_cmp_d(rest, 1.0 - 0x1p-7) > 0;
  *hi = near_one ? (mpfr_sgn(v) > 0 ? 1.0 : -1.0) : mpfr_get_d(v, MPFR_RNDN);
  mpfr_sub_d(rest, v, *hi, MPFR_RNDN);
  mpfr_set(cut, rest, MPFR_RNDZ);
  *lo = near_one ? mpfr_get_d(rest, MPFR_RNDN) : mpfr_get_d(cut, MPFR_RNDN);
  mpfr_clears(rest, cut, static_cast<mpfr_ptr>(nullptr));
}

void PrintSinTable() {
  printf("// Row j: cos(j pi/256) = c + cm1 and sin(j pi/256) = s + sl, as {cm1, c, s, sl}.\n");
  printf("alignas(32) inline constexpr double kSinTable[512][4] = {\n");
  mpfr_t j, v;
  mpfr_inits2(kPrec, j, v, static_cast<mpfr_ptr>(nullptr));
  for (int row = 0; row < 512; ++row) {
    mpfr_set_ui(j, row, MPFR_RNDN);
    double c, cm1, s, sl;
    mpfr_cosu(v, j, 512, MPFR_RNDN);
    Split(v, &c, &cm1);
    mpfr_sinu(v, j, 512, MPFR_RNDN);
    Split(v, &s, &sl);
    printf("    {%a, %a, %a, %a},  // %d\n", cm1, c, s, sl, row);
  }
  printf("};\n\n");
  mpfr_clears(j, v, static_cast<mpfr_ptr>(nullptr));
}

// Row j of the tangent at a = j pi/512 over a half turn, as {A high, A low, B high, B low}
// with A / B = tan a and max(|A|, |B|) = 1: A = tan a, B = 1 where |tan a| <= 1 (rows 0 to 127
// and 384 to 511), A = 1, B = cot a elsewhere.
void PrintTanTable() {
  printf("// Row j: A / B = tan(j pi/512), one of them 1 and the other in [-1, 1],\n"
         "// as {A high, A low, B high, B low}.\n");
  printf("alignas(32) inline constexpr double kTanTable[512][4] = {\n");
  mpfr_t j, v;
  mpfr_inits2(kPrec, j, v, static_cast<mpfr_ptr>(nullptr));
  for (int row = 0; row < 512; ++row) {
    const bool cot = ((row + 128) & 256) != 0;
    // cot a = tan(pi/2 - a).
    mpfr_set_si(j, cot ? 256 - row : row, MPFR_RNDN);
    mpfr_tanu(v, j, 1024, MPFR_RNDN);
    // Row 0 holds tan 0 as -0, so that num = A + B t keeps the sign of t = -0.
    const double hi = row == 0 ? -0.0 : mpfr_get_d(v, MPFR_RNDN);
    mpfr_sub_d(v, v, hi, MPFR_RNDN);
    const double lo = row == 0 ? -0.0 : mpfr_get_d(v, MPFR_RNDN);
    if (cot) {
      printf("    {0x1p+0, 0x0p+0, %a, %a},  // %d\n", hi, lo, row);
    } else {
      printf("    {%a, %a, 0x1p+0, 0x0p+0},  // %d\n", hi, lo, row);
    }
  }
  printf("};\n\n");
  mpfr_clears(j, v, static_cast<mpfr_ptr>(nullptr));
}

// Row E (the exponent field of x): the 192 bits of 1/(2 pi) = (2/pi) / 4 that follow bit
// E - 1075, as an integer in three words, most significant first. For x = M 2^(E - 1075)
// with an integer mantissa M, M * row mod 2^192 is frac(x / (2 pi)) in units of 2^-192, short
// by less than 2^-139.
void PrintTwoOverPiRows() {
  printf("// Row E: floor(2^(E - 1075 + 192) / (2 pi)) mod 2^192, most significant word first.\n");
  printf("alignas(16) inline constexpr uint64_t kTwoOverPiRows[2048][3] = {\n");
  mpfr_t y;
  mpfr_init2(y, kWindowPrec);
  mpz_t z;
  mpz_init(z);
  for (int e = 0; e < 2048; ++e) {
    mpfr_const_pi(y, MPFR_RNDN);
    mpfr_mul_2ui(y, y, 1, MPFR_RNDN);
    mpfr_ui_div(y, 1, y, MPFR_RNDN);
    mpfr_mul_2si(y, y, e - 1075 + 192, MPFR_RNDN);
    mpfr_get_z(z, y, MPFR_RNDD);
    mpz_fdiv_r_2exp(z, z, 192);
    uint64_t w[3];
    for (int k = 0; k < 3; ++k) {
      mpz_t part;
      mpz_init(part);
      mpz_fdiv_q_2exp(part, z, 64 * (2 - k));
      mpz_fdiv_r_2exp(part, part, 64);
      w[k] = mpz_get_ui(part);
      mpz_clear(part);
    }
    printf("    {0x%016llxull, 0x%016llxull, 0x%016llxull},  // %d\n",
           static_cast<unsigned long long>(w[0]), static_cast<unsigned long long>(w[1]),
           static_cast<unsigned long long>(w[2]), e);
  }
  printf("};\n\n");
  mpz_clear(z);
  mpfr_clear(y);
}

// c = p1 + p2 + p3, p1 in `bits1` significant bits, p2 in `bits2`, p3 rounded.
void PrintParts(const char* comment, const char* name, mpfr_srcptr c, int bits1, int bits2) {
  mpfr_t rest;
  mpfr_init2(rest, kPrec);
  const double p1 = RoundToBits(c, bits1);
  mpfr_sub_d(rest, c, p1, MPFR_RNDN);
  const double p2 = RoundToBits(rest, bits2);
  mpfr_sub_d(rest, rest, p2, MPFR_RNDN);
  const double p3 = mpfr_get_d(rest, MPFR_RNDN);
  printf("// %s\n", comment);
  printf("inline constexpr double %s[3] = {%a, %a, %a};\n", name, p1, p2, p3);
  mpfr_clear(rest);
}

void PrintConstants() {
  mpfr_t pi, c;
  mpfr_inits2(kPrec, pi, c, static_cast<mpfr_ptr>(nullptr));
  mpfr_const_pi(pi, MPFR_RNDN);
  mpfr_div_2ui(c, pi, 8, MPFR_RNDN);
  PrintParts("pi/256 in 31, 30 and 53 bits: n times either of the first two is exact for n "
             "below 2^53 / 2^30.65.",
             "kPiOver256Parts", c, 31, 30);
  // 2 pi: its double w, w = h + l with h in 27 bits (so a 26-bit factor times h is exact),
  // and the rest 2 pi - w.
  mpfr_mul_2ui(c, pi, 1, MPFR_RNDN);
  const double w = mpfr_get_d(c, MPFR_RNDN);
  mpfr_t t;
  mpfr_init2(t, 53);
  mpfr_set_d(t, w, MPFR_RNDN);
  const double h = RoundToBits(t, 27);
  mpfr_sub_d(c, c, w, MPFR_RNDN);
  printf("// 2 pi = w + rest, w = h + l, h in 27 bits.\n");
  printf("inline constexpr double kTwoPi = %a, kTwoPiHigh = %a, kTwoPiLow = %a, kTwoPiRest = %a;\n\n",
         w, h, w - h, mpfr_get_d(c, MPFR_RNDN));
  mpfr_clear(t);
  mpfr_clears(pi, c, static_cast<mpfr_ptr>(nullptr));
}

}  // namespace

int main() {
  printf("// BEGIN GENERATED CODE; DO NOT EDIT\n");
  printf("// build/tools/gen_trig_tables > kernels/trig_tables.inc\n");
  printf("// clang-format off\n\n");
  PrintConstants();
  PrintSinTable();
  PrintTanTable();
  PrintTwoOverPiRows();
  printf("// clang-format on\n// END GENERATED CODE\n");
  return 0;
}
