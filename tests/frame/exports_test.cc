// libqor.so from outside: the function list, owed exports, stubs, tables and allowed imports.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "abi_support.h"

namespace {

using qor_abi::DynamicSymbol;
using qor_abi::Row;

const std::vector<DynamicSymbol>& Symbols() {
  static const std::vector<DynamicSymbol> symbols = qor_abi::DynamicSymbols(QOR_ABI_LIBQOR);
  return symbols;
}

// Frameless pack/unpack rows, both variants, v<type><stem>[I] names, three-slot angle rows.
TEST(FunctionList, RowsVariantsErrorNamesAndSlots) {
  ASSERT_EQ(qor_abi::Rows().size(), 480u);
  std::set<std::string> expected_frameless, frameless, expected_not_same, not_same, shared02;
  for (const std::string type : {"s", "d", "c", "z"})
    for (const char* stem : {"PackI", "PackV", "PackM", "UnpackI", "UnpackV", "UnpackM"})
      expected_frameless.insert(type + stem + "C");
  for (const std::string type : {"s", "d"})
    for (const std::string stem : {"Cosd", "Sind", "Tand", "Cospi", "Sinpi", "Tanpi"})
      expected_not_same.insert({type + stem, type + stem + "I"});
  std::map<std::string, std::set<std::string>> variants;
  for (const Row& row : qor_abi::Rows()) {
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

// Each owed name: a function (stubs: one aligned 16-byte cell) or object (tables: 24 bytes).
TEST(Exports, ExactlyTheOwedNamesEachOfItsKind) {
  ASSERT_FALSE(Symbols().empty()) << "cannot read the dynamic symbols of " << QOR_ABI_LIBQOR;
  struct Kind { std::string type; uint64_t size; };
  std::map<std::string, Kind> expected;
  for (const std::string& name : qor_abi::NonVectorExports()) expected[name] = {"FUNC", 0};
  for (const char* name : {"__RegBrngsNew", "__RegBrngs"}) expected[name] = {"OBJECT", 0};
  for (const Row& row : qor_abi::PresentRows()) {
    const qor_abi::FunctionNames names = qor_abi::NamesOf(row);
    for (const std::string& stub : {names.stub0, names.stub1, names.stub1_ha, names.stub2})
      expected[stub] = {"FUNC", 16};
    for (const std::string& table : {names.ttab, names.ctab}) expected[table] = {"OBJECT", 24};
  }
  std::string unexpected;
  for (const DynamicSymbol& symbol : Symbols()) {
    if (!symbol.Exported()) continue;
    const auto kind = expected.find(symbol.name);
    if (kind == expected.end()) {
      unexpected += "  " + symbol.name + "\n";
      continue;
    }
    EXPECT_EQ(symbol.type + " " + symbol.binding + " " + symbol.visibility + " " + symbol.version,
              kind->second.type + " GLOBAL DEFAULT ") << symbol.name;
    if (kind->second.size != 0 && symbol.type == "OBJECT")
      EXPECT_EQ(symbol.size, kind->second.size) << symbol.name;
    if (kind->second.size != 0 && symbol.type == "FUNC")
      EXPECT_TRUE(symbol.size > 0 && symbol.size <= 16 && symbol.value % 16 == 0) << symbol.name;
    expected.erase(kind);
  }
  for (const auto& [name, kind] : expected) ADD_FAILURE() << name << " is owed but not exported";
  EXPECT_EQ(unexpected, "")
      << "exported but neither owed by a present row nor in qor_abi::NonVectorExports()";
}

using Address = const unsigned char*;

Address Must(const std::string& name) {
  static void* handle = dlopen(QOR_ABI_LIBQOR, RTLD_NOW | RTLD_LOCAL);
  Address address = handle ? static_cast<Address>(dlsym(handle, name.c_str())) : nullptr;
  EXPECT_NE(address, nullptr) << name << " is not exported";
  return address;
}

// The slot a stub jumps through, or -1 when it is not `jmp *disp32(%rip)` into the table.
int SlotOfStub(Address stub, Address ttab) {
  if (stub == nullptr || stub[0] != 0xFF || stub[1] != 0x25) return -1;
  int32_t displacement;
  memcpy(&displacement, stub + 2, sizeof displacement);
  const ptrdiff_t offset = stub + 6 + displacement - ttab;
  return offset >= 0 && offset < 24 && offset % 8 == 0 ? int(offset / 8) : -1;
}

// Each stub is one `jmp *disp32(%rip)` through its slot; _ctab values; slots shared as listed.
TEST(Stubs, JumpsTablesAndSlots) {
  // The _ctab floats of each group (the nearest to 1, 3, 111.3 and 111.2, 111.3, 111.1), padding.
  const std::map<std::string, std::vector<float>> ctab_values = {
      {"CT_ONE", {1, 1, 1, 0, 0, 0}}, {"CT_THREE", {3, 3, 3, 0, 0, 0}},
      {"CT_EXACT", {111.3f, 111.3f, 111.3f, 0, 0, 0}},
      {"CT_SCALED", {111.2f, 111.3f, 111.1f, 0, 0, 0}}};
  for (const Row& row : qor_abi::PresentRows()) {
    const qor_abi::FunctionNames names = qor_abi::NamesOf(row);
    SCOPED_TRACE(row.Name());
    Address ttab = Must(names.ttab), ctab = Must(names.ctab);
    ASSERT_TRUE(ttab != nullptr && ctab != nullptr);
    EXPECT_EQ(SlotOfStub(Must(names.stub0), ttab), 0);
    EXPECT_EQ(SlotOfStub(Must(names.stub1), ttab), 1);
    EXPECT_EQ(SlotOfStub(Must(names.stub2), ttab), 2);
    EXPECT_EQ(Must(names.stub1_ha), Must(names.stub1));
    ASSERT_TRUE(ctab_values.count(row.ctab)) << row.ctab;
    std::vector<float> values(6);
    memcpy(values.data(), ctab, 6 * sizeof(float));
    EXPECT_EQ(values, ctab_values.at(row.ctab));
    uintptr_t slot[3];
    memcpy(slot, ttab, sizeof slot);
    const bool same01 = slot[0] == slot[1], same12 = slot[1] == slot[2];
    if (row.slots == "SAME") EXPECT_TRUE(same01 && same12);
    else if (row.slots == "THREE") EXPECT_TRUE(!same01 && !same12 && slot[0] != slot[2]);
    else if (row.slots == "SHARED02") EXPECT_TRUE(slot[0] == slot[2] && !same01);
    else ADD_FAILURE() << "unknown slots " << row.slots;
  }
}

TEST(Imports, NeededLibrariesAndUndefinedSymbolsAreAllowed) {
  const std::set<std::string> allowed_needed = {"libqor_core.so.0", "libc.so.6", "libm.so.6",
                                                "libpthread.so.0", "ld-linux-x86-64.so.2"};
  bool ok;
  int needed = 0;
  for (const std::string& line :
       qor_abi::ToolLines(QOR_ABI_READELF, "-d -W", QOR_ABI_LIBQOR, &ok)) {
    const size_t open = line.find('['), close = line.rfind(']');
    if (line.find("(NEEDED)") == std::string::npos || open >= close) continue;
    ++needed;
    EXPECT_TRUE(allowed_needed.count(line.substr(open + 1, close - open - 1))) << line;
  }
  ASSERT_TRUE(ok && needed > 0) << "no DT_NEEDED entries read";

  std::set<std::string> core;
  for (const DynamicSymbol& symbol : qor_abi::DynamicSymbols(QOR_ABI_LIBQOR_CORE))
    if (symbol.Exported()) core.insert(symbol.name);
  ASSERT_FALSE(core.empty());
  const std::set<std::string> toolchain_weak = {"_ITM_deregisterTMCloneTable",
                                                "_ITM_registerTMCloneTable", "__gmon_start__"};
  int imports = 0;
  for (const DynamicSymbol& symbol : Symbols()) {
    if (symbol.Defined() || symbol.name.empty()) continue;
    ++imports;
    const std::string shown = symbol.name + "@" + symbol.version;
    if (!symbol.version.empty()) {
      EXPECT_TRUE(symbol.version.starts_with("GLIBC_")) << shown;
      EXPECT_NE(symbol.version, "GLIBC_PRIVATE") << shown;
    } else if (toolchain_weak.count(symbol.name)) {
      EXPECT_EQ(symbol.binding, "WEAK") << shown;
    } else {
      EXPECT_TRUE(core.count(symbol.name)) << shown << " is not exported by libqor_core.so";
    }
  }
  EXPECT_GT(imports, 0) << "no undefined symbols read";
}

}  // namespace
