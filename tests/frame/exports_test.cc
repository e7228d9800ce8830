// The dynamic export set of libqor.so is exactly what the function list's present rows and
// the non-vector names (qor_abi::NonVectorExports) require: absent rows, kernels, hidden
// tables and C++ symbols fall out as unexpected names.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "abi_support.h"

namespace {

using qor_abi::DynamicSymbol;

class Exports : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    symbols_ = new std::vector<DynamicSymbol>(qor_abi::DynamicSymbols(QOR_ABI_LIBQOR, &error_));
  }
  static void TearDownTestSuite() {
    delete symbols_;
    symbols_ = nullptr;
  }
  void SetUp() override { ASSERT_TRUE(error_.empty()) << error_; }

  static std::set<std::string> Exported() { return qor_abi::ExportedNames(*symbols_); }
  static const DynamicSymbol* Find(const std::string& name) {
    for (const DynamicSymbol& symbol : *symbols_)
      if (symbol.Exported() && symbol.name == name) return &symbol;
    return nullptr;
  }

  static std::vector<DynamicSymbol>* symbols_;
  static std::string error_;
};

std::vector<DynamicSymbol>* Exports::symbols_ = nullptr;
std::string Exports::error_;

std::set<std::string> ExpectedExports() {
  std::set<std::string> expected(qor_abi::NonVectorExports().begin(),
                                 qor_abi::NonVectorExports().end());
  expected.insert(qor_abi::NonVectorDataExports().begin(), qor_abi::NonVectorDataExports().end());
  for (const qor_abi::Row& row : qor_abi::PresentRows())
    for (const std::string& name : qor_abi::NamesOf(row).All()) expected.insert(name);
  return expected;
}

std::string Join(const std::set<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += "  " + name + "\n";
  return text;
}

TEST_F(Exports, ExactlyThePresentRowsAndTheNonVectorNames) {
  const std::set<std::string> expected = ExpectedExports();
  const std::set<std::string> exported = Exported();
  std::set<std::string> missing, unexpected;
  for (const std::string& name : expected)
    if (!exported.count(name)) missing.insert(name);
  for (const std::string& name : exported)
    if (!expected.count(name)) unexpected.insert(name);
  EXPECT_TRUE(missing.empty()) << "expected but not exported:\n" << Join(missing);
  EXPECT_TRUE(unexpected.empty())
      << "exported but neither owed by a present row of frame/functions.def nor listed in "
         "qor_abi::NonVectorExports():\n"
      << Join(unexpected);
}

// What each exported name must be: functions of the list's stubs at most one 16-byte cell
// long, its tables 24-byte objects, the services functions, the registries objects; all
// global and unversioned with default visibility.
struct Kind {
  std::string type;
  uint64_t size;  // of an object exactly, of a function at most; 0: any
};

std::map<std::string, Kind> ExpectedKinds() {
  std::map<std::string, Kind> kinds;
  for (const std::string& name : qor_abi::NonVectorExports()) kinds[name] = {"FUNC", 0};
  for (const std::string& name : qor_abi::NonVectorDataExports()) kinds[name] = {"OBJECT", 0};
  for (const qor_abi::Row& row : qor_abi::PresentRows()) {
    const qor_abi::FunctionNames names = qor_abi::NamesOf(row);
    for (const std::string& stub : names.Stubs()) kinds[stub] = {"FUNC", 16};
    for (const std::string& table : {names.ttab, names.ctab}) kinds[table] = {"OBJECT", 24};
  }
  return kinds;
}

TEST_F(Exports, SymbolKinds) {
  for (const auto& [name, kind] : ExpectedKinds()) {
    const DynamicSymbol* symbol = Find(name);
    ASSERT_NE(symbol, nullptr) << name;
    EXPECT_EQ(symbol->type, kind.type) << name;
    EXPECT_EQ(symbol->binding, "GLOBAL") << name;
    EXPECT_EQ(symbol->visibility, "DEFAULT") << name;
    EXPECT_TRUE(symbol->version.empty()) << name << "@" << symbol->version;
    if (kind.size == 0) continue;
    if (kind.type == "OBJECT") {
      EXPECT_EQ(symbol->size, kind.size) << name;
    } else {
      EXPECT_GT(symbol->size, 0u) << name;
      EXPECT_LE(symbol->size, kind.size) << name;
    }
  }
}

}  // namespace
