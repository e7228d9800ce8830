// The logarithm's tables row by row against MPFR, and the reports of Log1p's two-register steps.
#include <cmath>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "kernels/log_core.h"
#include "qor/tem.h"
#include "tests/kernels/exact_support.h"
#include "tools/mpfr_round.h"

namespace {

std::vector<std::pair<int, double>> g_seen;
int Record(temErrorContext* c) { return g_seen.push_back({c->Index, c->Arg1}), 0; }

// Flagged lanes in either register of a step and in the last register are reported once, in order.
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

// Row c - 512: hi = -(1022 L2hi + H), lo = -(1022 L2lo + rest), log_b(c / 512) = H + rest with
// H in 32 bits; the last row is -1023 times the parts that the exponent term uses: ln(1) = +0.
TEST(LogTablesTest, BlockRowsFollowTheirRule) {
  const struct {
    const double (*table)[2];
    int (*log)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
    double l2hi, l2lo;
  } bases[] = {{tem::kLnBlockTable, mpfr_log, 0.6931471805582987, 1.6465949582866463e-12},
               {tem::kLog2BlockTable, mpfr_log2, 1.0, 0.0},
               {tem::kLog10BlockTable, mpfr_log10, 0.30102999566224753, 1.7336659603714182e-12}};
  for (const auto& b : bases) {
    EXPECT_EQ(b.table[512][0], -1023 * b.l2hi);
    EXPECT_EQ(b.table[512][1], -1023 * b.l2lo);
    for (int c = 512; c < 1024; ++c) {
      const Big lg = exact::Of(b.log, Big(c) / Big(512));
      const double h = RoundToBits(lg.get(), 32);
      EXPECT_EQ(b.table[c - 512][0], -(1022 * b.l2hi + h)) << c;
      EXPECT_EQ(b.table[c - 512][1], -(Big(b.l2lo) * Big(1022) + lg - Big(h)).D()) << c;
    }
  }
}

// The published rows. Row c = 513 holds the sum of the published -708.398369750711 and
// -1.684341546977394e-09 split at another bit: the parts differ by 1.4e-12, their sums by less
// than 2^-70.
TEST(LogTablesTest, PublishedRowsAreReproduced) {
  EXPECT_EQ(tem::kLnBlockTable[0][0], -708.3964185305813);
  EXPECT_EQ(tem::kLnBlockTable[0][1], -1.6828200473689525e-09);
  const double dhi = tem::kLnBlockTable[1][0] - -708.398369750711;  // exact: nearby multiples
  EXPECT_LT(std::fabs(dhi + (tem::kLnBlockTable[1][1] - -1.684341546977394e-09)), 0x1p-70);
  const double core[2][3] = {{1.0, 0.0, 0.0},
                             {0.984375, 0.01574835697101662, -2.877450746936954e-12}};
  for (int j = 0; j < 2; ++j)
    for (int k = 0; k < 3; ++k) EXPECT_EQ(tem::kLnCoreTable[j][k], core[j][k]) << j << " " << k;
}

// Row j: rcp = 1 / (1 + j / 64) in 9 bits, hi + lo = -ln(rcp) with hi in 32 bits.
TEST(LogTablesTest, ScalarRowsFollowTheirRule) {
  for (int j = 0; j < 128; ++j) {
    const double rcp = RoundToBits((Big(64) / Big(64 + j)).get(), 9);
    const Big minus_ln = Big(0) - exact::Of(mpfr_log, Big(rcp));
    const double hi = RoundToBits(minus_ln.get(), 32);
    EXPECT_EQ(tem::kLnCoreTable[j][0], rcp) << j;
    EXPECT_EQ(tem::kLnCoreTable[j][1], hi) << j;
    EXPECT_EQ(tem::kLnCoreTable[j][2], (minus_ln - Big(hi)).D()) << j;
  }
}

}  // namespace
