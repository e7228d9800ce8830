// The logarithm family beyond its special values: the reduction tables (published rows, and a
// sample re-derived by their rule with MPFR, bit for bit), and the reports of Log1p's
// two-register steps.
#include <mpfr.h>

#include <cmath>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "kernels/log_core.h"
#include "qor/tem.h"
#include "tools/mpfr_round.h"

namespace {

TEST(LogTablesTest, PublishedRows) {
  EXPECT_EQ(tem::kLnBlockTable[0][0], -708.3964185305813);
  EXPECT_EQ(tem::kLnBlockTable[0][1], -1.6828200473689525e-09);
  // Row c = 513 holds the same sum as the published -708.398369750711, -1.684341546977394e-09,
  // split at another bit: the parts differ by 1.4e-12, their sums by less than 2^-70.
  const double dhi = tem::kLnBlockTable[1][0] - -708.398369750711;  // exact: nearby multiples
  const double dlo = tem::kLnBlockTable[1][1] - -1.684341546977394e-09;
  EXPECT_LT(std::fabs(dhi + dlo), 0x1p-70);
  // c = 1024 holds -1023 ln 2 in the parts of ln 2 that the exponent term uses: ln(1) = +0.
  EXPECT_EQ(tem::kLnBlockTable[512][0], -1023 * 0.6931471805582987);
  EXPECT_EQ(tem::kLnBlockTable[512][1], -1023 * 1.6465949582866463e-12);
  const double row0[3] = {1.0, 0.0, 0.0};
  const double row1[3] = {0.984375, 0.01574835697101662, -2.877450746936954e-12};
  for (int k = 0; k < 3; ++k) {
    EXPECT_EQ(tem::kLnCoreTable[0][k], row0[k]);
    EXPECT_EQ(tem::kLnCoreTable[1][k], row1[k]);
  }
}

std::vector<std::pair<int, double>> g_seen;
int Record(temErrorContext* c) { return g_seen.push_back({c->Index, c->Arg1}), 0; }

// Flagged lanes in either register of a step, after a clean step, and in the register left
// after the last step are each reported once, in order.
template <class T>
void CheckLog1pReports(void (*log1p)(int, const T*, T*)) {
  const T b[11] = {2, -1, 3, 0.5, 4, 5, 6, -2, 7, -3, 8};
  T r[11];
  g_seen.clear();
  const temErrorCallBack old = _temSetErrorCallBack(Record);
  log1p(11, b, r);
  _temSetErrorCallBack(old);
  const std::vector<std::pair<int, double>> want = {{1, -1.0}, {7, -2.0}, {9, -3.0}};
  EXPECT_EQ(g_seen, want);
}

TEST(LogTest, Log1pReportsEachFlaggedElementOfItsSteps) {
  CheckLog1pReports<float>(_temsLog1p);
  CheckLog1pReports<double>(_temdLog1p);
}

TEST(LogTablesTest, BlockRowsFollowTheirRule) {
  struct Base {
    const double (*table)[2];
    int (*log)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
    double l2hi, l2lo;
  } bases[] = {{tem::kLnBlockTable, mpfr_log, 0.6931471805582987, 1.6465949582866463e-12},
               {tem::kLog2BlockTable, mpfr_log2, 1.0, 0.0},
               {tem::kLog10BlockTable, mpfr_log10, 0.30102999566224753, 1.7336659603714182e-12}};
  mpfr_t f, lg, lo;
  mpfr_inits2(200, f, lg, lo, (mpfr_ptr)0);
  for (const Base& b : bases) {
    for (int c = 513; c < 1024; c += 37) {
      // hi = -(1022 L2hi + H), lo = -(1022 L2lo + rest), log_b(c / 512) = H + rest.
      mpfr_set_ui(f, c, MPFR_RNDN);
      mpfr_div_ui(f, f, 512, MPFR_RNDN);
      b.log(lg, f, MPFR_RNDN);
      const double h = RoundToBits(lg, 32);
      mpfr_sub_d(lg, lg, h, MPFR_RNDN);
      mpfr_set_d(lo, b.l2lo, MPFR_RNDN);
      mpfr_mul_ui(lo, lo, 1022, MPFR_RNDN);
      mpfr_add(lo, lo, lg, MPFR_RNDN);
      EXPECT_EQ(b.table[c - 512][0], -(1022 * b.l2hi + h)) << c;
      EXPECT_EQ(b.table[c - 512][1], -mpfr_get_d(lo, MPFR_RNDN)) << c;
    }
  }
  mpfr_clears(f, lg, lo, (mpfr_ptr)0);
}

TEST(LogTablesTest, ScalarRowsFollowTheirRule) {
  mpfr_t x;
  mpfr_init2(x, 200);
  for (int j = 0; j < 128; j += 9) {
    // rcp = 1 / (1 + j / 64) in 9 bits; hi + lo = -ln(rcp), hi in 32 bits.
    mpfr_set_ui(x, 64, MPFR_RNDN);
    mpfr_div_ui(x, x, 64 + j, MPFR_RNDN);
    const double rcp = RoundToBits(x, 9);
    mpfr_set_d(x, rcp, MPFR_RNDN);
    mpfr_log(x, x, MPFR_RNDN);
    mpfr_neg(x, x, MPFR_RNDN);
    const double hi = RoundToBits(x, 32);
    mpfr_sub_d(x, x, hi, MPFR_RNDN);
    EXPECT_EQ(tem::kLnCoreTable[j][0], rcp) << j;
    EXPECT_EQ(tem::kLnCoreTable[j][1], hi) << j;
    EXPECT_EQ(tem::kLnCoreTable[j][2], mpfr_get_d(x, MPFR_RNDN)) << j;
  }
  mpfr_clear(x);
}

}  // namespace
