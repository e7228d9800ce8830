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

const std::map<std::string, std::string> kPackArgs = {
    {"PackI", "A_PACK_I"},     {"PackV", "A_PACK_V"},     {"PackM", "A_PACK_M"},
    {"UnpackI", "A_UNPACK_I"}, {"UnpackV", "A_UNPACK_V"}, {"UnpackM", "A_UNPACK_M"}};

TEST(FunctionList, SizeFirstRowFormAndCtabCounts) {
  ASSERT_EQ(Rows().size(), 480u);
  EXPECT_EQ(Rows().front().Name(), "sCeil");
  std::map<std::string, int> forms, ctabs;
  for (const Row& row : Rows()) ++forms[row.form], ++ctabs[row.ctab];
  EXPECT_EQ(forms, (std::map<std::string, int>{{"VEC", 338}, {"LOOP", 118}, {"NONE", 24}}));
  EXPECT_EQ(ctabs, (std::map<std::string, int>{
                       {"CT_ONE", 64}, {"CT_SCALED", 24}, {"CT_EXACT", 72}, {"CT_THREE", 320}}));
}

// Type, args, ctab and slots are pasted into code only for present rows, so absent rows are
// checked here; names follow type + stem (+ I) and the error name v<type><stem>[I].
TEST(FunctionList, FieldsAndNamesOfEveryRow) {
  const std::set<std::string> types = {"s", "d", "c", "z"},
                              ctabs = {"CT_ONE", "CT_SCALED", "CT_EXACT", "CT_THREE"},
                              slots = {"SAME", "THREE", "SHARED02"},
                              args = {"A_R", "A_R2", "A_AB_R", "A_POWX", "A_LINFRAC", "A_JN",
                                      "A_CR", "A_RC", "A_PACK_I", "A_PACK_V", "A_PACK_M",
                                      "A_UNPACK_I", "A_UNPACK_V", "A_UNPACK_M"};
  for (const Row& row : Rows()) {
    const std::string base = "v" + row.type + row.stem, shown = row.Name() + "," + row.variant;
    EXPECT_TRUE(types.count(row.type) && ctabs.count(row.ctab) && slots.count(row.slots) &&
                args.count(row.args) && isupper(static_cast<unsigned char>(row.stem.at(0))))
        << shown;
    EXPECT_EQ(row.macro_name, row.Name()) << shown;
    EXPECT_TRUE(row.error_name == base || row.error_name == base + "I") << row.error_name;
  }
}

// The frameless rows are exactly the pack and unpack kernels in s, d, c, z, without an I
// variant and with the pack argument lists; every other function has both variants.
TEST(FunctionList, FramelessRowsAndVariants) {
  std::set<std::string> expected, frameless;
  for (const char* type : {"s", "d", "c", "z"})
    for (const auto& [stem, args] : kPackArgs) expected.insert(type + stem);
  std::map<std::string, std::set<std::string>> variants;
  for (const Row& row : Rows()) {
    if (row.form == "NONE") frameless.insert(row.Name());
    else variants[row.type + row.stem].insert(row.variant);
    if (kPackArgs.count(row.stem)) {
      EXPECT_EQ(row.args, kPackArgs.at(row.stem)) << row.Name();
      EXPECT_EQ(row.variant + row.form, "CNONE") << row.Name();
    } else {
      EXPECT_EQ(row.args.find("PACK"), std::string::npos) << row.Name();
    }
  }
  EXPECT_EQ(frameless, expected);
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
