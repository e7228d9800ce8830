// The published rows of the dExp table.
#include "gtest/gtest.h"

namespace generated {
#include "kernels/exp_tables.inc"
}  // namespace generated

namespace {

TEST(ExpTables, TellingRowsOfTheDExpTable) {
  const double rows[][3] = {{0, 1.0, 0.0},
                            {1, 1.0108892860517005, -1.5234778603368577e-17},
                            {32, 1.4142135623730951, -9.667293313452913e-17},
                            {63, 1.978456026387951, 4.0388753109278167e-17}};
  for (const auto& row : rows) {
    const int i = static_cast<int>(row[0]);
    EXPECT_EQ(generated::kExp64[i][0], row[1]) << i;
    EXPECT_EQ(generated::kExp64[i][1], row[2]) << i;
    EXPECT_EQ(generated::kExp64Relative[i][0], row[1]) << i;
  }
}

}  // namespace
