// frame/functions.def against the facts of the function set that do not depend on the code:
// size, forms, _ctab groups, variants, slot sharing, first row, and the error names.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "abi_support.h"

namespace {

using qor_abi::Row;
using qor_abi::Rows;

// The form and _ctab counts also hold every row's form and group to the known ones.
TEST(FunctionList, SizeFirstRowFormAndCtabCounts) {
  ASSERT_EQ(Rows().size(), 480u);
  EXPECT_EQ(Rows().front().Name(), "sCeil");
  std::map<std::string, int> forms, ctabs;
  for (const Row& row : Rows()) ++forms[row.form], ++ctabs[row.ctab];
  EXPECT_EQ(forms, (std::map<std::string, int>{{"VEC", 338}, {"LOOP", 118}, {"NONE", 24}}));
  EXPECT_EQ(ctabs, (std::map<std::string, int>{
                       {"CT_ONE", 64}, {"CT_SCALED", 24}, {"CT_EXACT", 72}, {"CT_THREE", 320}}));
}

// The frameless rows are exactly the pack and unpack kernels in s, d, c, z, without an I
// variant; every other function has both variants and the error name v<type><stem>[I].
TEST(FunctionList, FramelessRowsVariantsAndErrorNames) {
  std::set<std::string> expected, frameless;
  for (const char* type : {"s", "d", "c", "z"})
    for (const char* stem : {"PackI", "PackV", "PackM", "UnpackI", "UnpackV", "UnpackM"})
      expected.insert(type + std::string(stem));
  std::map<std::string, std::set<std::string>> variants;
  for (const Row& row : Rows()) {
    if (row.form == "NONE") frameless.insert(row.Name() + row.variant);
    else variants[row.type + row.stem].insert(row.variant);
    const std::string base = "v" + row.type + row.stem;
    EXPECT_TRUE(row.error_name == base || row.error_name == base + "I") << row.error_name;
  }
  for (std::string name : expected) EXPECT_TRUE(frameless.erase(name + "C")) << name;
  EXPECT_TRUE(frameless.empty());
  EXPECT_EQ(variants.size(), 228u);
  for (const auto& [function, seen] : variants)
    EXPECT_EQ(seen, (std::set<std::string>{"C", "I"})) << function;
}

// The angle functions Cosd, Sind, Tand, Cospi, Sinpi, Tanpi in s and d (both variants) have
// three slots; of them only sCospi and sSinpi share slots 0 and 2.
TEST(FunctionList, SlotSharing) {
  std::set<std::string> expected_not_same, not_same, shared02;
  for (const std::string type : {"s", "d"})
    for (const std::string stem : {"Cosd", "Sind", "Tand", "Cospi", "Sinpi", "Tanpi"})
      for (const std::string variant : {"", "I"}) expected_not_same.insert(type + stem + variant);
  for (const Row& row : Rows()) {
    if (row.slots != "SAME") not_same.insert(row.Name());
    if (row.slots == "SHARED02") shared02.insert(row.Name());
  }
  EXPECT_EQ(not_same, expected_not_same);
  EXPECT_EQ(shared02, (std::set<std::string>{"sCospi", "sSinpi"}));
}

}  // namespace
