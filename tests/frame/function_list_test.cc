// frame/functions.def against the facts of the function set that do not depend on the code:
// size, forms, _ctab groups, slot sharing, first row, and the naming rules of each row.
#include <ctype.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "abi_support.h"

namespace {

using qor_abi::Row;
using qor_abi::Rows;

const std::set<std::string> kTypes = {"s", "d", "c", "z"};
const std::map<std::string, std::string> kPackArgs = {
    {"PackI", "A_PACK_I"},     {"PackV", "A_PACK_V"},     {"PackM", "A_PACK_M"},
    {"UnpackI", "A_UNPACK_I"}, {"UnpackV", "A_UNPACK_V"}, {"UnpackM", "A_UNPACK_M"}};
const std::set<std::string> kAngleStems = {"Cosd", "Sind", "Tand", "Cospi", "Sinpi", "Tanpi"};

std::map<std::string, int> CountBy(std::string Row::*field) {
  std::map<std::string, int> counts;
  for (const Row& row : Rows()) ++counts[row.*field];
  return counts;
}

TEST(FunctionList, FirstFunctionIsSCeil) {
  ASSERT_FALSE(Rows().empty());
  EXPECT_EQ(Rows().front().Name(), "sCeil");
}

TEST(FunctionList, SizeFormAndCtabCounts) {
  EXPECT_EQ(Rows().size(), 480u);
  const std::map<std::string, int> forms = CountBy(&Row::form), ctabs = CountBy(&Row::ctab);
  EXPECT_EQ(forms, (std::map<std::string, int>{{"VEC", 338}, {"LOOP", 118}, {"NONE", 24}}));
  EXPECT_EQ(ctabs, (std::map<std::string, int>{
                       {"CT_ONE", 64}, {"CT_SCALED", 24}, {"CT_EXACT", 72}, {"CT_THREE", 320}}));
}

// Variant, form and have, uniqueness and identifier names are compiled into frame/function_list.h
// for every row; type, args, ctab and slots are pasted only for present rows or into strings.
TEST(FunctionList, EveryFieldIsFromItsSet) {
  const std::set<std::string> ctabs = {"CT_ONE", "CT_SCALED", "CT_EXACT", "CT_THREE"};
  const std::set<std::string> slots = {"SAME", "THREE", "SHARED02"};
  const std::set<std::string> args = {
      "A_R",  "A_R2",     "A_AB_R",   "A_POWX",   "A_LINFRAC",  "A_JN",       "A_CR",
      "A_RC", "A_PACK_I", "A_PACK_V", "A_PACK_M", "A_UNPACK_I", "A_UNPACK_V", "A_UNPACK_M"};
  for (const Row& row : Rows()) {
    SCOPED_TRACE(row.Name());
    EXPECT_EQ(kTypes.count(row.type), 1u) << row.type;
    EXPECT_EQ(ctabs.count(row.ctab), 1u) << row.ctab;
    EXPECT_EQ(slots.count(row.slots), 1u) << row.slots;
    EXPECT_EQ(args.count(row.args), 1u) << row.args;
  }
}

// The frameless rows are exactly the pack and unpack kernels in s, d, c, z; they have no
// strided variant (their stem carries the I) and take the pack argument lists.
TEST(FunctionList, FramelessRowsArePackAndUnpack) {
  std::set<std::string> expected;
  for (const std::string& type : kTypes)
    for (const auto& [stem, args] : kPackArgs) expected.insert(type + stem);
  std::set<std::string> frameless;
  for (const Row& row : Rows()) {
    if (row.form == "NONE") frameless.insert(row.Name());
    if (kPackArgs.count(row.stem)) {
      SCOPED_TRACE(row.Name());
      EXPECT_EQ(row.form, "NONE");
      EXPECT_EQ(row.variant, "C") << "pack and unpack kernels have no I variant";
      EXPECT_EQ(row.args, kPackArgs.at(row.stem));
    } else {
      EXPECT_TRUE(row.args.find("PACK") == std::string::npos)
          << row.Name() << " takes a pack argument list";
    }
  }
  EXPECT_EQ(frameless, expected);
}

// Every other function comes as a contiguous and a strided variant.
TEST(FunctionList, FramedFunctionsComeInBothVariants) {
  std::map<std::string, std::set<std::string>> variants;
  for (const Row& row : Rows())
    if (row.form != "NONE") variants[row.type + row.stem].insert(row.variant);
  EXPECT_EQ(variants.size(), 228u);
  for (const auto& [function, seen] : variants)
    EXPECT_EQ(seen, (std::set<std::string>{"C", "I"})) << function;
}

// Cosd, Sind, Tand, Cospi, Sinpi, Tanpi in s and d, each with its I variant, have slots other
// than SAME; of those exactly sCospi and sSinpi share slots 0 and 2, the others have three.
TEST(FunctionList, SlotSharing) {
  std::set<std::string> expected_not_same;
  for (const std::string type : {"s", "d"})
    for (const std::string& stem : kAngleStems)
      for (const std::string variant : {"", "I"}) expected_not_same.insert(type + stem + variant);
  ASSERT_EQ(expected_not_same.size(), 24u);

  std::set<std::string> not_same, shared02;
  for (const Row& row : Rows()) {
    if (row.slots != "SAME") not_same.insert(row.Name());
    if (row.slots == "SHARED02") shared02.insert(row.Name());
    if (row.slots != "SAME" && row.slots != "SHARED02") {
      EXPECT_EQ(row.slots, "THREE") << row.Name();
    }
  }
  EXPECT_EQ(not_same, expected_not_same);
  EXPECT_EQ(shared02, (std::set<std::string>{"sCospi", "sSinpi"}));
}

TEST(FunctionList, NamesAreTypeStemVariant) {
  for (const Row& row : Rows()) {
    SCOPED_TRACE(row.type + "," + row.stem + "," + row.variant);
    // The library's own expansion agrees with type + stem (+ I).
    EXPECT_EQ(row.macro_name, row.Name());
    ASSERT_FALSE(row.stem.empty());
    EXPECT_TRUE(isupper(static_cast<unsigned char>(row.stem.front()))) << row.stem;
  }
}

TEST(FunctionList, ErrorNamesAreVTypeStemWithOptionalI) {
  for (const Row& row : Rows()) {
    const std::string base = "v" + row.type + row.stem;
    EXPECT_TRUE(row.error_name == base || row.error_name == base + "I")
        << row.Name() << ": " << row.error_name;
  }
}

// The expansion helpers the tables and stubs are made with give the agreed bit patterns and names.
TEST(FunctionList, CtabBitPatternsAreTheNearestFloats) {
  const std::map<std::string, std::vector<uint32_t>> macros = {
      {"CT_ONE", {TEM_CTAB_CT_ONE}},
      {"CT_SCALED", {TEM_CTAB_CT_SCALED}},
      {"CT_EXACT", {TEM_CTAB_CT_EXACT}},
      {"CT_THREE", {TEM_CTAB_CT_THREE}},
  };
  for (const auto& [group, bits] : macros) {
    std::vector<float> values = qor_abi::CtabValues(group);
    ASSERT_EQ(values.size(), 3u) << group;
    ASSERT_EQ(bits.size(), 3u) << group;
    for (int i = 0; i < 3; ++i) EXPECT_EQ(bits[i], qor_abi::FloatBits(values[i])) << group << i;
  }
}

}  // namespace
