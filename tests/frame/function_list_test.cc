// frame/functions.def against the known facts of the function set.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "abi_support.h"

namespace {

using qor_abi::Row;
using qor_abi::Rows;

// Frameless pack/unpack rows, both variants, v<type><stem>[I] names, three-slot angle rows.
TEST(FunctionList, RowsVariantsErrorNamesAndSlots) {
  ASSERT_EQ(Rows().size(), 480u);
  EXPECT_EQ(Rows().front().Name(), "sCeil");
  std::set<std::string> expected_frameless, frameless, expected_not_same, not_same, shared02;
  for (const std::string type : {"s", "d", "c", "z"})
    for (const char* stem : {"PackI", "PackV", "PackM", "UnpackI", "UnpackV", "UnpackM"})
      expected_frameless.insert(type + stem + "C");
  for (const std::string type : {"s", "d"})
    for (const std::string stem : {"Cosd", "Sind", "Tand", "Cospi", "Sinpi", "Tanpi"})
      expected_not_same.insert({type + stem, type + stem + "I"});
  std::map<std::string, std::set<std::string>> variants;
  for (const Row& row : Rows()) {
    if (row.form == "NONE") frameless.insert(row.Name() + row.variant);
    else variants[row.type + row.stem].insert(row.variant);
    if (row.slots != "SAME") not_same.insert(row.Name());
    if (row.slots == "SHARED02") shared02.insert(row.Name());
    const std::string base = "v" + row.type + row.stem;
    EXPECT_TRUE(row.error_name == base || row.error_name == base + "I") << row.error_name;
  }
  EXPECT_EQ(frameless, expected_frameless);
  EXPECT_EQ(variants.size(), 228u);
  for (const auto& [function, seen] : variants)
    EXPECT_EQ(seen, (std::set<std::string>{"C", "I"})) << function;
  EXPECT_EQ(not_same, expected_not_same);
  EXPECT_EQ(shared02, (std::set<std::string>{"sCospi", "sSinpi"}));
}

}  // namespace
