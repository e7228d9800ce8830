// Exports of libqor.so are exactly the owed names; imports come from allowed places only.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "abi_support.h"

namespace {

using qor_abi::DynamicSymbol;

const std::vector<DynamicSymbol>& Symbols() {
  static const std::vector<DynamicSymbol> symbols = qor_abi::DynamicSymbols(QOR_ABI_LIBQOR);
  return symbols;
}

// Each owed name: a function (stubs: one aligned 16-byte cell) or object (tables: 24 bytes).
struct Kind { std::string type; uint64_t size; };

TEST(Exports, ExactlyTheOwedNamesEachOfItsKind) {
  ASSERT_FALSE(Symbols().empty()) << "cannot read the dynamic symbols of " << QOR_ABI_LIBQOR;
  std::map<std::string, Kind> expected;
  for (const std::string& name : qor_abi::NonVectorExports()) expected[name] = {"FUNC", 0};
  for (const std::string& name : qor_abi::NonVectorDataExports()) expected[name] = {"OBJECT", 0};
  for (const qor_abi::Row& row : qor_abi::PresentRows()) {
    const qor_abi::FunctionNames names = qor_abi::NamesOf(row);
    for (const std::string& stub : names.Stubs()) expected[stub] = {"FUNC", 16};
    for (const std::string& table : {names.ttab, names.ctab}) expected[table] = {"OBJECT", 24};
  }
  std::string missing, unexpected;
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
  }
  const std::set<std::string> exported = qor_abi::ExportedNames(Symbols());
  for (const auto& [name, kind] : expected)
    if (!exported.count(name)) missing += "  " + name + "\n";
  EXPECT_EQ(missing, "") << "expected but not exported";
  EXPECT_EQ(unexpected, "")
      << "exported but neither owed by a present row nor in qor_abi::NonVectorExports()";
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

  const std::set<std::string> core =
      qor_abi::ExportedNames(qor_abi::DynamicSymbols(QOR_ABI_LIBQOR_CORE));
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
