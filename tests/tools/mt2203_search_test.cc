// The committed MT2203 rows are primitive twisters whose claimed measures hold.
#include "tools/mt2203_search.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bitset>
#include <map>
#include <set>
#include <string>

#include "tools/mt2203_rows.h"

namespace {

using mt2203::Row;

const std::map<int, Row>& CommittedRows() {
  static const std::map<int, Row> rows = [] {
    std::map<int, Row> r;
    std::string error;
    EXPECT_TRUE(mt2203::ReadRows(QOR_MT2203_PROGRESS, r, error)) << error;
    return r;
  }();
  return rows;
}

TEST(Mt2203SearchTest, CommittedRowsHoldTheFixedMembersAndWellFormedConstants) {
  const std::map<int, Row>& rows = CommittedRows();
  std::set<uint32_t> constants;
  for (const auto& [member, row] : rows) {
    constants.insert(row.matrix_a);
    EXPECT_EQ(row.mask_b & ~mt2203::kMaskBFree, 0u) << member;
    EXPECT_EQ(row.mask_c & ~mt2203::kMaskCFree, 0u) << member;
    if (const std::optional<Row> fixed = mt2203::FixedRow(member)) {
      EXPECT_TRUE(row.matrix_a == fixed->matrix_a && row.mask_b == fixed->mask_b &&
                  row.mask_c == fixed->mask_c) << member;
    } else {
      EXPECT_EQ(row.matrix_a & 0xFFFF, member + mt2203::kMemberTag) << member;
    }
  }
  EXPECT_EQ(constants.size(), rows.size());
  for (int member : {0, 1, 2, 3, 6022, 6023}) EXPECT_TRUE(rows.count(member)) << member;
}

// The fixed rows and every 200th member: p irreducible of degree 2203, annihilating the outputs.
TEST(Mt2203SearchTest, SampledRowsHaveAPrimitivePolynomialOfDegree2203) {
  for (const auto& [member, row] : CommittedRows()) {
    if (!mt2203::FixedRow(member) && member % 200 != 0) continue;
    const gf2::Poly p = mt2203::CharacteristicPolynomial(row.matrix_a);
    ASSERT_EQ(gf2::Degree(p), mt2203::kDegree) << member;
    EXPECT_TRUE(gf2::IsIrreducibleOfPrimeDegree(p, 0)) << member;
    std::vector<uint32_t> state(mt2203::kN, row.matrix_a);  // any state not all zero
    const std::vector<uint32_t> x = mt2203::Untempered(row.matrix_a, state, mt2203::kDegree + 2);
    uint32_t sum = 0;
    for (int i = 0; i <= mt2203::kDegree; ++i) sum ^= gf2::Coefficient(p, i) ? x[1 + i] : 0;
    EXPECT_EQ(sum, 0u) << member;
  }
}

using Form = std::bitset<mt2203::kDegree>;  // a linear form in the state bits

int Rank(std::vector<Form> rows) {
  int rank = 0;
  for (int c = 0; c < mt2203::kDegree && rank < static_cast<int>(rows.size()); ++c) {
    const auto pivot = std::find_if(rows.begin() + rank, rows.end(), [c](auto& r) { return r[c]; });
    if (pivot == rows.end()) continue;
    std::swap(*pivot, rows[rank]);
    for (size_t r = rank + 1; r < rows.size(); ++r)
      if (rows[r][c]) rows[r] ^= rows[rank];
    ++rank;
  }
  return rank;
}

// Rank of the map from state bits to top v bits of k outputs: full at k(v), not at k(v) + 1.
TEST(Mt2203SearchTest, DistributionMatchesRankOfSimulatedOutputs) {
  const Row row = CommittedRows().at(4);
  for (int v : {5, 13, 28}) {
    const int k = row.k[v - 1], outputs = k + 1;
    std::vector<Form> rows(outputs * v);
    for (int s = 0; s < mt2203::kDegree; ++s) {
      std::vector<uint32_t> state(mt2203::kN, 0);
      if (s < 27) state[0] = 1u << (s + 5);
      else state[1 + (s - 27) / 32] = 1u << ((s - 27) % 32);
      const std::vector<uint32_t> x = mt2203::Untempered(row.matrix_a, state, outputs + 1);
      for (int t = 0; t < outputs; ++t) {
        const uint32_t y = mt2203::Temper(x[t + 1], row.mask_b, row.mask_c);
        for (int j = 0; j < v; ++j) rows[t * v + j][s] = y >> (31 - j) & 1;
      }
    }
    EXPECT_EQ(Rank(std::vector<Form>(rows.begin(), rows.begin() + k * v)), k * v) << "v " << v;
    if (k < mt2203::DistributionBound(v)) EXPECT_LT(Rank(rows), outputs * v) << "v " << v;
  }
}

}  // namespace
