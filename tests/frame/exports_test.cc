// The dynamic export set of libqor.so is exactly what the function list's present rows and
// the non-vector names (qor_abi::NonVectorExports) require; absent rows export nothing.
#include <gtest/gtest.h>

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

// No name of an absent function, with any suffix, is exported.
TEST_F(Exports, AbsentRowsExportNothing) {
  const std::set<std::string> exported = Exported();
  for (const qor_abi::Row& row : qor_abi::Rows()) {
    if (row.Present()) continue;
    const std::string f = row.Name();
    for (const std::string& name : exported) {
      bool owned = name == "_tem" + f || qor_abi::StartsWith(name, "_tem" + f + "_") ||
                   qor_abi::StartsWith(name, "qor_tem_kernel_" + f + "_") ||
                   qor_abi::StartsWith(name, "tem_kernel_" + f) ||
                   qor_abi::StartsWith(name, "tem_ttab_" + f);
      EXPECT_FALSE(owned) << name << " is exported but " << f << " has have=0";
    }
  }
}

// Internal names never leak: kernels, hidden table names, C++ symbols.
TEST_F(Exports, NoInternalNames) {
  for (const std::string& name : Exported()) {
    EXPECT_FALSE(qor_abi::StartsWith(name, "tem_kernel_")) << name;
    EXPECT_FALSE(qor_abi::StartsWith(name, "tem_ttab_")) << name;
    EXPECT_FALSE(qor_abi::StartsWith(name, "_Z")) << name;
  }
}

// Stubs are global functions of at most one 16-byte cell, tables global 24-byte objects, all
// unversioned with default visibility.
TEST_F(Exports, SymbolKindsOfPresentRows) {
  for (const qor_abi::Row& row : qor_abi::PresentRows()) {
    const qor_abi::FunctionNames names = qor_abi::NamesOf(row);
    for (const std::string& stub : names.Stubs()) {
      const DynamicSymbol* symbol = Find(stub);
      ASSERT_NE(symbol, nullptr) << stub;
      EXPECT_EQ(symbol->type, "FUNC") << stub;
      EXPECT_EQ(symbol->binding, "GLOBAL") << stub;
      EXPECT_EQ(symbol->visibility, "DEFAULT") << stub;
      EXPECT_GT(symbol->size, 0u) << stub;
      EXPECT_LE(symbol->size, 16u) << stub;
      EXPECT_TRUE(symbol->version.empty()) << stub << "@" << symbol->version;
    }
    for (const std::string& table : {names.ttab, names.ctab}) {
      const DynamicSymbol* symbol = Find(table);
      ASSERT_NE(symbol, nullptr) << table;
      EXPECT_EQ(symbol->type, "OBJECT") << table;
      EXPECT_EQ(symbol->binding, "GLOBAL") << table;
      EXPECT_EQ(symbol->visibility, "DEFAULT") << table;
      EXPECT_EQ(symbol->size, 24u) << table;
      EXPECT_TRUE(symbol->version.empty()) << table << "@" << symbol->version;
    }
  }
}

TEST_F(Exports, NonVectorNamesAreFunctions) {
  for (const std::string& name : qor_abi::NonVectorExports()) {
    const DynamicSymbol* symbol = Find(name);
    ASSERT_NE(symbol, nullptr) << name;
    EXPECT_EQ(symbol->type, "FUNC") << name;
    EXPECT_EQ(symbol->binding, "GLOBAL") << name;
  }
  for (const std::string& name : qor_abi::NonVectorDataExports()) {
    const DynamicSymbol* symbol = Find(name);
    ASSERT_NE(symbol, nullptr) << name;
    EXPECT_EQ(symbol->type, "OBJECT") << name;
    EXPECT_EQ(symbol->binding, "GLOBAL") << name;
  }
}

}  // namespace
