// log2 x in double-double, as the power functions take it, against MPFR: the block's and the
// companion's. Their product with an exponent of up to 2^11 must keep the result's last bits,
// so both must hold their relative accuracy everywhere, however small log2 x is.
#include <cmath>
#include <random>
#include <vector>

#include "gtest/gtest.h"
#include "kernels/pow_companion.h"
#include "tests/kernels/exact_support.h"

namespace {

using tem::power::D;

// x on a grid of 2^-16 over [1, 2), fine enough to meet every row of the three stages near both
// of its ends, random mantissas, and 1 + d, 1 - d for d = 2^-k and 3 2^-k; halved and doubled.
std::vector<double> Arguments() {
  std::vector<double> xs;
  for (int j = 0; j < (1 << 16); ++j) xs.push_back(1.0 + std::ldexp(j + 0.375, -16));
  std::mt19937_64 engine(7);
  std::uniform_real_distribution<double> mantissa(1.0, 2.0);
  for (int i = 0; i < (1 << 12); ++i) xs.push_back(mantissa(engine));
  for (int k = 1; k <= 52; ++k) {
    for (double d : {std::ldexp(1.0, -k), std::ldexp(3.0, -k)}) {
      xs.push_back(1.0 + d);
      xs.push_back(1.0 - d / 2);
    }
  }
  const size_t count = xs.size();
  for (size_t i = 0; i < count; i += 97) xs.push_back(std::ldexp(xs[i], (i & 1) ? 5 : -7));
  return xs;
}

// |hi + lo - log2 x| / |log2 x|, 0 at x = 1 when hi + lo is 0.
double RelativeError(double x, double hi, double lo) {
  const Big exact = exact::Of(mpfr_log2, Big(x));
  if (x == 1.0) return hi == 0.0 && lo == 0.0 ? 0.0 : 1.0;
  return std::fabs(((Big(hi) + Big(lo) - exact) / exact).D());
}

TEST(PowLog2Test, BlockAndCompanionKeepTheirRelativeAccuracy) {
  const std::vector<double> xs = Arguments();
  double worst_block = 0, worst_companion = 0, block_at = 0, companion_at = 0;
  for (size_t i = 0; i + 1 < xs.size(); i += 2) {
    const D x = D::FromLanes(&xs[i], &xs[i + 1]);
    D hi, lo;
    tem::power::Log2(x, tem::power::ReadLogRow(x), hi, lo);
    double h[2], l[2];
    hi.Store(h);
    lo.Store(l);
    for (int lane = 0; lane < 2; ++lane) {
      const double v = xs[i + lane];
      const double block = RelativeError(v, h[lane], l[lane]);
      if (block > worst_block) worst_block = block, block_at = v;
      double ch, cl;
      tem::power::stages::Log2(v, 0.0, ch, cl);
      const double companion = RelativeError(v, ch, cl);
      if (companion > worst_companion) worst_companion = companion, companion_at = v;
    }
  }
  EXPECT_LT(worst_block, 0x1p-64) << "block, at x = " << std::hexfloat << block_at;
  EXPECT_LT(worst_companion, 0x1p-66) << "companion, at x = " << std::hexfloat << companion_at;
}

}  // namespace
